// Client modules in this process: loaded when an object is wanted, and really gone after a cleanup.
#include "tests/allocation_plan.h"
#include "tests/modules/gadgets.h"
#include <tessel/tessel.h>

#include <algorithm>
#include <atomic>
#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <thread>

namespace {

using Testing::Gadget;

struct Range {
    std::uintptr_t begin, end;
};

// Where a file lies in this process's memory.
std::vector<Range> MappedRanges(const std::string& file)
{
    std::ifstream maps("/proc/self/maps");
    std::vector<Range> ranges;
    for (std::string line; std::getline(maps, line);)
        if (line.ends_with(file)) {
            Range range{};
            std::sscanf(line.c_str(), "%lx-%lx", &range.begin, &range.end);
            ranges.push_back(range);
        }
    return ranges;
}
bool IsLoaded(const std::string& file)
{
    return !MappedRanges(file).empty();
}

// Puts inaccessible memory where a module was, so that whatever still points there is found out.
class Forbidden {
public:
    explicit Forbidden(const std::vector<Range>& ranges) : taken(ranges)
    {
        for (const Range& range : ranges) {
            void* const at = reinterpret_cast<void*>(range.begin);
            constexpr int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE;
            EXPECT_EQ(mmap(at, range.end - range.begin, PROT_NONE, flags, -1, 0), at);
        }
    }
    ~Forbidden()
    {
        for (const Range& range : taken)
            munmap(reinterpret_cast<void*>(range.begin), range.end - range.begin);
    }

private:
    const std::vector<Range> taken;
};

WideString PathText(const std::string& path)
{
    std::string text = "C:" + path;
    std::replace(text.begin(), text.end(), '/', '\\');
    return WideString(text.c_str());
}

const std::string gadgetsFile = TESSEL_TEST_MODULES "/gadgets.dll";

class ModuleTest : public testing::Test {
protected:
    ModuleTest()
    {
        TesselInitialize();
        creator = Clsid(Object::libraryCreatorClass);
        manager = Clsid(Object::managerClass);
    }
    ~ModuleTest() override
    {
        library = nullptr;
        EXPECT_FALSE(IsLoaded(gadgetsFile));
    }

    void UseGadgets()
    {
        Object::ClassInfoList classes;
        for (const char16_t* name : {u"CID_Testing::Gadget", u"CID_Testing::SharedGadget",
                 u"CID_Testing::SlowGadget", u"CID_Testing::OpenGate", u"CID_Testing::IsInside"})
            classes.push_back({name, {u"IID_Testing::Gadget"}, {}});
        library = creator->CreateCached(PathText(gadgetsFile), classes, {u"Testing::Kind"});
        manager->AddFactory(library.Cast<Object::Factory>("test"));
    }

    static void ForceCleanup() { Cleanup::Manager::Get()->Cleanup(true); }
    static FacePtr<Gadget> MakeGadget() { return FacePtr<Gadget>(Clsid(u"CID_Testing::Gadget")); }

    FacePtr<Object::Library::Creator> creator;
    FacePtr<Object::Manager> manager;
    FacePtr<Object::Library> library;
};

TEST_F(ModuleTest, CachedLibraryAnswersWithoutLoading)
{
    UseGadgets();
    Object::ClassInfoList classes = {{u"replaced", {}, {}}};
    library->ListClasses(classes);
    EXPECT_EQ(classes.size(), 5U);
    Object::TypeSet types = {u"kept"};
    library.Cast<Object::DynamicFactory>("test")->ListTypes(types);
    EXPECT_EQ(types.size(), 2U);
    EXPECT_EQ(library->GetPath(), PathText(gadgetsFile));
    EXPECT_EQ(manager->GetClassInfo(u"CID_Testing::Gadget").interfaces.size(), 1U) << "as cached";
    EXPECT_FALSE(IsLoaded(gadgetsFile));
    EXPECT_TRUE(manager->IsRegistered(u"Testing::Kind|known")) << "only the module can tell";
    EXPECT_TRUE(IsLoaded(gadgetsFile));
    EXPECT_TRUE(Object::CreateObject(u"Testing::Kind|known", Gadget::iid));
}

TEST_F(ModuleTest, LeavesMemoryWithItsLastObjectAndComesBack)
{
    UseGadgets();
    auto gadget = MakeGadget();
    EXPECT_EQ(gadget->Answer(), 42);
    ForceCleanup();
    EXPECT_TRUE(IsLoaded(gadgetsFile)) << "it has an object";
    gadget = nullptr;
    Cleanup::Manager::Get()->Cleanup(false);
    EXPECT_TRUE(IsLoaded(gadgetsFile)) << "it has not been idle for long";
    ForceCleanup();
    EXPECT_FALSE(IsLoaded(gadgetsFile));
    {
        const auto shared = FacePtr<Gadget>(Clsid(u"CID_Testing::SharedGadget"));
        EXPECT_EQ(shared->Answer(), 1);
        EXPECT_EQ(FacePtr<Gadget>(Clsid(u"CID_Testing::SharedGadget"))->Answer(), 2);
    }
    ForceCleanup();
    EXPECT_FALSE(IsLoaded(gadgetsFile));
}

TEST_F(ModuleTest, CreateLoadsAtOnceAndGivesNothingForWhatIsNoModule)
{
    library = creator->Create(PathText(gadgetsFile));
    EXPECT_TRUE(library && IsLoaded(gadgetsFile));
    for (const char* name : {"half_module.dll", "missing.dll"}) {
        const WideString path = PathText(std::string(TESSEL_TEST_MODULES) + "/" + name);
        EXPECT_FALSE(creator->Create(path)) << name;
        FacePtr<BaseFace> out;
        EXPECT_THROW(creator->CreateCached(path, {}, {})->CreateInstance(u"CID_Testing::Gadget", out), Error);
    }
    EXPECT_FALSE(Object::GetLoadFailure().IsEmpty());
    EXPECT_TRUE(creator->GetStamp(u"C:\\nowhere\\x.dll").IsEmpty());
}

TEST_F(ModuleTest, IsServedOnceAlsoWhenItWasLetGoAndStayedInMemory)
{
    UseGadgets();
    void* const other = dlopen(gadgetsFile.c_str(), RTLD_NOW);
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(manager->FindClasses(u"Testing::Kind|", {}).size(), 1U);
        ForceCleanup();
    }
    dlclose(other);
}

TEST_F(ModuleTest, WhatCameFromItSurvivesIt)
{
    UseGadgets();
    auto gadget = MakeGadget();
    const WeakPtr<Gadget> weak(gadget);
    const WideString text = gadget->Describe();
    Error kept;
    std::exception_ptr own;
    std::exception_ptr standard;
    try {
        gadget->Fail(false);
    } catch (const Error& error) {
        kept = error;
        own = std::current_exception();
    }
    try {
        gadget->Fail(true);
    } catch (const std::exception&) {
        standard = std::current_exception();
    }
    gadget = nullptr;
    const auto ranges = MappedRanges(gadgetsFile);
    ForceCleanup();
    ASSERT_FALSE(IsLoaded(gadgetsFile));
    {
        const Forbidden forbidden(ranges);
        EXPECT_FALSE(weak.Lock());
        EXPECT_EQ(text, u"gadget 42 of a module");
        EXPECT_EQ(kept.Format(), u"An internal error occured (testing: gadget-fail(42)).");
        EXPECT_THROW(std::rethrow_exception(own), Error);
        EXPECT_THROW(std::rethrow_exception(standard), std::exception);
        own = standard = nullptr;
        kept = Error();
        // The map's entries are of the library, and the module's factories are dead entries of its compound.
        EXPECT_TRUE(manager->IsRegistered(u"CID_Testing::Gadget"));
        ForceCleanup();
    }
    EXPECT_EQ(MakeGadget()->Answer(), 42);
    ForceCleanup();
}

TEST_F(ModuleTest, IsNotUnloadedUnderACall)
{
    UseGadgets();
    std::jthread maker([] { EXPECT_EQ(FacePtr<Gadget>(Clsid(u"CID_Testing::SlowGadget"))->Answer(), 42); });
    FacePtr<BaseFace> inside;
    while (!inside) { // the factory says when the other thread stands in it
        try {
            inside = Object::CreateObject(u"CID_Testing::IsInside", BaseFace::iid);
        } catch (const Error&) {
            std::this_thread::yield();
        }
    }
    inside = nullptr;
    ForceCleanup();
    EXPECT_TRUE(IsLoaded(gadgetsFile));
    EXPECT_THROW(Object::CreateObject(u"CID_Testing::OpenGate", BaseFace::iid), Error);
    maker.join();
    ForceCleanup();
}

TEST_F(ModuleTest, ServesAfterAnyAllocationOfItsLoadHasFailed)
{
    UseGadgets();
    const Clsid gadget(u"CID_Testing::Gadget");
    bool isStruck = true;
    for (unsigned n = 1; isStruck; ++n) {
        AllocationPlan::FailNth(n);
        try {
            Object::CreateObject(gadget, Gadget::iid);
        } catch (const std::bad_alloc&) {
        } catch (const Error&) {
        }
        isStruck = AllocationPlan::Count() >= n;
        AllocationPlan::FailNth(0);
        EXPECT_EQ(MakeGadget()->Answer(), 42) << n;
        ForceCleanup();
        EXPECT_FALSE(IsLoaded(gadgetsFile)) << n;
    }
}

// Threads make objects, look at them, and drop the last references, while cleanups are forced at any moment:
// the module goes and comes, and no code or object of it is ever missing.
TEST_F(ModuleTest, GoesAtAnyMomentAndNothingIsMissing)
{
    UseGadgets();
    std::atomic<bool> stop{false};
    std::atomic<unsigned> made{0};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            WeakPtr<Gadget> weak;
            while (!stop) {
                const auto gadget = MakeGadget();
                weak = gadget;
                ASSERT_EQ(gadget->Answer(), 42);
                const auto copy = weak.Lock();
                ASSERT_EQ(copy, gadget);
                ++made;
            }
        });
    unsigned unloaded = 0;
    for (unsigned seen = 0; seen < 20000 || unloaded < 20; seen = made) {
        ForceCleanup();
        unloaded += !IsLoaded(gadgetsFile);
    }
    stop = true;
    threads.clear();
    ForceCleanup();
}

} // namespace
