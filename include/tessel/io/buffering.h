// The buffering pair: filters that cut and join a stream so that its blocks have the sizes that a client
// wants, and that let a reader go back.
//
//     FacePtr<Io::BufferingSource::Creator> creator(Io::bufferingSourceCreatorClass);
//     FacePtr<Io::BufferingSource> blocks = creator->CreateSource(file->OpenSource());
//     blocks->SetBlockRange(1 << 20, 1 << 20);
//
// Block sizes start as 1 to 0xFFFFFFFF: blocks pass through as they are, and are not copied. Failures of the
// stream below pass through too, and for want of memory std::bad_alloc is thrown; nothing is lost by either.
#pragma once

#include <tessel/io/sink.h>
#include <tessel/io/source.h>

namespace Io {

// When it goes, what it has read ahead goes too.
struct BufferingSource : Face<FilteringSource> {
    static constexpr Iid iid = u"IID_Io::BufferingSource"_iid;

    struct Creator;

    // Lets go what was kept, and keeps every block that is handed out from here on: Read gives them once more
    // behind a Rewind, in the same sizes unless the range has changed. The empty block at the end is one.
    virtual void StartBuffering() = 0;
    // Lets go what was kept, and keeps no more. What was not handed out yet stays.
    virtual void StopBuffering() = 0;
    // Back to the first block that was kept.
    virtual void Rewind() = 0;
};

struct BufferingSource::Creator : Face<> {
    static constexpr Iid iid = u"IID_Io::BufferingSource::Creator"_iid;

    virtual FacePtr<BufferingSource> CreateSource(FacePtr<Source> source) = 0;
};

// Holds back what is shorter than its least block, until more comes or somebody flushes: when it goes, bytes
// that are still held are lost. When the sink below fails, those of its blocks that it took before may come
// again with the next Write.
struct BufferingSink : Face<FilteringSink> {
    static constexpr Iid iid = u"IID_Io::BufferingSink"_iid;

    struct Creator;
};

struct BufferingSink::Creator : Face<> {
    static constexpr Iid iid = u"IID_Io::BufferingSink::Creator"_iid;

    virtual FacePtr<BufferingSink> CreateSink(FacePtr<Sink> sink) = 0;
};

constexpr const char16_t* bufferingSourceCreatorClass = u"CID_Io::BufferingSource_Creator";
constexpr const char16_t* bufferingSinkCreatorClass = u"CID_Io::BufferingSink_Creator";

} // namespace Io
