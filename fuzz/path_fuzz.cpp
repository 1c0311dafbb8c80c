// Path texts from any text. What comes out is in normal form, stays as it is when it is normalised once more,
// and is its parent with its name below.
#include "fuzz/require.h"
#include "io/fs/path_impl.h"
#include "io/fs/path_text.h"
#include <tessel/base/utf8.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <string>
#include <string_view>

using namespace Io::Fs;

namespace {

constexpr std::u16string_view anyPlace = u"C:\\some\\where";

bool IsName(std::u16string_view name)
{
    return !name.empty() && name.size() <= 255 && name != u"." && name != u".."
        && name.find_first_of(u"<>:\"/\\|") == name.npos;
}

// A drive, or the server and the share.
void CheckRoot(std::u16string_view root)
{
    if (!root.starts_with(u'\\')) {
        Require(root.size() == 2 && root[0] >= u'A' && root[0] <= u'Z' && root[1] == u':');
        return;
    }
    const std::size_t between = root.find(u'\\', 2);
    Require(root.starts_with(u"\\\\") && between != root.npos && between > 2);
    Require(root.size() > between + 1 && root.find(u'\\', between + 1) == root.npos);
}

// From the path up to its root.
void CheckPath(FacePtr<Io::Path> path)
{
    const WideString root = path->GetRoot()->GetString();
    CheckRoot(root.c_str());
    for (FacePtr<Io::Path> parent = path->GetParent(); parent; path = parent, parent = path->GetParent()) {
        Require(IsName(path->GetName().c_str()) && path->GetRoot()->GetString() == root);
        Require(parent->Append(path->GetName())->GetString() == path->GetString());
    }
    Require(path->GetString() == root && path->GetName().IsEmpty());
}

void Check(const std::optional<WideString>& normalised)
{
    if (!normalised)
        return;
    const std::optional<WideString> again = NormalisePath(normalised->c_str());
    Require(again && *again == *normalised);
    CheckPath(MakePath(*normalised));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* input, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(input), size);
    const WideString text = StringFromUtf8(bytes.c_str());
    Check(NormalisePath(text.c_str()));
    Check(NormaliseBelow(anyPlace, text.c_str()));
    return 0;
}
