// A module that needs a symbol which nobody has.
extern "C" int nobodyHasThis();
extern "C" [[gnu::visibility("default")]] int answer()
{
    return nobodyHasThis();
}
