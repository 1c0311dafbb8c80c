#include "io/memory/buffer_factory.h"
#include "io/memory/file_impl.h"
#include "tests/allocation_plan.h"
#include "tests/io/streams.h"

#include <gtest/gtest.h>

namespace {

FacePtr<Io::Memory::BufferFactory> Factory()
{
    return MakeFace<Impl<Io::Memory::BufferFactory, Module>>();
}

struct BufferedSource {
    explicit BufferedSource(std::deque<std::string> blocks) { below->blocks = std::move(blocks); }
    // The next blocks; "-" is the end.
    std::string Read(int count)
    {
        std::string blocks;
        while (count-- > 0) {
            const Binary block = buffered->Read();
            blocks += (block.IsEmpty() ? "-" : TextOf(block)) + " ";
        }
        return blocks;
    }

    FacePtr<ScriptedSource> below = MakeFace<Impl<ScriptedSource, Module>>();
    FacePtr<Io::BufferingSource> buffered = Factory()->CreateSource(below);
};

} // namespace

TEST(BufferingSource, CutsAndJoinsToTheRange)
{
    const std::tuple<std::uint32_t, std::uint32_t, const char*> cases[] = {
        {8, 8, "01234567 89abcdef ghijklmn o - - "}, {16, 0xFFFFFFFF, "0123456789abcdefghij klmno - - - - "},
        {1, 7, "0123456 789 abcdefg hij klmno - "}, {12, 5, "0123456789ab cdefghijklmn o - - - "},
        {0, 0, "0 1 2 3 4 5 "}, {1, 0xFFFFFFFF, "0123456789 abcdefghij klmno - - - "}};
    for (const auto& [minimum, maximum, blocks] : cases) {
        BufferedSource source({"0123456789", "abcdefghij", "klmno"});
        source.buffered->SetBlockRange(minimum, maximum);
        EXPECT_EQ(source.Read(6), blocks) << minimum << ", " << maximum;
    }
}

TEST(BufferingSource, RewindsToWhatItKept)
{
    BufferedSource source({"ab", "cdef", "gh", "!", "ij"});
    EXPECT_EQ(source.Read(1), "ab ");
    source.buffered->StartBuffering();
    source.buffered->SetBlockRange(1, 3);
    EXPECT_EQ(source.Read(2), "cde f ");
    EXPECT_EQ(source.below->blocks.size(), 3U); // read no further than was needed
    source.buffered->Rewind();
    source.buffered->SetBlockRange(8, 8);
    EXPECT_THROW(source.Read(1), Error); // and nothing is lost by it
    source.buffered->SetBlockRange(1, 3);
    EXPECT_EQ(source.Read(4), "cde fgh ij - "); // the end is kept, too
    EXPECT_TRUE(source.buffered->IsAtEnd());
    source.buffered->Rewind();
    source.buffered->SetBlockRange(8, 8);
    EXPECT_EQ(source.Read(1), "cdefghij ");
    EXPECT_FALSE(source.buffered->IsAtEnd()); // the empty block lies ahead
    source.buffered->StopBuffering();
    source.buffered->Rewind();
    EXPECT_EQ(source.Read(1), "- ");
    EXPECT_TRUE(source.buffered->IsAtEnd());
}

TEST(BufferingSource, LosesNothingForWantOfMemory)
{
    const FacePtr<Io::File> file = MakeFace<Impl<Io::Memory::FileImpl, Module>>();
    file->Write(0, BinaryOf("012345"));
    const FacePtr<Io::BufferingSource> buffered = Factory()->CreateSource(file->OpenSource());
    buffered->SetBlockRange(4, 4);
    for (const unsigned allocation : {1U, 2U, 3U}) {
        AllocationPlan::FailNth(allocation);
        EXPECT_THROW(buffered->Read(), std::bad_alloc);
    }
    EXPECT_EQ(TextOf(buffered->Read()), "0123");
    EXPECT_EQ(TextOf(buffered->Read()), "45");
}

TEST(BufferingSink, CutsAndJoinsToTheRange)
{
    const FacePtr<NotingSink> below = MakeFace<Impl<NotingSink, Module>>();
    const FacePtr<Io::BufferingSink> buffered = Factory()->CreateSink(below);
    const auto write = [&](const char* bytes) { buffered->Write(BinaryOf(bytes)); };
    const Binary block = BinaryOf("whole");
    buffered->Write(block);
    EXPECT_EQ(below->last.GetData(), block.GetData()); // not copied
    buffered->SetBlockRange(4, 8);
    write("abc");
    EXPECT_EQ(std::exchange(below->noted, ""), "whole ");
    write("def");
    write("0123456789012345678");
    EXPECT_EQ(below->noted, "abcdef 01234567 89012345 ");
    buffered->SetBlockRange(2, 2); // what waits goes out under the new limits, before more joins it
    write("x");
    buffered->SetBlockRange(4, 8);
    write("yz");
    buffered->Flush();
    buffered->Flush();
    EXPECT_EQ(std::exchange(below->noted, ""), "abcdef 01234567 89012345 67 8x yz | | ");
    // When the sink below fails, the bytes are there again.
    buffered->SetBlockRange(4, 4);
    write("ab");
    below->untilFailure = 2;
    EXPECT_THROW(write("cdefgh"), Error);
    write("cdefgh"); // a block that was taken comes again
    write("ij");
    below->untilFailure = 1;
    EXPECT_THROW(buffered->Flush(), Error);
    buffered->Flush();
    EXPECT_EQ(below->noted, "abcd abcd efgh ij | ");
}
