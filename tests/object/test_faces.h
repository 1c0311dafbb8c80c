// Interfaces and objects that several tests use.
#pragma once

#include <tessel/module.h>
#include <tessel/object/impl.h>

#include <atomic>

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
        name = 0;
        --living;
        if (onDeath != nullptr)
            onDeath(*this);
    }

    int Name() override { return name; }
    int InLeft() override { return 2; }
    int InRight() override { return 3; }

    static inline std::atomic<int> living = 0;
    int name = 1; // while it is alive
    void (*onDeath)(BothImpl& dying) = nullptr;
};

using Both = Impl<BothImpl, Module>;

} // namespace Testing
