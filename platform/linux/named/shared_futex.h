// Sleepers of other processes, by the word that they sleep on.
#pragma once

#include <atomic>
#include <cstdint>

namespace Platform {

void WakeAllShared(const std::atomic<std::uint32_t>& word) noexcept;

// Puts `bits` into the word and wakes all who sleep on it, in one step; how many those were.
std::uint32_t OrAndWakeAllShared(std::atomic<std::uint32_t>& word, std::uint32_t bits) noexcept;

} // namespace Platform
