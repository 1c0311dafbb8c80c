// "CID_Io::BufferingSource_Creator" and "CID_Io::BufferingSink_Creator": faces of one object without state.
#pragma once

#include <tessel/io/buffering.h>
#include <tessel/object/factory.h>

namespace Io::Memory {

class BufferFactory : public Face<Object::StaticFactory, BufferingSource::Creator, BufferingSink::Creator> {
public:
    FacePtr<BufferingSource> CreateSource(FacePtr<Source> source) override;
    FacePtr<BufferingSink> CreateSink(FacePtr<Sink> sink) override;

    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;
};

} // namespace Io::Memory
