#include "io/fs/path_impl.h"

#include "io/fs/delete.h"
#include "io/fs/open_file.h"
#include "io/fs/open_folder.h"
#include "io/fs/path_text.h"
#include "platform/files.h"
#include <tessel/base/error.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>

namespace Io::Fs {

FacePtr<Path> MakePath(WideString normalised)
{
    return MakeFace<Impl<PathImpl, Module>>(std::move(normalised));
}

PathKind KindOf(const char16_t* path) noexcept
{
    const std::uint32_t attributes = Platform::GetFileAttributesW(path);
    if (attributes == Platform::INVALID_FILE_ATTRIBUTES)
        return PathKind::Missing;
    return (attributes & Platform::FILE_ATTRIBUTE_DIRECTORY) != 0 ? PathKind::Directory
                                                                  : PathKind::RegularFile;
}

WideString PathImpl::GetName()
{
    const std::u16string_view path = text.c_str();
    const std::size_t separator = LastSeparator(path);
    return separator == path.npos ? WideString() : Joined(path.substr(separator + 1));
}

FacePtr<Path> PathImpl::GetParent()
{
    const std::u16string_view path = text.c_str();
    const std::size_t separator = LastSeparator(path);
    return separator == path.npos ? FacePtr<Path>() : MakePath(Joined(path.substr(0, separator)));
}

FacePtr<Path> PathImpl::Append(const WideString& name)
{
    std::optional<WideString> below = NormaliseBelow(text.c_str(), name.c_str());
    if (!below)
        throw Error("badpath '%s'", "fs", u"");
    return MakePath(*std::move(below));
}

FacePtr<Path> PathImpl::GetRoot()
{
    return MakePath(Joined(RootOf(text.c_str())));
}

PathKind PathImpl::GetKind()
{
    return KindOf(text.c_str());
}

// A name with * or ? in it would be a pattern to a search: the question goes to the entry itself.
std::uint64_t PathImpl::GetTime(TimeKind kind)
{
    const Platform::Handle entry = Platform::CreateFileW(text.c_str(), Platform::FILE_READ_ATTRIBUTES,
        Platform::FILE_SHARE_READ | Platform::FILE_SHARE_WRITE, Platform::OPEN_EXISTING,
        Platform::FILE_FLAG_BACKUP_SEMANTICS);
    if (entry == Platform::INVALID_HANDLE_VALUE)
        return 0;
    Platform::FILETIME times[3] = {}; // by TimeKind
    const bool isRead = Platform::GetFileTime(entry, &times[1], &times[2], &times[0]);
    Platform::CloseHandle(entry);
    const auto index = static_cast<std::uint32_t>(kind);
    if (!isRead || index >= std::size(times))
        return 0;
    return std::uint64_t{times[index].dwHighDateTime} << 32 | times[index].dwLowDateTime;
}

void PathImpl::SetTime(TimeKind kind, std::uint64_t time)
{
    const Platform::Handle entry = Platform::CreateFileW(text.c_str(), Platform::FILE_WRITE_ATTRIBUTES,
        Platform::FILE_SHARE_READ | Platform::FILE_SHARE_WRITE, Platform::OPEN_EXISTING, 0);
    if (entry == Platform::INVALID_HANDLE_VALUE)
        return;
    const Platform::FILETIME value{static_cast<std::uint32_t>(time), static_cast<std::uint32_t>(time >> 32)};
    const auto chosen = [&](TimeKind its) { return its == kind ? &value : nullptr; };
    Platform::SetFileTime(
        entry, chosen(TimeKind::Creation), chosen(TimeKind::LastAccess), chosen(TimeKind::LastWrite));
    Platform::CloseHandle(entry);
}

FacePtr<File> PathImpl::OpenFile(AccessMode access, ShareMode share, IfExists ifExists, IfMissing ifMissing)
{
    return Fs::OpenFile(text, access, share, ifExists, ifMissing);
}

FacePtr<Folder> PathImpl::OpenFolder(IfExists ifExists, IfMissing ifMissing, bool createParents)
{
    return Fs::OpenFolder(text, ifExists, ifMissing, createParents);
}

void PathImpl::Delete(bool recursive)
{
    Fs::Delete(text, recursive);
}

} // namespace Io::Fs
