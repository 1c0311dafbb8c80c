// The file on disk.
#pragma once

#include "io/file_streams.h"
#include "platform/handles.h"
#include <tessel/base/critical_section.h>
#include <tessel/base/string.h>

namespace Io::Fs {

class FileImpl : public StreamableFile {
public:
    // Takes the handle over. The path is for messages alone.
    FileImpl(Platform::Handle opened, AccessMode asked, WideString text) noexcept
        : handle(opened), access(asked), path(std::move(text))
    {
    }
    FileImpl(const FileImpl&) = delete;
    FileImpl& operator=(const FileImpl&) = delete;

    AccessMode GetAccess() override { return access; }
    std::uint64_t GetSize() override;
    void SetSize(std::uint64_t size) override;
    // At most 16 KiB.
    Binary Read(std::uint64_t offset, std::uint32_t count) override;
    void Write(std::uint64_t offset, const Binary& data) override;
    void Flush() override;

protected:
    ~FileImpl();

private:
    std::uint64_t Seek(std::uint64_t offset, std::uint32_t method);

    const Platform::Handle handle;
    const AccessMode access;
    const WideString path;
    CriticalSection lock; // guards the handle's one position, from a seek to its transfer
};

} // namespace Io::Fs
