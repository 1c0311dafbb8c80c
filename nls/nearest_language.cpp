#include "nls/nearest_language.h"

#include <algorithm>
#include <span>

namespace Nls {

namespace {

constexpr std::uint32_t languageMask = 0x3FF; // without the variety

// Those of a group can stand in for one another, the first one best.
constexpr std::uint32_t traditionalChinese[] = {0x404, 0xC04, 0x1404};
constexpr std::uint32_t simplifiedChinese[] = {0x804, 0x1004};
constexpr std::span<const std::uint32_t> groups[] = {traditionalChinese, simplifiedChinese};

bool Contains(std::span<const std::uint32_t> languages, std::uint32_t language) noexcept
{
    return std::find(languages.begin(), languages.end(), language) != languages.end();
}

} // namespace

std::uint32_t NearestLanguage(std::uint32_t wanted, const std::vector<std::uint32_t>& candidates) noexcept
{
    if (wanted != 0 && Contains(candidates, wanted))
        return wanted;
    for (const std::span<const std::uint32_t> group : groups)
        if (Contains(group, wanted))
            for (const std::uint32_t member : group)
                if (Contains(candidates, member))
                    return member;
    const auto sameLanguage = std::find_if(candidates.begin(), candidates.end(),
        [wanted](std::uint32_t candidate) { return ((candidate ^ wanted) & languageMask) == 0; });
    return sameLanguage != candidates.end() ? *sameLanguage : candidates.front();
}

} // namespace Nls
