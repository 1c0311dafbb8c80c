// Sharing modes: what an open allows to all other opens of the same file, in this process and others.
#pragma once

#include <cstdint>

namespace Platform {

// What one open does and forbids: any of the four. Two opens exclude each other if one does what the
// other forbids.
enum ShareClaim : std::uint32_t {
    CLAIM_READS = 1,
    CLAIM_WRITES = 2,
    CLAIM_DENIES_READS = 4,
    CLAIM_DENIES_WRITES = 8
};

// Makes the claim for the open file description of `descriptor`, whose end is the end of the claim. False
// with ERROR_SHARING_VIOLATION if it does not go together with the claims of others, or with what else the
// system answers; then no claim is left. True also where the file system has no locks.
bool ClaimSharing(int descriptor, std::uint32_t claim) noexcept;

} // namespace Platform
