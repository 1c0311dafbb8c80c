#include "io/fs/delete.h"

#include "io/fs/failure.h"
#include "io/fs/messages.h"
#include "io/fs/path_impl.h"
#include "platform/errors.h"
#include "platform/files.h"

#include <new>

namespace Io::Fs {

namespace {

// The walk is one operation below, which holds its folders open: nobody can lead it out of the tree by a
// link. If the path of what it stopped at finds no room, it goes on once more, with room.
void DeleteTree(const WideString& path)
{
    constexpr std::uint32_t more = 1024;
    Platform::REMOVE_TREE_FAILURE failure{};
    WideString failed;
    failure.capacity = static_cast<std::uint32_t>(path.GetLength()) + more;
    do {
        if (failure.pathChars >= failure.capacity)
            failure.capacity = failure.pathChars + more;
        failure.path = failed.PrepareWriting(failure.capacity * sizeof(char16_t), false);
        if (failure.path == nullptr)
            throw std::bad_alloc();
        if (Platform::RemoveTreeW(path.c_str(), &failure))
            return;
    } while (failure.pathChars >= failure.capacity);
    Raise(failure.isFolder ? std::span(removeFolderMessage) : std::span(deleteFileMessage), failed);
}

} // namespace

void Delete(const WideString& path, bool recursive)
{
    const auto isGone = [] { return Platform::GetLastError() == Platform::ERROR_FILE_NOT_FOUND; };
    switch (KindOf(path.c_str())) {
    case PathKind::Missing:
        return;
    case PathKind::RegularFile:
        if (!Platform::DeleteFileW(path.c_str()) && !isGone())
            Raise(deleteFileMessage, path);
        return;
    case PathKind::Directory:
        if (recursive)
            return DeleteTree(path);
        if (!Platform::RemoveDirectoryW(path.c_str()) && !isGone())
            Raise(removeFolderMessage, path);
    }
}

} // namespace Io::Fs
