#include <cerrno>

#include <unistd.h>

#include "settings/atomic_file_platform.h"

bool platform_commit(FILE* file) {
    return fsync(fileno(file)) == 0;
}

bool platform_replace(const char* from, const char* to, uint32_t* error) {
    if (rename(from, to) == 0) return true;
    *error = static_cast<uint32_t>(errno);
    return false;
}
