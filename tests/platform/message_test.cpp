#include "platform/errors.h"
#include "platform/kernel.h"
#include "platform/text.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

using namespace Platform;

namespace {

std::string ToNarrow(const std::u16string& text)
{
    std::string narrow(Utf16ToUtf8Length(text.data(), text.size()), '\0');
    Utf16ToUtf8(text.data(), text.size(), narrow.data(), narrow.size());
    return narrow;
}

// The text, or "!" and the last error.
std::string Message(std::uint32_t flags, const char16_t* source, ...)
{
    std::va_list arguments;
    va_start(arguments, source);
    char16_t buffer[500];
    SetLastError(0);
    const std::uint32_t length = FormatMessageW(flags, source, 0, 0, buffer, 500, &arguments);
    va_end(arguments);
    return length == 0 ? "!" + std::to_string(GetLastError()) : ToNarrow(std::u16string(buffer, length));
}

std::string NarrowMessage(const char* source, ...)
{
    std::va_list arguments;
    va_start(arguments, source);
    char buffer[500];
    SetLastError(0);
    const std::uint32_t length =
        FormatMessageA(FORMAT_MESSAGE_FROM_STRING, source, 0, 0, buffer, sizeof(buffer), &arguments);
    va_end(arguments);
    return length == 0 ? "!" + std::to_string(GetLastError()) : std::string(buffer, length);
}

constexpr std::uint32_t fromString = FORMAT_MESSAGE_FROM_STRING;
constexpr std::uint32_t systemText = 0x12FF; // from the system, inserts ignored, without line breaks

std::string SystemMessage(std::uint32_t code)
{
    char16_t buffer[200];
    SetLastError(0);
    const std::uint32_t length = FormatMessageW(systemText, nullptr, code, 0, buffer, 200, nullptr);
    return length == 0 ? "!" + std::to_string(GetLastError()) : ToNarrow(std::u16string(buffer, length));
}

} // namespace

TEST(Message, PutsInsertsInTheirPlaces)
{
    const std::pair<std::string, const char*> cases[] = {
        {Message(fromString, u"%3%2%1%1", u"a", u"b", u"c"), "cbaa"},
        {Message(fromString, u"%1, %10", u"a", u"", u"", u"", u"", u"", u"", u"", u"", u"ten"), "a, ten"},
        {Message(fromString, u"%105", u"", u"", u"", u"", u"", u"", u"", u"", u"", u"ten"), "ten5"},
        // an insert is text, and nothing in it means anything
        {Message(fromString, u"%1%2", u"%2%n%0", u"b"), "%2%n%0b"},
        {Message(fromString, u"%1", nullptr), "(null)"},
        // conversions, with stars that take the arguments in a row
        {Message(fromString, u"%1!d! %2!08x! %3!hs! %4!I64d!", -5, 0xABC, "\u00E9", 1LL << 40),
            "-5 00000abc \u00E9 1099511627776"},
        {Message(fromString, u"%1!*.*s! %4 %5!*s!", 4, 2, u"Bill", u"Bob", 6, u"Bill"), "  Bi Bob   Bill"},
        {Message(fromString, u"%2!c!%1!S!", "b", u'a'), "ab"},
        {NarrowMessage("%1 %2!S! %3!u!", "\u00E9", u"\u4E2D", 7), "\u00E9 \u4E2D 7"}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(text, expected);
}

TEST(Message, HasItsOwnEscapes)
{
    const std::pair<std::string, const char*> cases[] = {
        {Message(fromString, u"a%nb%rc%td%be%%f%!g%.h% i"), "a\r\nb\rc\td e%f!g.h i"},
        {Message(fromString, u"a%0b"), "a"}, {Message(fromString, u"%1%!", u"a"), "a!"},
        {Message(fromString, u"a\nb\r\nc"), "a\nb\r\nc"},
        {Message(fromString | FORMAT_MESSAGE_MAX_WIDTH_MASK, u"a\nb\r\nc\r\rd%ne"), "a b c  d\r\ne"},
        {Message(fromString | FORMAT_MESSAGE_IGNORE_INSERTS, u"%1 %% %n %"), "%1 %% %n %"}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(text, expected);
}

TEST(Message, IsRefusedWithAReason)
{
    // not a message, or an argument that is not in the row of words
    for (const char16_t* const source : {u"%", u"a%", u"%1!d", u"%1!", u"%1!!", u"%1!y!", u"%1!n!",
             u"%1!d d!", u"%1!f!", u"%1!*g!", u"%1!99999999999d!"})
        EXPECT_EQ(Message(fromString, source, 1, 2, 3), "!87") << ToNarrow(source);
    // flags that are not served
    for (const std::uint32_t flags :
        {0U, fromString | 0x1000U, fromString | 0x100U, fromString | 40U, 0x800U, fromString | 0x2000U})
        EXPECT_EQ(Message(flags, u"a"), "!87") << flags;
    EXPECT_EQ(Message(fromString, nullptr), "!87");
    EXPECT_EQ(Message(fromString, u""), "!0");
    char16_t buffer[8];
    EXPECT_EQ(FormatMessageText(fromString, u"%1", 0, buffer, 8, nullptr), -1);
}

TEST(Message, TellsHowLongItIsWhereItDoesNotFit)
{
    const auto format = [](char16_t* buffer, const char16_t* source, ...) {
        std::va_list arguments;
        va_start(arguments, source);
        EXPECT_EQ(FormatMessageW(fromString, source, 0, 0, buffer, 6, &arguments), 0U);
        EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
        const int length = FormatMessageText(fromString, source, 0, buffer, 6, &arguments);
        va_end(arguments);
        return length;
    };
    char16_t buffer[6];
    EXPECT_EQ(format(buffer, u"%1%1", u"abc"), 6);
    EXPECT_EQ(std::u16string(buffer), u"abcab");
    EXPECT_EQ(format(buffer, u"%1-%1", std::u16string(1 << 20, u'x').c_str()), (2 << 20) + 1);
}

TEST(SystemText, IsTheLibrarysOrThatOfThisLayer)
{
    EXPECT_EQ(SystemMessage(ERROR_FILE_NOT_FOUND), strerrordesc_np(ENOENT));
    EXPECT_EQ(SystemMessage(ERROR_FILE_EXISTS), SystemMessage(ERROR_ALREADY_EXISTS));
    EXPECT_EQ(SystemMessage(ERROR_SUCCESS), strerrordesc_np(0));
    for (const std::uint32_t own : {ERROR_GEN_FAILURE, ERROR_MOD_NOT_FOUND, ERROR_KEY_DELETED})
        EXPECT_EQ(SystemMessage(own).find_first_of("!%\r\n"), std::string::npos) << own;
    for (const std::uint32_t code : {7777U, 0xE7210001U, 0xFFFFFFFFU})
        EXPECT_EQ(SystemMessage(code), "!317") << code;
    char buffer[200];
    EXPECT_GT(
        FormatMessageA(systemText, nullptr, ERROR_FILE_NOT_FOUND, 0, buffer, sizeof(buffer), nullptr), 0U);
    EXPECT_STREQ(buffer, strerrordesc_np(ENOENT));
}
