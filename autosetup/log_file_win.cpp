#include <windows.h>

#include "autosetup/log_file.h"

intptr_t log_file_open(const char* path) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    HANDLE const file = CreateFileA(path, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    return file == INVALID_HANDLE_VALUE ? kNoLogFile : reinterpret_cast<intptr_t>(file);
}

size_t log_file_read(intptr_t file, char* bytes, size_t size) {
    DWORD got = 0;
    if (!ReadFile(reinterpret_cast<HANDLE>(file), bytes, static_cast<DWORD>(size), &got, nullptr)) return 0;
    return got;
}

void log_file_close(intptr_t file) {
    CloseHandle(reinterpret_cast<HANDLE>(file));
}
