#include "platform/linux/modules/elf_check.h"

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

static_assert(sizeof(ElfW(Ehdr)) <= moduleHeaderBytes);

} // namespace

const char* WhatIsNoModule(const unsigned char* header, std::size_t size) noexcept
{
    ElfW(Ehdr) file;
    if (size < sizeof file || std::memcmp(header, ELFMAG, SELFMAG) != 0)
        return "not an ELF file";
    std::memcpy(&file, header, sizeof file);
    if (file.e_ident[EI_CLASS] != ownClass || file.e_ident[EI_DATA] != ownOrder
        || file.e_machine != ownMachine)
        return "an ELF file of another machine";
    return file.e_type == ET_DYN ? nullptr : "an ELF file that is no shared object";
}

} // namespace Platform
