// A client module of ten classes, of which a thousand copies are made: each has its number in the place of
// "M0000", in every name.
#include <tessel/object/registration.h>

namespace {

struct Thing : Face<> {
    static constexpr Iid iid = u"IID_Bench::Thing"_iid;
    virtual int Get() = 0;
};

class ThingImpl : public Face<Thing> {
public:
    int Get() override { return 1; }
};

constexpr const char16_t* names[] = {
    u"CID_Bench::M0000_C0",
    u"CID_Bench::M0000_C1",
    u"CID_Bench::M0000_C2",
    u"CID_Bench::M0000_C3",
    u"CID_Bench::M0000_C4",
    u"CID_Bench::M0000_C5",
    u"CID_Bench::M0000_C6",
    u"CID_Bench::M0000_C7",
    u"CID_Bench::M0000_C8",
    u"CID_Bench::M0000_C9",
};

class ThingFactory : public Face<Object::StaticFactory> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override
    {
        for (const char16_t* const name : names)
            if (clsid == name)
                out = MakeFace<Impl<ThingImpl, Module>>();
    }
    void ListClasses(Object::ClassInfoList& out) override
    {
        for (const char16_t* const name : names)
            out.push_back(Object::DescribeClass<ThingImpl>(name));
    }
};

const auto registration = Object::FactoryRegistration::Of<ThingFactory>("bench");

} // namespace
