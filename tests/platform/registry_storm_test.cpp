// Processes that are killed at any instant, and processes that write the same key at full speed. Both go on
// for a short while; the environment variable TESSEL_STORM_SECONDS makes it longer.
#include "tests/platform/registry_store.h"
#include "tests/platform/storm.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <random>

using namespace Platform;

namespace {

// ---- Killed at any instant

constexpr unsigned workers = 3;
constexpr unsigned places = 8; // that each worker changes: half of them values, half of them keys

// What each step does with its place is worked out from its number, so that the number is all that has to be
// known of a dead worker: the place is then as the step before it left it, or as that step meant it to be.
struct Place {
    std::atomic<std::uint32_t> begun{0};
    std::atomic<std::uint32_t> done{0};
};
struct Ledger {
    Place of[workers][places];
};

std::uint32_t Mixed(std::uint32_t step)
{
    step = (step ^ step >> 16) * 0x7FEB352D;
    return (step ^ step >> 15) * 0x846CA68B;
}

// The bytes that are there after the step; nothing for what was deleted, and before the first step.
std::optional<std::string> StateAfter(std::uint32_t step)
{
    const std::uint32_t mixed = Mixed(step);
    if (step == 0 || mixed % 5 == 0)
        return std::nullopt;
    constexpr std::size_t sizes[] = {4, 20, 300, 2000, 50'000};
    std::string state(sizes[mixed / 5 % std::size(sizes)], static_cast<char>('a' + step % 26));
    std::memcpy(state.data(), &step, sizeof step);
    return state;
}

std::u16string NameOf(unsigned worker, unsigned place)
{
    return Numbered(Numbered(place < places / 2 ? u"Value" : u"Key", worker).c_str(), place);
}

std::uint32_t DeleteTree(Handle parent, const std::u16string& name)
{
    const std::uint32_t inner = RegDeleteKeyW(parent, (name + u"\\Inner").c_str());
    const std::uint32_t outer = RegDeleteKeyW(parent, name.c_str());
    return inner != 0 && inner != ERROR_FILE_NOT_FOUND ? inner : outer;
}

// For keys the state is the default value of a subkey, which is made last and dies first.
std::uint32_t Step(const Key& root, unsigned worker, unsigned place, std::uint32_t step)
{
    const std::u16string name = NameOf(worker, place);
    const auto state = StateAfter(step);
    if (place < places / 2)
        return state ? root.Set(name, *state) : root.Delete(name);
    return state ? Key(name + u"\\Inner", root).Set(u"", *state) : DeleteTree(root, name);
}

std::optional<std::string> Look(const Key& root, unsigned worker, unsigned place)
{
    const std::u16string name = NameOf(worker, place);
    if (place < places / 2)
        return root.Get(name);
    Handle opened;
    if (RegOpenKeyExW(root, (name + u"\\Inner").c_str(), 0, KEY_READ, &opened) != 0)
        return std::nullopt;
    return Key(opened).Get(u"");
}

[[noreturn]] void Work(Ledger& ledger, unsigned worker, unsigned seed)
{
    const Key root(u"Storm");
    std::minstd_rand random(seed);
    for (;;) {
        const unsigned place = random() % places;
        Place& at = ledger.of[worker][place];
        const std::uint32_t step = at.begun + 1;
        at.begun = step;
        const std::uint32_t code = Step(root, worker, place, step);
        if (code != 0 && code != ERROR_FILE_NOT_FOUND)
            ::_exit(1);
        at.done = step;
    }
}

// Everything that is listed is there, under its name, and whole.
void ExpectWhole(const Key& key)
{
    for (const std::u16string& name : key.Values()) {
        const auto bytes = key.Get(name);
        std::uint32_t step = 0;
        ASSERT_TRUE(bytes && bytes->size() >= sizeof step) << testing::PrintToString(name);
        std::memcpy(&step, bytes->data(), sizeof step);
        EXPECT_TRUE(StateAfter(step) == bytes) << testing::PrintToString(name);
    }
    for (const std::u16string& name : key.Subkeys()) {
        EXPECT_TRUE(name == u"Inner" || name.starts_with(u"Key")) << testing::PrintToString(name);
        ExpectWhole(Key(name, key));
    }
}

TEST(RegistryStorm, KillLeavesTheOldOrTheNewState)
{
    const TemporaryRegistry registry;
    const Key root(u"Storm");
    const Shared<Ledger> ledger;
    std::minstd_rand random(7);
    unsigned inFlight = 0;
    for (const auto end = std::chrono::steady_clock::now() + Duration();
         std::chrono::steady_clock::now() < end;) {
        pid_t children[workers];
        for (unsigned worker = 0; worker < workers; ++worker) {
            const auto seed = static_cast<unsigned>(random());
            children[worker] = ::fork();
            if (children[worker] == 0)
                Work(*ledger.operator->(), worker, seed);
        }
        // The instant of the kill is what the test is about: it is left to chance.
        ::usleep(static_cast<unsigned>(random() % 30'000));
        for (const pid_t child : children) {
            int status = 0;
            ::kill(child, SIGKILL);
            ::waitpid(child, &status, 0);
            EXPECT_TRUE(WIFSIGNALED(status)) << "an operation failed";
        }
        for (unsigned worker = 0; worker < workers; ++worker)
            for (unsigned place = 0; place < places; ++place) {
                Place& at = ledger->of[worker][place];
                const auto found = Look(root, worker, place);
                inFlight += at.begun != at.done;
                const bool isOld = found == StateAfter(at.done);
                ASSERT_TRUE(isOld || found == StateAfter(at.begun))
                    << testing::PrintToString(NameOf(worker, place)) << " after step " << at.done << " of "
                    << at.begun << ": " << (found ? std::to_string(found->size()) : "nothing");
                at.done = at.begun.load();
                // The next round begins where this one ended, and must know what that is.
                const std::uint32_t code = isOld ? Step(root, worker, place, at.begun) : 0;
                ASSERT_TRUE(code == 0 || code == ERROR_FILE_NOT_FOUND) << code;
            }
        ExpectWhole(root);
        if (HasFatalFailure())
            return;
    }
    EXPECT_GT(inFlight, 0U) << "some were killed on the way";
    for (const std::u16string& name : root.Subkeys())
        EXPECT_EQ(DeleteTree(root, name), 0U);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Storm"), 0U);
    EXPECT_EQ(::rmdir(registry.Path("user/keys").c_str()), 0) << "no rubbish is left";
}

// ---- At full speed

struct Counts {
    std::atomic<std::uint64_t> sets[2] = {};
    std::atomic<bool> ends{false};
    std::atomic<int> faults{0};
};

struct Entry {
    std::uint64_t writer;
    std::uint64_t number;
    char filler[40];
};

// Writes its entries, and sees that neither its own nor the other's ever go back.
void WriteOn(Counts& counts, std::uint64_t writer)
{
    const Key key(u"Shared");
    std::uint64_t seen[2] = {};
    const std::u16string own = Numbered(u"own", static_cast<unsigned>(writer));
    while (!counts.ends) {
        Entry entry{writer, counts.sets[writer] + 1, {}};
        std::memset(entry.filler, static_cast<int>(entry.number), sizeof entry.filler);
        bool right = RegSetValueExW(key, u"v", 0, 3, &entry, sizeof entry) == 0;
        counts.sets[writer] += right;
        seen[writer] = entry.number;
        Entry found{};
        std::uint32_t size = sizeof found;
        right = right && RegQueryValueExW(key, u"v", nullptr, nullptr, &found, &size) == 0 && found.writer < 2
            && found.number >= seen[found.writer] && found.filler[39] == static_cast<char>(found.number)
            && std::memcmp(found.filler, found.filler + 1, 39) == 0;
        if (right)
            seen[found.writer] = found.number;
        // Nobody else writes this one.
        right = right && RegSetValueExW(key, own.c_str(), 0, 3, &entry, sizeof entry) == 0
            && RegQueryValueExW(key, own.c_str(), nullptr, nullptr, &found, &size) == 0
            && std::memcmp(&found, &entry, sizeof entry) == 0;
        counts.faults += !right;
    }
}

TEST(RegistryStorm, TwoProcessesLoseNoValueThatWasReportedAsWritten)
{
    const TemporaryRegistry registry;
    const Key key(u"Shared");
    const Shared<Counts> counts;
    pid_t children[2];
    for (std::uint64_t writer = 0; writer < 2; ++writer) {
        children[writer] = ::fork();
        if (children[writer] == 0) {
            WriteOn(*counts.operator->(), writer);
            ::_exit(0);
        }
    }
    // A reader that has not the value in its cache, for its handle is always new.
    std::uint64_t reads = 0;
    for (const auto end = std::chrono::steady_clock::now() + Duration();
         std::chrono::steady_clock::now() < end;) {
        const bool wasSet = counts->sets[0] + counts->sets[1] > 0;
        const auto found = Key(u"Shared").Get(u"v");
        EXPECT_TRUE(found ? found->size() == sizeof(Entry) : !wasSet);
        ++reads;
    }
    counts->ends = true;
    for (const pid_t child : children) {
        int status = 1;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(counts->faults, 0);
    EXPECT_GT(reads, 0U);
    // Each set takes the next number of the file: had two met in one copy, the count would be short.
    const std::string file = registry.Content("user/keys/shared/=v");
    std::uint32_t room = 0;
    std::uint64_t sequences[2];
    std::memcpy(&room, file.data() + 12, sizeof room);
    std::memcpy(&sequences[0], file.data() + 24, sizeof sequences[0]);
    std::memcpy(&sequences[1], file.data() + 24 + 40 + room, sizeof sequences[1]);
    EXPECT_EQ(std::max(sequences[0], sequences[1]), counts->sets[0] + counts->sets[1]);
}

} // namespace
