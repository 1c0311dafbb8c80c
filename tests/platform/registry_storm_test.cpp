// Processes that are killed at any instant, and processes that write the same key at full speed. Both go on
// for a short while; the environment variable TESSEL_STORM_SECONDS makes it longer.
#include "tests/platform/registry_store.h"
#include "tests/platform/storm.h"

#include <atomic>
#include <cstring>

using namespace Platform;

namespace {

// What a worker does is worked out from the number of the step: all that has to be known of a dead worker is
// which one it had begun and which one it had done.
struct Progress {
    std::atomic<unsigned> begun{0};
    std::atomic<unsigned> done{0};
};

std::string BytesOf(unsigned step)
{
    constexpr std::size_t sizes[] = {4, 300, 20, 2000, 50'000, 30'000, 5};
    return std::string(sizes[step % 7], static_cast<char>('a' + step % 26));
}

// Values and keys come, change and go.
std::uint32_t Do(const Key& root, unsigned worker, unsigned step)
{
    const std::u16string name = Numbered(u"Name", worker);
    switch (step % 5) {
    case 0:
        return RegDeleteKeyW(root, name.c_str());
    case 1:
        return MakeCode(root, name.c_str());
    case 4:
        return root.Delete(name);
    default:
        return root.Set(name, BytesOf(step));
    }
}

// Value and key, as they are after the step.
std::string StateAfter(unsigned step)
{
    const unsigned place = step % 5;
    return (place == 2 || place == 3 ? BytesOf(step) : "") + (place == 0 ? "" : "|key");
}

std::string StateOf(const Key& root, unsigned worker)
{
    const std::u16string name = Numbered(u"Name", worker);
    return root.Get(name).value_or("") + (OpenCode(root, name) == 0 ? "|key" : "");
}

TEST(RegistryStorm, KillLeavesTheOldOrTheNewState)
{
    constexpr unsigned workers = 3;
    const TemporaryRegistry registry;
    const Key root(u"Storm");
    const Shared<std::array<Progress, workers>> progress;
    unsigned inFlight = 0;
    const auto end = std::chrono::steady_clock::now() + Duration();
    // At least until some were killed on the way.
    while ((std::chrono::steady_clock::now() < end || inFlight == 0) && !HasFailure()) {
        std::vector<ChildProcess> children;
        for (unsigned worker = 0; worker < workers; ++worker)
            children.push_back(Forked([&, worker] {
                const Key own(u"Storm");
                std::uint32_t code = 0;
                for (Progress& at = progress->at(worker); code == 0; at.done = at.begun.load())
                    code = Do(own, worker, ++at.begun);
                return 1;
            }));
        // The instant of the kill is what the test is about: it is left to chance.
        ::usleep(static_cast<unsigned>(std::rand() % 30'000));
        for (ChildProcess& child : children)
            EXPECT_EQ(child.Kill(), -1) << "an operation failed";
        for (unsigned worker = 0; worker < workers; ++worker) {
            Progress& at = progress->at(worker);
            const std::string found = StateOf(root, worker);
            inFlight += at.begun != at.done;
            EXPECT_TRUE(found == StateAfter(at.done) || found == StateAfter(at.begun))
                << "after step " << at.done << " of " << at.begun << ": " << found.substr(0, 100);
            // The next round begins where this one ended.
            EXPECT_TRUE(found == StateAfter(at.begun) || Do(root, worker, at.begun) == 0);
            at.done = at.begun.load();
        }
        for (const std::u16string& name : root.Values())
            EXPECT_TRUE(root.Get(name)) << testing::PrintToString(name);
    }
    for (const std::u16string& name : root.Subkeys())
        EXPECT_EQ(RegDeleteKeyW(root, name.c_str()), 0U);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Storm"), 0U);
    EXPECT_EQ(::rmdir(registry.Path("user/keys").c_str()), 0) << "no rubbish is left";
}

struct Counts {
    std::atomic<std::uint64_t> sets[2] = {};
    std::atomic<bool> ends{false};
};
using Entry = std::array<std::uint64_t, 8>; // all alike: twice the number of the set, and the writer

// Writes its entries, and sees that neither its own nor the other's ever go back. Gives whether it is so.
int WriteOn(Counts& counts, std::uint64_t writer)
{
    const Key key(u"Shared");
    std::uint64_t seen[2] = {};
    bool isRight = true;
    for (Entry entry; isRight && !counts.ends; seen[entry[0] % 2] = entry[0]) {
        entry.fill(seen[writer] = 2 * (counts.sets[writer] + 1) + writer);
        isRight = RegSetValueExW(key, u"v", 0, 3, &entry, sizeof entry) == 0;
        ++counts.sets[writer];
        std::uint32_t size = sizeof entry;
        isRight = isRight && RegQueryValueExW(key, u"v", nullptr, nullptr, &entry, &size) == 0
            && entry[0] >= seen[entry[0] % 2] && std::count(entry.begin(), entry.end(), entry[0]) == 8;
    }
    return isRight ? 0 : 1;
}

TEST(RegistryStorm, TwoProcessesLoseNoValueThatWasReportedAsWritten)
{
    const TemporaryRegistry registry;
    const Key key(u"Shared");
    const Shared<Counts> shared;
    Counts& counts = *shared;
    ChildProcess children[] = {
        Forked([&] { return WriteOn(counts, 0); }), Forked([&] { return WriteOn(counts, 1); })};
    // Until both have written. The reader has not the value in its cache, for its handle is always new.
    for (const auto end = std::chrono::steady_clock::now() + Duration();
         std::chrono::steady_clock::now() < end || counts.sets[0] == 0 || counts.sets[1] == 0;) {
        const bool wasSet = counts.sets[0] + counts.sets[1] > 0;
        const auto found = Key(u"Shared").Get(u"v");
        EXPECT_TRUE(found ? found->size() == sizeof(Entry) : !wasSet);
    }
    counts.ends = true;
    EXPECT_EQ(children[0].Wait() | children[1].Wait(), 0);
    // Each set takes the next number of the file: had two met in one copy, the count would be short.
    const std::string file = registry.Content("user/keys/shared/=v");
    std::uint64_t sequences[2];
    std::memcpy(&sequences[0], file.data() + 24, sizeof sequences[0]);
    std::memcpy(&sequences[1], file.data() + 64 + file[12], sizeof sequences[1]);
    EXPECT_EQ(std::max(sequences[0], sequences[1]), counts.sets[0] + counts.sets[1]);
}

} // namespace
