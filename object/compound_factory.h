// All factories of a process, or of one library, as one.
#pragma once

#include "object/weak_map.h"
#include <tessel/object/factory.h>

namespace Object {

// Decides which factory serves a class: the static one of that name if there is one, else the dynamic ones
// of its type, in their order. It keeps no factory alive. Any thread may call it; its two maps guard
// themselves, and no lock is held while a factory is called.
class CompoundFactory : public Face<StaticFactory, DynamicFactory> {
public:
    // Takes over the classes and adds the types of a factory; the last one added for a class serves it.
    void AddFactory(const FacePtr<Factory>& factory);
    using StaticMap = WeakMap<Clsid, StaticFactory>;
    // The one that serves the class by its name; null if none does. The caller holds the section.
    FacePtr<StaticFactory> FindStatic(const Clsid& clsid, const StaticMap::Reading& held)
    {
        return statics.Find(clsid, held);
    }

    void CreateObject(const Clsid& clsid, const char16_t* wanted, FacePtr<BaseFace>& out) override;
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(ClassInfoList& out) override;
    void ListTypes(TypeSet& out) override;
    ClassInfo GetClassInfo(const Clsid& clsid) override;
    ClassInfoList FindClasses(const Clsid& pattern, const WideString& interface) override;

private:
    StaticMap statics;
    WeakMultiMap<WideString, DynamicFactory> dynamics; // by type
};

} // namespace Object
