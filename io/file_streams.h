// The two streams over a file, and the part of every file that opens them.
#pragma once

#include <tessel/io/file.h>

#include <utility>

namespace Io {

class File::StreamBase {
protected:
    StreamBase(FacePtr<File> viewed, std::uint64_t start) noexcept : file(std::move(viewed)), position(start)
    {
    }
    ~StreamBase() = default;

    const FacePtr<File> file;
    std::uint64_t position; // of the next read or write
};

class File::Source : public Face<Io::Source>, protected File::StreamBase {
public:
    static constexpr std::uint64_t wholeFile = ~std::uint64_t{0}; // as an end: the file's size at this moment

    Source(FacePtr<File> viewed, std::uint64_t start, std::uint64_t last);

    bool IsAtEnd() override { return position >= end; }
    Binary Read() override;

protected:
    ~Source() = default;

private:
    const std::uint64_t end;
};

class File::Sink : public Face<Io::Sink>, protected File::StreamBase {
public:
    Sink(FacePtr<File> viewed, std::uint64_t start) noexcept : StreamBase(std::move(viewed), start) { }

    void Write(const Binary& data) override;
    void Flush() override;

protected:
    ~Sink() = default;
};

// What the kinds of files derive from.
class StreamableFile : public Face<File> {
public:
    FacePtr<Io::Source> OpenSource() override;
    FacePtr<Io::Sink> OpenSink() override;

protected:
    ~StreamableFile() = default;
};

} // namespace Io
