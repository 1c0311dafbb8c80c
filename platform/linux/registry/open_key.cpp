#include "platform/linux/registry/open_key.h"

#include "platform/linux/registry/calls.h"
#include "platform/registry.h"

namespace Platform::Registry {

namespace {

// The root that was opened last for each hive, as long as the environment names the same folder and the same
// one lies there. Never destroyed: other threads may still run at the end.
struct OpenRoot {
    std::string path;
    dev_t device;
    ino_t number;
    ObjectRef<OpenKey> key;
};
constinit OpenRoot* openRoots[2] = {};
// Guards `openRoots`; nothing but system calls and the allocator is called under it.
constinit std::mutex rootsLock;

Code StatusOf(const std::string& path, struct stat& status) noexcept
{
    return Seam::StatAt(AT_FDCWD, path.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? ERROR_SUCCESS
                                                                                   : CodeOfErrno();
}

Code OpenTheRoot(Hive hive, const std::string& path, OpenRoot& root)
{
    Descriptor folder(Seam::OpenAt(AT_FDCWD, path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW));
    struct stat status;
    if (!folder || Seam::Status(folder.Get(), &status) != 0)
        return CodeOfErrno();
    // What is no secret by accident becomes one; what others could have written is not believed.
    const bool open = hive == Hive::User && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0;
    if (!IsTrusted(hive, status) || (open && Seam::SetMode(folder.Get(), FolderMode(hive)) != 0))
        return ERROR_ACCESS_DENIED;
    KeyFolder opened(std::move(folder), hive, 0);
    if (!opened.IsAlive())
        return CodeOfErrno();
    root = {path, status.st_dev, status.st_ino, ObjectRef<OpenKey>::Adopt(new OpenKey(std::move(opened)))};
    return ERROR_SUCCESS;
}

Code FindRoot(Hive hive, MissingHive missing, ObjectRef<OpenKey>& key)
{
    std::string path;
    if (const Code code = FindHive(hive, path))
        return code;
    const std::lock_guard guard(rootsLock);
    OpenRoot*& root = openRoots[static_cast<int>(hive)];
    if (!root)
        root = new OpenRoot{};
    struct stat status;
    Code code = StatusOf(path, status);
    if (code == ERROR_SUCCESS && !IsTrusted(hive, status))
        return ERROR_ACCESS_DENIED;
    const bool known = code == ERROR_SUCCESS && root->key && root->path == path
        && root->device == status.st_dev && root->number == status.st_ino;
    if (!known && code == ERROR_SUCCESS)
        code = OpenTheRoot(hive, path, *root);
    if (code == ERROR_FILE_NOT_FOUND && missing == MissingHive::IsMade) {
        code = MakeHive(hive, path);
        if (code == ERROR_SUCCESS)
            code = OpenTheRoot(hive, path, *root);
    }
    if (code == ERROR_SUCCESS)
        key = root->key;
    return code;
}

} // namespace

Code FindKey(Handle handle, std::uint32_t access, MissingHive missing, ObjectRef<OpenKey>& key) noexcept
{
    if (handle == HKEY_CURRENT_USER || handle == HKEY_LOCAL_MACHINE) {
        const Hive hive = handle == HKEY_CURRENT_USER ? Hive::User : Hive::Machine;
        return WithoutThrowing([&] { return FindRoot(hive, missing, key); });
    }
    key = FindHandle<OpenKey>(handle, access);
    return key ? ERROR_SUCCESS : GetLastError();
}

} // namespace Platform::Registry
