// The language of a thread beside what it is at least: a number of the thread's own, asked for through a
// hook.
//
//   BM_LangId/fast/<ours|thread_local>   of a thread that has its language: from a host's Module through the
//                                        library, and a thread_local read behind a function pointer
#include <tessel/module.h>
#include <tessel/tessel.h>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr std::uint32_t german = 0x407;

thread_local std::uint32_t bareLanguage = german;

std::uint32_t BareLanguage()
{
    return bareLanguage;
}
std::uint32_t (*bareHook)() = &BareLanguage;

void BM_LangIdOurs(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(Module::GetLangId());
}
BENCHMARK(BM_LangIdOurs)->Name("BM_LangId/fast/ours");

void BM_LangIdThreadLocal(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(bareHook); // so that it is not known what stands there
        benchmark::DoNotOptimize(bareHook());
    }
}
BENCHMARK(BM_LangIdThreadLocal)->Name("BM_LangId/fast/thread_local");

} // namespace

int main(int argc, char** argv)
{
    TesselInitialize();
    const FacePtr<Nls::Language::Creator> languages{Clsid(Nls::languageCreatorClass)};
    languages->Create(german)->Activate();
    if (Module::GetLangId() != german || bareHook() != german) {
        std::fprintf(stderr, "nls_bench: both sides give the thread's language\n");
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
