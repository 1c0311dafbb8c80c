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
void NameFolder(const std::u16string& folder, std::uint32_t type = Platform::REG_SZ, unsigned terminators = 1)
{
    const std::string bytes(reinterpret_cast<const char*>(folder.c_str()), (folder.size() + terminators) * 2);
    ASSERT_EQ(Key(u"SOFTWARE\\Palisade\\LibPaths", Platform::HKEY_LOCAL_MACHINE).Set(u"", bytes, type), 0U);
}

TEST(ResolveLibraryPath, TakesTheNamedFolderOnlyIfTheFileIsThere)
{
    const TemporaryRegistry registry;
    const TemporaryFolder folder;
    folder.MakeFile("there.dll");
    const std::u16string named = folder.Text();
    EXPECT_EQ(Resolved("there.dll"), OwnFolder() + u"there.dll");
    for (const auto& [stored, terminators] : {std::pair(named, 1U), {named + u"\\", 1U}, {named, 0U}}) {
        NameFolder(stored, Platform::REG_SZ, terminators);
        EXPECT_EQ(Resolved("there.dll"), named + u"\\there.dll");
        EXPECT_EQ(Resolved("missing.dll"), OwnFolder() + u"missing.dll");
    }
    NameFolder(named, Platform::REG_EXPAND_SZ);
    EXPECT_EQ(Resolved("there.dll"), OwnFolder() + u"there.dll");
    for (const std::size_t length : {0U, 1270U, 1279U, 3000U}) {
        NameFolder(std::u16string(length, u'x'));
        EXPECT_EQ(Resolved("größe.dll"), OwnFolder() + u"größe.dll") << length;
    }
    const std::string longName(1279 - OwnFolder().size(), 'n');
    EXPECT_EQ(Resolved(longName.c_str()).size(), 1279U);
    EXPECT_EQ(Resolved((longName + "n").c_str()), std::u16string(longName.size() + 1, u'n')) << "bare";
    EXPECT_EQ(Resolved("library.dll", 5).substr(0, 6), OwnFolder().substr(0, 5) + u"#") << "cut off";
}

} // namespace
