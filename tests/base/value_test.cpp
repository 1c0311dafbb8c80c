#include "tests/base/bytes.h"
#include "tests/object/test_faces.h"
#include <tessel/base/value.h>

#include <gtest/gtest.h>

using namespace Testing;

namespace {

FacePtr<BaseFace> MakeObject(void (*onDeath)(BothImpl&) = nullptr)
{
    const auto object = MakeFace<Both>();
    object->onDeath = onDeath;
    return FacePtr<BaseFace>(Primary(object.Get()));
}

TEST(Value, SharesAndLetsGoWhateverItHolds)
{
    static Value value;
    value = WideString(u"a text in a buffer");
    Value copy = value;
    EXPECT_EQ(copy.GetString().c_str(), value.GetString().c_str()) << "shared";
    value = value.GetString(); // the payload itself
    value = Binary("bytes", 5);
    const Value& itself = value;
    value = itself;
    EXPECT_EQ(value.GetBinary(), Binary("bytes", 5));
    value = MakeObject();
    copy = value;
    value = Handle{9};
    EXPECT_EQ(BothImpl::living, 1);
    copy = std::uint32_t{1};
    EXPECT_EQ(BothImpl::living, 0);
    EXPECT_EQ(value.GetHandle(), Handle{9});
    value = MakeObject();
    value = MakeObject([](BothImpl&) { value = 7; });
    EXPECT_EQ(BothImpl::living, 1);
    value.Reset();
    EXPECT_EQ(BothImpl::living, 0);
    EXPECT_EQ(value.GetNumber(), 7U) << "set by what was let go";
}

TEST(Value, TravelsInArchives)
{
    Value values[6];
    values[1] = 7;
    values[2] = WideString(u"ab");
    values[3] = Bytes("AABB");
    values[4] = MakeObject();
    values[5] = Handle{0x0102030405060708};
    const char* const stored[] = {"10 13 48 5B 00000000", "10 13 48 5B 01000000 07000000",
        "10 13 48 5B 02000000 06000000 B0040000 6100 6200 0000", "10 13 48 5B 03000000 02000000 AABB",
        "10 13 48 5B 04000000", "10 13 48 5B 05000000 00000000 0807060504030201"};
    for (unsigned type = 0; type < 6; ++type) {
        WriteArchive archive;
        archive << values[type];
        EXPECT_EQ(archive.GetBinary(), Bytes(stored[type]));
        if (type == 4) // a face can be written and not be read
            continue;
        Value read;
        read = 99;
        ReadFrom(archive.GetBinary(), read);
        WriteArchive again;
        again << read;
        EXPECT_EQ(again.GetBinary(), Bytes(stored[type]));
    }
    for (const char* const bad : {"10 13 48 5B 04000000", "10 13 48 5B 06000000", "10 13 48 5B 01000000",
             "10 13 48 5B 02000000 04000000"}) {
        EXPECT_THROW(ReadFrom(Bytes(bad), values[1]), Error) << bad;
        EXPECT_EQ(values[1].GetNumber(), 7U) << "it stays as it was";
    }
    EXPECT_EQ(FailureOf([&] { static_cast<void>(values[1].GetString()); }), "bad val type 2");
}

} // namespace
