#include "io/fs/path_factory_impl.h"

#include "io/fs/path_impl.h"
#include "io/fs/path_text.h"
#include "platform/modules.h"
#include <tessel/base/error.h>

#include <string>

namespace Io::Fs {

namespace {

// The path of a loaded module's file, of the executable for null; the working folder where there is no such
// module.
std::optional<WideString> ModulePath(const char16_t* name)
{
    const Platform::Module module = Platform::GetModuleHandleW(name);
    if (module == Platform::NULL_MODULE)
        return WorkingFolder();
    // A path that is cut would be that of another file.
    std::u16string path(260, u'\0');
    for (;;) {
        const auto capacity = static_cast<std::uint32_t>(path.size());
        const std::uint32_t chars = Platform::GetModuleFileNameW(module, path.data(), capacity);
        if (chars < capacity) {
            path.resize(chars);
            return NormalisePath(path);
        }
        path.resize(path.size() * 2);
    }
}

std::optional<WideString> PathOf(PathType type, const Value& value)
{
    const char16_t* const text =
        value.GetType() == Properties::PropertyType::string ? value.GetString().c_str() : nullptr;
    switch (type) {
    case PathType::Absolute:
        return NormalisePath(value.GetString().c_str());
    case PathType::Relative: {
        std::optional<WideString> folder = WorkingFolder();
        return folder && text ? NormaliseBelow(folder->c_str(), text) : folder;
    }
    case PathType::Module:
        return ModulePath(text);
    default:
        throw Error("bad-pathtype(%d)", "fs", type);
    }
}

} // namespace

FacePtr<Path> PathFactoryImpl::CreatePath(PathType type, const Value& value, bool quiet)
{
    std::optional<WideString> path = PathOf(type, value);
    if (path)
        return MakePath(*std::move(path));
    if (quiet)
        return nullptr;
    const bool isText = value.GetType() == Properties::PropertyType::string;
    throw Error("badpath '%s'", "fs", isText ? value.GetString() : WideString());
}

void PathFactoryImpl::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == pathFactoryClass)
        out = FacePtr<BaseFace>(Primary(static_cast<Object::StaticFactory*>(this)));
}

void PathFactoryImpl::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<PathFactory>(pathFactoryClass));
}

} // namespace Io::Fs
