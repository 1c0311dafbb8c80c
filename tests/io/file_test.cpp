#include "tests/io/paths.h"
#include "tests/io/streams.h"
#include "tests/platform/temporary_folder.h"

using namespace Io;

namespace {

FacePtr<File> Open(const TemporaryFolder& folder, const std::string& name,
    AccessMode access = AccessMode::ReadWrite, ShareMode share = ShareMode::ReadWrite,
    IfExists ifExists = IfExists::Open, IfMissing ifMissing = IfMissing::Create)
{
    return PathOf(folder.Text(name))->OpenFile(access, share, ifExists, ifMissing);
}

} // namespace

TEST(OpenFile, AnswersTheTwoQuestions)
{
    const struct {
        IfExists ifExists;
        IfMissing ifMissing;
        const char *file, *missing, *astray, *folder; // what stands there; astray: its folder is missing too
    } cases[] = {{IfExists::Open, IfMissing::Fail, "kept", "open 2 notFound", "open 3 notFound", "open 5 5"},
        {IfExists::Truncate, IfMissing::Fail, "empty", "open 2 notFound", "open 3 notFound", "open 5 5"},
        {IfExists::Fail, IfMissing::Create, "create 80 80", "empty", "create 3 notFound", "open 5 5"},
        {IfExists::Open, IfMissing::Create, "kept", "empty", "create 3 notFound", "open 5 5"},
        {IfExists::Truncate, IfMissing::Create, "empty", "empty", "create 3 notFound", "open 5 5"},
        {IfExists::Fail, IfMissing::Fail, "open 80 80", "open 2 notFound", "open 3 notFound", "open 80 80"},
        {IfExists::Open, IfMissing{1}, "open 80 80", "open 2 notFound", "open 3 notFound", "open 80 80"}};
    for (const auto& c : cases) {
        const TemporaryFolder folder;
        folder.MakeFile("file", "0123456789");
        folder.MakeFolder("folder");
        const auto outcome = [&](const char* name) {
            std::uint64_t size = 0;
            const std::string failure = FailureOf([&] {
                size = Open(folder, name, AccessMode::Write, ShareMode::None, c.ifExists, c.ifMissing)
                           ->GetSize();
            });
            return failure.empty() ? size != 0 ? "kept" : "empty" : failure;
        };
        EXPECT_EQ(outcome("file"), c.file);
        EXPECT_EQ(outcome("none"), c.missing);
        EXPECT_EQ(outcome("nowhere/none"), c.astray);
        EXPECT_EQ(outcome("folder"), c.folder);
    }
}

TEST(OpenFile, SharesAsBothSidesAllow)
{
    const TemporaryFolder folder;
    for (std::uint32_t pair = 0; pair < 20; ++pair) {
        const FacePtr<File> first = Open(folder, "file", AccessMode::Read, ShareMode{pair / 4});
        const bool fits = (pair & 3 & ~(pair / 4 % 4)) == 0;
        const auto second = [&] { Open(folder, "file", AccessMode{pair & 3}, ShareMode::Read); };
        EXPECT_EQ(FailureOf(second), fits ? "" : "create 32 32") << pair;
    }
}

TEST(DiskFile, ReadsAndWritesAnywhere)
{
    const TemporaryFolder folder;
    folder.MakeFile("file", "0123456789");
    const FacePtr<File> file = Open(folder, "file");
    file->Write(12, BinaryOf("ab"));
    file->Write(100, {});
    EXPECT_EQ(folder.Content("file"), std::string("0123456789\0\0ab", 14));
    file->SetSize(3);
    file->SetSize(5);
    file->Flush();
    EXPECT_EQ(TextOf(file->Read(1, 100)), std::string("12\0\0", 4));
    EXPECT_EQ(file->GetSize(), 5U);
    EXPECT_TRUE(file->Read(5, 1).IsEmpty());
    EXPECT_TRUE(file->Read(0, 0).IsEmpty());
    for (const std::uint64_t beyond : {std::uint64_t{1} << 63, ~std::uint64_t{0}})
        EXPECT_EQ(FailureOf([&] { file->Write(beyond, {}); }), "(fs: seek 131).");
    // On a place that the file system does not reach; the file is none the worse for it.
    EXPECT_NE(FailureOf([&] { file->Write((1ULL << 63) - 1, BinaryOf("xy")); }), "");
    EXPECT_EQ(TextOf(file->Read(0, 3)), "012");

    constexpr std::uint64_t size = (std::uint64_t{1} << 32) + 16384;
    file->Write(size - 4, BinaryOf("last"));
    EXPECT_EQ(file->GetSize(), size);
    EXPECT_EQ(TextOf(file->Read(size - 4, 100)), "last");
    const FacePtr<Source> source = file->OpenSource();
    EXPECT_EQ(source->Read().GetSize(), 16384U);
    EXPECT_EQ(source->Read().GetSize(), 16384U); // of 4 GiB that are left
}

TEST(DiskFile, IsReadInBlocksAndStreamsRefuseWhatItsAccessDoes)
{
    const TemporaryFolder folder;
    std::string content;
    for (int i = 0; content.size() < 100000; ++i)
        content += std::to_string(i);
    folder.MakeFile("file", content);
    const FacePtr<File> file = Open(folder, "file", AccessMode::Read);
    EXPECT_EQ(file->Read(0, 100000).GetSize(), 16384U);
    const FacePtr<Source> source = file->OpenSource();
    for (std::size_t at = 0; !source->IsAtEnd(); at += 16384)
        EXPECT_EQ(TextOf(source->Read()), content.substr(at, 16384)) << at;
    EXPECT_TRUE(source->Read().IsEmpty());
    EXPECT_EQ(FailureOf([&] { file->OpenSink(); }), "(memory: sink-on-nonwfile).");
    EXPECT_EQ(FailureOf([&] { file->SetSize(0); }), "write 5 5");
    const FacePtr<File> writer = Open(folder, "file", AccessMode::Write);
    EXPECT_EQ(FailureOf([&] { writer->OpenSource(); }), "(memory: sink-on-nonrfile).");
    EXPECT_EQ(FailureOf([&] { writer->Read(0, 1); }), "read 5 5");
    EXPECT_EQ(Open(folder, "file", AccessMode{9})->GetAccess(), AccessMode{9});
}
