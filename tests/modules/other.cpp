// A second module, with a Module of its own, a startup class, and a word for each thing that happens to it.
#include "tests/modules/gadgets.h"

#include <tessel/object/class_factory.h>
#include <tessel/object/system.h>

#include <cstdio>

namespace Testing {

void Tell(const char* what)
{
    std::printf("other: %s\n", what);
    std::fflush(stdout);
}

struct StarterImpl : Face<Object::Startup> {
    static constexpr const char16_t* clsid = u"CID_Testing::Starter";
    StarterImpl() { Tell("startup object made"); }
    ~StarterImpl() { Tell("startup object gone"); }
};

struct OtherFactory : Object::ClassFactory<StarterImpl> {
    OtherFactory()
    {
        Tell(Module::GetState() == Module::StateType::started ? "factory made, started" : "factory made");
    }
    ~OtherFactory() { Tell("factory gone"); }
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
const auto others = Object::FactoryRegistration::Of<Testing::OtherFactory>("testing");
} // namespace
