#include "app/file_exists.h"

#include <windows.h>

bool file_exists(void* /*context*/, const char* path) {
    return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
}
