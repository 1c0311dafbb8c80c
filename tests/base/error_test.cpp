#include "object/hooks.h"
#include "tests/allocation_plan.h"
#include <tessel/base/error.h>

#include <gtest/gtest.h>

namespace {

TEST(Error, FormatShowsTheNewestAndTheShownLayer)
{
    Hooks::SetLanguage([]() noexcept { return std::uint32_t{0x40A}; }); // without messages, so English counts
    Error error("bad val type %d", "tessel/val", 5);
    const Error copy = error;
    error.AddLayer(7, u"in between", false);
    error.AddLayer(Error::sameCode, u"on top", false);
    EXPECT_EQ(error.GetLayerCode(0), 7U) << "the code of the layer below";
    EXPECT_EQ(error.GetLayerText(1), u"in between");
    error.SetDetails(u"more");
    EXPECT_EQ(error.Format(), u"on top\nAn internal error occured (tessel/val: bad val type 5).\n\nmore");
    EXPECT_TRUE(error.HasCode(Error::internal));
    EXPECT_FALSE(error.HasCode(8));
    EXPECT_EQ(error.GetLayerCode(3), 0U);
    EXPECT_TRUE(error.GetLayerText(3).IsEmpty());
    error.Clear();
    EXPECT_EQ(copy.Format(), u"An internal error occured (tessel/val: bad val type 5).");
}

TEST(Error, WithoutTextsShowsItsCodeOrStaysSilent)
{
    const struct {
        std::uint32_t code;
        const char16_t *details, *expected;
    } cases[] = {{7, u"", u"00000007"}, {Error::sameCode, u"", u"e7210000"}, {7, u"d", u"00000007\n\nd"},
        {0, u"d", u""}, {Error::interrupted, u"", u"An internal error occured (error: interrupt-display)."}};
    for (const auto& c : cases) {
        Error error;
        error.AddLayer(c.code, {}, false);
        error.SetDetails(c.details);
        EXPECT_EQ(error.Format(), c.expected) << c.code;
    }
    Error shown; // nothing shown in the newest layer, but one below it
    shown.AddLayer(7, u"below", true);
    shown.AddLayer(8, {}, false);
    EXPECT_EQ(shown.Format(), u"\nbelow");
    Error emptyButShown;
    emptyButShown.AddLayer(7, {}, true);
    emptyButShown.SetDetails(u"d");
    EXPECT_EQ(emptyButShown.Format(), u"\nd") << "one line feed where nothing stands in front";
}

TEST(Error, WithoutMemoryThrowsBadAllocAndLeaksNothing)
{
    const WideString details = u"details"; // what a string gives up for want of memory is not Error's to tell
    WideString shown;
    WideString whole;
    AllocationPlan::FailEach(
        [&] {
            Error error("token %s", "tag", u"a text that is too long for any small buffer in here");
            Error copy = error;
            copy.AddLayer(Error::badFormat, {}, false);
            copy.SetDetails(details);
            shown = copy.Format();
        },
        [&] {
            whole = whole.IsEmpty() ? shown : whole;
            EXPECT_EQ(shown, whole);
            shown = whole; // of one buffer
        });
}

} // namespace
