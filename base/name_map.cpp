#include "base/name_map.h"

#include "platform/text.h"

#include <algorithm>
#include <cstring>

namespace {

// Four characters at once.
std::uint64_t LoadFour(const char16_t* text) noexcept
{
    std::uint64_t four = 0;
    std::memcpy(&four, text, sizeof(four));
    return four;
}

constexpr std::uint64_t InEach(std::uint64_t character) noexcept
{
    return character * 0x0001000100010001;
}

// In lower case. In ASCII all four at once: adding sets a character's bit 7 where it is not below 'A', and
// where it is above 'Z'.
std::uint64_t FoldFour(std::uint64_t four) noexcept
{
    if ((four & InEach(0xFF80)) == 0) {
        const std::uint64_t fromA = four + InEach(0x80 - u'A');
        const std::uint64_t aboveZ = four + InEach(0x7F - u'Z');
        return four | ((fromA & ~aboveZ & InEach(0x80)) >> 2);
    }
    char16_t characters[4];
    std::memcpy(characters, &four, sizeof(four));
    for (char16_t& character : characters)
        character = Platform::ToLower(character);
    return LoadFour(characters);
}

// The last characters of a text, fewer than four, padded with zeros.
std::uint64_t LoadRest(const char16_t* text, std::size_t length) noexcept
{
    char16_t characters[4] = {};
    for (std::size_t i = 0; i < length; ++i)
        characters[i] = text[i];
    return LoadFour(characters);
}

std::uint32_t HashFolded(const char16_t* text, std::size_t length) noexcept
{
    constexpr std::uint64_t multiplier = 0x9E3779B97F4A7C15;
    std::uint64_t hash = length;
    std::size_t i = 0;
    for (; i + 4 <= length; i += 4)
        hash = (hash ^ FoldFour(LoadFour(text + i))) * multiplier;
    hash = (hash ^ FoldFour(LoadRest(text + i, length - i))) * multiplier;
    return static_cast<std::uint32_t>(hash >> 32);
}

// How many characters at the start are equal, in whole groups of four.
std::size_t SkipEqual(const char16_t* left, const char16_t* right, std::size_t length) noexcept
{
    std::size_t i = 0;
    while (i + 4 <= length && LoadFour(left + i) == LoadFour(right + i))
        i += 4;
    return i;
}

} // namespace

NameMap::Key::Key(const WideString& name) noexcept
    : text(name.c_str()), length(static_cast<std::uint32_t>(name.GetLength())), hash(HashFolded(text, length))
{
}

NameMap::NameMap(const NameMap& other) : count(other.count)
{
    blocks.reserve(other.blocks.size());
    for (const std::unique_ptr<Block>& block : other.blocks) {
        Block& copy = *blocks.emplace_back(std::make_unique<Block>());
        copy.hashes = block->hashes;
        for (; copy.count < block->count; ++copy.count)
            copy.entries[copy.count] = std::make_unique<Entry>(*block->entries[copy.count]);
    }
}

const Value* NameMap::Find(const WideString& name) const noexcept
{
    if (blocks.empty())
        return nullptr;
    const Key key(name);
    const Block& block = *blocks[BlockOf(key)];
    const std::size_t place = block.Find(key);
    return place < block.count ? &block.entries[place]->value : nullptr;
}

Value& NameMap::FindOrInsert(const WideString& name)
{
    const Key key(name);
    std::size_t index = 0;
    if (!blocks.empty()) {
        index = BlockOf(key);
        const Block& block = *blocks[index];
        const std::size_t place = block.Find(key);
        if (place < block.count)
            return block.entries[place]->value;
    }
    std::unique_ptr<Entry> entry(new Entry{name, {}, key.length});
    Value& value = entry->value;
    Block& block = MakeRoom(index, key);
    block.Insert(block.PlaceOf(key), key.hash, std::move(entry));
    ++count;
    return value;
}

void NameMap::Erase(const WideString& name) noexcept
{
    if (blocks.empty())
        return;
    const Key key(name);
    const std::size_t index = BlockOf(key);
    Block& block = *blocks[index];
    const std::size_t place = block.Find(key);
    if (place == block.count)
        return;
    block.Erase(place);
    --count;
    if (block.count == 0)
        blocks.erase(blocks.begin() + static_cast<std::ptrdiff_t>(index));
}

// The block in which the name stands, or would stand: the last one that does not begin behind it.
std::size_t NameMap::BlockOf(const Key& key) const noexcept
{
    std::size_t first = 0;
    for (std::size_t left = blocks.size(); left > 1;) {
        const std::size_t half = left / 2;
        if (Compare(key, *blocks[first + half]->entries[0]) >= 0)
            first += half;
        left -= half;
    }
    return first;
}

// A block with room for the name, which belongs into the one with that index. A full block is halved; behind
// the last name a new one is begun instead, so that names which come in order fill their blocks.
NameMap::Block& NameMap::MakeRoom(std::size_t index, const Key& key)
{
    const bool isNeeded = blocks.empty() || blocks[index]->count == Block::capacity;
    if (!isNeeded)
        return *blocks[index];
    const auto behind =
        blocks.empty() ? blocks.end() : blocks.begin() + static_cast<std::ptrdiff_t>(index) + 1;
    Block& upper = **blocks.insert(behind, std::make_unique<Block>());
    Block& lower = *blocks[index];
    const bool isLast = index + 2 == blocks.size() && Compare(key, *lower.entries[lower.count - 1]) > 0;
    if (&lower == &upper || isLast)
        return upper;
    constexpr std::size_t half = Block::capacity / 2;
    std::copy(lower.hashes.begin() + half, lower.hashes.end(), upper.hashes.begin());
    std::move(lower.entries.begin() + half, lower.entries.end(), upper.entries.begin());
    lower.count = half;
    upper.count = Block::capacity - half;
    return Compare(key, *upper.entries[0]) < 0 ? lower : upper;
}

std::size_t NameMap::Block::Find(const Key& key) const noexcept
{
    std::size_t place = 0;
    while (place < count && (hashes[place] != key.hash || !IsSame(key, *entries[place])))
        ++place;
    return place;
}

std::size_t NameMap::Block::PlaceOf(const Key& key) const noexcept
{
    std::size_t first = 0;
    for (std::size_t left = count; left > 0;) {
        const std::size_t half = left / 2;
        if (Compare(key, *entries[first + half]) > 0) {
            first += half + 1;
            left -= half + 1;
        } else {
            left = half;
        }
    }
    return first;
}

void NameMap::Block::Insert(std::size_t place, std::uint32_t hash, std::unique_ptr<Entry> entry) noexcept
{
    std::copy_backward(hashes.begin() + place, hashes.begin() + count, hashes.begin() + count + 1);
    std::move_backward(entries.begin() + place, entries.begin() + count, entries.begin() + count + 1);
    hashes[place] = hash;
    entries[place] = std::move(entry);
    ++count;
}

void NameMap::Block::Erase(std::size_t place) noexcept
{
    std::copy(hashes.begin() + place + 1, hashes.begin() + count, hashes.begin() + place);
    std::move(entries.begin() + place + 1, entries.begin() + count, entries.begin() + place);
    entries[--count].reset();
}

int NameMap::Compare(const Key& key, const Entry& entry) noexcept
{
    const char16_t* const text = entry.name.c_str();
    const std::size_t common = std::min(key.length, entry.length);
    for (std::size_t i = SkipEqual(key.text, text, common); i < common; ++i) {
        const int difference =
            static_cast<int>(Platform::ToLower(key.text[i])) - static_cast<int>(Platform::ToLower(text[i]));
        if (difference != 0)
            return difference;
    }
    return static_cast<int>(key.length) - static_cast<int>(entry.length);
}

bool NameMap::IsSame(const Key& key, const Entry& entry) noexcept
{
    const char16_t* const text = entry.name.c_str();
    if (key.length != entry.length)
        return false;
    if (key.text == text)
        return true;
    std::size_t i = 0;
    for (; i + 4 <= key.length; i += 4)
        if (FoldFour(LoadFour(key.text + i)) != FoldFour(LoadFour(text + i)))
            return false;
    const std::size_t rest = key.length - i;
    return FoldFour(LoadRest(key.text + i, rest)) == FoldFour(LoadRest(text + i, rest));
}
