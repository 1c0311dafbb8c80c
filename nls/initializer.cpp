#include "nls/initializer.h"

#include "nls/thread_language.h"
#include "object/hooks.h"

namespace Nls {

Initializer::Initializer()
{
    AskCurrentLanguage();
    Hooks::SetLanguage(&ThreadLanguage);
}

} // namespace Nls
