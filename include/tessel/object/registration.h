// FactoryRegistration: puts a factory on its module's list before any code of the module has run.
//
//     static const Object::FactoryRegistration lamps = Object::FactoryRegistration::Of<LampFactory>("demo");
#pragma once

#include <tessel/module.h>
#include <tessel/object/factory.h>
#include <tessel/object/impl.h>
#include <tessel/object/system_main.h>

#include <cstddef>
#include <new>
#include <utility>

namespace Object {

// A static object, one for each factory class. The two fields are what modules built apart share: the chain
// is what "Module_GetStaticList" returns.
class TESSEL_HIDDEN FactoryRegistration {
public:
    // The references that a module keeps to its own factories say nothing of whether it is in use.
    struct TESSEL_HIDDEN NoLocker {
        static constexpr LiveObjects* liveObjects = nullptr;
        static void Lock() noexcept { }
        static void Unlock() noexcept { }
    };

    // The first one lies in the module itself. It is made while the system's loader brings the module in,
    // which no exception can pass: so a module must not need memory of others for that.
    template <class F>
    class TESSEL_HIDDEN FactoryImpl final : public ImplHeap<F, FactoryImpl<F>, NoLocker> {
    public:
        static void* operator new(std::size_t size)
        {
            if (std::exchange(isTaken, true))
                return ::operator new(size, alignment);
            return place;
        }
        static void operator delete(void* object) noexcept
        {
            if (object != place)
                ::operator delete(object, alignment);
        }

    private:
        using Whole = ImplHeap<F, FactoryImpl<F>, NoLocker>;
        static constexpr std::align_val_t alignment{alignof(Whole)};
        alignas(Whole) static inline std::byte place[sizeof(Whole)];
        static inline bool isTaken = false;
    };

    // Registers a new factory of class F, which derives from StaticFactory, DynamicFactory or both. Throws
    // "Cast<%s>" with the tag if it is no Factory. A module whose static constructors throw this or anything
    // else ends the process that loads it.
    template <class F>
    static FactoryRegistration Of(const char* tag)
    {
        return FactoryRegistration(MakeFace<FactoryImpl<F>>().template Cast<Factory>(tag));
    }
    FactoryRegistration(const FactoryRegistration&) = delete;
    FactoryRegistration& operator=(const FactoryRegistration&) = delete;
    ~FactoryRegistration() = default;

    FactoryRegistration* next;
    // Null once the system that it was registered with has stopped; mutable, for a registration is a constant
    // to the module that writes it down.
    mutable FacePtr<Factory> factory;

private:
    explicit FactoryRegistration(FacePtr<Factory> registered) noexcept
        : next(Module::GetStaticList()), factory(std::move(registered))
    {
        Module::Register(this, &SystemMain);
    }
};
static_assert(sizeof(FactoryRegistration) == 2 * sizeof(void*));

} // namespace Object
