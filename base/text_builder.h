// TextBuilder: puts a long text together piece by piece in linear time. A string counts its characters at
// each use; this keeps the length, grows by doubling and makes the string at the end.
#pragma once

#include <tessel/base/string.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

class TextBuilder {
public:
    // Throws std::bad_alloc when the text does not fit in memory or in a string.
    TextBuilder& Add(std::u16string_view piece)
    {
        char16_t* const end = MakeRoom(piece.size());
        if (!piece.empty())
            std::memcpy(end, piece.data(), piece.size() * sizeof(char16_t));
        length += piece.size();
        return *this;
    }
    TextBuilder& Add(const WideString& piece) { return Add(std::u16string_view(piece.c_str())); }
    TextBuilder& Add(const char16_t* piece) { return Add(std::u16string_view(piece)); }
    TextBuilder& Add(char16_t character) { return Add(std::u16string_view(&character, 1)); }

    std::size_t GetLength() const noexcept { return length; }
    // The text as it stands, until something is added.
    std::u16string_view View() const noexcept { return {buffer, length}; }
    // The empty text, in the same memory.
    void Clear() noexcept { length = 0; }

    // The text; the builder is empty afterwards.
    WideString Take()
    {
        if (capacity != 0)
            buffer[length] = 0;
        length = 0;
        capacity = 0;
        return std::exchange(text, WideString());
    }

private:
    // Where the next piece goes, with room for it and a terminator behind it.
    char16_t* MakeRoom(std::size_t added)
    {
        if (length + added >= capacity)
            Grow(added);
        return buffer + length;
    }

    void Grow(std::size_t added)
    {
        constexpr std::size_t most = 0x7FFFFF00;
        if (added >= most - length)
            throw std::bad_alloc();
        WideString grown;
        const std::size_t wanted =
            std::min(most, std::max<std::size_t>(128, std::max(length * 2, length + added + 1)));
        char16_t* const target =
            grown.CtorPrepareWriting(static_cast<std::uint32_t>(wanted * sizeof(char16_t)));
        if (target == nullptr)
            throw std::bad_alloc();
        std::memcpy(target, text.c_str(), length * sizeof(char16_t));
        target[length] = 0;
        text = std::move(grown);
        buffer = target;
        capacity = text.GetCapacity() / sizeof(char16_t);
    }

    WideString text; // terminated only by Take
    char16_t* buffer = nullptr; // its characters
    std::size_t length = 0;
    std::size_t capacity = 0; // characters, terminator included
};
