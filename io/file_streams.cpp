#include "io/file_streams.h"

#include <tessel/base/error.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <algorithm>

namespace Io {

File::Source::Source(FacePtr<File> viewed, std::uint64_t start, std::uint64_t last)
    : StreamBase(std::move(viewed), start), end(last == wholeFile ? file->GetSize() : last)
{
}

// Asks for all that is left, or for as much of it as one read can name.
Binary File::Source::Read()
{
    if (IsAtEnd())
        return {};
    const std::uint64_t left = std::min<std::uint64_t>(end - position, Binary::everything);
    Binary block = file->Read(position, static_cast<std::uint32_t>(left));
    position += block.GetSize();
    return block;
}

void File::Sink::Write(const Binary& data)
{
    file->Write(position, data);
    position += data.GetSize();
}

void File::Sink::Flush()
{
    file->Flush();
}

FacePtr<Io::Source> StreamableFile::OpenSource()
{
    if ((GetAccess() & AccessMode::Read) == AccessMode::None)
        throw Error("sink-on-nonrfile", "memory");
    return MakeFace<Impl<File::Source, Module>>(FacePtr<File>(this), 0, File::Source::wholeFile);
}

FacePtr<Io::Sink> StreamableFile::OpenSink()
{
    if ((GetAccess() & AccessMode::Write) == AccessMode::None)
        throw Error("sink-on-nonwfile", "memory");
    return MakeFace<Impl<File::Sink, Module>>(FacePtr<File>(this), 0);
}

} // namespace Io
