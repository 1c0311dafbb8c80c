#include "platform/linux/modules/own_module.h"

#include "platform/errors.h"
#include "platform/linux/files/disk_path.h"
#include "platform/linux/modules/module_list.h"

#include <climits>
#include <dlfcn.h>

namespace Platform {

namespace {

// Written once, before the library's other constructors.
constinit char ownPath[2 * PATH_MAX]{};

} // namespace

link_map* OwnRecord() noexcept
{
    return RecordOf(reinterpret_cast<const void*>(&OwnRecord));
}

const char* OwnDiskPath() noexcept
{
    return ownPath;
}

bool MakeOwnModuleGlobal() noexcept
{
    const link_map* const own = OwnRecord();
    if (!own || own->l_name[0] == '\0') // the executable itself: its symbols are visible or never will be
        return true;
    // The linker's name is relative if its search path was, and that to the working folder of this moment.
    if (!MakeAbsolute(own->l_name, ownPath, sizeof ownPath))
        return false;
    // The reference stays: this module never leaves.
    const void* const handle = dlopen(own->l_name, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
    return handle || Fail(ERROR_MOD_NOT_FOUND);
}

} // namespace Platform
