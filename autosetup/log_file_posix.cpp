#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "autosetup/log_file.h"

// A directory could be opened, but never read.
static bool is_directory(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
}

intptr_t log_file_open(const char* path) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file >= 0 && is_directory(file)) {
        close(file);
        return kNoLogFile;
    }
    return file >= 0 ? file : kNoLogFile;
}

size_t log_file_read(intptr_t file, char* bytes, size_t size) {
    ssize_t got = 0;
    do {
        got = read(static_cast<int>(file), bytes, size);
    } while (got < 0 && errno == EINTR);
    return got > 0 ? static_cast<size_t>(got) : 0;
}

void log_file_close(intptr_t file) {
    close(static_cast<int>(file));
}
