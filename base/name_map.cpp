#include "base/name_map.h"

#include "platform/text.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

namespace {

// Four characters at once.
std::uint64_t LoadFour(const char16_t* text) noexcept
{
    std::uint64_t four = 0;
    std::memcpy(&four, text, sizeof(four));
    return four;
}

// Fewer than four, padded with zeros.
std::uint64_t LoadFew(const char16_t* text, std::size_t length) noexcept
{
    std::uint64_t few = 0;
    for (std::size_t i = 0; i < length; ++i)
        few |= std::uint64_t{text[i]} << (16 * i);
    return few;
}

constexpr std::uint64_t InEach(std::uint64_t character) noexcept
{
    return character * 0x0001000100010001;
}

std::uint64_t FoldFourByTable(std::uint64_t four) noexcept
{
    char16_t characters[4];
    std::memcpy(characters, &four, sizeof(four));
    for (char16_t& character : characters)
        character = Platform::ToLower(character);
    return LoadFour(characters);
}

// In lower case. In ASCII all four at once: adding sets a character's bit 7 where it is not below 'A', and
// where it is above 'Z'.
inline std::uint64_t FoldFour(std::uint64_t four) noexcept
{
    if ((four & InEach(0xFF80)) != 0)
        return FoldFourByTable(four);
    const std::uint64_t fromA = four + InEach(0x80 - u'A');
    const std::uint64_t aboveZ = four + InEach(0x7F - u'Z');
    return four | ((fromA & ~aboveZ & InEach(0x80)) >> 2);
}

// Good enough to tell a few dozen names apart, and soon done. The last four characters may overlap others.
std::uint32_t HashFolded(const char16_t* text, std::size_t length) noexcept
{
    if (length < 4)
        return static_cast<std::uint32_t>((FoldFour(LoadFew(text, length)) * 0x9E3779B97F4A7C15) >> 32);
    std::uint64_t hash = length;
    for (std::size_t i = 0; i + 4 < length; i += 4)
        hash = std::rotl(hash, 11) + FoldFour(LoadFour(text + i));
    hash = std::rotl(hash, 11) + FoldFour(LoadFour(text + length - 4));
    return static_cast<std::uint32_t>((hash * 0x9E3779B97F4A7C15) >> 32);
}

// The low bytes of four characters, the first one uppermost.
std::uint64_t PackFour(std::uint64_t four) noexcept
{
    const std::uint64_t turned = __builtin_bswap64(four) >> 8; // the first character uppermost
    const std::uint64_t pairs = (turned | turned >> 8) & 0x0000FFFF0000FFFF;
    return (pairs | pairs >> 16) & 0xFFFFFFFF;
}

// By the first of them that differ without regard to case.
inline int CompareFour(std::uint64_t left, std::uint64_t right) noexcept
{
    if (left == right)
        return 0;
    const std::uint64_t foldedLeft = FoldFour(left);
    const std::uint64_t foldedRight = FoldFour(right);
    if (foldedLeft == foldedRight)
        return 0;
    const int bits = std::countr_zero(foldedLeft ^ foldedRight) & ~15;
    const auto leftCharacter = static_cast<char16_t>(foldedLeft >> bits);
    const auto rightCharacter = static_cast<char16_t>(foldedRight >> bits);
    return leftCharacter < rightCharacter ? -1 : 1;
}

bool IsSameFour(std::uint64_t left, std::uint64_t right) noexcept
{
    return left == right || FoldFour(left) == FoldFour(right);
}

} // namespace

NameMap::Key::Key(const WideString& name) noexcept
    : text(name.c_str()),
      length(static_cast<std::uint32_t>(Platform::wcslen(text))),
      hash(HashFolded(text, length))
{
}

NameMap::NameMap(const NameMap& other) : count(other.count)
{
    ranges.reserve(other.ranges.size());
    for (const Range& range : other.ranges)
        ranges.push_back({range.prefix, range.block->Copy()});
}

const Value* NameMap::Find(const WideString& name) const noexcept
{
    if (ranges.empty())
        return nullptr;
    const Key key(name);
    const Block& block = *ranges[RangeOf(key)].block;
    const std::uint32_t place = block.Find(key);
    return place < block.GetCount() ? &block.At(place).value : nullptr;
}

Value& NameMap::FindOrInsert(const WideString& name)
{
    const Key key(name);
    if (ranges.empty())
        ranges.push_back({0, Block::Make(Block::atFirst)});
    // Many names that come in order, as in an archive, are not searched for.
    const bool isBehindAll = ranges.size() > 1 && IsBehindAll(key);
    const std::size_t index = isBehindAll ? ranges.size() - 1 : RangeOf(key);
    if (!isBehindAll) {
        const Block& block = *ranges[index].block;
        const std::uint32_t place = block.Find(key);
        if (place < block.GetCount())
            return block.At(place).value;
    }
    Range& range = MakeRoom(index, key, isBehindAll);
    const std::uint32_t place = isBehindAll ? range.block->GetCount() : range.block->PlaceOf(key);
    if (place == 0)
        range.prefix = PrefixOf(key.text, key.length);
    ++count;
    return range.block->Insert(place, key, name).value;
}

void NameMap::Erase(const WideString& name) noexcept
{
    if (ranges.empty())
        return;
    const Key key(name);
    const std::size_t index = RangeOf(key);
    Block& block = *ranges[index].block;
    const std::uint32_t place = block.Find(key);
    if (place == block.GetCount())
        return;
    block.Erase(place);
    --count;
    if (block.GetCount() == 0)
        ranges.erase(ranges.begin() + static_cast<std::ptrdiff_t>(index));
    else if (place == 0)
        ranges[index].prefix = PrefixOf(block.At(0).name.c_str(), block.At(0).length);
}

// The block in which the name stands, or would stand: the last one that does not begin behind it.
std::size_t NameMap::RangeOf(const Key& key) const noexcept
{
    std::size_t first = 0;
    if (ranges.size() == 1)
        return first;
    const std::uint64_t prefix = PrefixOf(key.text, key.length);
    for (std::size_t left = ranges.size(); left > 1;) {
        const std::size_t half = left / 2;
        const Range& range = ranges[first + half];
        const bool beginsBehind =
            prefix != range.prefix ? prefix < range.prefix : Compare(key, range.block->At(0)) < 0;
        if (!beginsBehind)
            first += half;
        left -= half;
    }
    return first;
}

bool NameMap::IsBehindAll(const Key& key) const noexcept
{
    const Block& last = *ranges.back().block;
    return Compare(key, last.At(last.GetCount() - 1)) > 0;
}

// The range for a name that belongs into the one with that index, with room for it. A full block first grows,
// and then is halved; behind the last name a new one is begun instead, so that names which come in order fill
// their blocks.
NameMap::Range& NameMap::MakeRoom(std::size_t index, const Key& key, bool isBehindAll)
{
    Block& block = *ranges[index].block;
    if (!block.IsFull())
        return ranges[index];
    if (block.GetCapacity() < Block::most) {
        ranges[index].block = block.Grown();
        return ranges[index];
    }
    const auto behind = ranges.begin() + static_cast<std::ptrdiff_t>(index) + 1;
    Range& upper = *ranges.insert(behind, Range{0, Block::Make(Block::most)});
    if (isBehindAll)
        return upper;
    block.MoveHalf(*upper.block);
    const Entry& middle = upper.block->At(0);
    upper.prefix = PrefixOf(middle.name.c_str(), middle.length);
    return Compare(key, middle) < 0 ? ranges[index] : upper;
}

// Entries are moved as bytes: nothing in a name or Value knows its own address.
namespace {
void Relocate(NameMap::Entry* to, const NameMap::Entry* from, std::uint32_t count) noexcept
{
    std::memmove(static_cast<void*>(to), static_cast<const void*>(from), count * sizeof(NameMap::Entry));
}
} // namespace

NameMap::Block::Ptr NameMap::Block::Make(std::uint32_t capacity)
{
    constexpr std::size_t bytesOfOne = sizeof(Entry) + sizeof(std::uint32_t);
    return Ptr(::new (::operator new(sizeof(Block) + capacity * bytesOfOne)) Block(capacity));
}

void NameMap::Block::Deleter::operator()(Block* block) const noexcept
{
    std::destroy_n(block->Entries(), block->count);
    ::operator delete(block);
}

NameMap::Block::Ptr NameMap::Block::Copy() const
{
    Ptr copy = Make(capacity);
    std::uninitialized_copy_n(Entries(), count, copy->Entries());
    std::copy_n(Hashes(), count, copy->Hashes());
    copy->count = count;
    return copy;
}

NameMap::Block::Ptr NameMap::Block::Grown()
{
    Ptr grown = Make(most);
    Relocate(grown->Entries(), Entries(), count);
    std::copy_n(Hashes(), count, grown->Hashes());
    grown->count = std::exchange(count, 0);
    return grown;
}

void NameMap::Block::MoveHalf(Block& upper) noexcept
{
    const std::uint32_t kept = count / 2;
    upper.count = count - kept;
    Relocate(upper.Entries(), Entries() + kept, upper.count);
    std::copy_n(Hashes() + kept, upper.count, upper.Hashes());
    count = kept;
}

std::uint32_t NameMap::Block::Find(const Key& key) const noexcept
{
    const std::uint32_t* const hashes = Hashes();
    std::uint32_t place = 0;
    while (place < count && (hashes[place] != key.hash || !IsSame(key, At(place))))
        ++place;
    return place;
}

std::uint32_t NameMap::Block::PlaceOf(const Key& key) const noexcept
{
    std::uint32_t first = 0;
    for (std::uint32_t left = count; left > 0;) {
        const std::uint32_t half = left / 2;
        if (Compare(key, At(first + half)) > 0) {
            first += half + 1;
            left -= half + 1;
        } else {
            left = half;
        }
    }
    return first;
}

NameMap::Entry& NameMap::Block::Insert(std::uint32_t place, const Key& key, const WideString& name) noexcept
{
    Relocate(Entries() + place + 1, Entries() + place, count - place);
    std::copy_backward(Hashes() + place, Hashes() + count, Hashes() + count + 1);
    Hashes()[place] = key.hash;
    ++count;
    return *::new (Entries() + place) Entry{name, {}, key.length};
}

void NameMap::Block::Erase(std::uint32_t place) noexcept
{
    std::destroy_at(Entries() + place);
    --count;
    Relocate(Entries() + place, Entries() + place + 1, count - place);
    std::copy_n(Hashes() + place + 1, count - place, Hashes() + place);
}

// Eight characters as a byte each, the first one uppermost. What does not fit a byte counts as the largest,
// and nothing behind it counts: so a smaller prefix means a smaller name, and an equal one nothing.
std::uint64_t NameMap::PrefixOf(const char16_t* text, std::size_t length) noexcept
{
    if (length >= 8) {
        const std::uint64_t first = FoldFour(LoadFour(text));
        const std::uint64_t second = FoldFour(LoadFour(text + 4));
        if (((first | second) & InEach(0xFF80)) == 0)
            return PackFour(first) << 32 | PackFour(second);
    }
    std::uint64_t prefix = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        const char16_t character = i < length ? Platform::ToLower(text[i]) : u'\0';
        if (character >= 0xFF)
            return (prefix << 8 | 0xFF) << (8 * (7 - i));
        prefix = prefix << 8 | character;
    }
    return prefix;
}

int NameMap::Compare(const Key& key, const Entry& entry) noexcept
{
    const char16_t* const text = entry.name.c_str();
    const std::size_t common = std::min(key.length, entry.length);
    std::size_t i = 0;
    for (; i + 4 <= common; i += 4)
        if (const int order = CompareFour(LoadFour(key.text + i), LoadFour(text + i)))
            return order;
    if (const int order = CompareFour(LoadFew(key.text + i, common - i), LoadFew(text + i, common - i)))
        return order;
    return key.length < entry.length ? -1 : static_cast<int>(key.length > entry.length);
}

bool NameMap::IsSame(const Key& key, const Entry& entry) noexcept
{
    const char16_t* const text = entry.name.c_str();
    const std::size_t length = key.length;
    if (length != entry.length)
        return false;
    if (length < 4)
        return IsSameFour(LoadFew(key.text, length), LoadFew(text, length));
    for (std::size_t i = 0; i + 4 < length; i += 4)
        if (!IsSameFour(LoadFour(key.text + i), LoadFour(text + i)))
            return false;
    return IsSameFour(LoadFour(key.text + length - 4), LoadFour(text + length - 4));
}
