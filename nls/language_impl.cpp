#include "nls/language_impl.h"

#include "nls/nearest_language.h"
#include "nls/thread_language.h"
#include "platform/locale.h"
#include <tessel/base/error.h>
#include <tessel/module.h>
#include <tessel/object/global.h>

namespace Nls {

LanguageImpl::LanguageImpl(std::uint32_t identifier)
    : languageId(identifier), factory(ImplGlobal<FactoryImpl, Module>::Get())
{
}

std::uint32_t LanguageImpl::Resolve(const std::vector<std::uint32_t>& list) const
{
    const std::uint32_t wanted = languageId != 0 ? languageId : Platform::GetUserDefaultLangID();
    return NearestLanguage(wanted, list.empty() ? factory->Supported() : list);
}

FacePtr<Language> LanguageImpl::Select(const std::vector<std::uint32_t>& list)
{
    return MakeFace<Impl<LanguageImpl, Module>>(Resolve(list));
}

Value LanguageImpl::GetProperty(std::uint32_t index)
{
    if (index != 0)
        throw Error("bad-lng-prop(%d)", "nls", index);
    Value identifier;
    identifier = languageId;
    return identifier;
}

void LanguageImpl::Activate()
{
    const std::uint32_t resolved = Resolve({});
    FacePtr<Language> spoken(this);
    if (resolved != languageId)
        spoken = MakeFace<Impl<LanguageImpl, Module>>(resolved);
    Mt::CurrentThread()->SetLocal(LanguageKey(), FacePtr<BaseFace>(Primary(spoken.Get())));
    SetThreadLanguage(resolved); // last, for it cannot fail
}

} // namespace Nls
