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

class Single : public Face<Named> {
public:
    Single() { ++made; }
    int Name() override { return made; }
    void OnFirstReference()
    {
        if (!failing)
            return;
        escaped = FacePtr<Named>(this);
        throw 1;
    }
    static inline int made = 0;
    static inline bool failing = false;
    static inline FacePtr<Named> escaped;
};

TEST(Global, LivesAsLongAsSomebodyHoldsIt)
{
    using Global = ImplGlobal<Single, Module>;
    FacePtr<Single> first = Global::Get();
    EXPECT_EQ(Global::Get().Get(), first.Get());
    EXPECT_EQ(first->Name(), 1);
    const WeakPtr<Named> old{FacePtr<Named>(first)};
    first = nullptr;
    EXPECT_FALSE(old.Lock());
    first = Global::Get();
    EXPECT_EQ(first->Name(), 2);
    EXPECT_FALSE(old.Lock()) << "the new one is another object";
}

TEST(Global, OneThatCannotStartIsDroppedAndTriedAgain)
{
    using Global = ImplGlobal<Single, Module>;
    Single::failing = true;
    EXPECT_THROW(Global::Get(), int);
    Single::failing = false;
    EXPECT_NE(Global::Get().Get(), Single::escaped.Get()) << "somebody still holds the one that failed";
    Single::escaped = nullptr;
}

// Asks for itself while it dies.
class Phoenix : public Face<Named> {
public:
    ~Phoenix();
    int Name() override { return 5; }
    static inline FacePtr<Phoenix> successor;
};
using PhoenixGlobal = ImplGlobal<Phoenix, Module>;
Phoenix::~Phoenix()
{
    if (!successor)
        successor = PhoenixGlobal::Get();
}

TEST(Global, DyingOneIsReplacedAndDoesNotClearItsSuccessor)
{
    PhoenixGlobal::Get() = nullptr;
    ASSERT_TRUE(Phoenix::successor);
    EXPECT_EQ(PhoenixGlobal::Get().Get(), Phoenix::successor.Get());
    Phoenix::successor = nullptr;
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
