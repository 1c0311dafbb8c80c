#include "tests/allocation_plan.h"
#include <tessel/base/binary.h>

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace {

Binary Of(std::string_view bytes)
{
    return {bytes.data(), static_cast<std::uint32_t>(bytes.size())};
}
std::string Bytes(const Binary& binary)
{
    return {reinterpret_cast<const char*>(binary.GetData()), binary.GetSize()};
}

TEST(Binary, GrowsInSteps)
{
    const std::pair<std::uint32_t, std::uint32_t> cases[] = {
        {1, 16}, {17, 32}, {257, 512}, {513, 1024}, {1025, 1536}};
    for (const auto& [asked, given] : cases) {
        Binary binary;
        binary.SetSize(asked, false);
        EXPECT_EQ(binary.GetCapacity(), given) << "for " << asked;
    }
}

TEST(Binary, IsCopiedBeforeItIsWrittenThrough)
{
    Binary first = Of("abcdef");
    Binary second = first;
    EXPECT_EQ(first.GetData(), second.GetData());
    second.GetWritableData()[0] = 'A';
    EXPECT_EQ(Bytes(second), "Abcdef");
    Binary third = first;
    third.SetSize(3, true);
    EXPECT_EQ(Bytes(third), "abc");
    EXPECT_EQ(Bytes(first), "abcdef");
    third = first;
    third.Clear();
    EXPECT_EQ(third.GetData(), nullptr) << "a shared block is let go";
    first.Clear();
    EXPECT_NE(first.GetData(), nullptr) << "a private one stays";
}

TEST(Binary, CopiesAndComparesWithinItsBytes)
{
    const Binary binary = Of("abcdef");
    char target[8] = {};
    EXPECT_FALSE(binary.CopyTo(target, 2, 1));
    EXPECT_STREQ(target, "bc");
    EXPECT_TRUE(binary.CopyTo(target, 5, 1)) << "nothing was left";
    EXPECT_TRUE(Binary().CopyTo(nullptr, 0));
    EXPECT_LT(Binary().RawCompare("a", 1), 0);
    EXPECT_LT(binary.RawCompare("abcdefg", 7), 0);
    EXPECT_GT(Of("\xFF").RawCompare("\x01", 1), 0);
    EXPECT_EQ(binary.Compare(Of("abd"), 2), 0);
}

TEST(Binary, FillGrowsAndKeepsWhatItDoesNotCover)
{
    Binary binary = Of("abcdefgh");
    const Binary keeper = binary;
    binary.Fill('x', 6, 4);
    EXPECT_EQ(Bytes(binary), "abcdefxxxx");
    EXPECT_EQ(Bytes(keeper), "abcdefgh");
    binary.Fill('y', 9, Binary::everything);
    EXPECT_EQ(Bytes(binary), "abcdefxxxy");
    Binary none;
    none.Fill('x', 5, 0);
    EXPECT_EQ(none.GetData(), nullptr);
    binary.Fill('x', 0xFFFFFFF0, 0x20);
    EXPECT_TRUE(binary.IsEmpty()) << "an end beyond 32 bits is out of memory";
}

TEST(Binary, AddsAlsoItself)
{
    Binary binary;
    const Binary bytes = Of("abc");
    binary += bytes;
    EXPECT_EQ(binary.GetData(), bytes.GetData()) << "without bytes of its own it shares";
    binary += binary;
    binary += Binary();
    EXPECT_EQ(Bytes(binary), "abcabc");
    EXPECT_EQ(Bytes(bytes), "abc");
}

TEST(Binary, WithoutMemoryIsNull)
{
    const Binary keeper = Of("abc");
    for (void (*const act)(Binary&) : {+[](Binary& b) { EXPECT_EQ(b.GetWritableData(), nullptr); },
             +[](Binary& b) { b.SetSize(10, false); }, +[](Binary& b) { b = Binary("abc", 3); }}) {
        Binary binary = keeper;
        AllocationPlan::FailNth(1);
        act(binary);
        AllocationPlan::FailNth(0);
        EXPECT_TRUE(binary.IsEmpty());
    }
    EXPECT_EQ(Bytes(keeper), "abc");
}

} // namespace
