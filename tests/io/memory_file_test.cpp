#include "io/memory/file_impl.h"
#include "tests/allocation_plan.h"
#include "tests/io/streams.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

FacePtr<Io::File> NewFile(const std::string& contents = "")
{
    FacePtr<Io::File> file = MakeFace<Impl<Io::Memory::FileImpl, Module>>();
    file->Write(0, BinaryOf(contents));
    return file;
}

} // namespace

TEST(MemoryFile, SharesWhatIsWrittenAndReadAsAWhole)
{
    const FacePtr<Io::File> file = NewFile();
    const Binary written = BinaryOf("whole");
    file->Write(0, written);
    Binary read = file->Read(0, written.GetSize());
    EXPECT_EQ(read.GetData(), written.GetData());
    read.GetWritableData()[0] = 'W';
    EXPECT_EQ(TextOf(file->Read(0, 0xFFFFFFFF)), "whole");
}

TEST(MemoryFile, LeavesWhatReadersHoldAndFillsGapsWithZeros)
{
    const FacePtr<Io::File> file = NewFile("wxyz");
    const Binary reader = file->Read(0, 4);
    const FacePtr<Io::Source> source = file->OpenSource();
    const FacePtr<Io::Sink> sink = file->OpenSink();
    sink->Write(BinaryOf("a"));
    sink->Write(BinaryOf("b"));
    file->SetSize(3);
    file->SetSize(4);
    file->Write(6, BinaryOf("c"));
    EXPECT_EQ(TextOf(file->Read(0, 0xFFFFFFFF)), std::string("aby\0\0\0c", 7));
    EXPECT_EQ(TextOf(reader), "wxyz");
    EXPECT_EQ(TextOf(source->Read()), std::string("aby\0", 4)); // as far as the file went
    EXPECT_TRUE(source->IsAtEnd() && source->Read().IsEmpty() && file->Read(7, 1).IsEmpty());
}

TEST(MemoryFile, IsUnharmedByWhatItCannotHold)
{
    const FacePtr<Io::File> file = NewFile("wxyz");
    const Binary byte = BinaryOf("q");
    const Binary reader = file->Read(0, 4); // so that a change has to copy
    EXPECT_THROW(file->SetSize(std::uint64_t{1} << 32), Error);
    EXPECT_THROW(file->Write(0xFFFFFFFF, BinaryOf("x")), Error);
    EXPECT_THROW(file->Write(~std::uint64_t{0}, BinaryOf("xx")), Error);
    file->Write(~std::uint64_t{0}, {});
    const std::function<void()> operations[] = {[&] { file->SetSize(2); }, [&] { file->SetSize(2000); },
        [&] { file->Write(1, byte); }, [&] { file->Write(3000, byte); }, [&] { file->Read(1, 2); }};
    for (const auto& operation : operations) {
        EXPECT_EQ(TextOf(file->Read(0, 0xFFFFFFFF)), "wxyz");
        AllocationPlan::FailNth(1);
        EXPECT_THROW(operation(), std::bad_alloc);
    }
}
