// Io::File: bytes that are read and written at any offset, on disk or in memory, and Io::DataAccessor, what
// can be read and written as a stream.
//
//     FacePtr<Io::File> file(Io::memoryFileClass);
//     file->OpenSink()->Write(data);
//     FacePtr<Io::Source> source = file->OpenSource();
//
// A file may be used from several threads at once, and each operation is done as a whole; the streams of a
// file are for one thread at a time, and each has its own position. A file on disk throws what path.h says.
#pragma once

#include <tessel/io/sink.h>
#include <tessel/io/source.h>

#include <cstdint>

namespace Io {

enum class AccessMode : std::uint32_t { None = 0, Read = 1, Write = 2, ReadWrite = 3 };

constexpr AccessMode operator&(AccessMode left, AccessMode right) noexcept
{
    return static_cast<AccessMode>(static_cast<std::uint32_t>(left) & static_cast<std::uint32_t>(right));
}

struct DataAccessor : Face<> {
    static constexpr Iid iid = u"IID_Io::DataAccessor"_iid;

    virtual AccessMode GetAccess() = 0;
    // A stream over the whole file as it is now: it ends at the present size, also if the file grows. Throws
    // "sink-on-nonrfile" where the file cannot be read.
    virtual FacePtr<Source> OpenSource() = 0;
    // A stream that writes from the start on, and leaves behind its end what is there. Throws
    // "sink-on-nonwfile" where the file cannot be written.
    virtual FacePtr<Sink> OpenSink() = 0;
};

struct File : Face<DataAccessor> {
    static constexpr Iid iid = u"IID_Io::File"_iid;

    // The streams of every file, made by OpenSource and OpenSink.
    class StreamBase;
    class Source;
    class Sink;

    // Bytes.
    virtual std::uint64_t GetSize() = 0;
    // Cuts the file or extends it; new bytes are 0.
    virtual void SetSize(std::uint64_t size) = 0;
    // Up to `count` bytes from the offset. Fewer do not mean the end of the file; none do, unless none were
    // asked for.
    virtual Binary Read(std::uint64_t offset, std::uint32_t count) = 0;
    // Puts all of the bytes there. The file grows as needed, and between its old end and the offset is 0; no
    // bytes change nothing.
    virtual void Write(std::uint64_t offset, const Binary& data) = 0;
    // Makes what was written durable.
    virtual void Flush() = 0;
};

// A new, empty file in memory, which can always be read and written. A file that is written in one piece and
// read in one piece shares the bytes with both sides and copies nothing. It holds what a Binary can: beyond
// that, SetSize and Write throw "memory-file-range(%llu, %u)" with offset and count, and have changed
// nothing, as for want of memory std::bad_alloc.
constexpr const char16_t* memoryFileClass = u"CID_Io::Memory::File";

} // namespace Io
