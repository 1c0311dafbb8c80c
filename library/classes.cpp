// The factories of the library, in the order of their registration.
#include "object/library_factory.h"
#include <tessel/object/registration.h>

namespace {

const Object::FactoryRegistration registrations[] = {
    Object::FactoryRegistration::Of<Object::LibraryFactory>("object"),
};

} // namespace
