#include "tests/base/bytes.h"
#include "tests/object/test_faces.h"

#include <gtest/gtest.h>
#include <set>

namespace Testing {

struct Stranger : Face<> {
    static constexpr Iid iid = u"IID_Testing::Stranger"_iid;
};
struct Nameless : Face<Named> { };
static_assert(HasOwnIdentifier<Left>() && HasOwnIdentifier<BaseFace>());
static_assert(!HasOwnIdentifier<Nameless>() && !HasOwnIdentifier<BothImpl>());

TEST(Face, CastWalksInDeclaredOrderAndTheFirstHitWins)
{
    const FacePtr<Left> left = MakeFace<Both>();
    const FacePtr<Right> right = left.Cast<Right>("test");
    const std::pair<const char16_t*, BaseFace*> cases[] = {{nullptr, Primary(left.Get())},
        {u"IID_BaseFace", Primary(left.Get())}, {u"IID_Testing::Left", Primary(left.Get())},
        {u"IID_Testing::Right", Primary(right.Get())},
        // both bases have it: the first one answers
        {u"IID_Testing::Named", Primary(left.Get())}, {u"IID_Testing::Stranger", nullptr}, {u"", nullptr},
        {u"IID_Testing::Lef", nullptr},
        // the same hash, another text
        {u"IID_Testing::Letf", nullptr}};
    for (BaseFace* from : {Primary(left.Get()), Primary(right.Get())})
        for (const auto& [iid, face] : cases)
            EXPECT_EQ(FacePtr<BaseFace>::Adopt(from->Cast(iid)).Get(), face);
    EXPECT_EQ(right->InRight(), 3);
    EXPECT_EQ(right.Cast<Named>("test")->Name(), 1);
}

TEST(FacePtr, StrictConversionThrowsAndSoftOneDoesNot)
{
    const FacePtr<Left> left = MakeFace<Both>();
    EXPECT_FALSE(left.TryCast<Stranger>());
    EXPECT_FALSE(FacePtr<Left>().Cast<Right>("test"));
    EXPECT_EQ(FailureOf([&] { left.Cast<Stranger>("xml"); }), "Cast<IID_Testing::Stranger>");
}

TEST(FacePtr, OwnsExactlyOneReference)
{
    ASSERT_EQ(BothImpl::living, 0);
    FacePtr<Both> first = MakeFace<Both>();
    FacePtr<Left> second = first;
    FacePtr<Left> third = std::move(second);
    EXPECT_FALSE(second); // NOLINT(bugprone-use-after-move)
    first = nullptr;
    third = third.Get() != nullptr ? third : nullptr; // itself
    EXPECT_EQ(BothImpl::living, 1);
    Left* const bare = third.Detach();
    EXPECT_EQ(BothImpl::living, 1);
    second = FacePtr<Left>::Adopt(bare);
    second = FacePtr<Left>(MakeFace<Both>());
    EXPECT_EQ(BothImpl::living, 1);
    second = nullptr;
    EXPECT_EQ(BothImpl::living, 0);
}

TEST(FacePtr, LastReleaseMayComeBackToThePointer)
{
    static FacePtr<Both> held;
    static bool wasEmpty;
    held = MakeFace<Both>();
    held->onDeath = [](BothImpl&) { wasEmpty = !held; };
    held = nullptr;
    EXPECT_TRUE(wasEmpty);
}

TEST(FacePtr, IsOrderedByObject)
{
    const FacePtr<Named> left = MakeFace<Both>().Cast<Left>("test");
    const FacePtr<Named> right = left.Cast<Right>("test");
    const FacePtr<Named> other = FacePtr<Left>(MakeFace<Both>());
    EXPECT_NE(left.Get(), right.Get());
    EXPECT_EQ(left, right);
    EXPECT_EQ((std::set<FacePtr<Named>>{nullptr, left, right, other, nullptr}).size(), 3U);
}

// Counts as the library does.
struct CountLocker {
    static void Lock() noexcept { objects.count.fetch_add(1); }
    static void Unlock() noexcept { ADD_FAILURE() << "the library counts down"; }
    static inline LiveObjects objects;
    static constexpr LiveObjects* liveObjects = &objects;
};

TEST(Locker, CountsAnObjectUntilItsDestructorHasRun)
{
    {
        const auto object = MakeFace<Impl<BothImpl, CountLocker>>();
        EXPECT_EQ(CountLocker::objects.count, 1U);
        object->onDeath = [](BothImpl&) { EXPECT_EQ(CountLocker::objects.count, 1U); };
    }
    EXPECT_EQ(CountLocker::objects.count, 0U);
    EXPECT_NE(CountLocker::objects.changed, 0U);
}

} // namespace Testing
