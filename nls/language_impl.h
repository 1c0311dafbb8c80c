// One language, also as what hands a thread's language on to the threads that it creates.
#pragma once

#include "nls/factory_impl.h"
#include <tessel/mt/current_thread.h>

namespace Nls {

// Among the locals of a thread its language stands under this key. Without memory for it this throws
// std::bad_alloc: under an empty key there is another language, or none.
inline WideString LanguageKey()
{
    return Object::TextOfName(u"TID_Nls::Language");
}

class LanguageImpl : public Face<Language, Mt::CurrentThread::Notification> {
public:
    explicit LanguageImpl(std::uint32_t identifier);

    FacePtr<Language> Select(const std::vector<std::uint32_t>& list) override;
    Value GetProperty(std::uint32_t index) override;
    void Activate() override;

    void OnThreadStart() override { Activate(); }
    void OnThreadEnd() override { }

private:
    std::uint32_t Resolve(const std::vector<std::uint32_t>& list) const;

    const std::uint32_t languageId; // 0: the user's default
    const FacePtr<FactoryImpl> factory; // the global one
};

} // namespace Nls
