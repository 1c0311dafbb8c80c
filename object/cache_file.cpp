#include "object/cache_file.h"

#include "platform/files.h"
#include <tessel/base/utf8.h>

namespace Object {

namespace {

// Far above what any folder of modules needs; a larger file is damage, and not worth the memory.
constexpr std::uint32_t largestCache = 16U << 20;

class OpenFile {
public:
    explicit OpenFile(Platform::Handle opened) noexcept : handle(opened) { }
    ~OpenFile()
    {
        if (IsOpen())
            Platform::CloseHandle(handle);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool IsOpen() const noexcept { return handle != Platform::INVALID_HANDLE_VALUE; }
    Platform::Handle Get() const noexcept { return handle; }

private:
    Platform::Handle handle;
};

} // namespace

WideString ReadCacheFile(const WideString& path) noexcept
{
    const OpenFile file(Platform::CreateFileW(
        path.c_str(), Platform::GENERIC_READ, Platform::FILE_SHARE_READ, Platform::OPEN_EXISTING, 0));
    if (!file.IsOpen())
        return {};
    std::uint32_t sizeHigh = 0;
    const std::uint32_t size = Platform::GetFileSize(file.Get(), &sizeHigh);
    Binary bytes;
    if (size == 0 || sizeHigh != 0 || size > largestCache)
        return {};
    bytes.SetSize(size, false);
    unsigned char* const target = bytes.GetWritableData();
    std::uint32_t transferred = 0;
    if (target == nullptr || !Platform::ReadFile(file.Get(), target, size, &transferred)
        || transferred != size)
        return {};
    return StringFromUtf8(reinterpret_cast<const char*>(target), size);
}

void WriteCacheFile(const WideString& folder, const char16_t* name, const WideString& text) noexcept
{
    const WideString path = folder + name;
    const WideString aside = path + u".new";
    const Binary bytes = StringToUtf8(text);
    if (bytes.IsEmpty())
        return; // no memory
    // Two processes that start at once: the second one finds this file not open to it and leaves the work to
    // the first. It stays open, and so closed to others, until it has its name.
    const OpenFile file(Platform::CreateFileW(
        aside.c_str(), Platform::GENERIC_WRITE, 0, Platform::CREATE_ALWAYS, Platform::FILE_ATTRIBUTE_HIDDEN));
    std::uint32_t written = 0;
    if (!file.IsOpen())
        return;
    if (!Platform::WriteFile(file.Get(), bytes.GetData(), bytes.GetSize(), &written)
        || written != bytes.GetSize()
        || !Platform::MoveFileExW(aside.c_str(), path.c_str(), Platform::MOVEFILE_REPLACE_EXISTING))
        Platform::DeleteFileW(aside.c_str());
}

} // namespace Object
