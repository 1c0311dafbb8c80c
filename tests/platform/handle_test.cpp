#include "platform/errors.h"
#include "platform/linux/handles/handle_table.h"

#include <atomic>
#include <gtest/gtest.h>
#include <set>
#include <thread>
#include <vector>

using namespace Platform;

namespace {

std::atomic<int> living{0};

class Probe final : public CountedObject {
public:
    static constexpr ObjectKind objectKind = ObjectKind::Event;
    Probe() noexcept : CountedObject(objectKind) { ++living; }
    ~Probe() override
    {
        alive = false;
        --living;
    }
    bool alive = true;
};

constexpr std::uint32_t MODIFY = 2;

Handle MakeProbe(std::uint32_t access = SYNCHRONIZE | MODIFY)
{
    return MakeHandle(ObjectRef<Probe>::Adopt(new Probe), access);
}

std::uint32_t ErrorOfFinding(Handle handle, std::uint32_t access = 0)
{
    SetLastError(ERROR_SUCCESS);
    return FindHandle<Probe>(handle, access) ? ERROR_SUCCESS : GetLastError();
}

} // namespace

TEST(Handles, FindOutEveryNumberThatIsNoOpenHandleOfTheirKind)
{
    const Handle closed = MakeProbe();
    ASSERT_TRUE(CloseHandle(closed));
    const Handle open = MakeProbe(); // most likely in the same slot
    const auto number = static_cast<std::uint64_t>(open);
    const Handle cases[] = {NULL_HANDLE, INVALID_HANDLE_VALUE, closed, Handle{number + 1},
        Handle{number + (1ULL << 32)}, Handle{number + (1ULL << 33)}, Handle{number + 0x00FFFFFF}, Handle{1},
        Handle{1ULL << 32}};
    for (const Handle handle : cases) {
        EXPECT_EQ(ErrorOfFinding(handle), ERROR_INVALID_HANDLE)
            << std::hex << static_cast<std::uint64_t>(handle);
        EXPECT_FALSE(CloseHandle(handle)) << std::hex << static_cast<std::uint64_t>(handle);
    }
    EXPECT_FALSE(FindObject(open, ObjectKind::Mutex, 0) || CloseHandleOfKind(open, ObjectKind::Mutex));
    EXPECT_EQ(ErrorOfFinding(open), ERROR_SUCCESS);
    EXPECT_TRUE(CloseHandleOfKind(open, ObjectKind::Event));
    EXPECT_EQ(living, 0);
}

TEST(Handles, AreDuplicatedWithAtMostTheirOwnRights)
{
    const Handle handle = MakeProbe();
    Handle same;
    Handle less;
    Handle more;
    ASSERT_TRUE(DuplicateHandle(handle, &same, 0, DUPLICATE_SAME_ACCESS));
    ASSERT_TRUE(DuplicateHandle(handle, &less, SYNCHRONIZE, DUPLICATE_CLOSE_SOURCE));
    EXPECT_EQ(ErrorOfFinding(handle), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOfFinding(same, MODIFY), ERROR_SUCCESS);
    EXPECT_EQ(ErrorOfFinding(less, MODIFY), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(DuplicateHandle(less, &more, MODIFY, DUPLICATE_CLOSE_SOURCE));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOfFinding(less), ERROR_INVALID_HANDLE);
    EXPECT_EQ(living, 1);
    EXPECT_TRUE(CloseHandle(same));
    EXPECT_EQ(living, 0);
}

TEST(Handles, ComeInAnyNumberAndStayDistinct)
{
    std::vector<Handle> handles(20'000);
    for (Handle& handle : handles)
        handle = MakeProbe();
    EXPECT_EQ(std::set<Handle>(handles.begin(), handles.end()).size(), handles.size());
    for (const Handle handle : handles)
        ASSERT_EQ(ErrorOfFinding(handle), ERROR_SUCCESS);
    for (const Handle handle : handles)
        ASSERT_TRUE(CloseHandle(handle));
    EXPECT_EQ(living, 0);
}

// More look-ups than the slot's own count holds, by several threads at once.
TEST(Handles, CountAnyNumberOfLookUps)
{
    const Handle handle = MakeProbe();
    const ObjectRef<Probe> kept = FindHandle<Probe>(handle, 0);
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([handle] {
            for (int i = 0; i < 100'000; ++i)
                FindHandle<Probe>(handle, 0);
        });
    threads.clear();
    EXPECT_TRUE(CloseHandle(handle));
    EXPECT_TRUE(kept->alive && living == 1) << "the call that uses it keeps it";
}

// One thread opens and closes, others use the numbers that it published, mostly stale ones.
TEST(Handles, AreSafeAgainstCloseElsewhere)
{
    std::atomic<Handle> published{NULL_HANDLE};
    std::atomic<bool> done{false};
    std::atomic<long> found{0};
    std::atomic<bool> metDead{false};
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&] {
            while (!done)
                if (const ObjectRef<Probe> used = FindHandle<Probe>(published, 0)) {
                    ++found;
                    metDead = metDead || !used->alive;
                }
        });
    for (int i = 0; i < 100'000 || found < 1000; ++i) {
        const Handle handle = MakeProbe();
        published = handle;
        ASSERT_TRUE(CloseHandle(handle));
    }
    done = true;
    threads.clear();
    EXPECT_FALSE(metDead);
    EXPECT_EQ(living, 0);
}
