#include "nls/thread_language.h"

#include "platform/kernel.h"
#include "platform/locale.h"
#include <tessel/nls/language.h>

namespace Nls {

namespace {

// 0: the thread has none yet. It comes with the thread and is never destroyed, so also a thread's last
// destructors and threads that outlive the stop may ask.
constinit thread_local std::uint32_t threadLanguage = 0;

// Asks, unless this thread is just asking: what fails there is an Error, which wants a language for its text.
std::uint32_t AskOrDefault() noexcept
{
    static constinit thread_local bool isAsking = false;
    const Platform::LastErrorKeeper keeper;
    if (isAsking)
        return Platform::GetUserDefaultLangID();
    isAsking = true;
    std::uint32_t language;
    try {
        language = AskCurrentLanguage();
    } catch (...) { // want of memory, too: whoever shows a message cannot be helped by another failure
        language = Platform::GetUserDefaultLangID();
    }
    isAsking = false;
    return language;
}

} // namespace

std::uint32_t ThreadLanguage() noexcept
{
    return threadLanguage != 0 ? threadLanguage : AskOrDefault();
}

void SetThreadLanguage(std::uint32_t resolved) noexcept
{
    threadLanguage = resolved;
}

std::uint32_t AskCurrentLanguage()
{
    const FacePtr<Language::Creator> creator{Clsid(languageCreatorClass)};
    return creator->GetCurrent()->GetProperty(0).GetNumber();
}

std::uint32_t TesselGetLangId() noexcept
{
    return ThreadLanguage();
}

} // namespace Nls
