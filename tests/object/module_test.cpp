// Client modules in this process: loaded when an object is wanted, and really gone after a cleanup.
#include "tests/allocation_plan.h"
#include "tests/modules/gadgets.h"
#include "tests/platform/temporary_folder.h"
#include <tessel/tessel.h>

#include <atomic>
#include <dlfcn.h>
#include <semaphore>
#include <sys/mman.h>
#include <thread>

namespace {

using Testing::Gadget;

using Range = std::pair<std::uintptr_t, std::uintptr_t>;

// Where a file lies in this process's memory.
std::vector<Range> MappedRanges(const std::string& file)
{
    std::ifstream maps("/proc/self/maps");
    std::vector<Range> ranges;
    for (std::string line; std::getline(maps, line);)
        if (line.ends_with(file)) {
            Range& range = ranges.emplace_back();
            std::sscanf(line.c_str(), "%lx-%lx", &range.first, &range.second);
        }
    return ranges;
}
bool IsLoaded(const std::string& file)
{
    return !MappedRanges(file).empty();
}

// Puts inaccessible memory where a module was, so that whatever still points there is found out.
void Forbid(const std::vector<Range>& ranges)
{
    for (const auto& [begin, end] : ranges) {
        void* const at = reinterpret_cast<void*>(begin);
        constexpr int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE;
        EXPECT_EQ(mmap(at, end - begin, PROT_NONE, flags, -1, 0), at);
    }
}

WideString Text(const std::string& path)
{
    return PathText(path).c_str();
}

const std::string gadgetsFile = TESSEL_TEST_MODULES "/gadgets.dll";

struct ModuleTest : testing::Test {
    ModuleTest()
    {
        const Object::ClassInfoList classes = {{u"CID_Testing::Gadget", {u"IID_Testing::Gadget"}, {}},
            {u"CID_Testing::SlowGadget", {u"IID_Testing::Gadget"}, {}}};
        library = creator->CreateCached(Text(gadgetsFile), classes, {u"Testing::Kind"});
        manager->AddFactory(library.Cast<Object::Factory>("test"));
    }
    ~ModuleTest() override
    {
        library = nullptr;
        EXPECT_FALSE(IsLoaded(gadgetsFile));
    }

    static void ForceCleanup() { Cleanup::Manager::Get()->Cleanup(true); }
    static FacePtr<Gadget> MakeGadget() { return FacePtr<Gadget>(Clsid(u"CID_Testing::Gadget")); }

    const int started = TesselInitialize();
    FacePtr<Object::Library::Creator> creator{Clsid(Object::libraryCreatorClass)};
    FacePtr<Object::Manager> manager{Clsid(Object::managerClass)};
    FacePtr<Object::Library> library;
};

TEST_F(ModuleTest, CachedLibraryAnswersWithoutLoading)
{
    Object::ClassInfoList classes = {{u"replaced", {}, {}}};
    library->ListClasses(classes);
    EXPECT_EQ(classes.size(), 2U);
    Object::TypeSet types = {u"kept"};
    library.Cast<Object::DynamicFactory>("test")->ListTypes(types);
    EXPECT_EQ(types.size(), 2U);
    EXPECT_EQ(library->GetPath(), Text(gadgetsFile));
    EXPECT_EQ(manager->GetClassInfo(u"CID_Testing::Gadget").interfaces.size(), 1U) << "as cached";
    EXPECT_FALSE(IsLoaded(gadgetsFile));
    EXPECT_TRUE(manager->IsRegistered(u"Testing::Kind|known")) << "only the module can tell";
    EXPECT_TRUE(IsLoaded(gadgetsFile));
    EXPECT_TRUE(Object::CreateObject(u"Testing::Kind|known", Gadget::iid));
}

TEST_F(ModuleTest, CreateLoadsAtOnceAndGivesNothingForWhatIsNoModule)
{
    EXPECT_FALSE(IsLoaded(gadgetsFile));
    EXPECT_TRUE(creator->Create(Text(gadgetsFile)) && IsLoaded(gadgetsFile));
    for (const char* name : {"half_module.dll", "missing.dll"}) {
        const WideString path = Text(std::string(TESSEL_TEST_MODULES) + "/" + name);
        EXPECT_FALSE(creator->Create(path)) << name;
        FacePtr<BaseFace> out;
        EXPECT_THROW(creator->CreateCached(path, {}, {})->CreateInstance(u"CID_Testing::Gadget", out), Error);
    }
    EXPECT_FALSE(Object::GetLoadFailure().IsEmpty());
    EXPECT_TRUE(creator->GetStamp(u"C:\\nowhere\\x.dll").IsEmpty());
}

TEST_F(ModuleTest, IsServedOnceAlsoWhenItWasLetGoAndStayedInMemory)
{
    void* const other = dlopen(gadgetsFile.c_str(), RTLD_NOW);
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(manager->FindClasses(u"Testing::Kind|", {}).size(), 1U);
        ForceCleanup();
    }
    dlclose(other);
}

TEST_F(ModuleTest, LeavesWithItsLastObjectAndWhatCameFromItSurvives)
{
    auto gadget = MakeGadget();
    const WeakPtr<Gadget> weak(gadget);
    const WideString text = gadget->Describe();
    std::exception_ptr thrown[2];
    for (const bool standard : {false, true}) {
        try {
            gadget->Fail(standard);
        } catch (...) {
            thrown[standard] = std::current_exception();
        }
    }
    ForceCleanup();
    EXPECT_TRUE(IsLoaded(gadgetsFile)) << "it has an object";
    gadget = nullptr;
    Cleanup::Manager::Get()->Cleanup(false);
    const auto ranges = MappedRanges(gadgetsFile);
    EXPECT_FALSE(ranges.empty()) << "it has not been idle for long";
    ForceCleanup();
    ASSERT_FALSE(IsLoaded(gadgetsFile));
    Forbid(ranges);
    EXPECT_FALSE(weak.Lock());
    EXPECT_EQ(text, u"gadget 42 of a module");
    try {
        std::rethrow_exception(std::exchange(thrown[false], nullptr));
    } catch (const Error& error) {
        EXPECT_EQ(error.Format(), u"An internal error occured (testing: gadget-fail(42)).");
    }
    EXPECT_THROW(std::rethrow_exception(std::exchange(thrown[true], nullptr)), std::runtime_error);
    // The map's entries are of the library, and the module's factories are dead entries of its compound.
    EXPECT_TRUE(manager->IsRegistered(u"CID_Testing::Gadget"));
    ForceCleanup();
    gadget = Clsid(u"Testing::Kind|shared");
    EXPECT_EQ(gadget->Answer(), 1);
    EXPECT_EQ(FacePtr<Gadget>(Clsid(u"Testing::Kind|shared"))->Answer(), 2);
    gadget = nullptr;
    ForceCleanup();
}

// What the factory of SlowGadget asks for before it makes one.
struct Gate : Face<> {
    static constexpr const char16_t* clsid = u"CID_Testing::Gate";
    Gate()
    {
        entered.release();
        opened.acquire();
    }
    static inline std::binary_semaphore entered{0};
    static inline std::binary_semaphore opened{0};
};

TEST_F(ModuleTest, IsNotUnloadedUnderACall)
{
    const auto gates = MakeFace<Impl<Object::ClassFactory<Gate>, Module>>();
    manager->AddFactory(FacePtr<Object::Factory>(gates));
    std::jthread maker([] { EXPECT_EQ(FacePtr<Gadget>(Clsid(u"CID_Testing::SlowGadget"))->Answer(), 42); });
    Gate::entered.acquire();
    ForceCleanup();
    EXPECT_TRUE(IsLoaded(gadgetsFile));
    Gate::opened.release();
    maker.join();
    ForceCleanup();
}

TEST_F(ModuleTest, ServesAfterAnyAllocationOfItsLoadHasFailed)
{
    const Clsid gadget(u"CID_Testing::Gadget");
    AllocationPlan::FailEach([&] { Object::CreateObject(gadget, Gadget::iid); },
        [] {
            EXPECT_EQ(MakeGadget()->Answer(), 42);
            ForceCleanup();
            EXPECT_FALSE(IsLoaded(gadgetsFile));
        });
}

// Threads make objects, look at them, and drop the last references, while cleanups are forced at any moment:
// the module goes and comes, and no code or object of it is ever missing.
TEST_F(ModuleTest, GoesAtAnyMomentAndNothingIsMissing)
{
    std::atomic<bool> stop{false};
    std::atomic<unsigned> made{0};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            for (; !stop; ++made) {
                const auto gadget = MakeGadget();
                const WeakPtr<Gadget> weak(gadget);
                ASSERT_EQ(gadget->Answer(), 42);
                ASSERT_EQ(weak.Lock(), gadget);
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
