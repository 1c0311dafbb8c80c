// Strings that grow.
//
//   BM_Append/<units>/<ours|scan|strlen>  16 characters behind a text of so many 16-bit units, which does not
//                                         know its length; beside one scan for it, and strlen of as many
//                                         bytes
//   BM_TextBuilder/linear/<ours|short>    4 million characters as one text, beside four texts of one
//                                         million, none of which fits in a cache
#include "base/text_builder.h"
#include "require.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <malloc.h>
#include <string>

namespace {

constexpr const char16_t* piece = u"sixteen letters.";
constexpr std::size_t pieceLength = 16;

// A text that has room for one more piece, so that nothing but the append is measured.
WideString WithRoom(std::size_t units)
{
    WideString text;
    text.Append(u'x', units + pieceLength);
    text.PrepareWriting(0, true)[units] = 0;
    return text;
}

void Append(benchmark::State& state, std::size_t units)
{
    WideString text = WithRoom(units);
    char16_t* const end = text.PrepareWriting(0, true) + units;
    for (auto _ : state) {
        text += piece;
        benchmark::ClobberMemory();
        *end = 0;
    }
    text += piece;
    Require(text.GetLength() == units + pieceLength, "the text has not grown by the piece");
}

void Strlen(benchmark::State& state, std::size_t units)
{
    const std::string text(units * sizeof(char16_t), 'x');
    const char* read = text.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(read);
        benchmark::DoNotOptimize(std::strlen(read));
    }
}

void Scan(benchmark::State& state, std::size_t units)
{
    const WideString text = WithRoom(units);
    for (auto _ : state) {
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(text.GetLength());
    }
}

void Build(benchmark::State& state, std::size_t texts, std::size_t units)
{
    for (auto _ : state)
        for (std::size_t i = 0; i < texts; ++i) {
            TextBuilder builder;
            for (std::size_t length = 0; length < units; length += pieceLength)
                builder.Add(std::u16string_view(piece, pieceLength));
            const WideString text = builder.Take();
            Require(text.c_str()[units] == 0 && text.c_str()[units - 1] == u'.', "the text is not whole");
        }
}

} // namespace

int main(int argc, char** argv)
{
    // Memory stays with the process: pages that the kernel makes anew would be all that is measured.
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    for (const std::size_t units : {100, 10000, 1000000}) {
        const std::string name = "BM_Append/" + std::to_string(units);
        benchmark::RegisterBenchmark((name + "/ours").c_str(), Append, units);
        benchmark::RegisterBenchmark((name + "/scan").c_str(), Scan, units);
        benchmark::RegisterBenchmark((name + "/strlen").c_str(), Strlen, units);
    }
    benchmark::RegisterBenchmark("BM_TextBuilder/linear/ours", Build, std::size_t{1}, std::size_t{1} << 22);
    benchmark::RegisterBenchmark(
        "BM_TextBuilder/linear/short", Build, std::size_t{1} << 2, std::size_t{1} << 20);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
