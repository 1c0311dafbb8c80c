#include "host/files_copy.h"

#include "host/narrator.h"

#include <tessel/base/utf8.h>
#include <tessel/tessel.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

using namespace Demo;
using namespace Io;

namespace {

FacePtr<Path> PathAt(const std::filesystem::path& place)
{
    Value text;
    text = WideString(u"C:")
        + StringFromUtf8(std::filesystem::absolute(place).c_str()); // either separator will do
    return FacePtr<Fs::PathFactory>(Fs::pathFactoryClass)->CreatePath(PathType::Absolute, text, false);
}

FacePtr<File> OpenToRead(const FacePtr<Path>& path)
{
    return path->OpenFile(AccessMode::Read, ShareMode::Read, IfExists::Open, IfMissing::Fail);
}

FacePtr<File> OpenToWrite(const FacePtr<Path>& path)
{
    return path->OpenFile(AccessMode::Write, ShareMode::None, IfExists::Truncate, IfMissing::Create);
}

// 64 MiB, and three bytes so that the last block is a short one.
void WriteLargeFile(const FacePtr<Path>& path)
{
    const FacePtr<Sink> sink = OpenToWrite(path)->OpenSink();
    Binary block;
    block.Fill('t', 0, 1 << 20);
    for (unsigned char i = 0; i < 64; ++i) {
        block.Fill(i, 0, 16); // the sink may share a block: a change is made in a copy
        sink->Write(block);
    }
    sink->Write(Binary("end", 3));
}

// The file comes in small blocks and goes out in large ones, of which one is held at a time.
void Copy(const FacePtr<Path>& from, const FacePtr<Path>& to)
{
    const FacePtr<BufferingSink::Creator> creator{Clsid(bufferingSinkCreatorClass)};
    const FacePtr<BufferingSink> sink = creator->CreateSink(OpenToWrite(to)->OpenSink());
    sink->SetBlockRange(1 << 20, 1 << 20);
    const FacePtr<Source> source = OpenToRead(from)->OpenSource();
    while (!source->IsAtEnd())
        sink->Write(source->Read());
    sink->Flush();
}

std::string Bytes(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string ListText(const FacePtr<Folder>& folder)
{
    std::string text;
    for (const FacePtr<Path>& entry : folder->Enumerate({}, nullptr))
        text += " " + Narrow(entry->GetName());
    return text;
}

void CopyLargeFile(const FacePtr<Path>& path, const std::filesystem::path& place)
{
    const FacePtr<Path> original = path->Append(u"original.bin");
    const FacePtr<Path> copy = path->Append(u"copies/copy.bin");
    copy->GetParent()->OpenFolder(IfExists::Open, IfMissing::Create, true);
    WriteLargeFile(original);
    Copy(original, copy);
    Claim(OpenToRead(copy)->GetSize() == (64U << 20) + 3
            && Bytes(place / "original.bin") == Bytes(place / "copies" / "copy.bin"),
        "A file of 64 MiB was copied, in blocks of 1 MiB.");
}

void ShowFailure(const FacePtr<Path>& missing)
{
    try {
        OpenToRead(missing);
        Claim(false, "A file that is missing is told.");
    } catch (const Error& error) {
        Claim(error.HasCode(Error::notFound), "A file that is missing is told, in the user's language:");
        std::printf("%s\n", Narrow(error.Format()).c_str());
    }
}

} // namespace

void Demo::CopyListAndDelete(const std::filesystem::path& folder)
{
    Chapter("Files and folders:");
    const std::filesystem::path place = folder / "files";
    const FacePtr<Path> path = PathAt(place);
    path->Delete(true); // what a run that was stopped may have left
    const FacePtr<Folder> opened = path->OpenFolder(IfExists::Open, IfMissing::Create, true);
    Say("This is " + Narrow(path->GetString()));
    CopyLargeFile(path, place);

    std::ofstream(place / "10:30 notes").put('x');
    Say("It holds" + ListText(opened));
    Claim(opened->Enumerate(u"*.BIN", nullptr).size() == 1 && opened->Enumerate({}, nullptr).size() == 3,
        "One of three names fits *.BIN; one has a colon, and is reached all the same.");
    ShowFailure(path->Append(u"nowhere"));

    path->Delete(true);
    Claim(path->GetKind() == PathKind::Missing && !std::filesystem::exists(place),
        "The folder is gone, with all that was in it.");
}
