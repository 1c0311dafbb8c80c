#include "object/library_factory.h"

#include "object/library_impl.h"
#include "platform/files.h"
#include "platform/modules.h"
#include <tessel/module.h>

namespace Object {

FacePtr<Library> LibraryCreator::Create(const WideString& path)
{
    return LibraryImpl::Create(path);
}

FacePtr<Library> LibraryCreator::CreateCached(
    const WideString& path, const ClassInfoList& classes, const TypeSet& types)
{
    return LibraryImpl::CreateCached(path, classes, types);
}

WideString LibraryCreator::GetStamp(const WideString& path)
{
    WideString stamp;
    Platform::WIN32_FIND_DATAW found;
    const Platform::Handle search = Platform::FindFirstFileW(path.c_str(), &found);
    if (search == Platform::INVALID_HANDLE_VALUE)
        return stamp;
    stamp.Printf(u"%08x%08x", found.ftLastWriteTime.dwLowDateTime, found.ftLastWriteTime.dwHighDateTime);
    Platform::FindClose(search);
    return stamp;
}

void LibraryFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == libraryCreatorClass)
        out = MakeFace<Impl<LibraryCreator, Module>>();
}

void LibraryFactory::ListClasses(ClassInfoList& out)
{
    out.push_back(DescribeClass<Library::Creator>(libraryCreatorClass));
}

WideString GetLoadFailure()
{
    constexpr std::uint32_t characters = 4096;
    WideString words;
    if (char16_t* const target = words.CtorPrepareWriting(characters * sizeof(char16_t)))
        target[Platform::GetLoadFailure(target, characters)] = 0;
    return words;
}

} // namespace Object
