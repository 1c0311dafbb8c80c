// The runtime's buffered files, over the handles of this layer.
#include "platform/files.h"

#include "platform/errors.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

namespace Platform {

// Reading, the bytes from `begin` to `end` have been read from the file and not yet given out; writing, those
// from 0 to `end` have been taken and not yet written.
struct FILE {
    Handle handle;
    bool writes;
    bool failed = false;
    bool ended = false; // the end was met; it is not looked for again
    std::size_t begin = 0;
    std::size_t end = 0;
    unsigned char buffer[65536];
};

namespace {

struct Mode {
    std::uint32_t access;
    std::uint32_t disposition;
};

bool ReadMode(const char16_t* text, Mode& mode) noexcept
{
    switch (text ? text[0] : u'\0') {
    case u'r':
        mode = {GENERIC_READ, OPEN_EXISTING};
        break;
    case u'w':
        mode = {GENERIC_WRITE, CREATE_ALWAYS};
        break;
    case u'a':
        mode = {GENERIC_WRITE, OPEN_ALWAYS};
        break;
    default:
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const bool known = text[1] == u'\0' || ((text[1] == u'b' || text[1] == u't') && text[2] == u'\0');
    return known || Fail(ERROR_INVALID_PARAMETER);
}

// The bytes of `count` items; false if no memory could hold them.
bool TotalOf(std::size_t size, std::size_t count, std::size_t& total) noexcept
{
    return !__builtin_mul_overflow(size, count, &total);
}

// One read of the file; 0 at its end and on a failure, which is noted.
std::size_t ReadSome(FILE& file, unsigned char* target, std::size_t size) noexcept
{
    std::uint32_t count = 0;
    const auto wanted = static_cast<std::uint32_t>(std::min<std::size_t>(size, INT32_MAX));
    if (file.ended)
        return 0;
    file.failed = !ReadFile(file.handle, target, wanted, &count) || file.failed;
    file.ended = count == 0; // fewer bytes may also stand before a failure
    return count;
}

void WriteAll(FILE& file, const unsigned char* source, std::size_t size) noexcept
{
    while (size > 0 && !file.failed) {
        std::uint32_t count = 0;
        const auto offered = static_cast<std::uint32_t>(std::min<std::size_t>(size, INT32_MAX));
        file.failed = !WriteFile(file.handle, source, offered, &count);
        source += count;
        size -= count;
    }
}

void Flush(FILE& file) noexcept
{
    WriteAll(file, file.buffer, file.end);
    file.end = 0;
}

} // namespace

FILE* _wfopen(const char16_t* path, const char16_t* modeText) noexcept
{
    Mode mode{};
    if (!ReadMode(modeText, mode))
        return nullptr;
    FILE* const file = new (std::nothrow) FILE;
    if (!file) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    file->handle = CreateFileW(path, mode.access, FILE_SHARE_READ | FILE_SHARE_WRITE, mode.disposition, 0);
    if (file->handle == INVALID_HANDLE_VALUE) {
        delete file;
        return nullptr;
    }
    file->writes = mode.access == GENERIC_WRITE;
    std::int32_t high = 0;
    if (mode.disposition == OPEN_ALWAYS) {
        const LastErrorKeeper keeper;
        SetFilePointer(file->handle, 0, &high, FILE_END);
    }
    return file;
}

std::size_t fread(void* buffer, std::size_t size, std::size_t count, FILE* file) noexcept
{
    std::size_t total = 0;
    file->failed = file->writes || !TotalOf(size, count, total) || file->failed;
    std::size_t read = 0;
    while (read < total && !file->failed) {
        unsigned char* const target = static_cast<unsigned char*>(buffer) + read;
        if (file->begin == file->end && total - read >= sizeof file->buffer) {
            const std::size_t direct = ReadSome(*file, target, total - read);
            if (direct == 0)
                break;
            read += direct;
            continue;
        }
        if (file->begin == file->end) {
            file->begin = 0;
            file->end = ReadSome(*file, file->buffer, sizeof file->buffer);
            if (file->end == 0)
                break;
        }
        const std::size_t copied = std::min(total - read, file->end - file->begin);
        std::memcpy(target, file->buffer + file->begin, copied);
        file->begin += copied;
        read += copied;
    }
    return size == 0 ? 0 : read / size;
}

std::size_t fwrite(const void* buffer, std::size_t size, std::size_t count, FILE* file) noexcept
{
    std::size_t total = 0;
    file->failed = !file->writes || !TotalOf(size, count, total) || file->failed;
    if (file->failed || total == 0)
        return 0;
    if (total > sizeof file->buffer - file->end)
        Flush(*file);
    if (total > sizeof file->buffer) {
        WriteAll(*file, static_cast<const unsigned char*>(buffer), total);
    } else {
        std::memcpy(file->buffer + file->end, buffer, total);
        file->end += total;
    }
    return file->failed ? 0 : count;
}

int ferror(FILE* file) noexcept
{
    return file->failed;
}

int fclose(FILE* file) noexcept
{
    if (file->writes && !file->failed) {
        Flush(*file);
        file->failed = !SettleWrites(file->handle) || file->failed;
    }
    const bool failed = file->failed;
    CloseHandle(file->handle);
    delete file;
    return failed ? -1 : 0;
}

} // namespace Platform
