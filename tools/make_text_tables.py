#!/usr/bin/env python3
"""Writes the constant tables of platform/linux/text: simple case pairs and single-byte code pages.

    tools/make_text_tables.py case > platform/linux/text/case_table.h
    tools/make_text_tables.py pages > platform/linux/text/single_byte_tables.h

Sources: the Unicode Character Database in Python's unicodedata (its version stands in the output), and
Python's codecs cp1250 to cp1258, which are made from the Unicode Consortium's published mappings
(MAPPINGS/VENDORS/MICSFT/WINDOWS). The output is checked in; run this again only to change it.
"""
import sys
import unicodedata

BLOCK = 32  # chars in a block of the case table: the size at which index and blocks together are smallest


def lower_delta(code):
    """What to add (modulo 65536) to lower this char; 0 for all that are not half of a pair."""
    char = chr(code)
    lower = char.lower()
    if lower == char or len(lower) != 1 or ord(lower) > 0xFFFF:
        return 0
    if lower.upper() != char and lower.title() != char:  # lowers into another pair: Kelvin, Ohm, dotted I
        return 0
    return (ord(lower) - code) & 0xFFFF


def rows(values, form, width):
    for start in range(0, len(values), width):
        yield "    " + ", ".join(form(v) for v in values[start:start + width]) + ","


def write_case_table():
    blocks, index = [], []
    for first in range(0, 0x10000, BLOCK):
        block = tuple(lower_delta(code) for code in range(first, first + BLOCK))
        if block not in blocks:
            blocks.append(block)
        index.append(blocks.index(block))
    print(f"""// Made by tools/make_text_tables.py from the case mappings of Unicode {unicodedata.unidata_version}; do not edit.
// clang-format off
#pragma once

#include <cstdint>

namespace Platform::CaseTable {{

constexpr unsigned blockSize = {BLOCK};

// The block of each {BLOCK} chars in a row.
constexpr std::uint8_t blockOf[{len(index)}] = {{""")
    print("\n".join(rows(index, str, 24)))
    print(f"""}};

// What is added to a char, modulo 65536, to lower it.
constexpr std::uint16_t deltas[{len(blocks)}][blockSize] = {{""")
    for block in blocks:
        print("    {" + ", ".join(str(v) for v in block) + "},")
    print("""};

} // namespace Platform::CaseTable""")


def write_pages():
    print("""// Made by tools/make_text_tables.py from the Unicode Consortium's mappings of these code pages; do not edit.
// clang-format off
#pragma once

namespace Platform::SingleByteTables {

constexpr unsigned firstPage = 1250;

// The chars of the bytes 0x80 to 0xFF of each page; U+FFFD where the page has none.
constexpr char16_t upperHalves[9][128] = {""")
    for page in range(1250, 1259):
        chars = [ord(bytes([b]).decode(f"cp{page}", "replace")) for b in range(0x80, 0x100)]
        print(f"    {{ // {page}")
        print("\n".join("    " + row for row in rows(chars, lambda v: f"0x{v:04X}", 12)))
        print("    },")
    print("""};

} // namespace Platform::SingleByteTables""")


if __name__ == "__main__":
    {"case": write_case_table, "pages": write_pages}[sys.argv[1]]()
