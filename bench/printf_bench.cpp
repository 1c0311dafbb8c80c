// Formatting in the dialect of printf, beside the C library's snprintf of the same text.
//
//   BM_Printf/<case>/<ours|libc>
//
// Ours formats wide text, as the library does everywhere; the C library narrow text, which is what it is
// good at. Both are given room enough. Cases are formats that the library itself is full of, and the
// conversions one by one.
#include "platform/text.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr std::size_t room = 512;

int Ours(char16_t* buffer, const char16_t* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int length = Platform::FormatPrintf(buffer, room, format, arguments);
    va_end(arguments);
    return length;
}

int Libc(char* buffer, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer, room, format, arguments);
    va_end(arguments);
    return length;
}

// A text as each side takes it.
struct Text {
    const char16_t* wide;
    const char* narrow;
};

template <class Argument>
Argument ForOurs(Argument argument)
{
    return argument;
}
const char16_t* ForOurs(Text text)
{
    return text.wide;
}
template <class Argument>
Argument ForLibc(Argument argument)
{
    return argument;
}
const char* ForLibc(Text text)
{
    return text.narrow;
}

template <class... Arguments>
void Register(const std::string& name, const std::string& format, Arguments... arguments)
{
    const std::u16string wideFormat(format.begin(), format.end());
    const auto ours = [=](char16_t* buffer) {
        return Ours(buffer, wideFormat.c_str(), ForOurs(arguments)...);
    };
    const auto libc = [=](char* buffer) { return Libc(buffer, format.c_str(), ForLibc(arguments)...); };
    char16_t wide[room];
    char narrow[room];
    const std::u16string ourText(wide, static_cast<std::size_t>(ours(wide)));
    const std::string libcText(narrow, static_cast<std::size_t>(libc(narrow)));
    if (ourText != std::u16string(libcText.begin(), libcText.end())) {
        std::fprintf(stderr, "printf_bench: the sides differ for %s\n", format.c_str());
        std::abort();
    }
    benchmark::RegisterBenchmark(("BM_Printf/" + name + "/ours").c_str(), [=](benchmark::State& state) {
        char16_t buffer[room];
        for (auto _ : state) {
            benchmark::DoNotOptimize(ours(buffer));
            benchmark::ClobberMemory();
        }
    });
    benchmark::RegisterBenchmark(("BM_Printf/" + name + "/libc").c_str(), [=](benchmark::State& state) {
        char buffer[room];
        for (auto _ : state) {
            benchmark::DoNotOptimize(libc(buffer));
            benchmark::ClobberMemory();
        }
    });
}

} // namespace

int main(int argc, char** argv)
{
    const Text name{u"CID_Mt::ManualEventBasedBlocker", "CID_Mt::ManualEventBasedBlocker"};
    const Text path{u"C:\\home\\user\\documents\\report.xml", "C:\\home\\user\\documents\\report.xml"};
    Register("plain", "A text without any conversion in it, of about sixty characters.");
    Register("d", "%d", -123456);
    Register("u64", "%llu", 12345678901234567890ULL);
    Register("x", "%x", 0xE7210001U);
    Register("08x", "%08x", 0xBEEFU);
    Register("s", "%s", name);
    Register("padded", "%-40s|%20s|%6d", name, path, 42);
    Register("message", "objlib-noload(%s) in %s, line %d column %d: error 0x%08x", name, path, 120, 17,
        0xE7210001U);
    Register("g", "%g", 3.14159);
    Register("f", "%.3f", 12345.6789);
    Register("e", "%.10e", 6.02214076e23);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
