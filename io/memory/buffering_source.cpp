#include "io/memory/buffering_source.h"

#include "io/room.h"

#include <algorithm>
#include <utility>

namespace Io::Memory {

Binary BufferingSourceImpl::Read()
{
    std::list<Piece> own(1); // the place of the block in the list, if it comes to stand there
    Binary& out = own.front().block;
    try {
        while (out.GetSize() < range.minimum && (cursor != blocks.end() || ReadBelow()))
            Take(out);
    } catch (...) { // what was taken waits again
        if (!out.IsEmpty()) {
            blocks.splice(cursor, own);
            --cursor;
        }
        throw;
    }
    Binary block = out;
    if (retain)
        blocks.splice(cursor, own);
    return block;
}

// False at the end. The place in the list is there before the block is: no block is read that has no place.
bool BufferingSourceImpl::ReadBelow()
{
    std::list<Piece> next(1);
    next.front().block = source->Read();
    if (next.front().block.IsEmpty())
        return false;
    cursor = next.begin();
    blocks.splice(blocks.end(), next);
    return true;
}

// Takes the block at the cursor, or as much of it as there is room for. The rest is not moved, so that every
// byte is copied once at most, however small the blocks are cut.
void BufferingSourceImpl::Take(Binary& out)
{
    const std::uint32_t left = cursor->block.GetSize() - cursor->begin;
    const std::uint32_t count = std::min(left, range.maximum - out.GetSize());
    if (out.IsEmpty() && cursor->begin == 0 && count == left)
        out = std::move(cursor->block);
    else
        Append(out, cursor->block.GetData() + cursor->begin, count, range.GetExpectedSize());
    if (count == left)
        cursor = blocks.erase(cursor);
    else
        cursor->begin += count;
}

bool BufferingSourceImpl::IsAtEnd()
{
    return cursor == blocks.end() && source->IsAtEnd();
}

void BufferingSourceImpl::SetBlockRange(std::uint32_t minimum, std::uint32_t maximum)
{
    range.Set(minimum, maximum);
}

void BufferingSourceImpl::StartBuffering()
{
    StopBuffering();
    retain = true;
}

void BufferingSourceImpl::StopBuffering()
{
    blocks.erase(blocks.begin(), cursor);
    retain = false;
}

void BufferingSourceImpl::Rewind()
{
    cursor = blocks.begin();
}

} // namespace Io::Memory
