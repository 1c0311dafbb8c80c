// Each operation meets a fault at its first system call, at its second, and so on to the last: the call
// fails, or is unknown to the system, or the process is killed there, or there is no memory. Whatever it was,
// the store is then as before or as after, and the operation can be done again.
#include "platform/linux/seam.h"
#include "tests/allocation_plan.h"
#include "tests/platform/registry_store.h"

#include <cerrno>
#include <functional>

using namespace Platform;

namespace {

// All keys and values below a key, as text.
std::string Contents(const Key& key)
{
    std::string text;
    for (const std::u16string& name : key.Values())
        text += testing::PrintToString(name) + "=" + key.Get(name).value_or("damaged").substr(0, 20) + ";";
    for (const std::u16string& name : key.Subkeys())
        text += testing::PrintToString(name) + "{" + Contents(Key(name, key)) + "}";
    return text;
}
std::string ContentsOf(Handle root)
{
    const Key key(Opened(root, u"", KEY_READ));
    return key == NULL_HANDLE ? "" : Contents(key);
}

const std::string large(20'000, 'n');

// The handle is opened before the fault, so that this meets the operation alone.
struct Subject {
    const Key key{u"k"};
    const Key reading{u"k"};
    const Key knowing{u"k"}; // has read all that was there before
};

struct Operation {
    const char* name;
    std::function<void(const Key&)> prepare;
    std::function<std::uint32_t(const Subject&)> run;
};

void Nothing(const Key&) { }
std::function<void(const Key&)> Has(const std::string& bytes)
{
    return [bytes](const Key& key) { EXPECT_EQ(key.Set(u"v", bytes + bytes) | key.Set(u"v", bytes), 0U); };
}
std::function<std::uint32_t(const Subject&)> Sets(const std::string& bytes)
{
    return [bytes](const Subject& subject) { return subject.key.Set(u"V", bytes); };
}
// What is meant to come out, perhaps only when it is done again.
std::uint32_t Unless(std::uint32_t code, std::uint32_t meant)
{
    return code == meant ? ERROR_SUCCESS : code;
}

const Operation operations[] = {{"set a new value", Nothing, Sets("new")},
    {"set a new large value", Nothing, Sets(large)}, {"set a value", Has("old"), Sets("new")},
    {"make a value large", Has("old"), Sets(large)}, {"make a value small", Has(large), Sets("new")},
    {"delete a value", Has("old"),
        [](const Subject& s) { return Unless(s.key.Delete(u"V"), ERROR_FILE_NOT_FOUND); }},
    {"make a key", Nothing, [](const Subject& s) { return MakeCode(s.key, u"Sub"); }},
    {"delete a key", [](const Key& k) { Key(u"Sub", k).Set(u"v", "old"); },
        [](const Subject& s) { return Unless(RegDeleteKeyW(s.reading, u"SUB"), ERROR_FILE_NOT_FOUND); }},
    {"delete a key that has a subkey", [](const Key& k) { Key(u"Sub\\Living", k).Set(u"v", "old"); },
        [](const Subject& s) { return Unless(RegDeleteKeyW(s.reading, u"SUB"), ERROR_ACCESS_DENIED); }},
    {"begin a hive", Nothing, [](const Subject&) { return MakeCode(HKEY_LOCAL_MACHINE, u"m"); }},
    {"read a value", Has("old"),
        [](const Subject& s) {
            char bytes[3];
            std::uint32_t size = 3;
            const std::uint32_t code = RegQueryValueExW(s.reading, u"v", nullptr, nullptr, bytes, &size);
            EXPECT_TRUE(code != 0 || std::string(bytes, size) == "old");
            return code;
        }},
    {"list", [](const Key& k) { Key(u"Sub", k); },
        [](const Subject& s) {
            char16_t name[4];
            std::uint32_t chars = 4;
            const auto code = RegEnumKeyExW(s.reading, 0, name, &chars, nullptr, nullptr, nullptr, nullptr);
            EXPECT_TRUE(code != 0 || std::u16string(name) == u"Sub");
            return code;
        }}};

struct Fault {
    const char* name;
    std::function<void(unsigned)> plan; // for the n-th; 0 ends it
    std::function<unsigned()> count;
    bool kills;
};

std::function<void(unsigned)> CallFails(int error)
{
    return [error](unsigned n) { Seam::FailNth(n, error); };
}

const Fault faults[] = {{"a call fails", CallFails(EIO), Seam::CallCount, false},
    {"a call is unknown", CallFails(ENOSYS), Seam::CallCount, false},
    {"killed", CallFails(Seam::KILL_PROCESS), Seam::CallCount, true},
    {"no memory", AllocationPlan::FailNth, AllocationPlan::Count, false}};

// What the n-th fault leaves behind. False when the operation has no n-th step any more.
bool MeetFault(const Operation& operation, const Fault& fault, unsigned n)
{
    const TemporaryRegistry registry;
    const std::string where =
        std::string(operation.name) + ", " + fault.name + " at step " + std::to_string(n);
    const Subject subject;
    operation.prepare(subject.key);
    const auto contents = [] { return ContentsOf(HKEY_CURRENT_USER) + ContentsOf(HKEY_LOCAL_MACHINE); };
    const std::string before = contents();
    static_cast<void>(Contents(subject.knowing));
    const std::size_t descriptors = OpenDescriptors();
    unsigned steps = 0;
    std::uint32_t code = 1;
    const auto run = [&] {
        fault.plan(n);
        code = operation.run(subject);
        steps = fault.count();
        fault.plan(0);
        return steps >= n ? 1 : 0;
    };
    const bool met = fault.kills ? InAnotherProcess(run) == -1 : run() == 1;
    const std::string left = contents();
    EXPECT_EQ(Contents(subject.knowing), Contents(Key(u"k"))) << where;
    // Lock and stamp of the handle may have been opened.
    EXPECT_LE(OpenDescriptors(), descriptors + 3) << where;
    EXPECT_EQ(operation.run(subject), 0U) << where;
    const std::string after = contents();
    EXPECT_TRUE(left == before || left == after) << where << " left " << left;
    EXPECT_TRUE(code != 0 || left == after) << where << " was told as done";
    EXPECT_EQ(after.find("damaged"), std::string::npos) << where;
    // Whatever was left half done does not outlive the key.
    RegDeleteKeyW(subject.key, u"Sub\\Living");
    RegDeleteKeyW(subject.key, u"Sub");
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"k"), 0U) << where;
    EXPECT_EQ(::rmdir(registry.Path("user/keys").c_str()), 0) << where;
    return met;
}

TEST(RegistryFault, LeavesTheOldOrTheNewState)
{
    for (const Fault& fault : faults) {
        for (const Operation& operation : operations) {
            unsigned n = 1;
            while (n < 100 && MeetFault(operation, fault, n))
                ++n;
            EXPECT_LT(n, 100U) << operation.name << " never comes to its end";
            EXPECT_TRUE(n > 2 || fault.name == std::string("no memory")) << operation.name << " met no fault";
        }
    }
}

} // namespace
