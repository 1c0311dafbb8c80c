// Cleanup: the list of things that can tidy themselves up, for a host that wants idle modules out of memory.
#pragma once

#include <tessel/object/face_ptr.h>

namespace Cleanup {

struct Item;

// One per process, alive as long as an item or somebody else holds it. Its typed pointer comes from Get
// alone.
struct Manager : Face<> {
    // Asks every item to tidy up, in the order in which they were added. Without `force` that is one pass, in
    // which modules go that have been idle for ten minutes. With it, modules go that have no object, and
    // passes follow until one changes nothing. A call while another one runs, in whatever thread, returns at
    // once. Throws what an item throws.
    virtual void Cleanup(bool force) = 0;
    // Puts an item, to which the caller holds a reference, on the list, which does not keep it alive. There
    // is no way to take it off again.
    virtual void AddItem(Item* item) = 0;

    TESSEL_API static FacePtr<Manager> Get();
};

struct Item : Face<> {
    static constexpr Iid iid = u"IID_Cleanup::Item"_iid;

    // Does what tidying it can and tells whether anything was done. Called with no lock held.
    virtual bool Cleanup(bool force) = 0;

protected:
    Item() : manager(Manager::Get()) { }

    FacePtr<Manager> manager;
};

} // namespace Cleanup
