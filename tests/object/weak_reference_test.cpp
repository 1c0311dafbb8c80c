#include "tests/object/test_faces.h"
#include <tessel/object/global.h>

#include <gtest/gtest.h>

namespace Testing {

using Weak = BaseFace::WeakReference;

TEST(WeakReference, AllAreDeadBeforeTheDestructorRuns)
{
    static Weak weak[5];
    FacePtr<Both> object = MakeFace<Both>();
    for (Weak& one : weak)
        one.AttachObject(Primary(object.Get()));
    object->onDeath = [](BothImpl&) {
        for (const Weak& one : weak)
            EXPECT_EQ(one.LockObject(), nullptr);
        weak[3].DetachObject();
    };
    BaseFace* const locked = weak[4].LockObject();
    EXPECT_EQ(locked, Primary(object.Get()));
    object = nullptr;
    EXPECT_EQ(BothImpl::living, 1) << "the locked reference holds it";
    locked->Release();
    EXPECT_EQ(BothImpl::living, 0);
    for (Weak& one : weak)
        one.DetachObject(); // one of them again
}

TEST(WeakReference, DetachesFromAnyPlaceInTheList)
{
    FacePtr<Both> object = MakeFace<Both>();
    for (const int first : {0, 1, 2}) {
        Weak weak[3];
        for (Weak& one : weak)
            one.AttachObject(Primary(object.Get()));
        for (int i = 0; i < 3; ++i)
            weak[(first + i) % 3].DetachObject();
    }
    const WeakPtr<Left> last{FacePtr<Left>(object)};
    object = nullptr;
    EXPECT_FALSE(last.Lock());
}

TEST(WeakPtr, LocksTheFaceItWasMadeFrom)
{
    EXPECT_FALSE(WeakPtr<Right>(FacePtr<Right>()).Lock());
    FacePtr<Both> object = MakeFace<Both>();
    WeakPtr<Right> weak(FacePtr<Right>{object});
    WeakPtr<Right> copy = weak;
    EXPECT_EQ(copy.Lock()->InRight(), 3);
    weak = FacePtr<Right>();
    EXPECT_FALSE(weak.Lock());
    object = nullptr;
    const WeakPtr<Right> deadCopy = copy;
    EXPECT_FALSE(copy.Lock() || deadCopy.Lock());
}

using Global = ImplGlobal<BothImpl, Module>;

TEST(Global, LivesAsLongAsSomebodyHoldsIt)
{
    FacePtr<BothImpl> first = Global::Get();
    EXPECT_EQ(Global::Get(), first);
    const WeakPtr<BothImpl> old(first);
    first = nullptr;
    EXPECT_EQ(BothImpl::living, 0);
    first = Global::Get();
    EXPECT_EQ(BothImpl::living, 1);
    EXPECT_FALSE(old.Lock()) << "the new one is another object";
}

TEST(Global, DyingOneIsReplacedAndDoesNotClearItsSuccessor)
{
    static FacePtr<BothImpl> successor;
    Global::Get()->onDeath = [](BothImpl&) { successor = Global::Get(); };
    ASSERT_TRUE(successor);
    EXPECT_EQ(Global::Get(), successor);
    successor = nullptr;
}

struct Failing : Face<> {
    void OnFirstReference()
    {
        if (escaped)
            return;
        escaped = FacePtr<Failing>(this);
        throw 1;
    }
    static inline FacePtr<Failing> escaped;
};

TEST(Global, OneThatCannotStartIsDroppedAndTriedAgain)
{
    EXPECT_THROW((ImplGlobal<Failing, Module>::Get()), int);
    EXPECT_NE((ImplGlobal<Failing, Module>::Get()), Failing::escaped)
        << "somebody still holds the one that failed";
    Failing::escaped = nullptr;
}

TEST(LifeDeathTest, ReferenceTakenInTheDestructorEndsTheProcess)
{
    EXPECT_DEATH(
        {
            auto object = MakeFace<Both>();
            object->onDeath = [](BothImpl& dying) { const FacePtr<Left> taken(&dying); };
        },
        "pure virtual");
}

} // namespace Testing
