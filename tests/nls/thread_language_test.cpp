// The language of a thread: from before the start to behind the stop, for a user from Austria.
#include "tests/allocation_plan.h"
#include "tests/mt/mt_objects.h"

#include <barrier>

using namespace Testing;

namespace {

constexpr std::uint32_t usersDefault = 0xC07;
constexpr std::uint32_t nearest = 0x407;
const WideString key = u"TID_Nls::Language";
std::vector<std::uint32_t> told; // before, during and after the start, in turn by the library and by the hook

void Ask()
{
    told.insert(told.end(), {Nls::TesselGetLangId(), Module::GetLangId()});
}

// Made before the initializer, for its name comes first. It asks elsewhere, for who asks has a language then.
struct Early : Face<Object::Startup> {
    static constexpr const char16_t* clsid = u"CID_Early";
    Early() { std::thread(&Ask).join(); }
};
const auto early = Object::FactoryRegistration::Of<Object::ClassFactory<Early>>("test");

// No class is there any more, so the look-up fails with an Error, which looks up once more.
void CheckAfterStop()
{
    std::thread([] {
        if (Error("token", "test").Format() != u"An internal error occured (test: token)."
            || Nls::TesselGetLangId() != usersDefault)
            std::_Exit(1);
    }).join();
}

class Library : public testing::Environment {
    void SetUp() override
    {
        ::setenv("LC_ALL", "de_AT.UTF-8", 1);
        Ask();
        std::atexit(&CheckAfterStop);
        TesselInitialize();
        EXPECT_TRUE(Mt::CurrentThread()->GetLocal(key));
        Ask();
    }
};
const auto* const library = testing::AddGlobalTestEnvironment(new Library);

FacePtr<Nls::Language::Creator> Languages()
{
    return FacePtr<Nls::Language::Creator>{Clsid(Nls::languageCreatorClass)};
}

} // namespace

TEST(ThreadLanguage, IsThereAtAnyTimeAndResolvedFromTheStartOn)
{
    EXPECT_EQ(told, (std::vector{usersDefault, usersDefault, nearest, usersDefault, nearest, nearest}));
}

TEST(Language, IsMadeSelectedAndActivated)
{
    const auto users = Languages()->Create(0);
    EXPECT_EQ(users->GetProperty(0).GetNumber(), 0U);
    EXPECT_EQ(users->Select({})->GetProperty(0).GetNumber(), nearest);
    EXPECT_EQ(Languages()->Create(0x409)->Select({0x407, 0x40C})->GetProperty(0).GetNumber(), 0x407U);
    EXPECT_EQ(Thrown([&] { users->GetProperty(1); }), "nls: bad-lng-prop(1)");
    EXPECT_EQ(Thrown([&] { Languages()->Create(0x41B); }), "nls: unsup-lng(041b)");
    Languages()->Create(0x1080A)->Activate(); // Mexican: the upper half is not looked at
    const auto spanish = Languages()->GetCurrent();
    EXPECT_EQ(spanish->GetProperty(0).GetNumber(), 0xC0AU);
    Languages()->Create(0x411)->Activate();
    spanish->Activate();
    EXPECT_EQ(Languages()->GetCurrent(), spanish) << "itself, for it is resolved";
}

TEST(ThreadLanguage, GoesFromCreatorsToThreadsThatAllSpeakAtOnce)
{
    const std::pair<std::uint32_t, const char16_t*> speakers[] = {
        {0x409, u"An internal error occured (t: 7)."}, {0x407, u"Interner Fehler (t: 7)."},
        {0x412, u"내부 오류가 발생했습니다(t: 7)."}, {0x41F, u"İç hata oluştu (t: 7)."}};
    constexpr std::size_t count = 64;
    std::barrier gate(count);
    std::vector<FacePtr<Mt::Thread>> threads;
    for (std::size_t i = 0; i < count; ++i) {
        Languages()->Create(speakers[i % 4].first)->Activate();
        threads.push_back(Start([&, i] {
            gate.arrive_and_wait();
            for (std::size_t turn = i; turn < i + 100; ++turn) {
                EXPECT_EQ(Error("%d", "t", 7).Format(), speakers[turn % 4].second);
                Languages()->Create(speakers[(turn + 1) % 4].first)->Activate();
            }
        }));
    }
    for (const auto& thread : threads)
        thread->Join(true);
}

// Where the thread's language is none; and where the n-th allocation on the way fails.
TEST(ThreadLanguage, IsTheUsersDefaultWhereItCannotBeTold)
{
    std::thread([] {
        Mt::CurrentThread()->SetLocal(key, Observing([] {}, [] {}));
        EXPECT_EQ(Module::GetLangId(), usersDefault);
        EXPECT_EQ(Thrown([] { Languages()->GetCurrent(); }), "nls: Cast<IID_Nls::Language>");
    }).join();
    bool isOver = false;
    for (unsigned n = 1; !isOver; ++n)
        std::thread([&] {
            Platform::SetLastError(77);
            AllocationPlan::FailNth(n);
            const std::uint32_t language = Nls::TesselGetLangId();
            isOver = AllocationPlan::Count() < n;
            AllocationPlan::FailNth(0);
            EXPECT_TRUE(language == nearest || (language == usersDefault && !isOver)) << n;
            EXPECT_EQ(Platform::GetLastError(), 77U) << n;
            EXPECT_EQ(Nls::TesselGetLangId(), nearest) << n;
            EXPECT_EQ(Languages()->GetCurrent(), Languages()->GetCurrent()) << n;
        }).join();
}
