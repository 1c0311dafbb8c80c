#include "tests/modules/gadgets.h"

#include <tessel/base/error.h>
#include <tessel/object/global.h>
#include <tessel/object/registration.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace Testing {

class GadgetImpl : public Face<Gadget> {
public:
    int Answer() override { return 42; }
    WideString Describe() override
    {
        WideString text;
        text.Printf(u"gadget %d of %s", Answer(), u"a module");
        return text;
    }
    void Fail(bool standard) override
    {
        if (standard)
            throw std::runtime_error("from the module");
        throw Error("gadget-fail(%d)", "testing", Answer());
    }
};

// One of the module's own, guarded from its first moment.
class SharedGadgetImpl : public GadgetImpl {
public:
    int Answer() override { return ++asked; }
    std::atomic<int> asked{0};
};

class GadgetFactory : public Face<Object::StaticFactory> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override
    {
        if (clsid == u"CID_Testing::Gadget")
            out = MakeFace<Impl<GadgetImpl, Module>>();
        else if (clsid == u"CID_Testing::SharedGadget")
            out = ImplGlobal<SharedGadgetImpl, Module>::Get();
        else if (clsid == u"CID_Testing::SlowGadget") {
            // Tells that it is inside, and waits until it is let on.
            gate = 1;
            while (gate == 1)
                std::this_thread::yield();
            out = MakeFace<Impl<GadgetImpl, Module>>();
        } else if (clsid == u"CID_Testing::OpenGate")
            gate = 2;
        else if (clsid == u"CID_Testing::IsInside" && gate == 1)
            out = MakeFace<Impl<GadgetImpl, Module>>();
    }
    void ListClasses(Object::ClassInfoList& out) override
    {
        for (const char16_t* name : {u"CID_Testing::Gadget", u"CID_Testing::IsInside",
                 u"CID_Testing::OpenGate", u"CID_Testing::SharedGadget", u"CID_Testing::SlowGadget"})
            out.push_back(Object::DescribeClass<GadgetImpl>(name));
    }

private:
    static inline std::atomic<int> gate{0};
};

class KindFactory : public Face<Object::DynamicFactory> {
public:
    void CreateObject(const Clsid& clsid, const char16_t* wanted, FacePtr<BaseFace>& out) override
    {
        if (Tail(clsid) == u"known")
            out = FacePtr<BaseFace>::Adopt(MakeFace<Impl<GadgetImpl, Module>>()->Cast(wanted));
    }
    void ListTypes(Object::TypeSet& out) override { out.insert(u"Testing::Kind"); }
    Object::ClassInfo GetClassInfo(const Clsid& clsid) override
    {
        return Tail(clsid) == u"known" ? Object::DescribeClass<GadgetImpl>(clsid.c_str())
                                       : Object::ClassInfo();
    }
    Object::ClassInfoList FindClasses(const Clsid&, const WideString&) override
    {
        return {Object::DescribeClass<GadgetImpl>(u"Testing::Kind|known")};
    }
};

} // namespace Testing

namespace {
const Object::FactoryRegistration kinds = Object::FactoryRegistration::Of<Testing::KindFactory>("testing");
const Object::FactoryRegistration gadgets =
    Object::FactoryRegistration::Of<Testing::GadgetFactory>("testing");
} // namespace
