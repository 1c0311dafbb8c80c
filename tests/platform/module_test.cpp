#include "platform/errors.h"
#include "platform/linux/modules/built_in.h"
#include "platform/modules.h"
#include "tests/platform/temporary_folder.h"

#include <dlfcn.h>
#include <thread>
#include <vector>

using namespace Platform;

namespace {

const std::string folderOfModules = TESSEL_TEST_MODULES;

// Copies a module into the test's own folder, so that nobody else has loaded it.
std::u16string Copy(
    const TemporaryFolder& folder, const std::string& name, const std::string& module = "answering.dll")
{
    std::filesystem::copy_file(folderOfModules + "/" + module, folder.Path(name));
    return folder.Text(name);
}

// What the system says about the file being in this process's memory.
bool IsInMap(const std::string& path)
{
    std::ifstream map("/proc/self/maps");
    for (std::string line; std::getline(map, line);)
        if (line.ends_with(path))
            return true;
    return false;
}

std::uint32_t ErrorOfLoad(const std::u16string& path)
{
    const Module module = LoadLibraryExW(path.c_str(), LOAD_WITH_ALTERED_SEARCH_PATH);
    return module == NULL_MODULE ? GetLastError() : FreeLibrary(module) ? ERROR_SUCCESS : 1;
}

std::string LoadFailure()
{
    char16_t words[500];
    const std::uint32_t chars = GetLoadFailure(words, 500);
    return std::string(words, words + chars);
}

std::u16string FileNameOf(Module module)
{
    char16_t name[1000];
    const std::uint32_t chars = GetModuleFileNameW(module, name, 1000);
    return std::u16string(name, chars);
}

int CallAnswer(Module module)
{
    const FARPROC answer = GetProcAddress(module, "answer");
    return answer ? reinterpret_cast<int (*)()>(answer)() : -1;
}

void SetCall(const char* variable, void (*function)())
{
    const std::string address = std::to_string(reinterpret_cast<std::uintptr_t>(function));
    function ? ::setenv(variable, address.c_str(), 1) : ::unsetenv(variable);
}

} // namespace

TEST(Modules, AreLoadedCountedAndReallyLeave)
{
    const TemporaryFolder folder;
    const std::u16string path = Copy(folder, "client.dll");
    const Module module = LoadLibraryExW(path.c_str(), LOAD_WITH_ALTERED_SEARCH_PATH);
    ASSERT_NE(module, NULL_MODULE) << LoadFailure();
    EXPECT_EQ(LoadLibraryW(path.c_str()), module);
    EXPECT_EQ(CallAnswer(module), 42);
    EXPECT_TRUE(IsModuleMapped(path.c_str()) && IsInMap(folder.Path("client.dll")));
    const auto* const inside = reinterpret_cast<const void*>(GetProcAddress(module, "answer"));
    EXPECT_TRUE(IsModuleAddress(inside));
    EXPECT_EQ(::dlsym(RTLD_DEFAULT, "answer"), nullptr) << "nothing is made visible to others";
    EXPECT_EQ(GetProcAddress(module, "malloc"), nullptr) << "nor found through it";
    EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);

    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_TRUE(IsModuleMapped(path.c_str()));
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_FALSE(
        IsModuleMapped(path.c_str()) || IsInMap(folder.Path("client.dll")) || IsModuleAddress(inside));

    EXPECT_FALSE(FreeLibrary(module));
    EXPECT_EQ(GetProcAddress(module, "answer"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(GetModuleFileNameW(module, nullptr, 0), 0U);
}

TEST(Modules, TellWhyTheyDoNotLoad)
{
    const TemporaryFolder folder;
    Copy(folder, "unbound.dll", "unbound.dll");
    Copy(folder, "zeroed.dll");
    const std::string whole = folder.Content("zeroed.dll");
    folder.MakeFile("machine.dll", whole.substr(0, 18) + '\x28' + whole.substr(19)); // another processor
    folder.MakeFile("cut.dll", whole.substr(0, 4000));
    std::filesystem::resize_file(folder.Path("zeroed.dll"), 4096);
    std::filesystem::resize_file(folder.Path("zeroed.dll"), whole.size()); // the rest never came
    folder.MakeFile("empty.dll");
    folder.MakeFile("text.dll", std::string(100, 'x'));
    folder.MakeFolder("folder.dll");
    ::mkfifo(folder.Path("pipe.dll").c_str(), 0666);
    const std::tuple<const char*, std::uint32_t, const char*> cases[] = {
        {"no/missing.dll", ERROR_MOD_NOT_FOUND, "cannot open"},
        {"unbound.dll", ERROR_PROC_NOT_FOUND, "nobodyHasThis"},
        {"machine.dll", ERROR_BAD_EXE_FORMAT, "another machine"},
        {"cut.dll", ERROR_BAD_EXE_FORMAT, "cut off"}, {"zeroed.dll", ERROR_BAD_EXE_FORMAT, "cut off"},
        {"empty.dll", ERROR_BAD_EXE_FORMAT, "not an ELF file"},
        {"text.dll", ERROR_BAD_EXE_FORMAT, "not an ELF file"}, {"folder.dll", ERROR_BAD_EXE_FORMAT, ""},
        {"pipe.dll", ERROR_BAD_EXE_FORMAT, ""}};
    const std::size_t before = OpenDescriptors();
    for (const auto& [name, error, words] : cases) {
        EXPECT_EQ(ErrorOfLoad(folder.Text(name)), error) << name;
        EXPECT_NE(LoadFailure().find(words), std::string::npos) << name << ": " << LoadFailure();
        EXPECT_NE(LoadFailure(), "") << name;
        EXPECT_FALSE(IsModuleMapped(folder.Text(name).c_str())) << name;
    }
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(ErrorOfLoad(u"no_such_library.so.9"), ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(ErrorOfLoad(u""), ERROR_INVALID_PARAMETER);
    folder.MakeFile("closed.dll", "", 0000);
    EXPECT_EQ(
        AsOrdinaryUser([&] { return ErrorOfLoad(folder.Text("closed.dll")); }), int{ERROR_ACCESS_DENIED});
    // The words stay with the thread whose load has failed.
    ErrorOfLoad(folder.Text("text.dll"));
    std::thread([&] {
        EXPECT_EQ(LoadFailure(), "");
        ErrorOfLoad(folder.Text("missing.dll"));
    }).join();
    EXPECT_EQ(LoadFailure(), "not an ELF file");
    char16_t small[4];
    EXPECT_EQ(GetLoadFailure(small, 4), 3U);
    EXPECT_EQ(std::u16string(small), u"not");
}

TEST(Modules, AreFoundByNamePathAndAddress)
{
    const TemporaryFolder folder;
    folder.MakeFolder("real/odd:name");
    folder.MakeLink("real", "linked");
    Copy(folder, "real/odd:name/tessel_client.dll");
    const std::u16string path = folder.Text("linked") + u"\\odd\xF03Aname\\tessel_client.dll";
    const Module module = LoadLibraryW(path.c_str());
    ASSERT_NE(module, NULL_MODULE) << LoadFailure();
    EXPECT_EQ(FileNameOf(module), path) << "as loaded, links not resolved";
    EXPECT_EQ(GetModuleHandleW(u"tessel_client.dll"), module);
    EXPECT_EQ(GetModuleHandleW(path.c_str()), module);
    EXPECT_EQ(GetModuleHandleW(u"TESSEL_CLIENT.dll"), NULL_MODULE);
    EXPECT_TRUE(IsModuleMapped((folder.Text("real") + u"\\odd\xF03Aname\\tessel_client.dll").c_str()));

    Module found;
    EXPECT_TRUE(GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const void*>(GetProcAddress(module, "answer")), &found));
    EXPECT_EQ(found, module);
    EXPECT_TRUE(GetModuleHandleExW(0, u"tessel_client.dll", &found));
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_EQ(CallAnswer(found), 42) << "counted";
    EXPECT_TRUE(FreeLibrary(found));
    EXPECT_FALSE(GetModuleHandleExW(0, u"tessel_client.dll", &found));
}

TEST(Modules, LoadAndFreeFromConstructorsAndDestructorsOfOthers)
{
    const TemporaryFolder folder;
    static std::u16string second;
    static Module inner;
    second = Copy(folder, "second.dll");
    SetCall("TESSEL_TEST_AT_LOAD", [] {
        SetCall("TESSEL_TEST_AT_LOAD", nullptr);
        inner = LoadLibraryW(second.c_str());
    });
    const Module outer = LoadLibraryW(Copy(folder, "first.dll").c_str());
    ASSERT_NE(inner, NULL_MODULE);
    SetCall("TESSEL_TEST_AT_FREE", [] {
        SetCall("TESSEL_TEST_AT_FREE", nullptr);
        FreeLibrary(inner);
    });
    EXPECT_TRUE(FreeLibrary(outer));
    EXPECT_FALSE(IsInMap(folder.Path("first.dll")) || IsInMap(folder.Path("second.dll")));
}

TEST(Modules, BearLoadsAndFreesOfManyThreads)
{
    const TemporaryFolder folder;
    const std::u16string paths[] = {Copy(folder, "a.dll"), Copy(folder, "b.dll")};
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 200; ++i) {
                const Module module = LoadLibraryW(paths[(thread + i) % 2].c_str());
                EXPECT_EQ(CallAnswer(module), 42);
                EXPECT_TRUE(FreeLibrary(module));
            }
        });
    threads.clear();
    EXPECT_FALSE(IsInMap(folder.Path("a.dll")) || IsInMap(folder.Path("b.dll")));
}

TEST(CallStack, ShowsWhetherItGoesThroughAModule)
{
    const TemporaryFolder folder;
    const Module module = LoadLibraryW(Copy(folder, "client.dll").c_str());
    const Module other = LoadLibraryW(Copy(folder, "other.dll").c_str());
    using Answer = std::pair<Module, bool>;
    Answer answers[] = {{module, false}, {other, true}};
    using CallBack = void (*)(void (*)(void*), void*);
    const auto callBack = reinterpret_cast<CallBack>(GetProcAddress(module, "callBack"));
    for (Answer& answer : answers)
        callBack(
            [](void* context) {
                auto& [asked, isInside] = *static_cast<Answer*>(context);
                isInside = CallStackEnters(asked);
            },
            &answer);
    EXPECT_TRUE(answers[0].second && !answers[1].second);
    EXPECT_FALSE(CallStackEnters(module));
    EXPECT_TRUE(CallStackEnters(GetModuleHandleW(nullptr)));
    EXPECT_TRUE(FreeLibrary(module) && FreeLibrary(other));
}

TEST(Modules, AreTheExecutableAndTheBuiltInOnesToo)
{
    const std::u16string path = PathText(std::filesystem::read_symlink("/proc/self/exe"));
    EXPECT_EQ(FileNameOf(NULL_MODULE), path);
    EXPECT_EQ(FileNameOf(GetModuleHandleW(nullptr)), path);
    char16_t small[8];
    EXPECT_EQ(GetModuleFileNameW(NULL_MODULE, small, 8), 8U);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(std::u16string(small), path.substr(0, 7));

    const Module kernel = LoadLibraryW(u"kernel32.dll");
    EXPECT_EQ(GetModuleHandleW(u"KERNEL32.DLL"), kernel);
    const FARPROC found = GetProcAddress(kernel, "GetCurrentProcessId");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uint32_t (*)()>(found)(), static_cast<std::uint32_t>(::getpid()));
    EXPECT_EQ(FileNameOf(kernel), path) << "that of the layer itself";
    EXPECT_TRUE(FreeLibrary(kernel) && FreeLibrary(kernel)) << "it never leaves";
#ifdef TESSEL_SEAMS
    Seam::HideBuiltIn(u"KERNEL32.DLL", "GetCurrentProcessId");
    EXPECT_EQ(GetProcAddress(kernel, "GetCurrentProcessId"), nullptr);
    EXPECT_NE(GetProcAddress(kernel, "GetCurrentThreadId"), nullptr);
    Seam::HideBuiltIn(u"KERNEL32.DLL", nullptr);
    EXPECT_EQ(LoadLibraryW(u"KERNEL32.DLL"), NULL_MODULE);
    Seam::ShowBuiltIns();
    EXPECT_NE(GetProcAddress(kernel, "GetCurrentProcessId"), nullptr);
#endif
}

// A host may open the library for itself alone; what it holds is visible to all all the same, and it knows
// the path it was loaded by, also when that was relative to a folder that is no longer the working one.
TEST(OwnModule, MakesItselfVisibleAndKnowsItsPath)
{
    const TemporaryFolder folder;
    Copy(folder, "carrier.so", "carrier.so");
    const int exit = InAnotherProcess([&] {
        if (::chdir(folder.Path().c_str()) != 0 || !::dlopen("./carrier.so", RTLD_NOW | RTLD_LOCAL))
            return 1;
        if (::chdir("/") != 0 || ::dlsym(RTLD_DEFAULT, "carriedSymbol") == nullptr)
            return 2;
        char16_t path[1000];
        const auto ask =
            reinterpret_cast<unsigned (*)(char16_t*, unsigned)>(::dlsym(RTLD_DEFAULT, "ownPath"));
        const std::u16string own(path, ask(path, 1000));
        return own == folder.Text() + u"\\.\\carrier.so" ? 0 : 3;
    });
    EXPECT_EQ(exit, 0);
}
