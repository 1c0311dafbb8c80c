// The error numbers that the platform layer leaves as a thread's last error, under their Win32 names.
#pragma once

#include <cstdint>

namespace Platform {

constexpr std::uint32_t ERROR_SUCCESS = 0;
constexpr std::uint32_t ERROR_INVALID_FUNCTION = 1;
constexpr std::uint32_t ERROR_FILE_NOT_FOUND = 2;
constexpr std::uint32_t ERROR_PATH_NOT_FOUND = 3;
constexpr std::uint32_t ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr std::uint32_t ERROR_ACCESS_DENIED = 5;
constexpr std::uint32_t ERROR_INVALID_HANDLE = 6;
constexpr std::uint32_t ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr std::uint32_t ERROR_BAD_FORMAT = 11;
constexpr std::uint32_t ERROR_INVALID_DATA = 13;
constexpr std::uint32_t ERROR_NOT_SAME_DEVICE = 17;
constexpr std::uint32_t ERROR_NO_MORE_FILES = 18;
constexpr std::uint32_t ERROR_WRITE_PROTECT = 19;
constexpr std::uint32_t ERROR_NOT_READY = 21;
constexpr std::uint32_t ERROR_GEN_FAILURE = 31;
constexpr std::uint32_t ERROR_SHARING_VIOLATION = 32;
constexpr std::uint32_t ERROR_LOCK_VIOLATION = 33;
constexpr std::uint32_t ERROR_HANDLE_DISK_FULL = 39;
constexpr std::uint32_t ERROR_NOT_SUPPORTED = 50;
constexpr std::uint32_t ERROR_FILE_EXISTS = 80;
constexpr std::uint32_t ERROR_INVALID_PARAMETER = 87;
constexpr std::uint32_t ERROR_BROKEN_PIPE = 109;
constexpr std::uint32_t ERROR_DISK_FULL = 112;
constexpr std::uint32_t ERROR_CALL_NOT_IMPLEMENTED = 120;
constexpr std::uint32_t ERROR_INSUFFICIENT_BUFFER = 122;
constexpr std::uint32_t ERROR_INVALID_NAME = 123;
constexpr std::uint32_t ERROR_MOD_NOT_FOUND = 126;
constexpr std::uint32_t ERROR_PROC_NOT_FOUND = 127;
constexpr std::uint32_t ERROR_NEGATIVE_SEEK = 131;
constexpr std::uint32_t ERROR_DIR_NOT_EMPTY = 145;
constexpr std::uint32_t ERROR_SIGNAL_REFUSED = 156;
constexpr std::uint32_t ERROR_BUSY = 170;
constexpr std::uint32_t ERROR_ALREADY_EXISTS = 183;
constexpr std::uint32_t ERROR_BAD_EXE_FORMAT = 193;
constexpr std::uint32_t ERROR_FILENAME_EXCED_RANGE = 206;
constexpr std::uint32_t ERROR_FILE_TOO_LARGE = 223;
constexpr std::uint32_t ERROR_MORE_DATA = 234;
constexpr std::uint32_t WAIT_TIMEOUT_ERROR = 258;
constexpr std::uint32_t ERROR_NO_MORE_ITEMS = 259;
constexpr std::uint32_t ERROR_DIRECTORY = 267;
constexpr std::uint32_t ERROR_NOT_OWNER = 288;
constexpr std::uint32_t ERROR_MR_MID_NOT_FOUND = 317;
constexpr std::uint32_t ERROR_OPERATION_ABORTED = 995;
constexpr std::uint32_t ERROR_NOACCESS = 998;
constexpr std::uint32_t ERROR_INVALID_FLAGS = 1004;
constexpr std::uint32_t ERROR_KEY_DELETED = 1018;
constexpr std::uint32_t ERROR_NO_UNICODE_TRANSLATION = 1113;
constexpr std::uint32_t ERROR_DLL_INIT_FAILED = 1114;
constexpr std::uint32_t ERROR_IO_DEVICE = 1117;
constexpr std::uint32_t ERROR_TOO_MANY_LINKS = 1142;
constexpr std::uint32_t ERROR_NOT_FOUND = 1168;
constexpr std::uint32_t ERROR_INVALID_WINDOW_HANDLE = 1400;
constexpr std::uint32_t ERROR_CANNOT_FIND_WND_CLASS = 1407;
constexpr std::uint32_t ERROR_CLASS_ALREADY_EXISTS = 1410;
constexpr std::uint32_t ERROR_CLASS_DOES_NOT_EXIST = 1411;
constexpr std::uint32_t ERROR_CLASS_HAS_WINDOWS = 1412;
constexpr std::uint32_t ERROR_INVALID_THREAD_ID = 1444;
constexpr std::uint32_t ERROR_TIMEOUT = 1460;
constexpr std::uint32_t RPC_S_INVALID_BINDING = 1702;
constexpr std::uint32_t ERROR_RESOURCE_DATA_NOT_FOUND = 1812;
constexpr std::uint32_t ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;
constexpr std::uint32_t ERROR_RESOURCE_NAME_NOT_FOUND = 1814;
constexpr std::uint32_t ERROR_RESOURCE_LANG_NOT_FOUND = 1815;
constexpr std::uint32_t ERROR_NOT_ENOUGH_QUOTA = 1816;
constexpr std::uint32_t ERROR_CANT_RESOLVE_FILENAME = 1921;

} // namespace Platform
