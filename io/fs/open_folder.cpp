#include "io/fs/open_folder.h"

#include "io/fs/failure.h"
#include "io/fs/folder_impl.h"
#include "io/fs/messages.h"
#include "io/fs/path_impl.h"
#include "io/fs/path_text.h"
#include "platform/errors.h"
#include "platform/files.h"
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <string>
#include <vector>

namespace Io::Fs {

namespace {

// Makes the missing folders of a path, the upper ones first.
class NestedCreation {
public:
    explicit NestedCreation(const WideString& path) : text(path.c_str()) { }

    // False with the last error; then the tree is as it was.
    bool Run(bool createParents)
    {
        if (!FindMissing() || missing.empty() || (missing.size() > 1 && !createParents))
            return false;
        for (std::size_t level = missing.size(); level-- > 0;)
            if (!Platform::CreateDirectoryW(PathOf(level))) {
                Undo(level);
                return false;
            }
        return true;
    }

private:
    // Goes up to the first folder that is there; false if that is none. A root is taken to be there.
    bool FindMissing()
    {
        std::u16string_view rest = text;
        for (std::size_t end = LastSeparator(rest); end != rest.npos; end = LastSeparator(rest)) {
            missing.push_back(rest.size());
            const PathKind kind = KindOf(PathOf(missing.size() - 1));
            if (kind != PathKind::Missing) {
                missing.pop_back();
                return kind == PathKind::Directory;
            }
            rest = rest.substr(0, end);
        }
        return true;
    }

    // Removes what was made above the level that failed. A level that cannot be removed, for somebody else
    // has put something into it by now, keeps those above it too.
    void Undo(std::size_t failed)
    {
        const Platform::LastErrorKeeper keeper;
        while (++failed < missing.size() && Platform::RemoveDirectoryW(PathOf(failed))) { }
    }

    // The path of one missing level, until the next one is asked for.
    const char16_t* PathOf(std::size_t level)
    {
        if (cut < text.size())
            text[cut] = u'\\';
        cut = missing[level];
        if (cut < text.size())
            text[cut] = u'\0';
        return text.c_str();
    }

    std::u16string text;
    std::size_t cut = std::u16string::npos; // where the text ends at present, if not at its end
    std::vector<std::size_t> missing; // lengths of their paths, the deepest level first
};

} // namespace

// The object comes first: no folder is made and left there for want of memory.
FacePtr<Folder> OpenFolder(const WideString& path, IfExists ifExists, IfMissing ifMissing, bool createParents)
{
    FacePtr<Folder> folder = MakeFace<Impl<FolderImpl, Module>>(path);
    switch (KindOf(path.c_str())) {
    case PathKind::Missing:
        if (ifMissing == IfMissing::Fail)
            Raise(accessFolderMessage, path);
        if (!NestedCreation(path).Run(createParents))
            Raise(createFolderMessage, path);
        break;
    case PathKind::RegularFile:
        Raise(accessFolderMessage, path, Platform::ERROR_ACCESS_DENIED);
    case PathKind::Directory:
        if (ifExists == IfExists::Fail)
            Raise(createFolderMessage, path, Platform::ERROR_ALREADY_EXISTS);
        break;
    }
    return folder;
}

} // namespace Io::Fs
