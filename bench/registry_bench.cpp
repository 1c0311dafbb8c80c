// The registry's store beside a table of SQLite, and beside itself with fewer names.
//
//   BM_RegistryGet/<values>/<ours|sqlite>        a value in one query, any of them in turn
//   BM_RegistrySet/<values>/<ours|sqlite>        a value replaced by another one of the same size
//   BM_RegistryAdd/<values>/<ours|few>           a value that is new, in a key of so many, for each value;
//   BM_RegistryDelete/<values>/<ours|few>        the first of the enumeration deleted, down to the last one;
//   BM_RegistryList/<values>/<ours|few>          a whole enumeration; and the same three for subkeys.
//   BM_RegistryAddKey, BM_RegistryDeleteKey      "few" is the same in keys of 100: what does not grow with
//   the BM_RegistryListKeys                          number of names costs as much in each
//
// SQLite is one table without row numbers and a prepared statement for each operation, in WAL mode with
// synchronous NORMAL; like ours, a set there outlives the process and not a cut of the power.
#include "platform/registry.h"
#include "sqlite_table.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

using namespace Platform;

namespace {

constexpr unsigned valueBytes = 24;
constexpr unsigned fewNames = 100;
constexpr unsigned manyNames = 10'000;

// On the disk of the working folder, not in memory.
struct Folder {
    std::string path = std::filesystem::current_path() / "registry_bench.XXXXXX";
    Folder() { Require(::mkdtemp(path.data()) != nullptr, "no folder"); }
    ~Folder() { std::filesystem::remove_all(path); }
};

std::u16string NameOf(unsigned number)
{
    std::u16string name = u"Setting ";
    for (const char digit : std::to_string(number))
        name += static_cast<char16_t>(digit);
    return name;
}

// Every name in turn, neighbours far apart.
unsigned Next(unsigned at, unsigned count)
{
    return (at + 7919) % count;
}

class OpenKey {
public:
    explicit OpenKey(const std::u16string& path)
    {
        Require(RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                    &key, nullptr)
                == 0,
            "no key");
    }
    ~OpenKey() { RegCloseKey(key); }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    void Set(const std::u16string& name, std::uint64_t number) const
    {
        char bytes[valueBytes] = {};
        std::memcpy(bytes, &number, sizeof number);
        Require(RegSetValueExW(key, name.c_str(), 0, REG_BINARY, bytes, sizeof bytes) == 0, "not set");
    }
    std::uint64_t Get(const std::u16string& name) const
    {
        char bytes[valueBytes];
        std::uint32_t size = sizeof bytes;
        std::uint64_t number = 0;
        Require(RegQueryValueExW(key, name.c_str(), nullptr, nullptr, bytes, &size) == 0, "not there");
        std::memcpy(&number, bytes, sizeof number);
        return number;
    }
    Handle Get() const { return key; }

private:
    Handle key = NULL_HANDLE;
};

class Database : public SqliteTable {
public:
    using SqliteTable::SqliteTable;

    void Set(const std::u16string& name, std::uint64_t number)
    {
        char bytes[valueBytes] = {};
        std::memcpy(bytes, &number, sizeof number);
        SqliteTable::Set(name, type, [&bytes](sqlite3_stmt* statement, int at) {
            sqlite3_bind_blob(statement, at, bytes, sizeof bytes, SQLITE_STATIC);
        });
    }
    std::uint64_t Get(const std::u16string& name)
    {
        return SqliteTable::Get(name, type, [](sqlite3_stmt* statement, int at) {
            Require(sqlite3_column_bytes(statement, at) == valueBytes, "not as it was set");
            std::uint64_t number = 0;
            std::memcpy(&number, sqlite3_column_blob(statement, at), sizeof number);
            return number;
        });
    }

private:
    static constexpr int type = static_cast<int>(REG_BINARY);
};

// The same names and numbers on both sides; made when a figure first asks for them.
struct Stores {
    explicit Stores(const Folder& folder, unsigned count)
        : names(count), key(NameOf(count)), database(folder.path + "/" + std::to_string(count) + ".db")
    {
        database.Run("BEGIN");
        for (unsigned i = 0; i < count; ++i) {
            names[i] = NameOf(i);
            key.Set(names[i], i);
            database.Set(names[i], i);
        }
        database.Run("COMMIT");
        for (const std::u16string& name : names)
            Require(key.Get(name) == database.Get(name), "the sides differ");
    }
    std::vector<std::u16string> names;
    OpenKey key;
    Database database;
};

void RegisterPair(const std::string& figure, unsigned count, const std::function<Stores&()>& stores)
{
    const auto add = [&](const char* side, auto operation) {
        const std::string name = "BM_" + figure + "/" + std::to_string(count) + "/" + side;
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
            Stores& used = stores();
            unsigned at = 0;
            static std::uint64_t number = 0;
            for (auto _ : state) {
                operation(used, used.names[at], ++number);
                at = Next(at, count);
            }
        });
    };
    if (figure == "RegistryGet") {
        add("ours", [](Stores& used, const std::u16string& name, std::uint64_t) {
            benchmark::DoNotOptimize(used.key.Get(name));
        });
        add("sqlite", [](Stores& used, const std::u16string& name, std::uint64_t) {
            benchmark::DoNotOptimize(used.database.Get(name));
        });
    } else {
        add("ours", [](Stores& used, const std::u16string& name, std::uint64_t number) {
            used.key.Set(name, number);
        });
        add("sqlite", [](Stores& used, const std::u16string& name, std::uint64_t number) {
            used.database.Set(name, number);
        });
    }
}

// ---- What must not grow with the number of names

void AddNames(Handle parent, const OpenKey& key, bool subkeys, unsigned count)
{
    for (unsigned i = 0; i < count; ++i) {
        Handle made = NULL_HANDLE;
        if (!subkeys)
            key.Set(NameOf(i), i);
        else
            Require(
                RegCreateKeyExW(parent, NameOf(i).c_str(), 0, nullptr, 0, KEY_READ, nullptr, &made, nullptr)
                    == 0,
                "not made");
        if (subkeys)
            RegCloseKey(made);
    }
}

bool Name(Handle key, bool subkeys, std::uint32_t index, char16_t (&name)[32])
{
    std::uint32_t chars = 32;
    return (subkeys ? RegEnumKeyExW(key, index, name, &chars, nullptr, nullptr, nullptr, nullptr)
                    : RegEnumValueW(key, index, name, &chars, nullptr, nullptr, nullptr, nullptr))
        == 0;
}

unsigned ListNames(Handle key, bool subkeys)
{
    char16_t name[32];
    std::uint32_t index = 0;
    while (Name(key, subkeys, index, name))
        ++index;
    return index;
}

unsigned DeleteNames(Handle key, bool subkeys)
{
    char16_t name[32];
    unsigned count = 0;
    for (; Name(key, subkeys, 0, name); ++count)
        Require((subkeys ? RegDeleteKeyW(key, name) : RegDeleteValueW(key, name)) == 0, "not deleted");
    return count;
}

// Adds, lists and deletes manyNames names in keys of `count`, and takes the time of one of the three.
void RegisterGrowth(const std::string& figure, int measured, bool subkeys)
{
    for (const unsigned count : {manyNames, fewNames}) {
        const std::string name =
            "BM_" + figure + "/" + std::to_string(manyNames) + (count == manyNames ? "/ours" : "/few");
        benchmark::RegisterBenchmark(name.c_str(),
            [=](benchmark::State& state) {
                for (auto _ : state) {
                    double seconds = 0;
                    for (unsigned done = 0; done < manyNames; done += count) {
                        const OpenKey key(u"growth");
                        const auto timed = [&](int step, auto work) {
                            const auto start = std::chrono::steady_clock::now();
                            work();
                            const std::chrono::duration<double> taken =
                                std::chrono::steady_clock::now() - start;
                            seconds += step == measured ? taken.count() : 0;
                        };
                        timed(0, [&] { AddNames(key.Get(), key, subkeys, count); });
                        timed(
                            1, [&] { Require(ListNames(key.Get(), subkeys) == count, "names are missing"); });
                        timed(
                            2, [&] { Require(DeleteNames(key.Get(), subkeys) == count, "names were left"); });
                    }
                    state.SetIterationTime(seconds);
                }
            })
            ->UseManualTime()
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const Folder folder;
    ::setenv("TESSEL_REGISTRY", folder.path.c_str(), 1);
    std::map<unsigned, std::unique_ptr<Stores>> made;
    for (const unsigned count : {10U, manyNames}) {
        const auto stores = [&made, &folder, count]() -> Stores& {
            auto& one = made[count];
            if (!one)
                one = std::make_unique<Stores>(folder, count);
            return *one;
        };
        RegisterPair("RegistryGet", count, stores);
        RegisterPair("RegistrySet", count, stores);
    }
    RegisterGrowth("RegistryAdd", 0, false);
    RegisterGrowth("RegistryList", 1, false);
    RegisterGrowth("RegistryDelete", 2, false);
    RegisterGrowth("RegistryAddKey", 0, true);
    RegisterGrowth("RegistryListKeys", 1, true);
    RegisterGrowth("RegistryDeleteKey", 2, true);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
