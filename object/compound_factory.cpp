#include "object/compound_factory.h"

#include "object/match.h"

namespace Object {

void CompoundFactory::AddFactory(const FacePtr<Factory>& factory)
{
    if (const auto byName = factory.TryCast<StaticFactory>()) {
        ClassInfoList classes;
        byName->ListClasses(classes);
        statics.SetEach(classes, byName, [](const ClassInfo& described) { return Clsid(described.clsid); });
    }
    if (const auto byType = factory.TryCast<DynamicFactory>()) {
        TypeSet types;
        byType->ListTypes(types);
        for (const WideString& type : types)
            dynamics.Add(type, byType);
    }
}

// A static factory ends the search whatever it answers.
void CompoundFactory::CreateObject(const Clsid& clsid, const char16_t* wanted, FacePtr<BaseFace>& out)
{
    if (const auto factory = statics.Find(clsid))
        return factory->CreateObject(clsid, wanted, out);
    std::vector<FacePtr<DynamicFactory>> factories;
    dynamics.Find(Head(clsid), factories);
    for (const auto& factory : factories) {
        factory->CreateObject(clsid, wanted, out);
        if (out)
            return;
    }
}

void CompoundFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    CreateObject(clsid, BaseFace::iid, out);
}

void CompoundFactory::ListClasses(ClassInfoList& out)
{
    for (const auto& factory : statics.GetDistinct()) {
        // A list of its own for each, for a library replaces what it finds in the list.
        ClassInfoList served;
        factory->ListClasses(served);
        out.splice(out.end(), served);
    }
}

void CompoundFactory::ListTypes(TypeSet& out)
{
    WeakMultiMap<WideString, DynamicFactory>::Pairs all;
    dynamics.GetAll(all);
    for (const auto& [type, factory] : all)
        factory->ListTypes(out);
}

ClassInfo CompoundFactory::GetClassInfo(const Clsid& clsid)
{
    if (const auto factory = statics.Find(clsid)) {
        ClassInfoList served;
        factory->ListClasses(served);
        return EntryOf(served, clsid);
    }
    std::vector<FacePtr<DynamicFactory>> factories;
    dynamics.Find(Head(clsid), factories);
    for (const auto& factory : factories) {
        ClassInfo described = factory->GetClassInfo(clsid);
        if (!described.clsid.IsEmpty())
            return described;
    }
    return {};
}

ClassInfoList CompoundFactory::FindClasses(const Clsid& pattern, const WideString& interface)
{
    ClassInfoList found;
    for (const auto& factory : statics.GetDistinct()) {
        ClassInfoList served;
        factory->ListClasses(served);
        served.remove_if(
            [&](const ClassInfo& described) { return !IsWanted(described, pattern, interface); });
        found.splice(found.end(), served);
    }
    std::vector<FacePtr<DynamicFactory>> factories;
    dynamics.Find(Head(pattern), factories);
    for (const auto& factory : factories) {
        ClassInfoList served = factory->FindClasses(pattern, interface);
        found.splice(found.end(), served);
    }
    return found;
}

} // namespace Object
