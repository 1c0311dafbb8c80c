#include "xml/characters.h"

#include <algorithm>

namespace Xml {

namespace {

struct Range {
    char16_t first;
    char16_t last;
};

constexpr Range nameStarts[] = {{0xC0, 0xD6}, {0xD8, 0xF6}, {0xF8, 0x2FF}, {0x370, 0x37D}, {0x37F, 0x1FFF},
    {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF},
    {0xFDF0, 0xFFFD}};
constexpr Range furtherInNames[] = {{0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

template <std::size_t count>
bool IsIn(const Range (&ranges)[count], char16_t c) noexcept
{
    return std::any_of(
        ranges, ranges + count, [c](const Range& range) { return c >= range.first && c <= range.last; });
}

} // namespace

bool CharacterClass::IsWideNameStart(char16_t c) noexcept
{
    return IsIn(nameStarts, c);
}

bool CharacterClass::IsWideName(char16_t c) noexcept
{
    return IsIn(nameStarts, c) || IsIn(furtherInNames, c);
}

bool IsValidName(std::u16string_view text) noexcept
{
    return !text.empty() && IsNameStart(text.front())
        && std::all_of(text.begin(), text.end(), IsNameCharacter);
}

} // namespace Xml
