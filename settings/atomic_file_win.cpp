#include <io.h>
#include <windows.h>

#include "settings/atomic_file_platform.h"

bool platform_commit(FILE* file) {
    return _commit(_fileno(file)) == 0;
}

bool platform_replace(const char* from, const char* to, uint32_t* error) {
    if (MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return true;
    *error = GetLastError();
    return false;
}
