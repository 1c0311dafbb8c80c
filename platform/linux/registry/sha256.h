// SHA-256, for names that are too long for the file system.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Platform::Registry {

class Sha256 {
public:
    using Digest = std::array<std::uint8_t, 32>;

    void Add(std::uint8_t byte) noexcept;
    // Ends the text: nothing can be added afterwards.
    Digest Finish() noexcept;

private:
    void TakeBlock() noexcept;

    std::array<std::uint32_t, 8> state{
        0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A, 0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};
    std::array<std::uint8_t, 64> block{};
    std::uint64_t added = 0; // bytes
};

} // namespace Platform::Registry
