#include "nls/factory_impl.h"

#include "nls/initializer.h"
#include "nls/language_impl.h"
#include "nls/supported_languages.h"
#include "platform/locale.h"
#include <tessel/base/error.h>
#include <tessel/module.h>
#include <tessel/object/impl.h>
#include <tessel/object/manager.h>

namespace Nls {

namespace {

bool IsInstalled(std::uint32_t locale)
{
    return Platform::IsValidLocale(locale, Platform::LCID_INSTALLED);
}

// Early in the start there is no thread service yet, and behind the stop none any more.
bool HasThreadService()
{
    const FacePtr<Object::Manager> manager{Clsid(Object::managerClass)};
    return manager->IsRegistered(Object::TextOfName(Mt::currentThreadClass));
}

} // namespace

FactoryImpl::FactoryImpl() : supported(SupportedLanguages(ReadLangList(), &IsInstalled)) { }

FacePtr<Language> FactoryImpl::Create(std::uint32_t languageId)
{
    if (languageId != 0 && !IsInstalled(languageId & 0xFFFF))
        throw Error("unsup-lng(%04x)", "nls", languageId);
    return MakeFace<Impl<LanguageImpl, Module>>(languageId);
}

FacePtr<Language> FactoryImpl::GetCurrent()
{
    const bool threads = HasThreadService();
    if (threads)
        if (auto current = Mt::CurrentThread()->GetLocal(LanguageKey()).Cast<Language>("nls"))
            return current;
    FacePtr<Language> resolved = MakeFace<Impl<LanguageImpl, Module>>(0U)->Select({});
    if (threads)
        resolved->Activate();
    return resolved;
}

void FactoryImpl::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == languageCreatorClass)
        out = FacePtr<BaseFace>(Primary(this));
    else if (clsid == initializerClass)
        out = FacePtr<BaseFace>(Primary(MakeFace<Impl<Initializer, Module>>().Get()));
}

void FactoryImpl::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<FactoryImpl>(languageCreatorClass));
    out.push_back(Object::DescribeClass<Initializer>(initializerClass));
}

} // namespace Nls
