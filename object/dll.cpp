#include "object/dll.h"

#include <tessel/module.h>
#include <tessel/object/impl.h>

namespace Object {

FacePtr<Dll> Dll::Load(const WideString& path)
{
    const std::uint32_t oldMode = Platform::SetErrorMode(Platform::SEM_FAILCRITICALERRORS);
    const Platform::Module loaded =
        Platform::LoadLibraryExW(path.c_str(), Platform::LOAD_WITH_ALTERED_SEARCH_PATH);
    Platform::SetErrorMode(oldMode);
    if (loaded == Platform::NULL_MODULE)
        return nullptr;
    struct Unload { // unless a Dll has taken the load over
        Platform::Module module;
        ~Unload()
        {
            if (module != Platform::NULL_MODULE)
                Platform::FreeLibrary(module);
        }
    } unload{loaded};
    const auto unlocked = Platform::GetProcAddress(loaded, "Module_IsUnlocked");
    const auto list =
        unlocked != nullptr ? Platform::GetProcAddress(loaded, "Module_GetStaticList") : nullptr;
    if (list == nullptr) {
        Platform::SetLoadFailure("the file does not export Module_IsUnlocked and Module_GetStaticList");
        return nullptr;
    }
    auto made = MakeFace<Impl<Dll, Module>>(
        loaded, reinterpret_cast<IsUnlockedExport>(unlocked), reinterpret_cast<StaticListExport>(list));
    unload.module = Platform::NULL_MODULE;
    return made;
}

Dll::~Dll()
{
    if (letGo || isUnlocked(0))
        Platform::FreeLibrary(module);
}

bool Dll::IsUnlocked(std::uint32_t idleMilliseconds) const
{
    return isUnlocked(idleMilliseconds) && !Platform::CallStackEnters(module);
}

} // namespace Object
