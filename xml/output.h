// Output: collects what is written and hands it to a stream in pieces of a good size.
#pragma once

#include "xml/text_streams.h"

#include <cstddef>
#include <string_view>

namespace Xml {

class Output {
public:
    explicit Output(StringWritingStream& its);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Add(char16_t character) { Add(std::u16string_view(&character, 1)); }
    void Add(std::u16string_view text)
    {
        if (text.size() > static_cast<std::size_t>(end - at))
            return AddInPieces(text);
        text.copy(at, text.size());
        at += text.size();
    }
    void AddBlanks(std::size_t count);
    // To be called at the end; the destructor writes nothing.
    void Flush();

private:
    void AddInPieces(std::u16string_view text);
    void MakePiece();
    void WritePiece();

    StringWritingStream& stream;
    WideString piece;
    char16_t* begin = nullptr; // of the piece, which is terminated only when it is written
    char16_t* at = nullptr;
    char16_t* end = nullptr;
};

} // namespace Xml
