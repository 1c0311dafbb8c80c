// Any bytes as an archive: the first byte says of what. Whatever can be read must travel well: written, and
// read again, it is the same. Refusing is fine, and so is nothing else: no read beyond the bytes, no
// allocation that they do not justify.
#include "fuzz/require.h"
#include "platform/text.h"
#include <tessel/base/memory_properties.h>
#include <tessel/base/value.h>

#include <algorithm>
#include <sanitizer/asan_interface.h>
#include <string>

extern "C" int __sanitizer_install_malloc_and_free_hooks(
    void (*allocated)(const volatile void*, std::size_t), void (*freed)(const volatile void*));

namespace {

// The most bytes that one allocation may have now.
thread_local std::size_t mostBytes = SIZE_MAX;

[[maybe_unused]] const int installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t bytes) {
        if (bytes > mostBytes)
            std::abort();
    },
    [](const volatile void*) {});

template <class Item>
Binary Written(const Item& item)
{
    WriteArchive archive;
    archive << item;
    return archive.GetBinary();
}

// Reads one item after the other until the bytes are refused.
template <class Item>
void ReadItems(const Binary& bytes)
{
    Item read;
    try {
        for (ReadArchive archive(bytes);;) {
            archive >> read;
            const Binary once = Written(read);
            Item again;
            ReadArchive second(once);
            second >> again;
            Require(Written(again) == once);
        }
    } catch (const Error& error) {
        Require(error.HasCode(Error::badFormat));
    }
    if constexpr (std::is_same_v<Item, Error>)
        static_cast<void>(read.Format()); // what a failure left behind is usable
}

void ReadBag(const Binary& bytes)
{
    MemoryProperties bag;
    try {
        bag.Import(bytes);
    } catch (const Error& error) {
        Require(error.HasCode(Error::badFormat));
    }
    const std::vector<WideString> names = bag.EnumProperties();
    Require(std::is_sorted(names.begin(), names.end(), [](const WideString& left, const WideString& right) {
        return Platform::_wcsicmp(left.c_str(), right.c_str()) < 0;
    }));
    for (const WideString& name : names)
        Require(bag.GetType(name) != Properties::PropertyType::none);
    MemoryProperties again;
    again.Import(bag.Export());
    Require(bag.IsSubsetOf(again, true) && again.IsSubsetOf(bag, true));
}

// Plain items in an order that the bytes themselves choose.
void ReadSequence(const Binary& bytes)
{
    try {
        ReadArchive archive(bytes);
        for (std::uint32_t i = bytes.GetSize(); i-- > 0;) {
            std::uint8_t byte = 0;
            std::uint32_t number = 0;
            std::uint64_t large = 0;
            WideString text;
            Binary binary;
            const unsigned choice = bytes.GetData()[i] % 5;
            choice == 0       ? archive >> byte
                : choice == 1 ? archive >> number
                : choice == 2 ? archive >> large
                : choice == 3 ? archive >> text
                              : archive >> binary;
            // A text may grow when it is widened, but no character comes out of nothing.
            Require(
                Platform::wcslen(text.c_str()) == text.GetLength() && text.GetLength() <= bytes.GetSize());
        }
    } catch (const Error& error) {
        Require(error.HasCode(Error::badFormat));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size == 0)
        return 0;
    const Binary binary(bytes + 1, static_cast<std::uint32_t>(size - 1));
    // Its block may not be touched behind the bytes that are in use.
    const unsigned char* const end = binary.GetData() + binary.GetSize();
    const std::uint32_t behind = binary.GetCapacity() - binary.GetSize();
    ASAN_POISON_MEMORY_REGION(end, behind);
    // A narrow text doubles when it is widened, a growing archive takes half as much again, and the
    // converters of the C library have tables.
    mostBytes = (1U << 20) + 8 * size;
    constexpr void (*readers[])(const Binary&) = {
        ReadItems<Error>, ReadItems<Value>, ReadBag, ReadSequence, ReadItems<WideString>};
    readers[bytes[0] % std::size(readers)](binary);
    mostBytes = SIZE_MAX;
    ASAN_UNPOISON_MEMORY_REGION(end, behind);
    return 0;
}
