// The words in which the system's loader tells why a load failed, kept for the thread that made it.
#pragma once

namespace Platform {

// Notes the words for the calling thread's last failed load. Called under loaderLock.
void KeepLoadFailure(const char* words) noexcept;

} // namespace Platform
