#include "tools/tessel/module_check.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

using namespace Tool;

namespace {

std::string BytesOf(const std::string& construct)
{
    std::ifstream file(TESSEL_PINNED_MODULES "/pinned_" + construct + ".dll", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// "fatal <what>" or "warning <what>", a line a finding.
std::string Findings(const std::string& construct)
{
    const std::string file = BytesOf(construct);
    std::string lines;
    for (const Finding& finding : CheckModule(ReadDynamicSection(file)))
        lines += (finding.isFatal ? "fatal " : "warning ") + finding.what + '\n';
    return lines;
}

TEST(ModuleCheck, NamesWhatPinsAModuleAndWhatDanglesAfterIt)
{
    const std::pair<const char*, const char*> cases[] = {
        {"nothing", ""},
        {"noExports", "fatal Module_GetStaticList\nfatal Module_IsUnlocked\n"},
        {"threadLocal", "fatal __cxa_thread_atexit\n"},
        {"threadKey", "fatal pthread_key_create\n"},
        {"exitAction", "fatal on_exit\n"},
        {"neverUnloaded", "fatal -z nodelete\n"},
        {"symbolic", "fatal -Bsymbolic\n"},
        {"thread", "warning pthread_create\n"},
#if defined(__clang__) // it makes neither unique symbols nor, at all levels, the thunk
        {"uniqueSymbol", ""},
#else
        {"exceptionPointer", "warning std::make_exception_ptr\n"},
        {"uniqueSymbol", "fatal Shared<int>::value\n"},
#endif
    };
    for (const auto& [construct, expected] : cases)
        EXPECT_EQ(Findings(construct), expected) << construct;
}

// True if the file was refused with an explanation; anything but that and a result ends the test.
bool IsRefused(const std::string& file)
{
    try {
        CheckModule(ReadDynamicSection(file));
        return false;
    } catch (const std::runtime_error&) {
        return true;
    }
}

TEST(ModuleCheck, RefusesWhatIsNoSharedObject)
{
    const std::string sound = BytesOf("nothing");
    EXPECT_TRUE(IsRefused(std::string(100, 'x')));
    EXPECT_TRUE(IsRefused(std::string(sound).replace(4, 1, "\1"))) << "32 bits";
    EXPECT_TRUE(IsRefused(std::string(sound).replace(16, 1, "\2"))) << "linked to a fixed address";
    EXPECT_TRUE(IsRefused(std::string(sound).replace(40, 8, 8, '\0'))) << "without section headers";
    const std::size_t step = sound.size() / 2000 + 1;
    for (std::size_t length = 0; length < sound.size(); length += step)
        EXPECT_TRUE(IsRefused(sound.substr(0, length))) << "the section headers stand last; " << length;
}

// Each number of the headers in turn is one that points far away, wraps around, or counts too much.
TEST(ModuleCheck, BearsAnyNumberInItsHeaders)
{
    const std::string sound = BytesOf("nothing");
    std::uint64_t sections = 0;
    sound.copy(reinterpret_cast<char*>(&sections), 8, 40);
    std::size_t refused = 0;
    for (const std::size_t begin : {std::size_t{0}, static_cast<std::size_t>(sections)})
        for (std::size_t at = begin; at + 8 <= std::min(sound.size(), begin + 2400); at += 4)
            for (const char byte : {'\x00', '\x7f', '\x80', '\xff'}) {
                std::string spoilt = sound;
                spoilt.replace(at, 8, 8, byte);
                refused += IsRefused(spoilt);
            }
    EXPECT_GT(refused, 100U);
}

} // namespace
