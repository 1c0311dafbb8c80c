// The source that cuts, joins and keeps blocks.
#pragma once

#include "io/block_range.h"
#include <tessel/io/buffering.h>

#include <list>

namespace Io::Memory {

class BufferingSourceImpl : public Face<BufferingSource> {
public:
    explicit BufferingSourceImpl(FacePtr<Source> below) noexcept : source(std::move(below)) { }
    BufferingSourceImpl(const BufferingSourceImpl&) = delete;
    BufferingSourceImpl& operator=(const BufferingSourceImpl&) = delete;

    bool IsAtEnd() override;
    Binary Read() override;
    FacePtr<Source> GetSource() override { return source; }
    void SetBlockRange(std::uint32_t minimum, std::uint32_t maximum) override;
    void StartBuffering() override;
    void StopBuffering() override;
    void Rewind() override;

protected:
    ~BufferingSourceImpl() = default;

private:
    // A block, or what is left of one from which the first bytes were handed out.
    struct Piece {
        Binary block;
        std::uint32_t begin = 0;
    };

    bool ReadBelow();
    void Take(Binary& out);

    const FacePtr<Source> source;
    BlockRange range;
    bool retain = false;
    // Everything before the cursor was handed out and is kept for Rewind; everything from it on was not.
    std::list<Piece> blocks;
    std::list<Piece>::iterator cursor = blocks.end();
};

} // namespace Io::Memory
