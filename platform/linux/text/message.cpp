// Texts with numbered inserts.
#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/linux/text/printf.h"
#include "platform/linux/text/system_text.h"
#include "platform/text.h"

#include <cstring>

namespace Platform {

namespace {

using Printf::Arguments;
using Printf::Conversion;
using Printf::Output;

template <class Char>
class Message {
public:
    Message(std::uint32_t flags, std::va_list* arguments, Char* buffer, std::size_t capacity) noexcept
        : ignoresInserts((flags & FORMAT_MESSAGE_IGNORE_INSERTS) != 0),
          joinsLines((flags & FORMAT_MESSAGE_MAX_WIDTH_MASK) != 0),
          list(arguments),
          output(buffer, capacity)
    {
    }

    // The length of the whole text, negative if the source is no message.
    int Format(const Char* source) noexcept
    {
        while (source != nullptr && *source != '\0' && !isEnded)
            source = Step(source);
        const int length = output.Finish();
        return source != nullptr ? length : -1;
    }

private:
    // Each of these takes something from the start of the source and gives what follows: null for a
    // source that is no message.
    const Char* Step(const Char* source) noexcept
    {
        if (*source == '%' && !ignoresInserts)
            return Escape(source + 1);
        if (joinsLines && (*source == '\n' || *source == '\r'))
            return LineBreak(source);
        const Char* end = source + 1;
        while (*end != '\0' && *end != '%' && *end != '\n' && *end != '\r')
            ++end;
        output.Write(source, static_cast<std::size_t>(end - source));
        return end;
    }

    const Char* LineBreak(const Char* source) noexcept
    {
        output.Put(' ');
        return source + (source[0] == '\r' && source[1] == '\n' ? 2 : 1);
    }

    // Behind a percent sign.
    const Char* Escape(const Char* source) noexcept
    {
        const Char escape = *source++;
        if (escape >= '1' && escape <= '9')
            return Insert(source - 1);
        switch (escape) {
        case '\0':
            return nullptr;
        case '0':
            isEnded = true;
            break;
        case 'n':
            output.Put('\r');
            output.Put('\n');
            break;
        case 'r':
            output.Put('\r');
            break;
        case 't':
            output.Put('\t');
            break;
        case 'b':
            output.Put(' ');
            break;
        default:
            output.Put(escape);
            break;
        }
        return source;
    }

    // At the number of an insert.
    const Char* Insert(const Char* source) noexcept
    {
        if (list == nullptr)
            return nullptr;
        int number = *source++ - '0';
        if (*source >= '0' && *source <= '9')
            number = number * 10 + (*source++ - '0');
        // Each insert walks through a copy of the list, which knows no other way to its argument.
        Arguments arguments(*list);
        for (int before = 1; before < number; ++before)
            arguments.Word();
        Conversion conversion;
        conversion.type = 's';
        conversion.kind = Printf::Kind::Text;
        if (*source == '!') {
            source = Printf::ReadConversion(source + 1, conversion, arguments);
            // Floating point arguments do not lie in the list's row of words.
            if (source == nullptr || *source++ != '!' || conversion.kind == Printf::Kind::FloatingPoint)
                return nullptr;
        }
        Printf::WriteConversion(output, conversion, arguments);
        return source;
    }

    bool ignoresInserts;
    bool joinsLines;
    bool isEnded = false;
    std::va_list* list;
    Output<Char> output;
};

constexpr std::size_t longestSystemText = 128;

const char* Widened(const char* text, char (&)[longestSystemText]) noexcept
{
    return text;
}
const char16_t* Widened(const char* text, char16_t (&space)[longestSystemText]) noexcept
{
    const std::size_t length = Utf8ToUtf16(text, std::strlen(text), space, longestSystemText - 1);
    space[length] = u'\0';
    return space;
}

// The result of FormatMessageText; `error` tells why it is negative.
template <class Char>
int Format(std::uint32_t flags, const Char* source, std::uint32_t messageId, Char* buffer,
    std::size_t capacity, std::va_list* arguments) noexcept
{
    constexpr std::uint32_t knownFlags = FORMAT_MESSAGE_MAX_WIDTH_MASK | FORMAT_MESSAGE_IGNORE_INSERTS
        | FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_FROM_SYSTEM;
    const std::uint32_t width = flags & FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const bool isString = (flags & FORMAT_MESSAGE_FROM_STRING) != 0;
    const bool isSystem = (flags & FORMAT_MESSAGE_FROM_SYSTEM) != 0;
    Char space[longestSystemText];
    int length = -1;
    std::uint32_t error = ERROR_INVALID_PARAMETER;
    if (isSystem && !isString) {
        const char* const text = SystemText(messageId);
        source = text != nullptr ? Widened(text, space) : nullptr;
        error = text != nullptr ? error : ERROR_MR_MID_NOT_FOUND;
    }
    if (isString != isSystem && (flags & ~knownFlags) == 0 && source != nullptr
        && (width == 0 || width == FORMAT_MESSAGE_MAX_WIDTH_MASK))
        length = Message<Char>(flags, arguments, buffer, capacity).Format(source);
    if (length < 0) {
        Fail(error);
        if (capacity > 0)
            *buffer = Char{};
    }
    return length;
}

template <class Char>
std::uint32_t FormatWhole(std::uint32_t flags, const Char* source, std::uint32_t messageId, Char* buffer,
    std::uint32_t capacity, std::va_list* arguments) noexcept
{
    const int length = Format(flags, source, messageId, buffer, capacity, arguments);
    if (length < 0)
        return 0;
    if (static_cast<std::uint32_t>(length) < capacity)
        return static_cast<std::uint32_t>(length);
    Fail(ERROR_INSUFFICIENT_BUFFER);
    return 0;
}

} // namespace

std::uint32_t FormatMessageW(std::uint32_t flags, const char16_t* source, std::uint32_t messageId,
    std::uint32_t, char16_t* buffer, std::uint32_t capacity, std::va_list* arguments) noexcept
{
    return FormatWhole(flags, source, messageId, buffer, capacity, arguments);
}

std::uint32_t FormatMessageA(std::uint32_t flags, const char* source, std::uint32_t messageId, std::uint32_t,
    char* buffer, std::uint32_t capacity, std::va_list* arguments) noexcept
{
    return FormatWhole(flags, source, messageId, buffer, capacity, arguments);
}

int FormatMessageText(std::uint32_t flags, const char16_t* source, std::uint32_t messageId, char16_t* buffer,
    std::size_t capacity, std::va_list* arguments) noexcept
{
    return Format(flags, source, messageId, buffer, capacity, arguments);
}

int FormatMessageText(std::uint32_t flags, const char* source, std::uint32_t messageId, char* buffer,
    std::size_t capacity, std::va_list* arguments) noexcept
{
    return Format(flags, source, messageId, buffer, capacity, arguments);
}

} // namespace Platform
