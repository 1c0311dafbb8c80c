// What the test modules offer.
#pragma once

#include <tessel/base/string.h>
#include <tessel/object/face.h>

namespace Testing {

struct Gadget : Face<> {
    static constexpr Iid iid = u"IID_Testing::Gadget"_iid;

    virtual int Answer() = 0;
    // A text whose characters the module made.
    virtual WideString Describe() = 0;
    // Throws an Error made here, or a standard exception.
    virtual void Fail(bool standard) = 0;
};

} // namespace Testing
