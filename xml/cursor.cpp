#include "xml/cursor.h"

#include "xml/scan.h"

namespace Xml {

// Lines are counted a piece at a time, and not while its characters are read.
Cursor::Position Cursor::GetPosition() const noexcept
{
    Position position = beginPosition;
    const auto lineFeeds = static_cast<std::uint32_t>(Scan::CountLineFeeds(begin, at));
    if (lineFeeds != 0) {
        position.line += lineFeeds;
        position.column = 1;
    }
    position.column += static_cast<std::uint32_t>(at - Scan::LineBegin(at, begin));
    return position;
}

void Cursor::TakePiece()
{
    piece = WideString(); // first, so that the stream may use the memory again
    piece = stream.Read();
    begin = at = piece.c_str();
    end = begin + piece.GetLength();
}

// False at the end of the text.
bool Cursor::NextPiece()
{
    if (begin == end)
        return false;
    beginPosition = GetPosition();
    const bool isInToken = mark != nullptr;
    if (isInToken)
        Collect();
    TakePiece();
    mark = isInToken ? at : nullptr;
    return begin != end;
}

void Cursor::Collect()
{
    if (!isCollected)
        collected.Clear();
    isCollected = true;
    collected.Add(std::u16string_view(mark, static_cast<std::size_t>(at - mark)));
}

} // namespace Xml
