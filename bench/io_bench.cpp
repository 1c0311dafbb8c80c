// Files, folders and paths beside the system's calls, stdio and std::filesystem.
//
//   BM_FileRead/<case>/<side>    a file of 64 MiB that lies in the system's memory; "small" in the blocks of
//   a file's
//                                own source, "large" in blocks of 1 MiB through a buffering source; the peers
//                                read each block into a buffer of its own; the side "small" is ours in small
//                                blocks
//   BM_FileCopy/<case>/<side>    that file to another one, through the buffering pair, in blocks of that size
//   BM_FolderList/<case>/<side>  a folder of so many files, to a path for each
//   BM_TreeDelete/<case>/<side>  a tree of so many files, 100 a folder
//   BM_PathNormal/<case>/<side>  a path text to its normal form
//
// TMPDIR names the file system.
#include <tessel/base/utf8.h>
#include <tessel/base/value.h>
#include <tessel/io/buffering.h>
#include <tessel/io/path_factory.h>
#include <tessel/object/system.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace Io;

constexpr std::uint32_t smallBlock = 16384;
constexpr std::uint32_t largeBlock = 1 << 20;
constexpr std::uint64_t fileSize = 64ULL << 20;

// Gone with all that is in it when the program ends.
struct Workplace {
    Workplace()
    {
        std::string name = std::filesystem::temp_directory_path() / "tessel-bench-XXXXXX";
        folder = ::mkdtemp(name.data());
        std::ofstream file(folder / "large", std::ios::binary);
        for (std::uint64_t word = 0; word < fileSize / sizeof(word); ++word)
            file.write(reinterpret_cast<const char*>(&word), sizeof(word));
    }
    ~Workplace() { std::filesystem::remove_all(folder); }

    std::filesystem::path folder;
};

const std::filesystem::path& Folder()
{
    static const Workplace workplace;
    return workplace.folder;
}

FacePtr<Path> PathOf(const WideString& text)
{
    static const FacePtr<Fs::PathFactory> factory{Clsid(Fs::pathFactoryClass)};
    Value value;
    value = text;
    return factory->CreatePath(PathType::Absolute, value, false);
}

FacePtr<Path> PathOf(const std::filesystem::path& place)
{
    return PathOf(WideString(u"C:") + StringFromUtf8(place.c_str()));
}

FacePtr<Source> OpenLarge()
{
    return PathOf(Folder() / "large")
        ->OpenFile(AccessMode::Read, ShareMode::Read, IfExists::Open, IfMissing::Fail)
        ->OpenSource();
}

FacePtr<Source> OpenLargeInBlocks(std::uint32_t size)
{
    const FacePtr<BufferingSource> source =
        FacePtr<BufferingSource::Creator>(Clsid(bufferingSourceCreatorClass))->CreateSource(OpenLarge());
    source->SetBlockRange(size, size);
    return source;
}

// A word from each end of a block: what a reader at least looks at.
std::uint64_t Touched(const unsigned char* bytes, std::size_t size)
{
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::memcpy(&first, bytes, sizeof(first));
    std::memcpy(&last, bytes + size - sizeof(last), sizeof(last));
    return first * 31 + last;
}

std::uint64_t ReadOurs(const FacePtr<Source>& source)
{
    std::uint64_t sum = 0;
    while (!source->IsAtEnd()) {
        const Binary block = source->Read();
        sum += Touched(block.GetData(), block.GetSize());
    }
    return sum;
}

std::uint64_t ReadBare(std::uint32_t blockSize)
{
    const int file = ::open((Folder() / "large").c_str(), O_RDONLY);
    std::uint64_t sum = 0;
    for (off_t offset = 0;;) {
        const auto buffer = std::make_unique_for_overwrite<unsigned char[]>(blockSize);
        const ssize_t count = ::pread(file, buffer.get(), blockSize, offset);
        if (count <= 0)
            break;
        sum += Touched(buffer.get(), static_cast<std::size_t>(count));
        offset += count;
    }
    ::close(file);
    return sum;
}

template <class Read>
void TimeRead(benchmark::State& state, Read read, std::uint64_t expected)
{
    if (read() != expected)
        return state.SkipWithError("the two sides read different bytes");
    for (auto _ : state)
        benchmark::DoNotOptimize(read());
}

void CopyOurs(std::uint32_t blockSize)
{
    const FacePtr<Source> source = OpenLargeInBlocks(blockSize);
    const FacePtr<BufferingSink> sink = FacePtr<BufferingSink::Creator>(Clsid(bufferingSinkCreatorClass))
                                            ->CreateSink(PathOf(Folder() / "copy")
                                                             ->OpenFile(AccessMode::Write, ShareMode::None,
                                                                 IfExists::Truncate, IfMissing::Create)
                                                             ->OpenSink());
    sink->SetBlockRange(blockSize, blockSize);
    while (!source->IsAtEnd())
        sink->Write(source->Read());
    // What is written lies in the system's memory, as with stdio: nobody asks for more.
}

void CopyByStdio(std::uint32_t blockSize)
{
    std::FILE* const from = std::fopen((Folder() / "large").c_str(), "rb");
    std::FILE* const to = std::fopen((Folder() / "copy").c_str(), "wb");
    std::vector<char> block(blockSize);
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), from))
        std::fwrite(block.data(), 1, count, to);
    std::fclose(from);
    std::fclose(to);
}

template <class Copy>
void TimeCopy(benchmark::State& state, Copy copy, std::uint32_t blockSize)
{
    copy(blockSize);
    if (std::filesystem::file_size(Folder() / "copy") != fileSize)
        return state.SkipWithError("the copy has another size");
    for (auto _ : state)
        copy(blockSize);
}

std::filesystem::path FolderOfMany(int count)
{
    const std::filesystem::path folder = Folder() / "many";
    if (std::filesystem::create_directory(folder))
        for (int i = 0; i < count; ++i)
            ::close(
                ::open((folder / ("entry number " + std::to_string(i))).c_str(), O_CREAT | O_WRONLY, 0666));
    return folder;
}

std::size_t ListOurs(const std::filesystem::path& place)
{
    return PathOf(place)->OpenFolder(IfExists::Open, IfMissing::Fail, false)->Enumerate({}, nullptr).size();
}

std::size_t ListByStandard(const std::filesystem::path& place)
{
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(place))
        paths.push_back(entry.path());
    return paths.size();
}

template <class List>
void TimeList(benchmark::State& state, List list)
{
    constexpr int count = 100000;
    const std::filesystem::path folder = FolderOfMany(count);
    if (list(folder) != count)
        return state.SkipWithError("not all are listed");
    for (auto _ : state)
        benchmark::DoNotOptimize(list(folder));
}

template <class Delete>
void TimeDelete(benchmark::State& state, Delete deleteTree)
{
    const std::filesystem::path tree = Folder() / "tree";
    for (auto _ : state) {
        std::filesystem::create_directory(tree);
        for (int folder = 0; folder < 500; ++folder) {
            const std::filesystem::path below = tree / std::to_string(folder);
            std::filesystem::create_directory(below);
            for (int i = 0; i < 100; ++i)
                ::close(::open((below / std::to_string(i)).c_str(), O_CREAT | O_WRONLY, 0666));
        }
        const auto start = std::chrono::steady_clock::now();
        deleteTree(tree);
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        if (std::filesystem::exists(tree))
            return state.SkipWithError("not all is deleted");
    }
}

struct Text {
    const char* name;
    const char* below; // the root
    const char* normal;
};
const Text texts[] = {{"plain", "/home/somebody/projects/tessel/include/file.h",
                          "/home/somebody/projects/tessel/include/file.h"},
    {"dots", "/home/./somebody/projects/../documents//letters/./2024/../2025/letter.txt",
        "/home/somebody/documents/letters/2025/letter.txt"},
    {"short", "/tmp/x", "/tmp/x"}};

void NormaliseOurs(benchmark::State& state, const Text& text)
{
    const WideString wide = WideString(u"C:") + StringFromUtf8(text.below);
    std::string expected = "C:" + std::string(text.normal);
    for (char& c : expected)
        c = c == '/' ? '\\' : c;
    if (PathOf(wide)->GetString() != StringFromUtf8(expected.c_str()))
        return state.SkipWithError("another path");
    for (auto _ : state)
        benchmark::DoNotOptimize(PathOf(wide));
}

void NormaliseByStandard(benchmark::State& state, const Text& text)
{
    const std::string narrow = text.below;
    if (std::filesystem::path(narrow).lexically_normal() != text.normal)
        return state.SkipWithError("another path");
    for (auto _ : state)
        benchmark::DoNotOptimize(std::filesystem::path(narrow).lexically_normal());
}

void Register()
{
    const std::uint64_t small = ReadBare(smallBlock);
    const std::uint64_t large = ReadBare(largeBlock);
    const auto reading = [](const char* name, auto read, std::uint64_t expected) {
        benchmark::RegisterBenchmark(name, [=](benchmark::State& state) { TimeRead(state, read, expected); });
    };
    reading(
        "BM_FileRead/small/ours", [] { return ReadOurs(OpenLarge()); }, small);
    reading(
        "BM_FileRead/small/pread", [] { return ReadBare(smallBlock); }, small);
    reading(
        "BM_FileRead/large/ours", [] { return ReadOurs(OpenLargeInBlocks(largeBlock)); }, large);
    reading(
        "BM_FileRead/large/pread", [] { return ReadBare(largeBlock); }, large);
    reading(
        "BM_FileRead/large/small", [] { return ReadOurs(OpenLarge()); }, small);
    const auto copying = [](const char* name, auto copy, std::uint32_t blockSize) {
        benchmark::RegisterBenchmark(
            name, [=](benchmark::State& state) { TimeCopy(state, copy, blockSize); });
    };
    copying("BM_FileCopy/small/ours", CopyOurs, smallBlock);
    copying("BM_FileCopy/small/stdio", CopyByStdio, smallBlock);
    copying("BM_FileCopy/large/ours", CopyOurs, largeBlock);
    copying("BM_FileCopy/large/stdio", CopyByStdio, largeBlock);
    benchmark::RegisterBenchmark("BM_FolderList/100000/ours", [](auto& state) { TimeList(state, ListOurs); });
    benchmark::RegisterBenchmark(
        "BM_FolderList/100000/std", [](auto& state) { TimeList(state, ListByStandard); });
    const auto deleteOurs = [](const std::filesystem::path& tree) { PathOf(tree)->Delete(true); };
    const auto deleteByStandard = [](const std::filesystem::path& tree) {
        std::filesystem::remove_all(tree);
    };
    benchmark::RegisterBenchmark(
        "BM_TreeDelete/50000/ours", [=](auto& state) { TimeDelete(state, deleteOurs); })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(3); // the tree is made anew each time, which takes long
    benchmark::RegisterBenchmark(
        "BM_TreeDelete/50000/std", [=](auto& state) { TimeDelete(state, deleteByStandard); })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(3); // the tree is made anew each time, which takes long
    for (const Text& text : texts) {
        const std::string name = std::string("BM_PathNormal/") + text.name;
        benchmark::RegisterBenchmark(
            (name + "/ours").c_str(), [&text](auto& state) { NormaliseOurs(state, text); });
        benchmark::RegisterBenchmark(
            (name + "/std").c_str(), [&text](auto& state) { NormaliseByStandard(state, text); });
    }
}

} // namespace

int main(int argc, char** argv)
{
    TesselInitialize();
    benchmark::Initialize(&argc, argv);
    Register();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
