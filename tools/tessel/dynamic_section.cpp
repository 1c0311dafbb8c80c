#include "tools/tessel/dynamic_section.h"

#include <cstring>
#include <stdexcept>

namespace Tool {

namespace {

// The structures of the file format, as far as they are looked at.
struct FileHeader {
    unsigned char magic[4];
    std::uint8_t wordClass; // 2: 64 bits
    std::uint8_t byteOrder; // 1: little endian
    std::uint8_t rest[10];
    std::uint16_t type; // 3: a shared object
    std::uint16_t machine;
    std::uint32_t version;
    std::uint64_t entry;
    std::uint64_t programHeaders;
    std::uint64_t sectionHeaders; // offset in the file
    std::uint32_t flags;
    std::uint16_t ownSize;
    std::uint16_t programHeaderSize;
    std::uint16_t programHeaderCount;
    std::uint16_t sectionHeaderSize;
    std::uint16_t sectionCount;
    std::uint16_t sectionNames;
};
static_assert(sizeof(FileHeader) == 64);

struct SectionHeader {
    std::uint32_t name;
    std::uint32_t type;
    std::uint64_t flags;
    std::uint64_t address;
    std::uint64_t offset; // in the file
    std::uint64_t size;
    std::uint32_t link; // of a symbol table: index of the section with its names
    std::uint32_t information;
    std::uint64_t alignment;
    std::uint64_t entrySize;
};
static_assert(sizeof(SectionHeader) == 64);

struct SymbolEntry {
    std::uint32_t name; // offset in the section of the names
    std::uint8_t binding; // in the upper four bits
    std::uint8_t other;
    std::uint16_t section; // 0: not defined here
    std::uint64_t value;
    std::uint64_t size;
};
static_assert(sizeof(SymbolEntry) == 24);

struct DynamicEntry {
    std::uint64_t tag;
    std::uint64_t value;
};

enum SectionType : std::uint32_t { symbolTable = 2, dynamicTable = 6, dynamicSymbols = 11 };
enum DynamicTag : std::uint64_t {
    endOfTable = 0,
    symbolicTag = 16,
    flagsTag = 30,
    moreFlagsTag = 0x6FFFFFFB
};
constexpr std::uint64_t symbolicFlag = 0x2; // in flagsTag
constexpr std::uint64_t neverUnloadedFlag = 0x8; // in moreFlagsTag
constexpr std::uint8_t uniqueBinding = 10;

class Reader {
public:
    explicit Reader(const std::string& itsBytes) : bytes(itsBytes) { }

    DynamicSection Read()
    {
        const auto header = At<FileHeader>(0);
        if (std::memcmp(header.magic, "\177ELF", 4) != 0)
            throw std::runtime_error("is no ELF file");
        if (header.wordClass != 2 || header.byteOrder != 1 || header.type != 3)
            throw std::runtime_error("is no 64-bit little-endian shared object");
        if (header.sectionHeaders == 0 || header.sectionHeaderSize != sizeof(SectionHeader))
            throw std::runtime_error("has no section headers, so there is nothing to check it by");
        for (std::uint16_t i = 0; i < header.sectionCount; ++i)
            sections.push_back(At<SectionHeader>(header.sectionHeaders + i * sizeof(SectionHeader)));

        DynamicSection result;
        if (const SectionHeader* const symbols = Find(dynamicSymbols))
            ReadSymbols(*symbols, result.visible);
        if (const SectionHeader* const symbols = Find(symbolTable))
            ReadSymbols(*symbols, result.local);
        if (const SectionHeader* const table = Find(dynamicTable))
            ReadFlags(*table, result);
        return result;
    }

private:
    // A sound file has one section of these types at most, and a hostile one costs no more for having many.
    const SectionHeader* Find(SectionType type) const
    {
        for (const SectionHeader& section : sections)
            if (section.type == type)
                return &section;
        return nullptr;
    }

    // A structure that lies wholly within the file; the offset may be any number.
    template <class Structure>
    Structure At(std::uint64_t offset) const
    {
        if (offset > bytes.size() || bytes.size() - offset < sizeof(Structure))
            throw std::runtime_error("ends in the middle, or points behind its own end");
        Structure read;
        std::memcpy(&read, bytes.data() + offset, sizeof(read));
        return read;
    }

    // Entries of a table that claims to be larger than the file are not counted but met with the throw above.
    template <class Entry, class Visit>
    void ForEachEntry(const SectionHeader& section, Visit visit) const
    {
        for (std::uint64_t i = 0; i < section.size / sizeof(Entry); ++i)
            if (!visit(At<Entry>(section.offset + i * sizeof(Entry))))
                break;
    }

    void ReadSymbols(const SectionHeader& section, std::vector<Symbol>& out) const
    {
        if (section.link >= sections.size())
            throw std::runtime_error("has symbols without names");
        const SectionHeader& names = sections[section.link];
        ForEachEntry<SymbolEntry>(section, [&](const SymbolEntry& entry) {
            if (entry.name != 0)
                out.push_back(
                    {NameAt(names, entry.name), entry.section != 0, entry.binding >> 4 == uniqueBinding});
            return true;
        });
    }

    // Cut off at a length that no compiler makes, for names may overlap.
    std::string_view NameAt(const SectionHeader& names, std::uint32_t offset) const
    {
        constexpr std::size_t longest = 1 << 16;
        At<char>(names.offset); // within the file, so that the sum below does not wrap
        At<char>(names.offset + offset);
        const std::string_view rest = std::string_view(bytes).substr(names.offset + offset, longest);
        return rest.substr(0, rest.find('\0'));
    }

    void ReadFlags(const SectionHeader& section, DynamicSection& out) const
    {
        ForEachEntry<DynamicEntry>(section, [&](const DynamicEntry& entry) {
            if (entry.tag == symbolicTag || (entry.tag == flagsTag && (entry.value & symbolicFlag) != 0))
                out.isSymbolic = true;
            if (entry.tag == moreFlagsTag && (entry.value & neverUnloadedFlag) != 0)
                out.isNeverUnloaded = true;
            return entry.tag != endOfTable;
        });
    }

    const std::string& bytes;
    std::vector<SectionHeader> sections;
};

} // namespace

DynamicSection ReadDynamicSection(const std::string& file)
{
    return Reader(file).Read();
}

} // namespace Tool
