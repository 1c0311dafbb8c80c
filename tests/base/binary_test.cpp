#include "tests/allocation_plan.h"
#include "tests/base/bytes.h"
#include <tessel/base/binary.h>

#include <gtest/gtest.h>

namespace {

Binary Of(std::string_view bytes)
{
    return {bytes.data(), static_cast<std::uint32_t>(bytes.size())};
}
TEST(Binary, IsCopiedBeforeItIsWrittenThrough)
{
    Binary first = Of("abcdef");
    Binary second = first;
    EXPECT_EQ(first.GetData(), second.GetData());
    second.GetWritableData()[0] = 'A';
    EXPECT_EQ(second, Of("Abcdef"));
    Binary third = first;
    third.SetSize(3, true);
    EXPECT_EQ(third, Of("abc"));
    EXPECT_EQ(first, Of("abcdef"));
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
    EXPECT_EQ(binary, Of("abcdefxxxx"));
    EXPECT_EQ(keeper, Of("abcdefgh"));
    binary.Fill('y', 9, Binary::everything);
    EXPECT_EQ(binary, Of("abcdefxxxy"));
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
    EXPECT_EQ(binary, Of("abcabc"));
    EXPECT_EQ(bytes, Of("abc"));
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
    EXPECT_EQ(keeper, Of("abc"));
}

} // namespace
