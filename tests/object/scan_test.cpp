// The scan of the library's folder, seen from outside: a host is run in a folder of its own that holds the
// library and some modules.
#include "tests/platform/temporary_folder.h"

#include <tessel/base/string.h>

namespace {

namespace fs = std::filesystem;

struct Scan : testing::Test {
    Scan()
    {
        folder.MakeLink(TESSEL_LIBRARY, "libtessel.so.1");
        Add("gadgets.dll");
    }

    void Add(const std::string& module, const std::string& as = {})
    {
        fs::copy_file(fs::path(TESSEL_TEST_MODULES) / module, folder.Path(as.empty() ? module : as));
    }

    // What the host prints when it is told these commands.
    std::string Run(const std::string& commands, uid_t user = 0) const
    {
        const std::string output = folder.Path("output");
        const int status = InAnotherProcess([&] {
            setenv("LD_LIBRARY_PATH", folder.Path().c_str(), 1);
            setenv("LC_ALL", "C", 1);
            if (freopen(output.c_str(), "w", stdout) == nullptr
                || (user != 0 && (setgid(user) != 0 || setuid(user) != 0)))
                return 126;
            const std::string line = "exec " TESSEL_SCAN_HOST " " + commands;
            return execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
        });
        const std::string printed = folder.Content("output");
        fs::remove(output);
        EXPECT_EQ(status, 0) << printed;
        return printed;
    }

    std::string Cache() const { return folder.Content("autoreg.dat"); }

    std::string Stamp(const std::string& file) const
    {
        struct stat status { };
        lstat(folder.Path(file).c_str(), &status);
        const auto time = (status.st_mtim.tv_sec + 11644473600UL) * 10000000 + status.st_mtim.tv_nsec / 100UL;
        char text[17];
        std::snprintf(text, sizeof(text), "%08lx%08lx", time & 0xFFFFFFFF, time >> 32);
        return text;
    }

    TemporaryFolder folder;
};

bool Has(const std::string& text, const std::string& line)
{
    return text.find(line + "\n") != std::string::npos;
}

TEST_F(Scan, SecondStartLoadsNothingAndLeavesTheCacheAlone)
{
    folder.MakeFile("broken.dll", "no module");
    folder.MakeFile("broken.dll.bak", "no candidate");
    EXPECT_TRUE(Has(Run("start loaded"), "loaded gadgets.dll"));
    const std::string cache = Cache();
    const std::string gadget = ",IID_Testing::Gadget,IID_BaseFace";
    EXPECT_EQ(cache,
        "{broken.dll|" + Stamp("broken.dll") + "}\n{gadgets.dll|" + Stamp("gadgets.dll")
            + "|Testing::Kind|CID_Testing::Gadget" + gadget + ";CID_Testing::SlowGadget" + gadget + "}\n"
            + std::string(1, '\0'));
    const auto written = fs::last_write_time(folder.Path("autoreg.dat"));
    const std::string second = Run("start loaded classes create CID_Testing::Gadget loaded");
    EXPECT_LT(second.find("class CID_Testing::Gadget"), second.find("loaded gadgets.dll")) << second;
    EXPECT_EQ(Cache(), cache);
    EXPECT_EQ(fs::last_write_time(folder.Path("autoreg.dat")), written);
}

TEST_F(Scan, OnlyNewAndChangedFilesAreLoaded)
{
    Run("start");
    Add("gadgets.dll", "More.DLL");
    EXPECT_EQ(
        Run("start loaded"), "start 0\nloaded More.DLL\nmain returns\nhost static gone\nhost factory gone\n");
    fs::last_write_time(folder.Path("gadgets.dll"), fs::file_time_type::clock::now() + std::chrono::hours(1));
    EXPECT_EQ(Run("start loaded"),
        "start 0\nloaded gadgets.dll\nmain returns\nhost static gone\nhost factory gone\n");
    const std::string cache = Cache();
    EXPECT_NE(cache.find(Stamp("gadgets.dll")), std::string::npos);
    fs::remove(folder.Path("More.DLL"));
    EXPECT_FALSE(Has(Run("start loaded"), "loaded gadgets.dll"));
    EXPECT_EQ(Cache(), cache) << "a file that is gone is no reason to write";
}

TEST_F(Scan, DamagedCacheIsThrownAwayAsAWhole)
{
    Run("start");
    const std::string sound = Cache();
    for (const std::string& damaged : {sound.substr(0, sound.size() - 3), std::string(),
             "{a|b||,IID_Lost}" + sound, sound.substr(0, 40) + "\xFF"}) {
        folder.MakeFile("autoreg.dat", damaged);
        EXPECT_TRUE(Has(Run("start loaded"), "loaded gadgets.dll")) << damaged;
        EXPECT_EQ(Cache(), sound);
    }
    for (const std::string& whole :
        {" \n" + sound + "{behind the end", "{../gadgets.dll|0}\n{gone.dll|0}\n" + sound}) {
        folder.MakeFile("autoreg.dat", whole);
        EXPECT_FALSE(Has(Run("start loaded"), "loaded gadgets.dll")) << whole;
    }
    folder.MakeFile("autoreg.dat.new", "left over");
    folder.MakeFile("autoreg.dat", "damage");
    Run("start");
    EXPECT_EQ(Cache(), sound);
    EXPECT_FALSE(folder.Has("autoreg.dat.new"));
}

TEST_F(Scan, FilesThatAreNoModulesAreRememberedAndNeverOpened)
{
    folder.MakeFolder("folder.dll");
    folder.MakeLink("nowhere", "dangling.dll");
    ASSERT_EQ(mkfifo(folder.Path("pipe.dll").c_str(), 0600), 0);
    Add("half_module.dll");
    Add("unbound_module.dll");
    EXPECT_TRUE(Has(Run("start classes"), "class CID_Testing::Gadget"));
    const std::string cache = Cache();
    for (const std::string file :
        {"folder.dll", "dangling.dll", "pipe.dll", "half_module.dll", "unbound_module.dll"})
        EXPECT_TRUE(Has(cache, "{" + file + "|" + Stamp(file) + "}")) << file << "\n" << cache;
    Run("start");
    EXPECT_EQ(Cache(), cache);
}

TEST_F(Scan, CachedClassOfAFileThatNoLongerLoadsSaysSo)
{
    Run("start");
    const auto time = fs::last_write_time(folder.Path("gadgets.dll"));
    fs::remove(folder.Path("gadgets.dll"));
    folder.MakeFile("gadgets.dll", "no module any more");
    fs::last_write_time(folder.Path("gadgets.dll"), time);
    const std::string printed = Run("start create CID_Testing::Gadget create CID_Nobody");
    const std::string path = NarrowString(folder.Text("gadgets.dll").c_str()).c_str();
    const std::string front = "error An internal error occured (object: ";
    EXPECT_TRUE(Has(printed, front + "objlib-noload(" + path + ")).")) << printed;
    EXPECT_TRUE(Has(printed, front + "clsid-not-found(CID_Nobody)).")) << printed;
}

TEST_F(Scan, StartAndStopHaveTheirOrder)
{
    Add("other.dll");
    Run("start");
    // The module comes with its instance first and started; what it has goes before the host's system stops.
    EXPECT_EQ(Run("start cleanup create CID_Testing::Starter drop"),
        "other: static made, instance known\nother: factory made, started\nother: startup object made\n"
        "other: startup object gone\nstart 0\nother: factory gone\nother: static gone\n"
        "other: static made, instance known\nother: factory made, started\nother: startup object made\n"
        "other: startup object gone\nmain returns\nother: factory gone\nother: static gone\n"
        "host static gone\nhost factory gone\n");
    // The host's own system: its factory goes with the stop, ahead of the host's statics.
    const std::string host = Run("host classes");
    EXPECT_TRUE(Has(host, "class CID_Host::Own")) << host;
    EXPECT_LT(host.find("host factory gone"), host.find("host static gone")) << host;
    // Without a start there is the manager and nothing else.
    EXPECT_EQ(Run("classes create CID_Testing::Gadget").find("class CID_Object::Manager\nerror"), 0U);
}

TEST_F(Scan, FolderThatCannotBeWrittenCostsOnlyTheScan)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs another user to drop to";
    chmod(folder.Path().c_str(), 0755);
    EXPECT_TRUE(Has(Run("start loaded create CID_Testing::Gadget", 65534), "loaded gadgets.dll"));
    EXPECT_FALSE(folder.Has("autoreg.dat"));
}

} // namespace
