#include "platform/errors.h"
#include "platform/resources.h"
#include "tests/platform/temporary_folder.h"

using namespace Platform;

namespace {

Module LoadTestModule(const std::string& name)
{
    return LoadLibraryW(PathText(TESSEL_TEST_MODULES "/" + name).c_str());
}

} // namespace

TEST(StringTables, AreFoundInTheLanguageAskedFor)
{
    const Module module = LoadTestModule("texts.dll");
    SetLastError(7777); // found tables leave it
    const StringTable* const german = FindResourceExW(module, RT_STRING, 2, 0x0407);
    const char16_t* const strings = LockResource(LoadResource(module, german));
    ASSERT_NE(strings, nullptr);
    EXPECT_EQ(strings[0], 0); // id 16 is absent
    EXPECT_EQ(std::u16string(strings + 2, strings[1]), u"zwei!");
    EXPECT_EQ(FindResourceExW(module, RT_STRING, 3, 0x0409)->strings[0], 5);
    // in any language, by preference
    EXPECT_EQ(FindResourceW(module, 2, RT_STRING)->language, 0);
    EXPECT_EQ(FindResourceW(module, 3, RT_STRING)->language, 0x0409);
    EXPECT_EQ(FindResourceW(module, 4, RT_STRING)->language, 0x0407);
    EXPECT_EQ(GetLastError(), 7777U);
}

TEST(StringTables, AreMissedForAReason)
{
    const Module module = LoadTestModule("texts.dll");
    const Module without = LoadTestModule("answering.dll");
    const std::tuple<Module, std::uint32_t, std::uint32_t, std::uint16_t, std::uint32_t> cases[] = {
        {module, 5, 2, 0x0407, ERROR_RESOURCE_TYPE_NOT_FOUND},
        {module, RT_STRING, 0x10002, 0x0407, ERROR_RESOURCE_NAME_NOT_FOUND},
        {module, RT_STRING, 2, 0x040C, ERROR_RESOURCE_LANG_NOT_FOUND},
        {without, RT_STRING, 2, 0x0407, ERROR_RESOURCE_DATA_NOT_FOUND},
        {NULL_MODULE, RT_STRING, 2, 0x0407, ERROR_RESOURCE_DATA_NOT_FOUND}, // this program
        {Module{1}, RT_STRING, 2, 0x0407, ERROR_INVALID_HANDLE}};
    for (const auto& [asked, type, name, language, error] : cases) {
        EXPECT_EQ(FindResourceExW(asked, type, name, language), nullptr);
        EXPECT_EQ(GetLastError(), error);
    }
    EXPECT_EQ(LoadResource(module, nullptr), nullptr);
    EXPECT_EQ(LockResource(nullptr), nullptr);
    FreeLibrary(without);
}
