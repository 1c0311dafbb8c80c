// The sink that cuts and joins blocks.
#pragma once

#include "io/block_range.h"
#include <tessel/io/buffering.h>

namespace Io::Memory {

class BufferingSinkImpl : public Face<BufferingSink> {
public:
    explicit BufferingSinkImpl(FacePtr<Sink> below) noexcept : sink(std::move(below)) { }

    void Write(const Binary& data) override;
    void Flush() override;
    FacePtr<Sink> GetSink() override { return sink; }
    void SetBlockRange(std::uint32_t minimum, std::uint32_t maximum) override;

protected:
    ~BufferingSinkImpl() = default;

private:
    Binary Emit(const Binary& data);
    void Join(Binary& joined, const Binary& data) const;
    void WriteBehindPending(const Binary& data);

    const FacePtr<Sink> sink;
    BlockRange range;
    Binary pending; // did not yet fill a block
};

} // namespace Io::Memory
