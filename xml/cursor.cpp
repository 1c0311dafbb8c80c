#include "xml/cursor.h"

#include "xml/scan.h"

namespace Xml {

// Lines are counted a piece at a time, and not while its characters are read.
Cursor::Position Cursor::GetPosition() const noexcept
{
    Position position = beginPosition;
    const auto lineFeeds = static_cast<std::uint32_t>(Scan::CountLineFeeds(begin, at));
    const char16_t* lineBegin = begin;
    if (lineFeeds != 0) {
        position.line += lineFeeds;
        position.column = 1;
        for (lineBegin = at; lineBegin[-1] != u'\n';)
            --lineBegin;
    }
    position.column += static_cast<std::uint32_t>(at - lineBegin);
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

std::u16string_view Cursor::EndToken()
{
    const char16_t* const first = mark;
    if (isCollected)
        Collect();
    mark = nullptr;
    return isCollected ? collected.View() : std::u16string_view(first, static_cast<std::size_t>(at - first));
}

} // namespace Xml
