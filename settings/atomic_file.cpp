#include "settings/atomic_file.h"

#include <cstdio>
#include <cstring>

#include "app/log.h"
#include "settings/atomic_file_platform.h"

namespace {
constexpr size_t kPathSize = 512;
constexpr char kSuffix[] = ".tmp";
}  // namespace

static FILE* stream(void* file) {
    return static_cast<FILE*>(file);
}

static void* open_stream(const char* path) {
    return fopen(path, "w");
}

static bool write_stream(void* file, const char* data, size_t size) {
    return fwrite(data, 1, size, stream(file)) == size;
}

// A stream may have lost a write before and still flush without complaint: the full disk shows in its error flag.
static bool flush_stream(void* file) {
    return fflush(stream(file)) == 0 && ferror(stream(file)) == 0;
}

static bool commit_stream(void* file) {
    return platform_commit(stream(file));
}

static void close_stream(void* file) {
    fclose(stream(file));
}

static void remove_file(const char* path) {
    remove(path);
}

const FileOperations kFileOperations = {open_stream,  write_stream,     flush_stream, commit_stream,
                                        close_stream, platform_replace, remove_file};

bool atomic_file_write(AtomicFile* file, std::string_view text) {
    const bool written = file->operations->write(file->file, text.data(), text.size());
    if (!written) file->write_lost = true;
    return written;
}

// Writer and flush; the one log line when either fails.
static bool fill(AtomicFile* file, const char* temporary, AtomicWriter writer, const void* context,
                 const char* log_prefix) {
    const int32_t rc = writer(file, context);
    if (rc != 0) {
        log_error("%s: writer failed for '%s' (rc=%d)", log_prefix, temporary, rc);
        return false;
    }
    if (!file->operations->flush(file->file) || file->write_lost) {
        log_error("%s: fflush failed for '%s'", log_prefix, temporary);
        return false;
    }
    return true;
}

int32_t write_file_atomic(const char* path, AtomicWriter writer, const void* context, const char* log_prefix,
                          const FileOperations* operations) {
    if (strlen(path) + sizeof kSuffix >= kPathSize) {
        log_error("%s: path too long to append .tmp: %s", log_prefix, path);
        return -1;
    }
    char temporary[kPathSize];
    snprintf(temporary, sizeof temporary, "%s%s", path, kSuffix);
    AtomicFile file{operations, operations->open(temporary)};
    if (!file.file) {
        log_error("%s: cannot open '%s' for writing", log_prefix, temporary);
        return -1;
    }
    const bool filled = fill(&file, temporary, writer, context, log_prefix);
    // Best effort: a file system that cannot commit is no reason to lose the save.
    if (filled) operations->commit(file.file);
    operations->close(file.file);
    if (!filled) {
        operations->remove(temporary);
        return -1;
    }
    uint32_t error = 0;
    if (!operations->replace(temporary, path, &error)) {
        log_error("%s: rename '%s' -> '%s' failed (error=%lu)", log_prefix, temporary, path,
                  static_cast<unsigned long>(error));
        operations->remove(temporary);
        return -1;
    }
    return 0;
}

static int32_t write_whole_text(AtomicFile* file, const void* context) {
    return atomic_file_write(file, *static_cast<const std::string_view*>(context)) ? 0 : -1;
}

int32_t write_text_atomic(const char* path, std::string_view text, const char* log_prefix,
                          const FileOperations* operations) {
    return write_file_atomic(path, write_whole_text, &text, log_prefix, operations);
}
