#include "object/weak_map.h"
#include "tests/object/test_faces.h"

#include <gtest/gtest.h>
#include <thread>

namespace Testing {

FacePtr<Named> MakeNamed()
{
    return FacePtr<Left>(MakeFace<Both>());
}

TEST(WeakMap, ForgetsDeadValues)
{
    WeakMap<WideString, Named> map;
    FacePtr<Named> value = MakeNamed();
    const FacePtr<Named> other = MakeNamed();
    map.Set(u"b", other);
    map.Set(u"a", other);
    map.Set(u"a", value);
    EXPECT_EQ(map.Find(u"a"), value) << "the later one counts";
    WeakMap<WideString, Named>::Pairs all(1);
    map.GetAll(all);
    ASSERT_EQ(all.size(), 3U) << "behind what stood there";
    all.clear();
    value = nullptr;
    EXPECT_FALSE(map.Find(u"a"));
    map.SetEach(std::vector<WideString>{u"c", u"d"}, MakeNamed());
    Cleanup::Manager::Get()->Cleanup(false);
    map.GetAll(all);
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].second, other);
    map.Set(u"b", nullptr);
    map.GetAll(all);
    EXPECT_EQ(all.size(), 1U) << "nothing is added";
}

TEST(WeakMultiMap, KeepsTheOrderOfAdding)
{
    WeakMultiMap<unsigned, Named> map;
    std::vector<FacePtr<Named>> values = {MakeNamed(), MakeNamed(), MakeNamed()};
    for (const auto& value : values)
        map.Add(7, value);
    map.Add(8, values[0]);
    values.erase(values.begin() + 1);
    std::vector<FacePtr<Named>> found;
    map.Find(7, found);
    EXPECT_EQ(found, values);
}

TEST(WeakMultiMap, DoesNotGrowByDeadValues)
{
    const auto contents = WeakMultiMap<unsigned, Named>::Contents::Make();
    for (int i = 0; i < 1000; ++i)
        contents->Add(7, MakeNamed());
    EXPECT_LE(contents->entries.size(), 100U);
}

struct CountingItem : Face<Cleanup::Item> {
    bool Cleanup(bool force) override
    {
        ++calls;
        forced = force;
        inside();
        return workLeft > 0 && workLeft-- > 0;
    }
    int calls = 0;
    int workLeft = 0;
    bool forced = false;
    void (*inside)() = [] {};
};
using Counting = Impl<CountingItem, Module>;

TEST(Cleanup, ForcedPassesFollowUntilOneChangesNothing)
{
    const auto manager = Cleanup::Manager::Get();
    const auto item = MakeFace<Counting>();
    manager->AddItem(item.Get());
    manager->AddItem(MakeFace<Counting>().Get()); // gone at once
    item->workLeft = 3;
    manager->Cleanup(false);
    EXPECT_EQ(item->calls, 1);
    EXPECT_FALSE(item->forced);
    manager->Cleanup(true);
    EXPECT_EQ(item->calls, 1 + 3);
    EXPECT_TRUE(item->forced);
}

TEST(Cleanup, StartedWhileOneRunsReturnsAtOnceAlsoAfterAThrow)
{
    const auto manager = Cleanup::Manager::Get();
    const auto item = MakeFace<Counting>();
    manager->AddItem(item.Get());
    item->inside = [] {
        Cleanup::Manager::Get()->Cleanup(true);
        std::thread([] { Cleanup::Manager::Get()->Cleanup(true); }).join();
    };
    manager->Cleanup(true);
    EXPECT_EQ(item->calls, 1);
    item->inside = [] { throw 1; };
    EXPECT_THROW(manager->Cleanup(false), int);
    item->inside = [] {};
    manager->Cleanup(false);
    EXPECT_EQ(item->calls, 3);
}

} // namespace Testing
