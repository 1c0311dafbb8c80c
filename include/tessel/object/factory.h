// Factories: what makes the objects of classes.
//
// A factory may be called from any thread, also by several at a time. No lock is held while it makes an
// object. ListClasses and ListTypes of a client module's factories are called when the module has just been
// loaded, under the locks of the load: they must not wait for another thread.
#pragma once

#include <tessel/object/class_info.h>
#include <tessel/object/clsid.h>
#include <tessel/object/face_ptr.h>

namespace Object {

struct Factory : Face<> {
    static constexpr Iid iid = u"IID_Object::Factory"_iid;

    // Makes an object of the class and stores its face for `wanted` in `out`. If this factory does not serve
    // the class, or the object lacks the face, `out` stays or becomes null. Throws what a constructor throws.
    virtual void CreateObject(const Clsid& clsid, const char16_t* wanted, FacePtr<BaseFace>& out) = 0;
};

// Knows its classes by name beforehand.
struct StaticFactory : Face<Factory> {
    static constexpr Iid iid = u"IID_Object::StaticFactory"_iid;

    // The same as CreateObject, for the primary face. Leaves `out` untouched for a class that is not served.
    virtual void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) = 0;
    // Adds an entry for each class served.
    virtual void ListClasses(ClassInfoList& out) = 0;

    void CreateObject(const Clsid& clsid, const char16_t* wanted, FacePtr<BaseFace>& out) override
    {
        CreateInstance(clsid, out);
        if (out)
            out = FacePtr<BaseFace>::Adopt(out->Cast(wanted));
    }
};

// Serves whole types, of which the classes need not be known before somebody asks.
struct DynamicFactory : Face<Factory> {
    static constexpr Iid iid = u"IID_Object::DynamicFactory"_iid;

    // Adds the types served.
    virtual void ListTypes(TypeSet& out) = 0;
    // The empty one if the class is unknown.
    virtual ClassInfo GetClassInfo(const Clsid& clsid) = 0;
    // The classes that match the pattern and, unless it is empty, have the interface.
    virtual ClassInfoList FindClasses(const Clsid& pattern, const WideString& interface) = 0;
};

} // namespace Object
