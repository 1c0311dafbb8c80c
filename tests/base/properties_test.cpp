#include "tests/allocation_plan.h"
#include "tests/base/bytes.h"
#include <tessel/base/memory_properties.h>

#include <gtest/gtest.h>

namespace {

MemoryProperties Sample()
{
    MemoryProperties bag;
    bag.SetBinary(u"Key", Bytes("AABBCC"));
    bag.SetNumber(u"Age", 7);
    bag.SetHandle(u"Hnd", Handle{0x1122334455667788});
    return bag;
}

const Binary sampleExport =
    Bytes("10 13 48 5B  01000080 03000000  08000000 B0040000 4100 6700 6500 0000 01000000 07000000"
          "08000000 B0040000 4800 6E00 6400 0000 05000000 00000000 8877665544332211"
          "08000000 B0040000 4B00 6500 7900 0000 03000000 03000000 AABBCC");

std::u16string NamesOf(const Properties& bag)
{
    std::u16string names;
    for (const WideString& name : bag.EnumProperties())
        names.append(name.c_str()).append(u" ");
    return names;
}

TEST(Properties, ExportByteForByteAndImportBesideWhatIsThere)
{
    EXPECT_EQ(Sample().Export(), sampleExport);
    EXPECT_TRUE(MemoryProperties().Export().IsEmpty());
    MemoryProperties bag;
    bag.SetString(u"age", u"old");
    bag.SetNumber(u"Other", 1);
    bag.Import(Binary());
    bag.Import(sampleExport);
    EXPECT_EQ(NamesOf(bag), u"age Hnd Key Other ");
    EXPECT_EQ(bag.GetNumber(u"AGE"), 7U);
    EXPECT_EQ(bag.GetHandle(u"Hnd"), Handle{0x1122334455667788});
    EXPECT_EQ(bag.GetBinary(u"Key"), Bytes("AABBCC"));
}

TEST(Properties, ImportKeepsWhatWasReadBeforeAFailure)
{
    const std::pair<const char*, const char16_t*> cases[] = {{"10 13 48 5B 02000080 00000000", u""},
        {"10 13 48 5B 01000080 FFFFFFFF", u""},
        {"10 13 48 5B 01000080 02000000 04000000 B0040000 6100 0000 01000000 07000000", u"a "},
        // types that no bag has: a face, and beyond all of them
        {"10 13 48 5B 01000080 01000000 04000000 B0040000 6100 0000 04000000", u""},
        {"10 13 48 5B 01000080 01000000 04000000 B0040000 6200 0000 06000000", u""}};
    for (const auto& [bytes, names] : cases) {
        MemoryProperties bag;
        EXPECT_EQ(FailureOf([&, stored = Bytes(bytes)] { bag.Import(stored); }), "bad format") << bytes;
        EXPECT_EQ(NamesOf(bag), names) << bytes;
    }
}

TEST(Properties, MergeComparesNamesExactly)
{
    const std::tuple<std::vector<WideString>, bool, const char16_t*> cases[] = {
        {{}, true, u"Age Hnd Key Own "}, {{}, false, u"Own "}, {{u"Age"}, true, u"Hnd Key Own "},
        {{u"age"}, true, u"Age Hnd Key Own "}, {{u"Key", u"Age", u"None"}, false, u"Age Key Own "}};
    for (const auto& [names, exclude, expected] : cases) {
        MemoryProperties bag;
        bag.SetNumber(u"Own", 1);
        bag.Merge(Sample(), names, exclude);
        EXPECT_EQ(NamesOf(bag), expected);
        bag.Merge(bag, {}, true);
        EXPECT_EQ(NamesOf(bag), expected) << "itself";
    }
}

TEST(Properties, IsSubsetOfComparesTypesAndValues)
{
    MemoryProperties bag = Sample();
    bag.SetString(u"Text", u"Straße");
    const std::tuple<std::function<void(MemoryProperties&)>, bool, bool> cases[] = {
        {[](auto& b) { b.SetNumber(u"More", 1); }, true, true},
        {[](auto& b) { b.SetString(u"Text", u"STRAßE"); }, false, true},
        {[](auto& b) { b.SetNumber(u"Age", 8); }, false, false},
        {[](auto& b) { b.SetString(u"Age", u"7"); }, false, false},
        {[](auto& b) { b.SetBinary(u"Key", Bytes("AABB")); }, false, false},
        {[](auto& b) { b.SetHandle(u"Hnd", Handle{0x0122334455667788}); }, false, false},
        {[](auto& b) { b.Clear(); }, false, false}};
    for (const auto& [change, sensitive, insensitive] : cases) {
        MemoryProperties other = bag;
        change(other);
        const std::string text = ::testing::PrintToString(other.Export());
        EXPECT_EQ(bag.IsSubsetOf(other, true), sensitive) << text;
        EXPECT_EQ(bag.IsSubsetOf(other, false), insensitive) << text;
    }
}

TEST(Properties, WithoutMemoryLeakNothingAndStayUsable)
{
    WriteArchive written;
    written << Error("%s", "tag", WideString(u"an error that travels, too"));
    const Binary storedError = written.GetBinary();
    MemoryProperties bag;
    AllocationPlan::FailEach(
        [&] {
            bag.Import(sampleExport);
            const MemoryProperties shared = bag;
            bag.SetString(u"Text", u"text");
            bag.Delete(u"Age");
            MemoryProperties(bag).Merge(shared, {}, true);
            static_cast<void>(bag.Export());
            Error error;
            ReadFrom(storedError, error);
            WriteArchive archive;
            archive << error;
        },
        [&] {
            bag.Clear();
            bag.Import(sampleExport);
            EXPECT_EQ(bag.Export(), sampleExport);
            bag.Clear();
        });
}

} // namespace
