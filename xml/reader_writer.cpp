#include "xml/reader_writer.h"

#include "platform/files.h"
#include "xml/parser.h"
#include "xml/serializer.h"
#include "xml/text_streams.h"
#include <tessel/base/error.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <utility>

namespace Xml {

namespace {

// A file that is closed in any case. Who has written closes it for himself, to learn whether all arrived.
class OpenFile {
public:
    OpenFile(const WideString& path, const char16_t* mode) : file(Platform::_wfopen(path.c_str(), mode))
    {
        if (file == nullptr)
            throw Error("read-io-err", "xml");
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile()
    {
        if (file != nullptr)
            Platform::fclose(file);
    }

    Platform::FILE* Get() const noexcept { return file; }
    void Close()
    {
        if (Platform::fclose(std::exchange(file, nullptr)) != 0)
            throw Error("read-io-err", "xml");
    }

private:
    Platform::FILE* file;
};

template <class Stream, class... Arguments>
FacePtr<Impl<Stream, Module>> MakeStream(Arguments&&... arguments)
{
    return MakeFace<Impl<Stream, Module>>(std::forward<Arguments>(arguments)...);
}

void RequireDocument(const FacePtr<Document>& document)
{
    if (!document)
        ThrowCastFailure(Document::iid, "xml");
}

} // namespace

FacePtr<Document> ReaderWriterFactory::Read(const WideString& text)
{
    return Parse(*MakeStream<StreamFromString>(text));
}

FacePtr<Document> ReaderWriterFactory::ReadFile(const WideString& path)
{
    const OpenFile file(path, u"r");
    return Parse(*MakeStream<StreamFromFile>(file.Get()));
}

WideString ReaderWriterFactory::Write(const FacePtr<Document>& document)
{
    RequireDocument(document);
    const auto stream = MakeStream<StreamToString>();
    Serialize(*stream, document);
    return stream->TakeText();
}

void ReaderWriterFactory::WriteFile(const FacePtr<Document>& document, const WideString& path)
{
    RequireDocument(document);
    OpenFile file(path, u"w");
    Serialize(*MakeStream<StreamToFile>(file.Get()), document);
    file.Close();
}

void ReaderWriterFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == readerClass)
        out = FacePtr<BaseFace>(Primary(static_cast<Reader*>(this)));
    else if (clsid == writerClass)
        out = FacePtr<BaseFace>(Primary(static_cast<Writer*>(this)));
}

void ReaderWriterFactory::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<Reader>(readerClass));
    out.push_back(Object::DescribeClass<Writer>(writerClass));
}

} // namespace Xml
