// Short forms of the operations on files.
#pragma once

#include "platform/errors.h"
#include "platform/files.h"
#include "tests/platform/temporary_folder.h"

inline std::uint32_t ErrorOf(bool succeeded)
{
    return succeeded ? Platform::ERROR_SUCCESS : Platform::GetLastError();
}
inline Platform::Handle Open(const std::u16string& path, std::uint32_t access, std::uint32_t share = 3,
    std::uint32_t disposition = Platform::OPEN_EXISTING, std::uint32_t flags = 0)
{
    return Platform::CreateFileW(path.c_str(), access, share, disposition, flags);
}
inline std::uint32_t ErrorOfOpen(const std::u16string& path, std::uint32_t access, std::uint32_t share = 3,
    std::uint32_t disposition = Platform::OPEN_EXISTING, std::uint32_t flags = 0)
{
    const Platform::Handle file = Open(path, access, share, disposition, flags);
    return ErrorOf(file != Platform::INVALID_HANDLE_VALUE && Platform::CloseHandle(file));
}
