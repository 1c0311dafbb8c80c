// Start and stop of the system.
#pragma once

#include <tessel/export.h>
#include <tessel/object/face.h>

// Starts the library: afterwards every class of it and of the client modules in its folder can be made, from
// any thread. Once, from one thread; further calls do nothing. Returns 0. A failure of the start is thrown,
// and the start is not tried again. The stop is an exit action. A child made by fork while other threads run
// inherits their locks, which nobody opens there: it is to call exec.
TESSEL_API int TesselInitialize();

namespace Object {

// A class that lists this interface is made once when the system starts, and let go at once.
struct Startup : Face<> {
    static constexpr Iid iid = u"IID_Object::Startup"_iid;
};

} // namespace Object
