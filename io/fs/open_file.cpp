#include "io/fs/open_file.h"

#include "io/fs/failure.h"
#include "io/fs/file_impl.h"
#include "io/fs/messages.h"
#include "platform/errors.h"
#include "platform/files.h"
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <exception>

namespace Io::Fs {

namespace {

constexpr std::uint32_t noDisposition = 0;

std::uint32_t DispositionOf(IfExists ifExists, IfMissing ifMissing)
{
    if (ifMissing == IfMissing::Fail) {
        if (ifExists == IfExists::Open)
            return Platform::OPEN_EXISTING;
        if (ifExists == IfExists::Truncate)
            return Platform::TRUNCATE_EXISTING;
    }
    if (ifMissing == IfMissing::Create) {
        if (ifExists == IfExists::Fail)
            return Platform::CREATE_NEW;
        if (ifExists == IfExists::Open)
            return Platform::OPEN_ALWAYS;
        if (ifExists == IfExists::Truncate)
            return Platform::CREATE_ALWAYS;
    }
    return noDisposition;
}

std::uint32_t RightsOf(AccessMode access)
{
    switch (access) {
    case AccessMode::Read:
        return Platform::GENERIC_READ;
    case AccessMode::Write:
        return Platform::GENERIC_WRITE;
    case AccessMode::ReadWrite:
        return Platform::GENERIC_READ | Platform::GENERIC_WRITE;
    default:
        return 0;
    }
}

std::uint32_t SharingOf(ShareMode share)
{
    return share <= ShareMode::ReadWrite ? static_cast<std::uint32_t>(share) : 0;
}

// A handle until somebody takes it over.
class OpenHandle {
public:
    explicit OpenHandle(Platform::Handle opened) noexcept : handle(opened) { }
    OpenHandle(const OpenHandle&) = delete;
    OpenHandle& operator=(const OpenHandle&) = delete;
    ~OpenHandle()
    {
        if (handle != Platform::INVALID_HANDLE_VALUE)
            Platform::CloseHandle(handle);
    }

    Platform::Handle Get() const noexcept { return handle; }
    void Release() noexcept { handle = Platform::INVALID_HANDLE_VALUE; }

private:
    Platform::Handle handle;
};

} // namespace

FacePtr<File> OpenFile(
    const WideString& path, AccessMode access, ShareMode share, IfExists ifExists, IfMissing ifMissing)
{
    const std::uint32_t disposition = DispositionOf(ifExists, ifMissing);
    const std::uint32_t attributes = Platform::GetFileAttributesW(path.c_str());
    const bool isMissing = attributes == Platform::INVALID_FILE_ATTRIBUTES;
    if (disposition == noDisposition && isMissing)
        Raise(openFileMessage, path);
    if (disposition == noDisposition)
        Raise(openFileMessage, path, Platform::ERROR_FILE_EXISTS);
    if (!isMissing && (attributes & Platform::FILE_ATTRIBUTE_DIRECTORY) != 0)
        Raise(openFileMessage, path, Platform::ERROR_ACCESS_DENIED);
    OpenHandle opened(
        Platform::CreateFileW(path.c_str(), RightsOf(access), SharingOf(share), disposition, 0));
    if (opened.Get() == Platform::INVALID_HANDLE_VALUE)
        Raise(
            ifMissing == IfMissing::Create ? std::span(createFileMessage) : std::span(openFileMessage), path);
    FacePtr<File> file = MakeFace<Impl<FileImpl, Module>>(opened.Get(), access, path);
    opened.Release();
    return file;
}

} // namespace Io::Fs
