#include "object/resolve_library_path.h"
#include "platform/modules.h"
#include "tests/platform/registry_store.h"

#include <string>

namespace {

std::u16string Resolved(const char* name, std::uint32_t outLength = 1280)
{
    std::u16string out(1281, u'#');
    Object::ResolveLibraryPath(name, out.data(), outLength);
    EXPECT_EQ(out[outLength], u'#') << "written beyond the end";
    return out.c_str();
}

std::u16string OwnFolder()
{
    char16_t path[4096];
    Platform::GetModuleFileNameW(Platform::NULL_MODULE, path, 4096); // the tests are one module
    const std::u16string whole(path);
    return whole.substr(0, whole.rfind(u'\\') + 1);
}

// A value as the registry keeps it.
void NameFolder(
    const std::u16string& folder, std::uint32_t type = Platform::REG_SZ, std::size_t terminators = 1)
{
    const std::string bytes(
        reinterpret_cast<const char*>(folder.c_str()), (folder.size() + terminators) * sizeof(char16_t));
    ASSERT_EQ(Key(u"SOFTWARE\\Palisade\\LibPaths", Platform::HKEY_LOCAL_MACHINE).Set(u"", bytes, type), 0U);
}

TEST(ResolveLibraryPath, TakesTheNamedFolderOnlyIfTheFileIsThere)
{
    const TemporaryRegistry registry;
    const TemporaryFolder folder;
    folder.MakeFile("there.dll");
    EXPECT_EQ(Resolved("there.dll"), OwnFolder() + u"there.dll");
    const std::u16string named = folder.Text();
    for (const auto& stored : {named, named + u"\\"}) {
        NameFolder(stored);
        EXPECT_EQ(Resolved("there.dll"), named + u"\\there.dll");
        EXPECT_EQ(Resolved("missing.dll"), OwnFolder() + u"missing.dll");
    }
    NameFolder(named, Platform::REG_SZ, 0); // not terminated
    EXPECT_EQ(Resolved("there.dll"), named + u"\\there.dll");
    for (const std::uint32_t type : {Platform::REG_EXPAND_SZ, Platform::REG_BINARY}) {
        NameFolder(named, type);
        EXPECT_EQ(Resolved("there.dll"), OwnFolder() + u"there.dll");
    }
}

TEST(ResolveLibraryPath, LeavesTheBareNameWhereAFolderDoesNotFit)
{
    const TemporaryRegistry registry;
    const std::string longName(1279 - OwnFolder().size(), 'n');
    EXPECT_EQ(Resolved(longName.c_str()).size(), 1279U);
    EXPECT_EQ(Resolved((longName + "n").c_str()), std::u16string(longName.size() + 1, u'n'));
    for (const std::size_t length :
        {std::size_t{0}, std::size_t{1270}, std::size_t{1279}, std::size_t{3000}}) {
        NameFolder(std::u16string(length, u'x'));
        EXPECT_EQ(Resolved("library.dll"), OwnFolder() + u"library.dll") << length;
    }
    EXPECT_EQ(Resolved("größe.dll"), OwnFolder() + u"größe.dll");
    EXPECT_EQ(Resolved("library.dll", 5).substr(0, 6), OwnFolder().substr(0, 5) + u"#");
    EXPECT_EQ(Resolved("library.dll", 0), u"#" + std::u16string(1280, u'#')) << "nothing is written";
}

} // namespace
