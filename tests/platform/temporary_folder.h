// A folder of a test's own, made and looked at with the system's calls alone.
#pragma once

#include "tests/platform/child_process.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

// The path text of a path on disk whose names need no mapping.
inline std::u16string PathText(const std::string& path)
{
    std::u16string text(path.begin(), path.end());
    std::replace(text.begin(), text.end(), u'/', u'\\');
    return u"C:" + text;
}

class TemporaryFolder {
public:
    TemporaryFolder()
    {
        char name[] = "/tmp/tessel-test-XXXXXX";
        path = ::mkdtemp(name);
        ::chmod(path.c_str(), 0777);
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder& operator=(TemporaryFolder&&) = delete; // nor copied

    std::string Path(const std::string& name = "") const { return name.empty() ? path : path + "/" + name; }
    std::u16string Text(const std::string& name = "") const { return PathText(Path(name)); }

    // Files and folders come with the folders that they lie in.
    void MakeFile(const std::string& name, const std::string& content = "", mode_t mode = 0666) const
    {
        std::filesystem::create_directories(std::filesystem::path(Path(name)).parent_path());
        std::ofstream(Path(name), std::ios::binary) << content;
        EXPECT_EQ(::chmod(Path(name).c_str(), mode), 0) << name;
    }
    void MakeFolder(const std::string& name) const { std::filesystem::create_directories(Path(name)); }
    void MakeLink(const std::string& target, const std::string& name) const
    {
        std::filesystem::create_symlink(target, Path(name));
    }
    bool Has(const std::string& name) const
    {
        return ::faccessat(AT_FDCWD, Path(name).c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
    }
    std::string Content(const std::string& name) const
    {
        std::ostringstream content;
        content << std::ifstream(Path(name), std::ios::binary).rdbuf();
        return content.str();
    }
    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            names.insert(entry.path().filename());
        return names;
    }

private:
    std::string path;
};

inline std::size_t OpenDescriptors()
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

// Runs the function in a process of its own, and gives what it returns (0 to 255); -1 if it crashed.
template <class Function>
int InAnotherProcess(Function function)
{
    return Forked(function).Wait();
}

// The same as a user without rights: an administrator passes every test of permissions.
template <class Function>
int AsOrdinaryUser(Function function)
{
    return InAnotherProcess([&] {
        constexpr uid_t nobody = 65534;
        if (::getuid() == 0 && (::setgid(nobody) != 0 || ::setuid(nobody) != 0))
            return 255;
        return static_cast<int>(function());
    });
}
