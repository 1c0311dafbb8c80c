// Cursor: the position of one parse in its text.
//
// Text comes in pieces that end anywhere, also inside a token. A token that lies in one piece is given as a
// view of it; what crosses the end of a piece, or has something replaced, is collected.
#pragma once

#include "base/text_builder.h"
#include "xml/text_streams.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace Xml {

class Cursor {
public:
    struct Position {
        std::uint32_t line;
        std::uint32_t column;
    };

    // Takes the first piece.
    explicit Cursor(StringReadingStream& source) : stream(source) { TakePiece(); }
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;

    // The character at the position; 0 at the end of the text and only there.
    char16_t Current() const noexcept { return *at; }
    // Of the current character, both counted from 1.
    Position GetPosition() const noexcept;

    // To the next character; not called at the end of the text.
    void Advance()
    {
        if (++at == end)
            NextPiece();
    }
    // To the first character that `find(from, to)` finds, which gives `to` if it finds none before, or to the
    // end of the text.
    template <class Find>
    void AdvanceTo(Find find)
    {
        do
            at = find(at, end);
        while (at == end && NextPiece());
    }

    // ---- A token: what is read between its begin and its end

    void BeginToken() noexcept
    {
        mark = at;
        isCollected = false;
    }
    std::size_t GetTokenLength() const noexcept
    {
        return (isCollected ? collected.GetLength() : 0) + static_cast<std::size_t>(at - mark);
    }
    // What is read until the resumption does not belong to the token.
    void PauseToken()
    {
        Collect();
        mark = nullptr;
    }
    void ResumeToken() noexcept { mark = at; }
    // Only while the token is paused.
    void AddToToken(char16_t character) { collected.Add(character); }
    void DropToken() noexcept { mark = nullptr; }
    // The characters; valid until the cursor moves or another token begins.
    std::u16string_view EndToken()
    {
        if (isCollected)
            Collect();
        const char16_t* const first = std::exchange(mark, nullptr);
        return isCollected ? collected.View()
                           : std::u16string_view(first, static_cast<std::size_t>(at - first));
    }

private:
    void TakePiece();
    bool NextPiece();
    void Collect();

    StringReadingStream& stream;
    WideString piece;
    const char16_t* begin = nullptr; // of the piece; empty at the end of the text
    const char16_t* at = nullptr; // before `end`, but at the end of the text
    const char16_t* end = nullptr;
    Position beginPosition{1, 1};
    const char16_t* mark = nullptr; // where the part of the token begins that is not collected; null: none
    bool isCollected = false; // a part of the token
    TextBuilder collected;
};

} // namespace Xml
