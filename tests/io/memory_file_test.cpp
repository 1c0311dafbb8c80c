#include "io/memory/memory_factory.h"
#include "tests/allocation_plan.h"
#include "tests/io/streams.h"
#include <tessel/io/file.h>

#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace {

FacePtr<Io::File> NewFile(const std::string& contents = "")
{
    FacePtr<BaseFace> made;
    MakeFace<Impl<Io::Memory::MemoryFactory, Module>>()->CreateInstance(Io::memoryFileClass, made);
    FacePtr<Io::File> file = made.Cast<Io::File>("test");
    file->Write(0, BinaryOf(contents));
    return file;
}

std::string Contents(const FacePtr<Io::File>& file)
{
    return TextOf(file->Read(0, 0xFFFFFFFF));
}

} // namespace

TEST(MemoryFile, SharesWhatIsWrittenAndReadAsAWhole)
{
    const FacePtr<Io::File> file = NewFile();
    EXPECT_TRUE(file->OpenSource()->IsAtEnd());
    const Binary written = BinaryOf("whole");
    file->Write(0, written);
    Binary read = file->Read(0, written.GetSize());
    EXPECT_EQ(read.GetData(), written.GetData());
    read.GetWritableData()[0] = 'W';
    EXPECT_EQ(Contents(file), "whole");
}

TEST(FileStreams, AreIndependentAndEndWhereTheFileEnded)
{
    const FacePtr<Io::File> file = NewFile("0123456789");
    const FacePtr<Io::Source> source = file->OpenSource();
    const FacePtr<Io::Sink> sink = file->OpenSink();
    sink->Write(BinaryOf("ab"));
    sink->Write(BinaryOf("c"));
    file->Write(10, BinaryOf("tail"));
    EXPECT_EQ(TextOf(source->Read()), "abc3456789");
    EXPECT_TRUE(source->IsAtEnd() && source->Read().IsEmpty());
    EXPECT_EQ(Contents(file), "abc3456789tail");
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
        EXPECT_EQ(Contents(file), "wxyz");
        AllocationPlan::FailNth(1);
        EXPECT_THROW(operation(), std::bad_alloc);
    }
}

// Beside a plain string: contents, gaps of zero bytes and shared readers under any sequence of changes.
TEST(MemoryFile, HoldsWhatAStringWouldHold)
{
    std::mt19937 random(3);
    const FacePtr<Io::File> file = NewFile();
    std::string expected;
    std::pair<Binary, std::string> reader; // what it holds, and what it has to hold
    for (int step = 0; step < 3000; ++step) {
        const std::uint32_t at = random() % 900;
        const std::string bytes(random() % 400, static_cast<char>('a' + random() % 26));
        if (random() % 4 == 0) {
            file->SetSize(at);
            expected.resize(at);
        } else {
            file->Write(at, BinaryOf(bytes));
            if (!bytes.empty())
                expected.resize(std::max(expected.size(), at + bytes.size()));
            expected.replace(std::min<std::size_t>(at, expected.size()), bytes.size(), bytes);
        }
        ASSERT_EQ(Contents(file), expected);
        ASSERT_EQ(TextOf(file->Read(at, 100)), at < expected.size() ? expected.substr(at, 100) : "");
        ASSERT_EQ(TextOf(reader.first), reader.second);
        if (random() % 3 == 0)
            reader = {file->Read(0, 0xFFFFFFFF), expected};
    }
}
