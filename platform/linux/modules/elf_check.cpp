#include "platform/linux/modules/elf_check.h"

#include "platform/errors.h"
#include "platform/files.h"

#include <bit>
#include <cstring>
#include <elf.h>
#include <link.h>

namespace Platform {

namespace {

constexpr unsigned char ownClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr unsigned char ownOrder = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

#if defined(__x86_64__)
constexpr unsigned ownMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr unsigned ownMachine = EM_AARCH64;
#else
#error "name this machine's ELF number here"
#endif

// Far above what linkers make.
constexpr unsigned mostSegments = 256;

bool ReadAt(Handle file, std::uint64_t offset, void* target, std::uint32_t size) noexcept
{
    auto high = static_cast<std::int32_t>(offset >> 32);
    const std::uint32_t low = SetFilePointer(file, static_cast<std::int32_t>(offset), &high, FILE_BEGIN);
    std::uint32_t read = 0;
    return (low != INVALID_SET_FILE_POINTER || GetLastError() == ERROR_SUCCESS)
        && ReadFile(file, target, size, &read) && read == size;
}

bool IsWithin(const ElfW(Phdr) & segment, std::uint64_t fileSize) noexcept
{
    return segment.p_type != PT_LOAD
        || (segment.p_offset <= fileSize && segment.p_filesz <= fileSize - segment.p_offset);
}

bool HoldsAllSegments(Handle file, const ElfW(Ehdr) & header) noexcept
{
    std::uint32_t sizeHigh = 0;
    const std::uint32_t sizeLow = GetFileSize(file, &sizeHigh);
    const std::uint64_t size = std::uint64_t{sizeHigh} << 32 | sizeLow;
    if (header.e_phentsize != sizeof(ElfW(Phdr)) || header.e_phnum == 0 || header.e_phnum > mostSegments)
        return false;
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        ElfW(Phdr) segment;
        if (!ReadAt(file, header.e_phoff + i * sizeof segment, &segment, sizeof segment)
            || !IsWithin(segment, size))
            return false;
    }
    return true;
}

// The section headers are the last thing that linkers write. A file whose room was taken before its bytes
// came, and that then was left, ends in zeros there; the loader would take the zeros for a module.
bool EndsInSections(Handle file, const ElfW(Ehdr) & header) noexcept
{
    if (header.e_shoff == 0 || header.e_shnum == 0)
        return true;
    ElfW(Shdr) last;
    return header.e_shentsize == sizeof last
        && ReadAt(file, header.e_shoff + (header.e_shnum - 1) * sizeof last, &last, sizeof last)
        && last.sh_type != SHT_NULL;
}

} // namespace

const char* WhatIsNoModule(Handle file) noexcept
{
    const LastErrorKeeper keeper;
    ElfW(Ehdr) header;
    if (!ReadAt(file, 0, &header, sizeof header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
        return "not an ELF file";
    if (header.e_ident[EI_CLASS] != ownClass || header.e_ident[EI_DATA] != ownOrder
        || header.e_machine != ownMachine)
        return "an ELF file of another machine";
    if (header.e_type != ET_DYN)
        return "an ELF file that is no shared object";
    return HoldsAllSegments(file, header) && EndsInSections(file, header) ? nullptr
                                                                          : "an ELF file that was cut off";
}

} // namespace Platform
