#include "tests/modules/gadgets.h"

#include <tessel/base/error.h>
#include <tessel/object/class_factory.h>
#include <tessel/object/global.h>

#include <atomic>
#include <stdexcept>

namespace Testing {

class GadgetImpl : public Face<Gadget> {
public:
    static constexpr const char16_t* clsid = u"CID_Testing::Gadget";
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

struct SlowGadgetImpl : GadgetImpl {
    static constexpr const char16_t* clsid = u"CID_Testing::SlowGadget";
};

class GadgetFactory : public Object::ClassFactory<GadgetImpl, SlowGadgetImpl> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override
    {
        if (clsid == SlowGadgetImpl::clsid)
            FacePtr<BaseFace>(Clsid(u"CID_Testing::Gate")); // of the host, who lets it pass
        ClassFactory::CreateInstance(clsid, out);
    }
};

// One of the module's own, guarded from its first moment.
class SharedGadgetImpl : public GadgetImpl {
public:
    int Answer() override { return ++asked; }
    std::atomic<int> asked{0};
};

class KindFactory : public Face<Object::DynamicFactory> {
public:
    void CreateObject(const Clsid& clsid, const char16_t* wanted, FacePtr<BaseFace>& out) override
    {
        const FacePtr<Gadget> made = Tail(clsid) == u"shared"
            ? FacePtr<Gadget>(ImplGlobal<SharedGadgetImpl, Module>::Get())
            : FacePtr<Gadget>(MakeFace<Impl<GadgetImpl, Module>>());
        out = FacePtr<BaseFace>::Adopt(Primary(made.Get())->Cast(wanted));
    }
    void ListTypes(Object::TypeSet& out) override { out.insert(u"Testing::Kind"); }
    Object::ClassInfo GetClassInfo(const Clsid& clsid) override
    {
        return Object::DescribeClass<GadgetImpl>(clsid.c_str());
    }
    Object::ClassInfoList FindClasses(const Clsid&, const WideString&) override
    {
        return {GetClassInfo(u"Testing::Kind|known")};
    }
};

} // namespace Testing

namespace {
const auto kinds = Object::FactoryRegistration::Of<Testing::KindFactory>("testing");
const auto gadgets = Object::FactoryRegistration::Of<Testing::GadgetFactory>("testing");
} // namespace
