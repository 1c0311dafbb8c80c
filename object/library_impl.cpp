#include "object/library_impl.h"

#include "object/match.h"
#include <tessel/base/error.h>
#include <tessel/module.h>

namespace Object {

namespace {

// Counts a call that may run in the module.
class Busy {
public:
    explicit Busy(std::atomic<std::uint32_t>& calls) noexcept : count(calls) { ++count; }
    ~Busy() { --count; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    std::atomic<std::uint32_t>& count;
};

constexpr std::uint32_t idleMilliseconds = 600000; // ten minutes, for a cleanup that is not forced

} // namespace

LibraryImpl::LibraryImpl(const WideString& itsPath, ClassInfoList&& knownClasses, TypeSet&& knownTypes)
    : path(itsPath), classes(std::move(knownClasses)), types(std::move(knownTypes))
{
}

// The module goes before the compound that held its factories.
LibraryImpl::~LibraryImpl()
{
    dll = nullptr;
}

FacePtr<Impl<LibraryImpl, Module>> LibraryImpl::Make(
    const WideString& path, ClassInfoList&& classes, TypeSet&& types)
{
    auto made = MakeFace<Impl<LibraryImpl, Module>>(path, std::move(classes), std::move(types));
    made->manager->AddItem(made.Get());
    return made;
}

FacePtr<Library> LibraryImpl::Create(const WideString& path)
{
    const auto made = Make(path, {}, {});
    return made->Load(false) ? FacePtr<Library>(made) : nullptr;
}

FacePtr<Library> LibraryImpl::CreateCached(const WideString& path, ClassInfoList classes, TypeSet types)
{
    return Make(path, std::move(classes), std::move(types));
}

FacePtr<Dll> LibraryImpl::Load(bool must)
{
    {
        const SectionLock lock(section);
        if (dll)
            return dll;
    }
    {
        const Platform::LoaderLock order;
        const SectionLock lock(section);
        if (!dll)
            dll = LoadNow(must);
        if (dll || !must)
            return dll;
    }
    // With no lock held: the text of an Error asks for the language, and that may make objects.
    throw Error("objlib-noload(%s)", "object", path);
}

// Without `must` the lists are read anew, and a module that offers nothing is let go again.
FacePtr<Dll> LibraryImpl::LoadNow(bool must)
{
    FacePtr<Dll> loaded = Dll::Load(path);
    if (!loaded)
        return nullptr;
    // A new compound, for the factories of an earlier load still live where something else keeps the module
    // in memory.
    const auto offered = MakeFace<Impl<CompoundFactory, Module>>();
    for (auto* node = loaded->GetStaticList(); node != nullptr; node = node->next)
        offered->AddFactory(node->factory);
    compound = offered;
    if (must)
        return loaded;
    classes.clear();
    types.clear();
    compound->ListClasses(classes);
    compound->ListTypes(types);
    if (!classes.empty() || !types.empty())
        return loaded;
    Platform::SetLoadFailure("the module offers no class and no type");
    return nullptr;
}

void LibraryImpl::CreateObject(const Clsid& clsid, const char16_t* wanted, FacePtr<BaseFace>& out)
{
    // Raised before the Dll is asked for: a cleanup that still sees 0 holds the section, and Load then finds
    // the module gone and loads it anew. Lowered last, when the object made is counted by its module.
    const Busy raised(busy);
    const FacePtr<Dll> held = Load(true);
    compound->CreateObject(clsid, wanted, out);
}

void LibraryImpl::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    CreateObject(clsid, BaseFace::iid, out);
}

void LibraryImpl::ListClasses(ClassInfoList& out)
{
    const SectionLock lock(section);
    if (&out != &classes)
        out = classes;
}

void LibraryImpl::ListTypes(TypeSet& out)
{
    const SectionLock lock(section);
    out.insert(types.begin(), types.end());
}

bool LibraryImpl::ServesType(const Clsid& clsid)
{
    const SectionLock lock(section);
    return types.contains(Head(clsid));
}

ClassInfo LibraryImpl::GetClassInfo(const Clsid& clsid)
{
    {
        const SectionLock lock(section);
        ClassInfo known = EntryOf(classes, clsid);
        if (!known.clsid.IsEmpty())
            return known;
    }
    if (!ServesType(clsid))
        return {};
    const Busy raised(busy);
    const FacePtr<Dll> held = Load(true);
    return compound->GetClassInfo(clsid);
}

ClassInfoList LibraryImpl::FindClasses(const Clsid& pattern, const WideString& interface)
{
    if (ServesType(pattern)) {
        const Busy raised(busy);
        const FacePtr<Dll> held = Load(true);
        return compound->FindClasses(pattern, interface);
    }
    const SectionLock lock(section);
    ClassInfoList found = classes;
    found.remove_if([&](const ClassInfo& described) { return !IsWanted(described, pattern, interface); });
    return found;
}

// The module leaves memory, with all its destructors, outside the section and when nobody holds the Dll.
bool LibraryImpl::Cleanup(bool force)
{
    FacePtr<Dll> dropped;
    const SectionLock lock(section);
    if (dll && busy == 0 && dll->IsUnlocked(force ? 0 : idleMilliseconds))
        dropped = std::move(dll);
    if (dropped)
        dropped->LetGo();
    return static_cast<bool>(dropped);
}

} // namespace Object
