#include "tests/allocation_plan.h"
#include "tests/base/bytes.h"
#include <tessel/base/archive.h>

#include <gtest/gtest.h>

#include <string>

namespace {

template <class... Items>
bool IsBad(const char* bytes, Items&... items)
{
    return FailureOf([&] { ReadFrom(Bytes(bytes), items...); }) == "bad format";
}

TEST(WriteArchive, PutsItemsWhereTheirAlignmentCountsFromTheMarker)
{
    WriteArchive archive;
    EXPECT_TRUE(archive.GetBinary().IsEmpty()) << "nothing is written yet";
    archive << std::uint8_t{1};
    const Binary first = archive.GetBinary();
    archive << std::uint32_t{2} << std::uint64_t{3} << std::uint8_t{4} << std::uint64_t{5};
    archive << WideString() << WideString(u"ab") << Binary() << Binary("xyz", 3) << std::uint32_t{6};
    EXPECT_EQ(first, Bytes("10 13 48 5B 01")) << "what was taken stays";
    EXPECT_EQ(archive.GetBinary(),
        Bytes("10 13 48 5B  01 000000 02000000  0300000000000000 04 00000000000000 0500000000000000"
              "00000000  06000000 B0040000 6100 6200 0000 0000  00000000  03000000 78797A 00  06000000"));
    // What is reserved and not written is zero, in a block that was grown as in the first one.
    for (int i = 0; i < 1000; ++i)
        archive << ~std::uint64_t{0};
    const unsigned char* const reserved = archive.StartWriting(5000, 1);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(reserved), 5000), std::string(5000, '\0'));
}

TEST(WriteArchive, GrowsInFewStepsAndRefusesFourGigabytes)
{
    AllocationPlan::FailNth(0);
    WriteArchive archive;
    for (std::uint32_t i = 0; i < (64U << 20) / 4; ++i)
        archive << i;
    EXPECT_LT(AllocationPlan::Count(), 40U);
    EXPECT_THROW(archive.StartWriting(0xFFFFFFFF, 8), std::bad_alloc);
    EXPECT_THROW(archive.Reserve(0xFFFFFFFF), std::bad_alloc);
    EXPECT_EQ(archive.GetBinary().GetSize(), (64U << 20) + 4) << "what was written is kept";
}

// The same items as three kinds of writers lay them down: this system's, one that aligns nothing, and one of
// the other byte order, whose Binary lengths and texts are not turned.
TEST(ReadArchive, TellsItsThreeFormatsApart)
{
    const char* const archives[] = {"10 13 48 5B  01 000000 02000000 0807060504030201 06000000 B0040000 6100 "
                                    "6200 0000 0000 02000000 AABB",
        "00 13 48 5B  01 02000000 0807060504030201 06000000 B0040000 6100 6200 0000 02000000 AABB",
        "11 13 48 5B  01 000000 00000002 0102030405060708 00000006 000004B0 6100 6200 0000 0000 02000000 "
        "AABB"};
    for (const char* const bytes : archives) {
        std::uint8_t byte = 0;
        std::uint32_t number = 0;
        std::uint64_t large = 0;
        WideString text;
        Binary binary;
        EXPECT_FALSE(IsBad(bytes, byte, number, large, text, binary)) << bytes;
        EXPECT_TRUE(byte == 1 && number == 2 && large == 0x0102030405060708 && text == u"ab") << bytes;
        EXPECT_EQ(binary, Bytes("AABB")) << bytes;
        EXPECT_TRUE(IsBad(bytes, byte, number, large, text, binary, byte)) << bytes;
    }
    std::uint8_t byte = 0;
    for (const char* const bytes : {"", "10 13 48", "12 13 48 5B 00", "5B 48 13 10 00"})
        EXPECT_TRUE(IsBad(bytes, byte)) << bytes;
}

TEST(ReadArchive, BelievesNothingThatIsNotThere)
{
    for (const char* const bytes : {"10 13 48 5B FFFFFFFF AA", "10 13 48 5B 02000000 AA",
             "10 13 48 5B 000000", "10 13 48 5B F0FFFFFF B0040000"}) {
        Binary binary;
        WideString text;
        EXPECT_TRUE(IsBad(bytes, binary) && IsBad(bytes, text)) << bytes;
    }
    Error error;
    for (const char* const bytes : {"10 13 48 5B 01 000000 03000000 00000000 00000000 FFFFFFFF 00000000",
             "10 13 48 5B 01 000000 02000000 00000000 00000000 FFFFFFFF FFFFFFFF"})
        EXPECT_TRUE(IsBad(bytes, error)) << "another version, or false count";
    ReadArchive archive(Bytes("10 13 48 5B 01 02 03"));
    std::uint32_t number = 9;
    std::uint8_t byte = 0;
    EXPECT_THROW(archive >> number, Error);
    archive >> byte;
    EXPECT_TRUE(number == 9 && byte == 1) << "it does not move where an item is cut off";
}

TEST(ErrorArchive, GivesBackAllThatAnErrorHolds)
{
    Error error;
    error.SetDetails(u"details");
    const Error layerless = error;
    error.AddLayer(7, u"one", true);
    error.AddLayer(Error::badFormat, {}, false);
    error.AddLayer(Error::sameCode, u"three, with a text that is longer than the others", false);
    WriteArchive archive;
    archive << error << layerless << std::uint8_t{9};
    Error read = layerless;
    Error none = error;
    std::uint8_t behind = 0;
    ReadFrom(archive.GetBinary(), read, none, behind);
    EXPECT_TRUE(behind == 9 && none.GetLayerCount() == 0);
    EXPECT_EQ(read.Format(), error.Format()) << "shown layer and details";
    WriteArchive again;
    again << read << none << behind;
    EXPECT_EQ(again.GetBinary(), archive.GetBinary());
}

// Byte for byte. Codes and texts stay as stored: nothing is filled in, and the code that asks for the layer
// below remains. Opaque bytes attached to an error travel on; a shown layer beyond the layers counts as none.
TEST(ErrorArchive, IsReadPastAddLayer)
{
    const Binary stored =
        Bytes("10 13 48 5B  01 000000 02000000 03000000 AABBCC 00 00000000 05000000 02000000"
              "040021E7 00000000  000021E7 00000000");
    Error error;
    ReadFrom(stored, error);
    EXPECT_EQ(error.GetLayerCode(0), Error::sameCode);
    EXPECT_TRUE(error.GetLayerText(0).IsEmpty() && error.GetLayerText(1).IsEmpty());
    EXPECT_EQ(error.Format(), u"e7210000");
    WriteArchive again;
    again << error;
    EXPECT_EQ(again.GetBinary(), stored);
}

} // namespace
