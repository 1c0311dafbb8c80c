#include "platform/text.h"
#include "tests/base/bytes.h"
#include <tessel/base/memory_properties.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <thread>

namespace {

using Type = Properties::PropertyType;

WideString Numbered(std::uint32_t number)
{
    WideString name;
    name.Printf(u"Name%05u", number);
    return name;
}

TEST(MemoryProperties, TellWhatWasAskedForAndWhatWasFound)
{
    MemoryProperties bag;
    bag.SetNumber(u"n", 1);
    bag.SetHandle(u"h", Handle{1});
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[&] { static_cast<void>(MemoryProperties().GetNumber(u"x")); }, "MPR-not-found(x:1)"},
        {[&] { static_cast<void>(bag.GetBinary(u"")); }, "MPR-not-found(:3)"},
        {[&] { static_cast<void>(bag.GetNumber(u"h")); }, "MPR-bad-type(h:1 5)"},
        {[&] { static_cast<void>(bag.GetString(u"N")); }, "MPR-bad-type(N:2 1)"}};
    for (const auto& [act, failure] : cases)
        EXPECT_EQ(FailureOf(act), failure);
    for (const char16_t* const name : {u"n", u"missing"}) {
        EXPECT_EQ(bag.GetString(name, u"default"), u"default");
        EXPECT_EQ(bag.GetBinary(name, Bytes("AA")), Bytes("AA"));
        EXPECT_EQ(bag.GetHandle(name, Handle{3}), Handle{3});
    }
    EXPECT_EQ(bag.GetNumber(u"h", 4), 4U);
    bag.SetString(u"N", u"second");
    EXPECT_EQ(bag.GetType(u"n"), Type::string);
}

// The judge is a std::map with the platform's comparison, through long random histories of bags that are
// copied, changed and dropped in between.
struct LessBlind {
    bool operator()(const WideString& left, const WideString& right) const
    {
        return Platform::_wcsicmp(left.c_str(), right.c_str()) < 0;
    }
};
using Model = std::map<WideString, std::uint32_t, LessBlind>;

// Few letters and short names, so that they meet; signs between the two alphabets, where order depends on
// the direction of folding; pairs outside ASCII, and letters that only look like one half of a pair. Now and
// then names that come in order, or the other way round.
WideString AnyName(std::mt19937& random, unsigned seed, std::uint32_t step)
{
    if (seed > 4)
        return Numbered(seed == 5 ? step : 99'999 - step);
    constexpr std::u16string_view letters = u"aAbBzZ_[@09éÉßÿŸıIſKkÅåДд";
    std::u16string name(random() % 3 == 0 ? u"Setting" : u"");
    for (unsigned left = random() % 7; left > 0; --left)
        name += letters[random() % letters.size()];
    return name.c_str();
}

TEST(MemoryProperties, AreAnOrderedMapThatIsCopiedOnWriting)
{
    for (unsigned seed = 1; seed <= 6; ++seed) {
        std::mt19937 random(seed);
        std::vector<std::pair<MemoryProperties, Model>> bags(3);
        for (std::uint32_t step = 0; step < 6000; ++step) {
            auto& [bag, model] = bags[random() % 3];
            const WideString name = AnyName(random, seed, step);
            const auto choice = random() % (seed % 2 == 0 ? 5000 : 100);
            if (choice == 0)
                bags[random() % 3] = bags[random() % 3];
            else if (choice == 1 && step % 7 == 0)
                bag.Clear(), model.clear();
            else if (choice % 3 == 1)
                bag.Delete(name), model.erase(name);
            else
                bag.SetNumber(name, step), model[name] = step;
            ASSERT_EQ(bag.GetNumber(name, 0), model.contains(name) ? model[name] : 0);
        }
        for (const auto& [bag, model] : bags) {
            std::vector<WideString> names;
            for (const auto& [name, number] : model) {
                names.push_back(name);
                EXPECT_EQ(bag.GetNumber(name), number);
            }
            EXPECT_EQ(bag.EnumProperties(), names) << "order, and the first form";
        }
    }
}

TEST(MemoryProperties, ShareContentsBetweenThreads)
{
    MemoryProperties bag;
    for (std::uint32_t i = 0; i < 200; ++i)
        bag.SetNumber(Numbered(i), i);
    const Binary expected = bag.Export();
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&expected, mine = bag]() mutable {
            for (std::uint32_t i = 0; i < 200; ++i) {
                MemoryProperties copy = mine;
                EXPECT_EQ(copy.Export(), expected);
                copy.SetNumber(Numbered(7), 8);
                copy.Delete(Numbered(8));
                EXPECT_EQ(mine.GetNumber(Numbered(7)), 7U);
            }
        });
    bag.Clear();
}

} // namespace
