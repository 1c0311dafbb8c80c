// The start of the system with a valid cache, in a folder of a thousand modules of ten classes.
//
//   BM_Start/1000x10/<ours|dlopen|gio>    seconds of one start in a new process
//   BM_Start/linear/<ours|short>          the same, beside ten times the start with a hundred modules
//
// The modules are copies of one, with a number of their own in the names of their classes. "dlopen" loads all
// of them; "gio" is GIO's scan of a folder with as many files and its own cache, which names ten extension
// points for each. Neither ours nor GIO looks into the files.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

namespace fs = std::filesystem;

namespace {

std::string Number(int module)
{
    char digits[16];
    std::snprintf(digits, sizeof digits, "%04d", module);
    return digits;
}

std::string BytesOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The bytes with another number in the place of each u"M0000".
std::string Renumbered(std::string bytes, const std::string& number)
{
    const std::string sought("M\0000\0000\0000\0000", 9);
    std::size_t changed = 0;
    for (std::size_t at = bytes.find(sought); at != bytes.npos; at = bytes.find(sought, at + 1), ++changed)
        for (std::size_t digit = 0; digit < 4; ++digit)
            bytes[at + 2 + 2 * digit] = number[digit];
    if (changed != 10)
        throw std::runtime_error("the module has not ten names");
    return bytes;
}

// A folder of so many modules with a link to the library, and one for GIO; gone at the end.
class Folder {
public:
    explicit Folder(int itsModules) : modules(itsModules)
    {
        std::string name = (fs::temp_directory_path() / "tessel_start_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("no folder for the modules");
        path = name;
        fs::create_directory(path / "gio");
        MakeModules();
        fs::create_symlink(TESSEL_LIBRARY, path / TESSEL_SONAME);
        Run("scan", path); // writes the cache
    }
    ~Folder()
    {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    // Seconds of one start.
    double Run(const std::string& side) const { return Run(side, side == "gio" ? path / "gio" : path); }

private:
    void MakeModules() const
    {
        const std::string original = BytesOf(TESSEL_MANY);
        std::string cache;
        for (int module = 0; module < modules; ++module) {
            const std::string number = Number(module);
            const std::string bytes = Renumbered(original, number);
            std::ofstream(path / ("m" + number + ".dll"), std::ios::binary) << bytes;
            std::ofstream(path / "gio" / ("libm" + number + ".so"), std::ios::binary) << bytes;
            cache += "libm" + number + ".so: ";
            for (int point = 0; point < 10; ++point)
                cache += (point > 0 ? ",bench-m" : "bench-m") + number + "-c" + std::to_string(point);
            cache += '\n';
        }
        std::ofstream(path / "gio" / "giomodule.cache") << cache;
    }

    double Run(const std::string& side, const fs::path& folder) const
    {
        const std::string command = "LD_LIBRARY_PATH='" + path.string() + "' '" TESSEL_START_RUN "' " + side
            + " '" + folder.string() + "' " + std::to_string(modules);
        FILE* const output = popen(command.c_str(), "r");
        double seconds = 0;
        const bool isRead = output != nullptr && std::fscanf(output, "%lf", &seconds) == 1;
        if (output == nullptr || pclose(output) != 0 || !isRead)
            throw std::runtime_error("a start has failed: " + command);
        return seconds;
    }

    int modules;
    fs::path path;
};

void Register(
    const std::string& name, const std::shared_ptr<Folder>& folder, const std::string& side, int times)
{
    benchmark::RegisterBenchmark(name.c_str(),
        [=](benchmark::State& state) {
            for (auto _ : state) {
                double seconds = 0;
                for (int i = 0; i < times; ++i)
                    seconds += folder->Run(side);
                state.SetIterationTime(seconds);
            }
        })
        ->UseManualTime()
        ->Iterations(1);
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const auto thousand = std::make_shared<Folder>(1000);
    const auto hundred = std::make_shared<Folder>(100);
    for (const char* const side : {"ours", "dlopen", "gio"})
        Register("BM_Start/1000x10/" + std::string(side), thousand, side, 1);
    Register("BM_Start/linear/ours", thousand, "ours", 1);
    Register("BM_Start/linear/short", hundred, "ours", 10);
    benchmark::RunSpecifiedBenchmarks();
}
