#include "tests/platform/open_file.h"

#include <csignal>
#include <sys/mount.h>
#include <sys/resource.h>

using namespace Platform;

namespace {

constexpr std::uint32_t READ_WRITE = GENERIC_READ | GENERIC_WRITE;

std::int64_t Seek(Handle file, std::int64_t offset, std::uint32_t method)
{
    auto high = static_cast<std::int32_t>(offset >> 32);
    const std::uint32_t low = SetFilePointer(file, static_cast<std::int32_t>(offset), &high, method);
    return low == INVALID_SET_FILE_POINTER && GetLastError() != ERROR_SUCCESS
        ? -1
        : std::int64_t{high} << 32 | low;
}

std::uint64_t TimeOf(const FILETIME& time)
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

} // namespace

TEST(OpenedFile, TellsWhyItCannotBe)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "x");
    folder.MakeFolder("folder");
    folder.MakeLink("nowhere", "dangling");
    folder.MakeLink("loop", "loop");
    ASSERT_EQ(::mkfifo(folder.Path("pipe").c_str(), 0666), 0);
    const std::tuple<const char*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t> cases[] = {
        {"no/file", GENERIC_READ, OPEN_EXISTING, 0, ERROR_PATH_NOT_FOUND},
        {"dangling", GENERIC_READ, OPEN_EXISTING, 0, ERROR_FILE_NOT_FOUND},
        {"dangling", GENERIC_WRITE, CREATE_NEW, 0, ERROR_FILE_EXISTS},
        {"loop", GENERIC_READ, OPEN_EXISTING, 0, ERROR_CANT_RESOLVE_FILENAME},
        {"folder", GENERIC_READ, OPEN_EXISTING, 0, ERROR_ACCESS_DENIED},
        {"folder", GENERIC_WRITE, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, ERROR_ACCESS_DENIED},
        {"folder", GENERIC_READ, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, ERROR_SUCCESS},
        {"pipe", GENERIC_READ, OPEN_EXISTING, 0, ERROR_NOT_SUPPORTED}, // and does not wait for a writer
        {"pipe", FILE_READ_ATTRIBUTES, OPEN_EXISTING, 0, ERROR_SUCCESS},
        {"file", GENERIC_READ, TRUNCATE_EXISTING, 0, ERROR_INVALID_PARAMETER},
        {"file", GENERIC_READ, 6, 0, ERROR_INVALID_PARAMETER},
        {"new", GENERIC_WRITE, 6, 0, ERROR_INVALID_PARAMETER},
        {"file", 1, OPEN_EXISTING, 0, ERROR_INVALID_PARAMETER},
        {"file", GENERIC_READ, OPEN_EXISTING, 4, ERROR_INVALID_PARAMETER}};
    for (const auto& [name, access, disposition, flags, error] : cases)
        EXPECT_EQ(ErrorOfOpen(folder.Text(name), access, 3, disposition, flags), error) << name << access;
    EXPECT_EQ(ErrorOfOpen(u"C:\\dev\\null", GENERIC_READ), ERROR_NOT_SUPPORTED);
    EXPECT_EQ(ErrorOfOpen(folder.Text(std::string(256, 'n')), GENERIC_READ), ERROR_FILENAME_EXCED_RANGE);
}

TEST(OpenedFile, NeedsThePermissionsOfItsUser)
{
    const TemporaryFolder folder;
    folder.MakeFile("closed", "x", 0000);
    folder.MakeFile("readable", "x", 0444);
    ::mkdir(folder.Path("shut").c_str(), 0700);
    const struct {
        const char* name;
        std::uint32_t access, disposition, error;
    } cases[] = {{"closed", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"closed", 0, OPEN_EXISTING, ERROR_SUCCESS}, {"readable", GENERIC_READ, OPEN_EXISTING, ERROR_SUCCESS},
        {"readable", READ_WRITE, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"readable", GENERIC_READ, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"shut/x", GENERIC_WRITE, CREATE_NEW, ERROR_ACCESS_DENIED}};
    for (const auto& c : cases)
        EXPECT_EQ(
            AsOrdinaryUser([&] { return ErrorOfOpen(folder.Text(c.name), c.access, 3, c.disposition); }),
            static_cast<int>(c.error))
            << c.name << c.access;
    EXPECT_EQ(folder.Content("readable"), "x");
}

TEST(OpenedFile, IsPositionedByNumbersOf64Bits)
{
    const TemporaryFolder folder;
    const Handle file = Open(folder.Text("sparse"), READ_WRITE, 3, CREATE_NEW);
    std::uint32_t high = 0;
    for (const std::int64_t size : {std::int64_t{0xFFFFFFFF}, std::int64_t{5'000'000'000}}) {
        EXPECT_EQ(Seek(file, size, FILE_BEGIN), size);
        EXPECT_TRUE(SetEndOfFile(file));
        SetLastError(4711);
        EXPECT_EQ(GetFileSize(file, &high), static_cast<std::uint32_t>(size));
        EXPECT_EQ(GetLastError(), ERROR_SUCCESS) << "or 0xFFFFFFFF would look like a failure";
        EXPECT_EQ(high, static_cast<std::uint32_t>(size >> 32));
    }
    EXPECT_EQ(Seek(file, -1'000'000'000, FILE_END), 4'000'000'000);
    EXPECT_EQ(SetFilePointer(file, -1, nullptr, FILE_CURRENT), 3'999'999'999U) << "of 32 bits";
    EXPECT_EQ(ErrorOf(Seek(file, -1, FILE_BEGIN) != -1), ERROR_NEGATIVE_SEEK);
    EXPECT_EQ(ErrorOf(Seek(file, INT64_MAX, FILE_CURRENT) != -1), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Seek(file, 0, FILE_CURRENT), 3'999'999'999) << "failures do not move it";
    EXPECT_TRUE(CloseHandle(file));
}

// The size that a process may write stands in for a disk that fills up in the middle of a write.
TEST(OpenedFile, TellsWhatWasWrittenBeforeTheDiskWasFull)
{
    const TemporaryFolder folder;
    EXPECT_EQ(InAnotherProcess([&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{10'000, 10'000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const Handle file = Open(folder.Text("file"), READ_WRITE, 3, CREATE_NEW);
        const std::string block(16'000, 'x');
        std::uint32_t written = 0;
        EXPECT_TRUE(WriteFile(file, block.data(), 16'000, &written));
        EXPECT_EQ(written, 10'000U);
        EXPECT_EQ(ErrorOf(WriteFile(file, block.data(), 6'000, &written)), ERROR_FILE_TOO_LARGE);
        EXPECT_EQ(written, 0U);
        return ::testing::Test::HasFailure();
    }),
        0);
    EXPECT_EQ(folder.Content("file"), std::string(10'000, 'x'));
}

TEST(FileSystems, AreNotCrossedAndTellThatTheyAreReadOnly)
{
    const TemporaryFolder folder;
    folder.MakeFolder("disk");
    if (::mount("none", folder.Path("disk").c_str(), "tmpfs", 0, nullptr) != 0)
        GTEST_SKIP() << "only an administrator can mount another one";
    folder.MakeFile("disk/file");
    EXPECT_EQ(ErrorOf(MoveFileExW(folder.Text("disk/file").c_str(), folder.Text("file").c_str(), 0)),
        ERROR_NOT_SAME_DEVICE);
    EXPECT_EQ(ErrorOf(RemoveTreeW(folder.Text().c_str(), nullptr)), ERROR_BUSY);
    EXPECT_TRUE(folder.Has("disk/file"));
    EXPECT_EQ(::mount("none", folder.Path("disk").c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr), 0);
    EXPECT_EQ(ErrorOfOpen(folder.Text("disk/file"), GENERIC_WRITE), ERROR_WRITE_PROTECT);
    EXPECT_EQ(ErrorOf(DeleteFileW(folder.Text("disk/file").c_str())), ERROR_WRITE_PROTECT);
    EXPECT_EQ(::umount(folder.Path("disk").c_str()), 0);
}

TEST(Attributes, TellWhatStandsAtThePath)
{
    const TemporaryFolder folder;
    folder.MakeFile("file");
    folder.MakeFile(".hidden");
    folder.MakeFile("locked", "", 0444);
    folder.MakeFolder("folder");
    folder.MakeLink("file", "link");
    folder.MakeLink("folder", "folderlink");
    folder.MakeLink("nowhere", "dangling");
    ::mkfifo(folder.Path("pipe").c_str(), 0666);
    const std::tuple<const char*, std::uint32_t> cases[] = {{"file", FILE_ATTRIBUTE_NORMAL},
        {".hidden", FILE_ATTRIBUTE_HIDDEN}, {"locked", FILE_ATTRIBUTE_READONLY},
        {"folder", FILE_ATTRIBUTE_DIRECTORY}, {"folder/.", FILE_ATTRIBUTE_DIRECTORY},
        {"link", FILE_ATTRIBUTE_REPARSE_POINT},
        {"folderlink", FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY},
        {"dangling", FILE_ATTRIBUTE_REPARSE_POINT}, {"pipe", FILE_ATTRIBUTE_DEVICE}};
    for (const auto& [name, attributes] : cases)
        EXPECT_EQ(GetFileAttributesW(folder.Text(name).c_str()), attributes) << name;
    EXPECT_EQ(GetFileAttributesW(u"C:"), FILE_ATTRIBUTE_DIRECTORY);
    const std::uint32_t none = GetFileAttributesW(folder.Text("file/no").c_str());
    EXPECT_EQ(ErrorOf(none != INVALID_FILE_ATTRIBUTES), ERROR_PATH_NOT_FOUND);
}

TEST(FileTimes, AreThoseOfTheSystemAndCanBeSetOneByOne)
{
    const TemporaryFolder folder;
    const timespec times[2] = {{0, 0}, {1'000'000'000, 123'456'789}};
    const FILETIME early{0xD53E8000, 0x019DB1DE}; // 1970-01-01
    const FILETIME beyond{0, 0x80000000};
    // The right to attributes is enough for a file that its owner may not read.
    EXPECT_EQ(AsOrdinaryUser([&] {
        folder.MakeFile("file", "", 0000);
        ::utimensat(AT_FDCWD, folder.Path("file").c_str(), times, 0);
        const Handle file = Open(folder.Text("file"), FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES);
        FILETIME found[3];
        EXPECT_TRUE(GetFileTime(file, &found[0], &found[1], &found[2]));
        EXPECT_GT(TimeOf(found[0]), 133'000'000'000'000'000U);
        EXPECT_EQ(TimeOf(found[1]), TimeOf(early));
        EXPECT_EQ(TimeOf(found[2]), 126'444'736'001'234'567U); // 2001-09-09 01:46:40.1234567
        EXPECT_EQ(ErrorOf(SetFileTime(file, &early, nullptr, &early)), ERROR_NOT_SUPPORTED);
        EXPECT_EQ(ErrorOf(SetFileTime(file, nullptr, nullptr, &beyond)), ERROR_INVALID_PARAMETER);
        EXPECT_TRUE(SetFileTime(file, nullptr, &found[2], nullptr));
        EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &early));
        return ::testing::Test::HasFailure();
    }),
        0);
    struct stat status;
    ::stat(folder.Path("file").c_str(), &status);
    EXPECT_EQ(status.st_atim.tv_nsec, 123'456'700);
    EXPECT_EQ(status.st_mtim.tv_sec, 0);
    const Handle reader = Open(folder.Text("file"), GENERIC_READ);
    EXPECT_EQ(ErrorOf(SetFileTime(reader, nullptr, nullptr, &early)), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(CloseHandle(reader));
    EXPECT_EQ(ErrorOfOpen(folder.Text(), FILE_WRITE_ATTRIBUTES, 3, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS),
        ERROR_SUCCESS);
}

TEST(Entries, AreMadeAndRemovedOneByOne)
{
    const TemporaryFolder folder;
    folder.MakeFile("file");
    folder.MakeFile("full/file");
    folder.MakeLink("full", "folderlink");
    folder.MakeLink("file", "filelink");
    const struct {
        bool (*operation)(const char16_t*) noexcept;
        const char* name;
        std::uint32_t error;
    } steps[] = {{&CreateDirectoryW, "new", ERROR_SUCCESS}, {&CreateDirectoryW, "new", ERROR_ALREADY_EXISTS},
        {&CreateDirectoryW, "file", ERROR_ALREADY_EXISTS},
        {&CreateDirectoryW, "file/new", ERROR_PATH_NOT_FOUND}, {&DeleteFileW, "new", ERROR_ACCESS_DENIED},
        {&DeleteFileW, "no", ERROR_FILE_NOT_FOUND}, {&DeleteFileW, "no/no", ERROR_PATH_NOT_FOUND},
        {&DeleteFileW, "filelink", ERROR_SUCCESS}, {&RemoveDirectoryW, "full", ERROR_DIR_NOT_EMPTY},
        {&RemoveDirectoryW, "file", ERROR_DIRECTORY}, {&RemoveDirectoryW, "no", ERROR_FILE_NOT_FOUND},
        {&RemoveDirectoryW, "folderlink", ERROR_SUCCESS}, {&RemoveDirectoryW, "new", ERROR_SUCCESS}};
    for (const auto& s : steps)
        EXPECT_EQ(ErrorOf(s.operation(folder.Text(s.name).c_str())), s.error) << s.name;
    EXPECT_EQ(folder.Names(), (std::set<std::string>{"file", "full"}));
    EXPECT_TRUE(folder.Has("full/file"));
}

TEST(Entries, AreRenamedWholeAndReplaceOnlyWhenAsked)
{
    const TemporaryFolder folder;
    for (const char* const name : {"a", "b", "c"})
        folder.MakeFile(name, name);
    folder.MakeFolder("folder");
    folder.MakeFile("full/x");
    const std::tuple<const char*, const char*, std::uint32_t, std::uint32_t> steps[] = {
        {"a", "b", 0, ERROR_ALREADY_EXISTS}, {"no", "b", MOVEFILE_REPLACE_EXISTING, ERROR_FILE_NOT_FOUND},
        {"a", "no/b", 0, ERROR_PATH_NOT_FOUND},
        {"a", "folder", MOVEFILE_REPLACE_EXISTING, ERROR_ACCESS_DENIED},
        {"folder", "a", MOVEFILE_REPLACE_EXISTING, ERROR_ACCESS_DENIED},
        {"folder", "full", MOVEFILE_REPLACE_EXISTING, ERROR_DIR_NOT_EMPTY},
        {"folder", "folder/in", 0, ERROR_INVALID_PARAMETER}, {"a", "d", 2, ERROR_INVALID_PARAMETER},
        {"a", "b", MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH, ERROR_SUCCESS},
        {"c", "d", 0, ERROR_SUCCESS}, {"folder", "moved", 0, ERROR_SUCCESS}};
    for (const auto& [from, to, flags, error] : steps)
        EXPECT_EQ(ErrorOf(MoveFileExW(folder.Text(from).c_str(), folder.Text(to).c_str(), flags)), error)
            << from << " to " << to;
    EXPECT_EQ(folder.Names(), (std::set<std::string>{"b", "d", "full", "moved"}));
    EXPECT_EQ(folder.Content("b"), "a");
}

TEST(RuntimeFile, MovesWholeItemsOfAnySizeAndTellsItsFailures)
{
    const TemporaryFolder folder;
    const std::u16string path = folder.Text("file");
    EXPECT_EQ(ErrorOf(_wfopen(path.c_str(), u"r") != nullptr), ERROR_FILE_NOT_FOUND);
    std::string expected;
    for (const std::size_t size : {1U, 65'535U, 2U, 200'000U, 7U}) {
        Platform::FILE* const file = _wfopen(path.c_str(), expected.empty() ? u"w" : u"ab");
        const std::string block(size, static_cast<char>('a' + size % 26));
        EXPECT_EQ(fwrite(block.data(), 1, size, file), size);
        EXPECT_EQ(fwrite("xyz", 3, 1, file), 1U);
        EXPECT_EQ(fclose(file), 0);
        expected += block + "xyz";
    }
    EXPECT_EQ(ErrorOf(_wfopen(path.c_str(), u"rw") != nullptr), ERROR_INVALID_PARAMETER);
    Platform::FILE* const file = _wfopen(path.c_str(), u"r");
    std::string content(expected.size() + 10, '\0');
    std::size_t read = 0;
    for (const std::size_t size : {3U, 1U, 100'000U, 70'000U, 1'000'000U})
        read += fread(content.data() + read, 1, std::min(size, content.size() - read), file);
    EXPECT_TRUE(content.substr(0, read) == expected);
    EXPECT_EQ(ferror(file), 0) << "the end is no failure";
    EXPECT_EQ(fread(content.data(), SIZE_MAX / 2, 3, file), 0U);
    EXPECT_NE(ferror(file), 0);
    EXPECT_NE(fclose(file), 0);
    folder.MakeFile("file", "four");
    Platform::FILE* const small = _wfopen(path.c_str(), u"r");
    EXPECT_EQ(fread(content.data(), 3, 2, small), 1U) << "whole items";
    EXPECT_EQ(ferror(small) | fclose(small), 0);
}
