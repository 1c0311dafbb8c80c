// ImplGlobal: an object of which a module has at most one, and which lives as long as somebody holds it.
#pragma once

#include <tessel/base/critical_section.h>
#include <tessel/object/impl.h>

// Get may be called from any thread and at any time, before and after the start and while statics are
// destroyed. An object that is just dying is replaced, so what Get gives is always alive. T is made without
// arguments; if it has an OnFirstReference operation, that is called when the object can already hand out
// references to itself, and if it throws, the object is dropped and the failure passes on. Both run under the
// holder's lock: they must not wait for a thread that calls Get.
template <class T, class ModuleClass>
class TESSEL_HIDDEN ImplGlobal {
public:
    class Instance;

    static FacePtr<T> Get();

private:
    struct Holder {
        Instance* object = nullptr; // not counted
        CriticalSection section; // guards `object`; the maker's constructor runs under it
    };
    static constinit inline Holder holder{};
};

template <class T, class ModuleClass>
class ImplGlobal<T, ModuleClass>::Instance final : public ImplHeap<T, Instance, ModuleClass> {
public:
    explicit Instance(Holder* itsHolder) : home(itsHolder) { }
    ~Instance()
    {
        const SectionLock lock(home->section);
        if (home->object == this) // else another one has taken the place meanwhile
            home->object = nullptr;
    }

private:
    friend class ImplGlobal;
    Holder* home;
};

template <class T, class ModuleClass>
FacePtr<T> ImplGlobal<T, ModuleClass>::Get()
{
    const SectionLock lock(holder.section);
    // While the section is held the object is still there: its destructor clears the pointer in it first.
    if (holder.object != nullptr && holder.object->AddRefIfLiving())
        return FacePtr<T>::Adopt(holder.object);
    auto* const made = new Instance(&holder);
    FacePtr<T> first(made);
    holder.object = made;
    if constexpr (requires { made->OnFirstReference(); }) {
        try {
            made->OnFirstReference();
        } catch (...) {
            holder.object = nullptr; // another thread may have a reference by now: it is given to nobody else
            throw;
        }
    }
    return first;
}
