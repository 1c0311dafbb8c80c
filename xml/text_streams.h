// The streams of wide text that the reader and the writer stand on, over a string and over a file. A file
// holds UTF-8, and only its streams know that text has an encoding.
//
// One thread at a time uses a stream. What is not told otherwise throws std::bad_alloc for want of memory.
#pragma once

#include "base/text_builder.h"
#include "platform/files.h"
#include <tessel/base/string.h>
#include <tessel/object/face_ptr.h>

struct StringReadingStream : Face<> {
    static constexpr Iid iid = u"IID_StringReadingStream"_iid;

    // The next piece of the text, of any length, from and to any place. The empty one is the end.
    virtual WideString Read() = 0;
};

struct StringWritingStream : Face<> {
    static constexpr Iid iid = u"IID_StringWritingStream"_iid;

    // Adds a piece, which may be empty. A character that is a surrogate pair stays in one piece.
    virtual void Write(const WideString& text) = 0;
};

// The whole text at once.
class StreamFromString : public Face<StringReadingStream> {
public:
    explicit StreamFromString(WideString whole) noexcept : text(std::move(whole)) { }

    WideString Read() override { return std::exchange(text, WideString()); }

private:
    WideString text;
};

class StreamToString : public Face<StringWritingStream> {
public:
    // Throws "xml-writer-size" where the text would outgrow a string.
    void Write(const WideString& piece) override;
    // All that was written; the stream is empty afterwards.
    WideString TakeText() { return text.Take(); }

private:
    TextBuilder text;
};

// From a file that somebody else opens and closes. A mark at the very start is left out. Bytes that are no
// UTF-8 become U+FFFD; a zero byte ends the text, and so does the end of the file within a character.
class StreamFromFile : public Face<StringReadingStream> {
public:
    explicit StreamFromFile(Platform::FILE* opened) noexcept : file(opened) { }

    // Throws "read-io-err" if the file cannot be read.
    WideString Read() override;

private:
    std::size_t ReadBlock(char* block);
    WideString Convert(const char* bytes, std::size_t count);

    Platform::FILE* file;
    char carry[32] = ""; // the start of a character that the last block has cut off
    bool atStart = true;
    bool atEnd = false; // a zero byte was read
    WideString converted; // its memory serves again if the last piece is gone by the next Read
};

// Into a file that somebody else opens and closes, which may be what writes the last bytes.
class StreamToFile : public Face<StringWritingStream> {
public:
    explicit StreamToFile(Platform::FILE* opened) noexcept : file(opened) { }

    // Throws "read-io-err" if the file cannot be written.
    void Write(const WideString& piece) override;

private:
    Platform::FILE* file;
};
