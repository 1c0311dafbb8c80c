#include "io/memory/buffer_factory.h"

#include "io/memory/buffering_sink.h"
#include "io/memory/buffering_source.h"
#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <utility>

namespace Io::Memory {

namespace {

// A filter stands over a stream, always.
template <class Stream>
void RequireStream(const FacePtr<Stream>& below)
{
    if (!below)
        ThrowCastFailure(Stream::iid, "memory");
}

} // namespace

FacePtr<BufferingSource> BufferFactory::CreateSource(FacePtr<Source> source)
{
    RequireStream(source);
    return MakeFace<Impl<BufferingSourceImpl, Module>>(std::move(source));
}

FacePtr<BufferingSink> BufferFactory::CreateSink(FacePtr<Sink> sink)
{
    RequireStream(sink);
    return MakeFace<Impl<BufferingSinkImpl, Module>>(std::move(sink));
}

void BufferFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == bufferingSourceCreatorClass || clsid == bufferingSinkCreatorClass)
        out = FacePtr<BaseFace>(Primary(static_cast<Object::StaticFactory*>(this)));
}

void BufferFactory::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<BufferFactory>(bufferingSourceCreatorClass));
    out.push_back(Object::DescribeClass<BufferFactory>(bufferingSinkCreatorClass));
}

} // namespace Io::Memory
