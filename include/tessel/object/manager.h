// The manager: the one place where classes are asked for. Every operation may be called from any thread.
#pragma once

#include <tessel/object/factory.h>

namespace Object {

// "CID_Object::Manager" gives it.
struct Manager : Face<> {
    static constexpr Iid iid = u"IID_Object::Manager"_iid;

    // A new object of the class, as its face for `wanted`. Throws "clsid-not-found(%s)", tag "object", alike
    // for an unknown class and for one that lacks the face, "objlib-noload(%s)" where the class's module does
    // not load, and whatever the object's constructor throws.
    virtual FacePtr<BaseFace> CreateObject(const Clsid& clsid, const char16_t* wanted) = 0;
    // The next three load a module only to ask it for classes of a type that it serves, and throw
    // "objlib-noload(%s)" where it does not load.
    virtual bool IsRegistered(const Clsid& clsid) = 0;
    // Throws "clsid-not-found(%s)".
    virtual ClassInfo GetClassInfo(const Clsid& clsid) = 0;
    // The classes that match the pattern and, unless it is empty, have the interface. The empty pattern
    // matches all; one without a bar the class whose name, behind its type, is equal to it. One with bars
    // names the type first, then component by component; an empty last component leaves the rest open, so
    // that "Type|Group|" means all of Type's classes in Group.
    virtual ClassInfoList FindClasses(const Clsid& pattern, const WideString& interface) = 0;
    // Takes note of a factory without keeping it alive. Of two for one class the last one serves, of several
    // for one type the first that makes an object. One that is neither static nor dynamic has no effect.
    virtual void AddFactory(const FacePtr<Factory>& factory) = 0;
};

constexpr const char16_t* managerClass = u"CID_Object::Manager";

} // namespace Object
