// Interfaces and objects that several tests use.
#pragma once

#include <tessel/module.h>
#include <tessel/object/impl.h>

namespace Testing {

struct Named : Face<> {
    static constexpr Iid iid = u"IID_Testing::Named"_iid;
    virtual int Name() = 0;
};
struct Left : Face<Named> {
    static constexpr Iid iid = u"IID_Testing::Left"_iid;
    virtual int InLeft() = 0;
};
struct Right : Face<Named> {
    static constexpr Iid iid = u"IID_Testing::Right"_iid;
    virtual int InRight() = 0;
};

// Counts itself, so that a test sees when it dies, and tells where it was when it did.
class BothImpl : public Face<Left, Right> {
public:
    BothImpl() { ++living; }
    ~BothImpl()
    {
        --living;
        if (onDeath != nullptr)
            onDeath(*this);
    }

    int Name() override { return 1; }
    int InLeft() override { return 2; }
    int InRight() override { return 3; }

    static inline int living = 0;
    void (*onDeath)(BothImpl& dying) = nullptr;
};

using Both = Impl<BothImpl, Module>;

} // namespace Testing
