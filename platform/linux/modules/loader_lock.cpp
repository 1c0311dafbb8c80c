#include "platform/linux/modules/module_list.h"

namespace Platform {

LoaderLock::LoaderLock() noexcept
{
    loaderLock.lock();
}
LoaderLock::~LoaderLock()
{
    loaderLock.unlock();
}

} // namespace Platform
