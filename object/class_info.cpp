#include <tessel/object/class_info.h>

#include <new>

WideString Object::TextOfName(const char16_t* name)
{
    WideString text(name);
    if (text.IsEmpty() && *name != 0)
        throw std::bad_alloc();
    return text;
}
