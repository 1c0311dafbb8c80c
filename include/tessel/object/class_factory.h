// ClassFactory: the factory that most modules need. It makes objects without arguments, of classes that each
// carry their name:
//
//     class DeskLamp : public Face<Lamp, Dimmer> {
//     public:
//         static constexpr const char16_t* clsid = u"CID_Lamps::DeskLamp";
//         ...
//     };
//     const auto registration =
//         Object::FactoryRegistration::Of<Object::ClassFactory<Lantern, DeskLamp>>("lamps");
//
// Whoever needs more than that derives from StaticFactory or DynamicFactory.
#pragma once

#include <tessel/object/registration.h>

namespace Object {

template <class... Classes>
class TESSEL_HIDDEN ClassFactory : public Face<StaticFactory> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override
    {
        (void)(MadeIfNamed<Classes>(clsid, out) || ...);
    }

    void ListClasses(ClassInfoList& out) override
    {
        (out.push_back(DescribeClass<Classes>(Classes::clsid)), ...);
    }

private:
    template <class Class>
    static bool MadeIfNamed(const Clsid& clsid, FacePtr<BaseFace>& out)
    {
        if (clsid != Class::clsid)
            return false;
        out =
            FacePtr<BaseFace>::Adopt(Primary(static_cast<Class*>(MakeFace<Impl<Class, Module>>().Detach())));
        return true;
    }
};

} // namespace Object
