// The n-th system call fails, for each n: the operation tells it, leaves no descriptor open, and works
// again afterwards.
#include "platform/linux/seam.h"
#include "tests/platform/open_file.h"

#include <cerrno>
#include <functional>
#include <map>

using namespace Platform;

namespace {

// Opens before the faults, so that these meet the operation alone.
bool WithFile(const TemporaryFolder& folder, const std::function<bool(Handle)>& use)
{
    Seam::FailNth(0, 0);
    const Handle file = Open(folder.Text("tree/file"), GENERIC_READ | GENERIC_WRITE);
    const bool succeeded = use(file);
    CloseHandle(file);
    return succeeded;
}

bool List(const TemporaryFolder& folder)
{
    WIN32_FIND_DATAW found;
    const Handle search = FindFirstFileExW((folder.Text("tree") + u"\\*").c_str(), FindExInfoBasic, &found);
    if (search == INVALID_HANDLE_VALUE)
        return false;
    while (FindNextFileW(search, &found)) { }
    const bool toTheEnd = GetLastError() == ERROR_NO_MORE_FILES;
    return FindClose(search) && toTheEnd;
}

using Folder = const TemporaryFolder&;
const std::pair<const char*, std::function<bool(Folder)>> operations[] = {
    {"open", [](Folder f) { return ErrorOfOpen(f.Text("tree/file"), GENERIC_READ, 0) == 0; }},
    {"empty",
        [](Folder f) { return ErrorOfOpen(f.Text("tree/file"), GENERIC_WRITE, 0, CREATE_ALWAYS) == 0; }},
    {"make", [](Folder f) { return ErrorOfOpen(f.Text("tree/new"), GENERIC_WRITE, 0, CREATE_NEW) == 0; }},
    {"list", List},
    {"rename",
        [](Folder f) {
            const std::u16string to = f.Text("tree/to");
            return MoveFileExW(f.Text("tree/file").c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH);
        }},
    {"make folder", [](Folder f) { return CreateDirectoryW(f.Text("tree/new").c_str()); }},
    {"remove folder", [](Folder f) { return RemoveDirectoryW(f.Text("tree/sub").c_str()); }},
    {"delete", [](Folder f) { return DeleteFileW(f.Text("tree/file").c_str()); }},
    {"remove tree", [](Folder f) { return RemoveTreeW(f.Text("tree").c_str(), nullptr); }},
    {"full path", [](Folder) {
         char16_t buffer[1000];
         return GetFullPathNameW(u"x", 1000, buffer) != 0;
     }}};

void MakeTree(const TemporaryFolder& folder)
{
    folder.MakeFolder("tree/sub");
    folder.MakeFile("tree/file", "content");
}

} // namespace

TEST(FailingSystemCall, IsToldAndLeavesNothingOpen)
{
    for (const auto& [name, run] : operations) {
        unsigned calls = 1;
        for (unsigned n = 1; n <= calls; ++n) {
            const TemporaryFolder folder;
            MakeTree(folder);
            const std::size_t before = OpenDescriptors();
            SetLastError(ERROR_SUCCESS);
            Seam::FailNth(n, EIO);
            const bool succeeded = run(folder);
            const std::uint32_t error = GetLastError();
            calls = Seam::CallCount();
            Seam::FailNth(0, 0);
            EXPECT_TRUE(!succeeded && error == ERROR_IO_DEVICE) << name << ", call " << n << " of " << calls;
            EXPECT_EQ(OpenDescriptors(), before) << name << ", call " << n;
        }
        EXPECT_GT(calls, 0U) << name;
    }
}

TEST(InterruptedSystemCall, IsMadeAgain)
{
    // the numbers of the calls that a signal can interrupt
    const std::map<std::string, std::vector<unsigned>> interruptible = {
        {"open", {2, 4, 5, 6}}, {"empty", {7}}, {"make", {1}}, {"list", {1, 2}}, {"remove tree", {2, 4}}};
    for (const auto& [name, run] : operations)
        for (const unsigned call :
            interruptible.contains(name) ? interruptible.at(name) : std::vector<unsigned>()) {
            const TemporaryFolder folder;
            MakeTree(folder);
            Seam::FailNth(call, EINTR);
            EXPECT_TRUE(run(folder)) << name << ", call " << call << ", error " << GetLastError();
            EXPECT_GE(Seam::CallCount(), call) << name;
            Seam::FailNth(0, 0);
        }
    const TemporaryFolder folder;
    MakeTree(folder);
    EXPECT_TRUE(WithFile(folder, [](Handle file) {
        char content[4];
        std::uint32_t count = 0;
        Seam::FailNth(1, EINTR);
        const bool read = ReadFile(file, content, 4, &count) && count == 4;
        Seam::FailNth(1, EINTR);
        return WriteFile(file, "wxyz", 4, &count) && count == 4 && read;
    }));
}

TEST(FailingTransfer, GivesWhatWasMovedBeforeAndLosesNothing)
{
    const TemporaryFolder folder;
    MakeTree(folder);
    EXPECT_TRUE(WithFile(folder, [](Handle file) {
        char content[16];
        std::uint32_t count = 0;
        Seam::FailNth(2, EIO); // the first call gives all there is, the second would tell the end
        EXPECT_TRUE(ReadFile(file, content, 16, &count));
        EXPECT_EQ(count, 7U);
        Seam::FailNth(1, EIO);
        EXPECT_EQ(ErrorOf(ReadFile(file, content, 16, &count)), ERROR_IO_DEVICE);
        Seam::FailNth(1, ENOSPC);
        EXPECT_EQ(ErrorOf(WriteFile(file, "more", 4, &count)), ERROR_DISK_FULL);
        EXPECT_EQ(count, 0U);
        return WriteFile(file, "more", 4, &count) && count == 4;
    }));
    EXPECT_EQ(folder.Content("tree/file"), "contentmore");
    Platform::FILE* const file = _wfopen(folder.Text("late").c_str(), u"w");
    EXPECT_EQ(fwrite("x", 1, 1, file), 1U);
    Seam::FailNth(2, EDQUOT); // behind the write: the file system tells it at the close
    EXPECT_EQ(ErrorOf(fclose(file) == 0), ERROR_NOT_ENOUGH_QUOTA);
    Seam::FailNth(0, 0);
}

// A file system without record locks shares everything; one without exclusive renaming does it in steps.
TEST(FileSystem, MayLackLocksAndExclusiveRenaming)
{
    const TemporaryFolder folder;
    MakeTree(folder);
    const Handle alone = Open(folder.Text("tree/file"), GENERIC_READ, 0);
    for (const int error : {EOPNOTSUPP, ENOLCK, EINVAL}) {
        Seam::FailNth(4, error); // behind two looks and the open
        EXPECT_TRUE(ErrorOfOpen(folder.Text("tree/file"), GENERIC_READ, 0) == 0) << error;
    }
    CloseHandle(alone);
    folder.MakeFile("tree/other", "other");
    const auto move = [&](const char* from, const char* to) {
        Seam::FailNth(1, EINVAL);
        return ErrorOf(MoveFileExW(folder.Text(from).c_str(), folder.Text(to).c_str(), 0));
    };
    EXPECT_EQ(move("tree/file", "tree/other"), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(move("tree/file", "tree/file2"), ERROR_SUCCESS);
    EXPECT_EQ(move("tree/sub", "tree/sub2"), ERROR_SUCCESS);
    Seam::FailNth(0, 0);
    EXPECT_EQ(folder.Content("tree/file2"), "content");
    EXPECT_EQ(folder.Content("tree/other"), "other");
    EXPECT_TRUE(folder.Has("tree/sub2") && !folder.Has("tree/file") && !folder.Has("tree/sub"));
}
