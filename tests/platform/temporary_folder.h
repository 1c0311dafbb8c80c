// A folder of a test's own, made and looked at with the system's calls alone.
#pragma once

#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// The path text of a path on disk whose names need no mapping.
inline std::u16string PathText(const std::string& path)
{
    std::u16string text = u"C:";
    for (const char byte : path)
        text += byte == '/' ? u'\\' : static_cast<char16_t>(static_cast<unsigned char>(byte));
    return text;
}

// A path text as a failure shows it.
inline std::string Readable(const std::u16string& text)
{
    std::string readable;
    for (const char16_t unit : text)
        readable += unit < 0x80 ? std::string(1, static_cast<char>(unit)) : "\\u" + std::to_string(unit);
    return readable;
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
        const auto remove = [](const char* entry, const struct stat*, int, FTW*) { return ::remove(entry); };
        ::nftw(path.c_str(), remove, 32, FTW_DEPTH | FTW_PHYS);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string Path(const std::string& name = "") const { return name.empty() ? path : path + "/" + name; }
    std::u16string Text(const std::string& name = "") const { return PathText(Path(name)); }

    void MakeFile(const std::string& name, const std::string& content = "", mode_t mode = 0666) const
    {
        const int file = ::open(Path(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, mode);
        ASSERT_GE(file, 0) << name;
        EXPECT_EQ(::write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
        ::fchmod(file, mode);
        ::close(file);
    }
    void MakeFolder(const std::string& name) const
    {
        ASSERT_EQ(::mkdir(Path(name).c_str(), 0777), 0) << name;
    }
    void MakeLink(const std::string& target, const std::string& name) const
    {
        ASSERT_EQ(::symlink(target.c_str(), Path(name).c_str()), 0) << name;
    }

    bool Has(const std::string& name) const
    {
        struct stat status;
        return ::lstat(Path(name).c_str(), &status) == 0;
    }
    std::string Content(const std::string& name) const
    {
        std::string content(1 << 16, '\0');
        const int file = ::open(Path(name).c_str(), O_RDONLY);
        const ssize_t count = ::read(file, content.data(), content.size());
        ::close(file);
        content.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return count < 0 ? "cannot read" : content;
    }
    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        DIR* const folder = ::opendir(path.c_str());
        while (const dirent* const entry = ::readdir(folder))
            names.insert(entry->d_name);
        ::closedir(folder);
        names.erase(".");
        names.erase("..");
        return names;
    }

private:
    std::string path;
};

inline std::size_t OpenDescriptors()
{
    std::size_t count = 0;
    DIR* const folder = ::opendir("/proc/self/fd");
    while (::readdir(folder))
        ++count;
    ::closedir(folder);
    return count;
}

// Runs the function in a process of its own, and gives what it returns (0 to 255); -1 if it crashed.
template <class Function>
int InAnotherProcess(Function function)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(function());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
