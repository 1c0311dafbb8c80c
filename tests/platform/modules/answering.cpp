// A module with something to find, that can call back from its constructor, destructor and operations.
#include <cstdlib>

extern "C" {

// The constructor of this module calls the function whose address the variable holds.
[[gnu::visibility("default")]] int answer()
{
    return 42;
}

[[gnu::visibility("default")]] void callBack(void (*function)(void*), void* context)
{
    function(context);
    asm volatile(""); // no tail call: this frame stays on the stack
}
}

namespace {

void CallVariable(const char* name)
{
    if (const char* const address = std::getenv(name))
        reinterpret_cast<void (*)()>(std::strtoull(address, nullptr, 10))();
}

struct Life {
    Life() { CallVariable("TESSEL_TEST_AT_LOAD"); }
    ~Life() { CallVariable("TESSEL_TEST_AT_FREE"); }
} life;

} // namespace
