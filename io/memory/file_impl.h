// The file in memory.
#pragma once

#include "io/file_streams.h"
#include <tessel/base/critical_section.h>

namespace Io::Memory {

class FileImpl : public StreamableFile {
public:
    AccessMode GetAccess() override { return AccessMode::ReadWrite; }
    std::uint64_t GetSize() override;
    void SetSize(std::uint64_t size) override;
    Binary Read(std::uint64_t offset, std::uint32_t count) override;
    void Write(std::uint64_t offset, const Binary& data) override;
    void Flush() override { }

protected:
    ~FileImpl() = default;

private:
    void Extend(std::uint32_t size, std::uint32_t gapBegin, std::uint32_t gapEnd);

    Binary data;
    CriticalSection lock; // guards data; nothing is taken under it
};

} // namespace Io::Memory
