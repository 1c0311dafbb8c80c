// The object that exists between start and stop.
#pragma once

#include "object/loader.h"
#include <tessel/object/manager.h>
#include <tessel/object/registration.h>

namespace Object {

// One for each module that starts a system of its own; the first one is the library's. Made and destroyed in
// one thread at a time.
class System : public Face<> {
public:
    // Adds the factories of a static list to the manager. The first one also scans the folder, once in the
    // life of a process, and makes the startup classes.
    explicit System(FactoryRegistration* list);
    // Lets go the libraries, then the static factories, then the manager.
    ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

private:
    FactoryRegistration* staticList;
    FacePtr<Manager> manager;
    FacePtr<Loader> loader; // only in the one that made it
};

} // namespace Object
