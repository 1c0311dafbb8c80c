// A shared object with one construct that matters to the check of modules; which one is chosen at compile
// time.
#include <cstdlib>
#include <exception>
#include <pthread.h>
#include <string>
#include <thread>

extern "C" [[gnu::visibility("default")]] int Construct(int argument);

#if !defined(NO_EXPORTS)
extern "C" {
[[gnu::visibility("default")]] void Module_GetStaticList();
[[gnu::visibility("default")]] void Module_IsUnlocked();
}
void Module_GetStaticList() { }
void Module_IsUnlocked() { }
#endif

template <class T>
struct [[gnu::visibility("default")]] Shared
{
    static inline int value = 0;
};

namespace {

enum class Chosen { nothing, uniqueSymbol, threadLocal, threadKey, exitAction, exceptionPointer, thread };

struct Number { };

template <Chosen chosen>
int Use(int argument)
{
    if constexpr (chosen == Chosen::uniqueSymbol)
        return Shared<int>::value += argument;
    if constexpr (chosen == Chosen::threadLocal) {
        thread_local std::string text;
        text += static_cast<char>(argument);
        return static_cast<int>(text.size());
    }
    if constexpr (chosen == Chosen::threadKey) {
        pthread_key_t key = 0;
        return pthread_key_create(&key, [](void*) {});
    }
    if constexpr (chosen == Chosen::exitAction)
        return on_exit([](int, void*) {}, nullptr);
    if constexpr (chosen == Chosen::exceptionPointer)
        return std::make_exception_ptr(Number()) != nullptr;
    if constexpr (chosen == Chosen::thread) {
        pthread_t thread{};
        return pthread_create(
            &thread, nullptr, [](void* nothing) { return nothing; }, nullptr);
    }
    return argument;
}

} // namespace

int Construct(int argument)
{
    return Use<Chosen::CHOSEN>(argument);
}
