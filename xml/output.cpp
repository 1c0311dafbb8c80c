#include "xml/output.h"

#include <algorithm>
#include <array>
#include <new>

namespace Xml {

namespace {
constexpr std::size_t pieceUnits = 4096;
}

Output::Output(StringWritingStream& its) : stream(its)
{
    MakePiece();
}

// A stream that has kept the last piece keeps its memory too.
void Output::MakePiece()
{
    begin = piece.PrepareWriting(static_cast<std::uint32_t>((pieceUnits + 1) * sizeof(char16_t)), false);
    if (begin == nullptr)
        throw std::bad_alloc();
    at = begin;
    end = begin + pieceUnits;
}

void Output::AddInPieces(std::u16string_view text)
{
    while (!text.empty()) {
        if (at == end)
            WritePiece();
        const std::size_t count = std::min(text.size(), static_cast<std::size_t>(end - at));
        text.copy(at, count);
        at += count;
        text.remove_prefix(count);
    }
}

void Output::AddBlanks(std::size_t count)
{
    static constexpr auto blanks = [] {
        std::array<char16_t, 128> filled{};
        filled.fill(u' ');
        return filled;
    }();
    for (; count > blanks.size(); count -= blanks.size())
        Add({blanks.data(), blanks.size()});
    Add({blanks.data(), count});
}

// The first half of a surrogate pair waits for the second one.
void Output::WritePiece()
{
    const char16_t last = at[-1];
    const bool isHalf = (last & 0xFC00) == 0xD800;
    at -= isHalf ? 1 : 0;
    Flush();
    if (isHalf)
        *at++ = last;
}

void Output::Flush()
{
    *at = 0;
    at = begin; // in any case: what a stream has refused is not offered again
    stream.Write(piece);
    MakePiece();
}

} // namespace Xml
