// The operations on values.
#include "platform/linux/registry/calls.h"
#include "platform/linux/registry/change.h"
#include "platform/linux/registry/open_key.h"
#include "platform/linux/registry/read_value.h"
#include "platform/registry.h"

namespace Platform {

using namespace Registry;

namespace {

constexpr char newFile[] = ".new";

struct NewValue {
    std::u16string_view name;
    std::uint32_t type;
    const void* bytes;
    std::uint32_t size;
};

bool TakeName(const char16_t* text, std::u16string_view& name) noexcept
{
    name = text ? std::u16string_view(text) : u"";
    return name.size() <= valueNameLimit;
}

Code Query(OpenKey& key, std::u16string_view name, const ValueOutput& out) noexcept
{
    const std::lock_guard guard(key.guard);
    const Stamp stamp = key.folder.ReadStamp();
    if (const auto* const known = key.cache.Find(name, stamp))
        return out.Give(known->type, known->bytes.data(), static_cast<std::uint32_t>(known->bytes.size()));

    // A small value is read whole even for a caller that asks for its size only: the bytes are asked for
    // next.
    char small[ValueCache::largestValue];
    const bool direct = out.Room() > sizeof small;
    void* const room = direct ? out.data : small;
    ValueFile file;
    Code code =
        ReadValue(key.folder, FileNameOfValue(name).text, file, room, direct ? out.Room() : sizeof small);
    if (code == ERROR_SUCCESS && !EqualNames(file.Name(), name))
        code = ERROR_INVALID_DATA;
    // A settled stamp says that the key was alive before. Otherwise what was found may be left of a deleted
    // key, and what was not found may have gone with it.
    if ((code == ERROR_FILE_NOT_FOUND || !stamp.IsSettled()) && !key.folder.IsAlive())
        code = key.folder.MissingCode();
    if (code != ERROR_SUCCESS)
        return code;
    if (file.Size() <= sizeof small)
        key.cache.Keep(name, stamp, file.Type(), room, file.Size(), file.Layout());
    return out.Give(file.Type(), room, file.Size());
}

// Writes into the file that is there; what lies in it is known if `layout` has a room, and is told there
// afterwards. False if there is none that is whole, or it has a second link somewhere: then it is not ours to
// write into.
bool WriteInPlace(Change& change, int folder, const char* fileName, const NewValue& value,
    ValueLayout& layout, Code& code) noexcept
{
    const Descriptor opened(Seam::OpenAt(folder, fileName, O_RDWR | O_NOFOLLOW | O_NONBLOCK));
    if (!opened) {
        code = CodeOfErrno();
        return code != ERROR_FILE_NOT_FOUND && code != ERROR_INVALID_DATA;
    }
    const bool known = layout.room != 0 && value.size <= layout.room;
    ValueFile file;
    if (!known) {
        struct stat status;
        const bool got = Seam::Status(opened.Get(), &status) == 0;
        if (got && (!S_ISREG(status.st_mode) || status.st_nlink != 1))
            return false;
        const Reading reading = got ? file.Read(opened.Get(), nullptr, 0) : Reading::Failed;
        if (reading == Reading::Failed) {
            code = CodeOfErrno();
            return true;
        }
        if (reading != Reading::Whole || !EqualNames(file.Name(), value.name))
            return false;
    }
    code = change.Announce(false);
    if (code != ERROR_SUCCESS)
        return true;
    const bool written = known
        ? ValueFile::WriteNext(opened.Get(), layout, value.type, value.bytes, value.size)
        : file.WriteNext(opened.Get(), value.type, value.bytes, value.size);
    if (!written)
        code = CodeOfErrno();
    else if (!known)
        layout = file.Layout();
    return true;
}

Code FillNew(int folder, Hive hive, const NewValue& value) noexcept
{
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
    Descriptor opened(Seam::OpenAt(folder, newFile, flags, FileMode(hive)));
    if (!opened && errno == EEXIST && Seam::UnlinkAt(folder, newFile, 0) == 0)
        opened = Descriptor(Seam::OpenAt(folder, newFile, flags, FileMode(hive))); // somebody was killed here
    if (!opened)
        return CodeOfErrno();
    const bool filled = Seam::SetMode(opened.Get(), FileMode(hive)) == 0
        && ValueFile::Create(opened.Get(), value.name, value.type, value.bytes, value.size);
    return filled ? ERROR_SUCCESS : CodeOfErrno();
}

// Makes a file for the value aside and renames it to its place, over whatever is there.
Code WriteNew(Change& change, int folder, Hive hive, const char* fileName, const NewValue& value) noexcept
{
    if (const Code code = change.Announce(true))
        return code;
    Code code = FillNew(folder, hive, value);
    if (code == ERROR_SUCCESS && Seam::RenameAt(folder, newFile, folder, fileName, 0) != 0)
        code = CodeOfErrno();
    if (code != ERROR_SUCCESS)
        Seam::UnlinkAt(folder, newFile, 0);
    return code;
}

Code Set(OpenKey& key, const NewValue& value) noexcept
{
    const std::lock_guard guard(key.guard);
    Change change(key.folder);
    Code code = change.Begin();
    if (code != ERROR_SUCCESS)
        return code;
    const FileName fileName = FileNameOfValue(value.name);
    const auto* const known = key.cache.Find(value.name, change.Before());
    ValueLayout layout = known ? known->layout : ValueLayout{};
    if (!WriteInPlace(change, key.folder.Get(), fileName.text, value, layout, code)) {
        code = WriteNew(change, key.folder.Get(), key.folder.GetHive(), fileName.text, value);
        layout = {};
    }
    if (code == ERROR_SUCCESS) {
        key.cache.Follow(change.Before(), change.After());
        key.cache.Keep(value.name, change.After(), value.type, value.bytes, value.size, layout);
    }
    return code;
}

Code Delete(OpenKey& key, std::u16string_view name) noexcept
{
    const std::lock_guard guard(key.guard);
    Change change(key.folder);
    if (const Code code = change.Begin())
        return code;
    const FileName fileName = FileNameOfValue(name);
    struct stat status;
    if (Seam::StatAt(key.folder.Get(), fileName.text, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return CodeOfErrno();
    if (const Code code = change.Announce(true))
        return code;
    if (Seam::UnlinkAt(key.folder.Get(), fileName.text, 0) != 0)
        return CodeOfErrno();
    key.cache.Follow(change.Before(), change.After());
    key.cache.Forget(name);
    return ERROR_SUCCESS;
}

} // namespace

std::uint32_t RegQueryValueExW(Handle key, const char16_t* name, std::uint32_t* reserved, std::uint32_t* type,
    void* data, std::uint32_t* bytes) noexcept
{
    ObjectRef<OpenKey> from;
    if (const Code code = FindKey(key, KEY_QUERY_VALUE, MissingHive::Fails, from))
        return code;
    std::u16string_view wanted;
    if (reserved || (data && !bytes) || !TakeName(name, wanted))
        return ERROR_INVALID_PARAMETER;
    return Query(*from, wanted, {type, data, bytes});
}

std::uint32_t RegSetValueExW(Handle key, const char16_t* name, std::uint32_t reserved, std::uint32_t type,
    const void* data, std::uint32_t bytes) noexcept
{
    ObjectRef<OpenKey> to;
    if (const Code code = FindKey(key, KEY_SET_VALUE, MissingHive::IsMade, to))
        return code;
    NewValue value{{}, type, data, bytes};
    if (reserved != 0 || (!data && bytes != 0) || !TakeName(name, value.name))
        return ERROR_INVALID_PARAMETER;
    return Set(*to, value);
}

std::uint32_t RegDeleteValueW(Handle key, const char16_t* name) noexcept
{
    ObjectRef<OpenKey> from;
    if (const Code code = FindKey(key, KEY_SET_VALUE, MissingHive::Fails, from))
        return code;
    std::u16string_view unwanted;
    if (!TakeName(name, unwanted))
        return ERROR_INVALID_PARAMETER;
    return Delete(*from, unwanted);
}

} // namespace Platform
