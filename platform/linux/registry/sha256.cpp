#include "platform/linux/registry/sha256.h"

#include <bit>

namespace Platform::Registry {

namespace {

constexpr std::uint32_t roundConstants[64] = {0x428A2F98, 0x71374491, 0xB5C0FBCF, 0xE9B5DBA5, 0x3956C25B,
    0x59F111F1, 0x923F82A4, 0xAB1C5ED5, 0xD807AA98, 0x12835B01, 0x243185BE, 0x550C7DC3, 0x72BE5D74,
    0x80DEB1FE, 0x9BDC06A7, 0xC19BF174, 0xE49B69C1, 0xEFBE4786, 0x0FC19DC6, 0x240CA1CC, 0x2DE92C6F,
    0x4A7484AA, 0x5CB0A9DC, 0x76F988DA, 0x983E5152, 0xA831C66D, 0xB00327C8, 0xBF597FC7, 0xC6E00BF3,
    0xD5A79147, 0x06CA6351, 0x14292967, 0x27B70A85, 0x2E1B2138, 0x4D2C6DFC, 0x53380D13, 0x650A7354,
    0x766A0ABB, 0x81C2C92E, 0x92722C85, 0xA2BFE8A1, 0xA81A664B, 0xC24B8B70, 0xC76C51A3, 0xD192E819,
    0xD6990624, 0xF40E3585, 0x106AA070, 0x19A4C116, 0x1E376C08, 0x2748774C, 0x34B0BCB5, 0x391C0CB3,
    0x4ED8AA4A, 0x5B9CCA4F, 0x682E6FF3, 0x748F82EE, 0x78A5636F, 0x84C87814, 0x8CC70208, 0x90BEFFFA,
    0xA4506CEB, 0xBEF9A3F7, 0xC67178F2};

constexpr std::uint32_t Mix(std::uint32_t word, int first, int second, int third)
{
    return std::rotr(word, first) ^ std::rotr(word, second) ^ std::rotr(word, third);
}

} // namespace

void Sha256::Add(std::uint8_t byte) noexcept
{
    block[added++ % block.size()] = byte;
    if (added % block.size() == 0)
        TakeBlock();
}

Sha256::Digest Sha256::Finish() noexcept
{
    const std::uint64_t bits = added * 8;
    Add(0x80);
    while (added % block.size() != block.size() - sizeof bits)
        Add(0);
    for (int shift = 56; shift >= 0; shift -= 8)
        Add(static_cast<std::uint8_t>(bits >> shift));
    Digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i)
        digest[i] = static_cast<std::uint8_t>(state[i / 4] >> (24 - 8 * (i % 4)));
    return digest;
}

void Sha256::TakeBlock() noexcept
{
    std::array<std::uint32_t, 64> words;
    for (std::size_t i = 0; i < 16; ++i)
        words[i] = std::uint32_t{block[4 * i]} << 24 | std::uint32_t{block[4 * i + 1]} << 16
            | std::uint32_t{block[4 * i + 2]} << 8 | block[4 * i + 3];
    for (std::size_t i = 16; i < 64; ++i)
        words[i] = words[i - 16] + (Mix(words[i - 15], 7, 18, 0) ^ words[i - 15] ^ words[i - 15] >> 3)
            + words[i - 7] + (Mix(words[i - 2], 17, 19, 0) ^ words[i - 2] ^ words[i - 2] >> 10);
    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t i = 0; i < 64; ++i) {
        const std::uint32_t first =
            h + Mix(e, 6, 11, 25) + ((e & f) ^ (~e & g)) + roundConstants[i] + words[i];
        const std::uint32_t second = Mix(a, 2, 13, 22) + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + first;
        d = c;
        c = b;
        b = a;
        a = first + second;
    }
    const std::array<std::uint32_t, 8> worked{a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < state.size(); ++i)
        state[i] += worked[i];
}

} // namespace Platform::Registry
