// A second module, with a Module of its own, a startup class, and a word for each thing that happens to it.
#include "tests/modules/gadgets.h"

#include <tessel/object/registration.h>
#include <tessel/object/system.h>

#include <cstdio>

namespace Testing {

void Tell(const char* what)
{
    std::printf("other: %s\n", what);
    std::fflush(stdout);
}

class StarterImpl : public Face<Object::Startup> {
public:
    StarterImpl() { Tell("startup object made"); }
    ~StarterImpl() { Tell("startup object gone"); }
};

class OtherFactory : public Face<Object::StaticFactory> {
public:
    ~OtherFactory() { Tell("factory gone"); }
    OtherFactory()
    {
        Tell(Module::GetState() == Module::StateType::started ? "factory made, started" : "factory made");
    }
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override
    {
        if (clsid == u"CID_Testing::Starter")
            out = MakeFace<Impl<StarterImpl, Module>>();
    }
    void ListClasses(Object::ClassInfoList& out) override
    {
        out.push_back(Object::DescribeClass<StarterImpl>(u"CID_Testing::Starter"));
    }
};

} // namespace Testing

namespace {
struct Witness {
    Witness()
    {
        Testing::Tell(Module::GetInstance() != nullptr ? "static made, instance known" : "static made");
    }
    ~Witness() { Testing::Tell("static gone"); }
} witness;
const Object::FactoryRegistration others = Object::FactoryRegistration::Of<Testing::OtherFactory>("testing");
} // namespace
