// Code pages and formatting, fed with any bytes. The first byte of an input chooses what is done with the
// others. Sources and targets end where their memory ends, so that AddressSanitizer sees each step too far;
// beyond that, measuring and writing must agree.
#include "fuzz/require.h"
#include "platform/text.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

using namespace Platform;

namespace {

template <class Unit>
std::unique_ptr<Unit[]> Exactly(const std::basic_string<Unit>& text)
{
    auto units = std::make_unique<Unit[]>(text.size());
    std::copy(text.begin(), text.end(), units.get());
    return units;
}

std::u16string Wide(const std::string& bytes)
{
    std::u16string text(bytes.size() / 2, u'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * 2);
    return text;
}

// ---- Code pages

// Measured and written, it has the same length.
template <class Target, class Source, class Convert>
void MeasureAndWrite(const std::basic_string<Source>& text, Convert convert)
{
    const auto source = Exactly(text);
    const int size = static_cast<int>(text.size());
    const int length = convert(source.get(), size, nullptr, 0);
    const auto target = std::make_unique<Target[]>(static_cast<std::size_t>(length));
    Require(convert(source.get(), size, target.get(), length) == length);
}

void FuzzCodePage(const std::string& bytes)
{
    constexpr std::uint32_t pages[] = {
        0, 65001, 1250, 1252, 1255, 1258, 932, 936, 949, 950, 1361, 50220, 54936, 65000, 437};
    if (bytes.size() < 3)
        return;
    const std::uint32_t page = pages[static_cast<unsigned char>(bytes[0]) % std::size(pages)];
    const std::string text = bytes.substr(1);
    MeasureAndWrite<char16_t>(
        text, [&](auto... arguments) { return MultiByteToWideChar(page, 0, arguments...); });
    MeasureAndWrite<char>(
        Wide(text), [&](auto... arguments) { return WideCharToMultiByte(page, 0, arguments...); });
}

// ---- Formatting

// Every argument is a pointer to something that is a narrow text, a wide text and a counted one: then no
// format can ask for what is not there. It counts for an integer as well.
const COUNTED_STRING counted{3, 3, "\xE4\xB8\xAD"};
constexpr std::size_t argumentCount = 110; // %99 with both stars, and more

template <class Char, bool isMessage>
int Call(Char* buffer, std::size_t capacity, const Char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int length = isMessage
        ? FormatMessageText(FORMAT_MESSAGE_FROM_STRING, format, 0, buffer, capacity, &arguments)
        : FormatPrintf(buffer, capacity, format, arguments);
    va_end(arguments);
    return length;
}

template <bool isMessage, class Char>
void FuzzFormat(const std::basic_string<Char>& format)
{
    // A conversion takes three words at most, and a star one more.
    const auto count = [&](char unit) { return std::count(format.begin(), format.end(), Char(unit)); };
    if (!isMessage && static_cast<std::size_t>(3 * count('%') + count('*')) > argumentCount)
        return;
    const auto source = Exactly(format + Char{});
    const auto formatInto = [&](Char* buffer, std::size_t capacity) {
        return [&]<std::size_t... index>(std::index_sequence<index...>)
        {
            return Call<Char, isMessage>(buffer, capacity, source.get(),
                (static_cast<void>(index), static_cast<const void*>(&counted))...);
        }
        (std::make_index_sequence<argumentCount>{});
    };
    const int length = formatInto(nullptr, 0);
    const std::size_t room = length < 0 || length > 100000 ? 100 : static_cast<std::size_t>(length) + 1;
    const auto whole = std::make_unique<Char[]>(room);
    const auto half = std::make_unique<Char[]>(room / 2 + 1);
    Require(formatInto(whole.get(), room) == length && formatInto(half.get(), room / 2 + 1) == length);
    const std::size_t written = length < 0 ? 0 : std::min(room - 1, static_cast<std::size_t>(length));
    Require(whole[written] == Char{});
    Require(std::equal(half.get(), half.get() + std::min(written, room / 2), whole.get()));
}

template <bool isMessage>
void FuzzWideFormat(const std::string& bytes)
{
    FuzzFormat<isMessage>(Wide(bytes));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* start, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string bytes(reinterpret_cast<const char*>(start) + 1, size - 1);
    constexpr void (*targets[])(const std::string&) = {FuzzCodePage, FuzzFormat<false, char>,
        FuzzWideFormat<false>, FuzzFormat<true, char>, FuzzWideFormat<true>};
    targets[*start % std::size(targets)](bytes);
    return 0;
}
