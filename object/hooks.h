// What higher rooms of the library hang into its Module.
#pragma once

namespace Hooks {

using Language = unsigned (*)();
// Called with false when a thread ends or the process begins to, and with true when the library goes.
using ThreadEnd = void (*)(bool processDetach);

// From then on asked for the language of the calling thread.
void SetLanguage(Language hook) noexcept;
Language GetLanguage() noexcept;

void SetThreadEnd(ThreadEnd hook) noexcept;
ThreadEnd GetThreadEnd() noexcept;

} // namespace Hooks
