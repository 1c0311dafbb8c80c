#include "tests/base/bytes.h"
#include <tessel/base/value.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <gtest/gtest.h>

namespace {

struct Watched : Face<> {
    static constexpr Iid iid = u"IID_Test::Watched"_iid;
};
class WatchedImpl : public Face<Watched> {
public:
    WatchedImpl(int& itsDeaths, Value* itsSeen) : deaths(itsDeaths), seen(itsSeen) { }
    ~WatchedImpl()
    {
        ++deaths;
        if (seen != nullptr)
            *seen = 7;
    }

private:
    int& deaths;
    Value* seen; // changed while this dies
};

FacePtr<BaseFace> MakeWatched(int& deaths, Value* seen = nullptr)
{
    return MakeFace<Impl<WatchedImpl, Module>>(deaths, seen);
}

WideString MessageOf(const std::function<void()>& act)
{
    try {
        act();
    } catch (const Error& error) {
        return error.Format();
    }
    return u"nothing thrown";
}

TEST(Value, NamesTheTypeThatWasAskedFor)
{
    Value text;
    text = WideString(u"text");
    const auto message = [](int type) {
        WideString expected;
        expected.Printf(u"An internal error occured (tessel/val: bad val type %d).", type);
        return expected;
    };
    EXPECT_EQ(MessageOf([&] { static_cast<void>(text.GetNumber()); }), message(1));
    EXPECT_EQ(MessageOf([&] { static_cast<void>(Value().GetString()); }), message(2));
    EXPECT_EQ(MessageOf([&] { static_cast<void>(text.GetBinary()); }), message(3));
    EXPECT_EQ(MessageOf([&] { static_cast<void>(text.GetHandle()); }), message(5));
    EXPECT_EQ(text.GetString(), u"text");
}

TEST(Value, SharesAndLetsGoWhateverItHolds)
{
    int deaths = 0;
    Value value;
    value = WideString(u"a text in a buffer");
    Value copy = value;
    EXPECT_EQ(copy.GetString().c_str(), value.GetString().c_str()) << "shared";
    value = value.GetString(); // the payload itself
    value = Binary("bytes", 5);
    const Value& itself = value;
    value = itself;
    EXPECT_EQ(value.GetBinary(), Binary("bytes", 5));
    value = MakeWatched(deaths);
    copy = value;
    value = Handle{9};
    EXPECT_EQ(deaths, 0);
    copy = std::uint32_t{1};
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(value.GetHandle(), Handle{9});
    value = MakeWatched(deaths);
    value = MakeWatched(deaths);
    EXPECT_EQ(deaths, 2);
    value.Reset();
    EXPECT_EQ(deaths, 3);
    EXPECT_EQ(value.GetType(), Value::Type::none);
    value = FacePtr<BaseFace>();
    EXPECT_EQ(value.GetType(), Value::Type::face);
}

TEST(Value, MayBeChangedByTheFaceThatItLetsGo)
{
    int deaths = 0;
    Value value;
    value = MakeWatched(deaths, &value);
    value.Reset();
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(value.GetNumber(), 7U);
}

TEST(Value, TravelsInArchives)
{
    Value number, text, bytes, handle;
    number = 7;
    text = WideString(u"ab");
    bytes = Bytes("AABB");
    handle = Handle{0x0102030405060708};
    const struct {
        const Value& value;
        const char* stored;
    } cases[] = {{Value(), "10 13 48 5B 00000000"}, {number, "10 13 48 5B 01000000 07000000"},
        {text, "10 13 48 5B 02000000 06000000 B0040000 6100 6200 0000"},
        {bytes, "10 13 48 5B 03000000 02000000 AABB"},
        {handle, "10 13 48 5B 05000000 00000000 0807060504030201"}};
    for (const auto& c : cases) {
        WriteArchive archive;
        archive << c.value;
        EXPECT_EQ(archive.GetBinary(), Bytes(c.stored));
        Value read;
        read = 99;
        ReadFrom(archive.GetBinary(), read);
        ASSERT_EQ(read.GetType(), c.value.GetType()) << c.stored;
        WriteArchive again;
        again << read;
        EXPECT_EQ(again.GetBinary(), Bytes(c.stored));
    }
}

TEST(Value, OfATypeThatCannotBeReadStaysAsItWas)
{
    int deaths = 0;
    Value face;
    face = MakeWatched(deaths);
    WriteArchive archive;
    archive << face;
    EXPECT_EQ(archive.GetBinary(), Bytes("10 13 48 5B 04000000"));
    for (const char* const stored : {"10 13 48 5B 04000000", "10 13 48 5B 06000000", "10 13 48 5B FFFFFFFF",
             "10 13 48 5B 01000000", "10 13 48 5B 02000000 04000000", "10 13 48 5B 05000000 00000000 00"}) {
        Value value;
        value = 99;
        EXPECT_THROW(ReadFrom(Bytes(stored), value), Error) << stored;
        EXPECT_EQ(value.GetNumber(), 99U);
    }
}

} // namespace
