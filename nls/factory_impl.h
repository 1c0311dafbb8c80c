// "CID_Nls::Language_Creator" and "CID_Nls::Initializer".
#pragma once

#include <tessel/nls/language.h>
#include <tessel/object/factory.h>

namespace Nls {

// There are two of it, each with a list of its own: that of the registration, which makes the objects, and
// the ImplGlobal one, whose list the languages go by.
class FactoryImpl : public Face<Language::Creator, Object::StaticFactory> {
public:
    FactoryImpl();

    FacePtr<Language> Create(std::uint32_t languageId) override;
    std::vector<std::uint32_t> GetSupported() override { return supported; }
    FacePtr<Language> GetCurrent() override;

    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override;
    void ListClasses(Object::ClassInfoList& out) override;

    // Never empty.
    const std::vector<std::uint32_t>& Supported() const noexcept { return supported; }

private:
    const std::vector<std::uint32_t> supported;
};

} // namespace Nls
