// What makes the library talk in the languages of threads, when the system starts.
#pragma once

#include <tessel/object/system.h>

namespace Nls {

// Its construction gives the calling thread its language, throws what that throws, and sets the language
// hook. That stays set when the object goes, and when the system stops.
class Initializer : public Face<Object::Startup> {
public:
    Initializer();
};

} // namespace Nls
