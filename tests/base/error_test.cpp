#include "object/hooks.h"
#include "tests/allocation_plan.h"
#include <tessel/base/error.h>

#include <gtest/gtest.h>

namespace {

TEST(Error, FormatShowsTheNewestAndTheShownLayer)
{
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
    const std::tuple<std::uint32_t, const char16_t*, const char16_t*> cases[] = {{7, u"", u"00000007"},
        {Error::sameCode, u"", u"e7210000"}, {7, u"d", u"00000007\n\nd"}, {0, u"d", u""},
        {Error::interrupted, u"", u"An internal error occured (error: interrupt-display)."}};
    for (const auto& [code, details, expected] : cases) {
        Error error;
        error.AddLayer(code, {}, false);
        error.SetDetails(details);
        EXPECT_EQ(error.Format(), expected) << code;
    }
    Error error; // nothing to show in the newest layer
    error.AddLayer(7, u"below", true);
    error.AddLayer(8, {}, false);
    EXPECT_EQ(error.Format(), u"\nbelow");
    error.AddLayer(7, {}, true);
    error.SetDetails(u"d");
    EXPECT_EQ(error.Format(), u"\nd") << "one line feed where nothing stands in front";
}

TEST(Error, MessagesFollowTheLanguageAndFallBackToEnglish)
{
    const std::pair<Hooks::Language, const char16_t*> cases[] = {
        {nullptr, u"The data have incorrect format."},
        {[]() noexcept { return std::uint32_t{0x408}; }, u"Τα δεδομένα έχουν εσφαλμένη μορφή."},
        {[]() noexcept { return std::uint32_t{0x40A}; }, u"The data have incorrect format."}};
    for (const auto& [language, text] : cases) {
        Hooks::SetLanguage(language);
        Error error;
        error.AddLayer(Error::badFormat, {}, false);
        EXPECT_EQ(error.Format(), text);
    }
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
