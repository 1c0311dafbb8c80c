#include "nls/supported_languages.h"

#include "platform/text.h"
#include <tessel/base/persistent_properties.h>

#include <iterator>
#include <new>

namespace Nls {

namespace {

constexpr std::uint32_t english = 0x409;

// The languages of all messages. Who wants none of them gets the first.
constexpr std::uint32_t allLanguages[] = {english, 0x404, 0x406, 0x407, 0x408, 0x410, 0x411, 0x412, 0x413,
    0x414, 0x416, 0x419, 0x41D, 0x41F, 0x40B, 0x40C, 0x804, 0x816, 0xC0A};

void MakeLower(WideString& text)
{
    char16_t* const writable = text.PrepareWriting(0, true);
    if (writable == nullptr)
        throw std::bad_alloc();
    Platform::_wcslwr(writable);
}

// Digits that run together with those beside them count as well.
bool Names(const WideString& lowerList, std::uint32_t language)
{
    const WideString digits = WideString::FromPrintf(u"%04x", language);
    if (digits.IsEmpty())
        throw std::bad_alloc();
    return Platform::wcsstr(lowerList.c_str(), digits.c_str()) != nullptr;
}

} // namespace

std::vector<std::uint32_t> SupportedLanguages(WideString langList, InstalledTest isInstalled)
{
    std::vector<std::uint32_t> supported;
    supported.reserve(std::size(allLanguages));
    const bool isNarrowed = !langList.IsEmpty();
    if (isNarrowed)
        MakeLower(langList);
    for (const std::uint32_t language : allLanguages)
        if ((!isNarrowed || Names(langList, language)) && isInstalled(language & 0xFFFF))
            supported.push_back(language);
    if (!supported.empty())
        return supported;
    if (isInstalled(english))
        supported.push_back(english);
    else
        supported.assign(std::begin(allLanguages), std::end(allLanguages));
    return supported;
}

WideString ReadLangList()
{
    PersistentProperties machine;
    machine.Open(u"Palisade", false);
    return machine.GetString(u"LangList", {});
}

} // namespace Nls
