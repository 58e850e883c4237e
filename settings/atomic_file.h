// Replaces a file as a whole: the new text goes to "<path>.tmp" beside it, is flushed and committed to the disk and
// then moved over the target. Whoever dies in between leaves the old file or the new one, never half of one. Not
// promised: that the newest save survives a power cut, or that two writers of one file at a time do not disturb each
// other (the controller writes from its main thread only).
//
// Every file the program writes goes through here. The steps that touch the disk stand in a table, so that a test can
// make each of them fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

struct FileOperations {
    void* (*open)(const char* path);                           // creates or empties, text mode; null on failure
    bool (*write)(void* file, const char* data, size_t size);  // false: not everything was taken
    bool (*flush)(void* file);                                 // false also when an earlier write was lost
    bool (*commit)(void* file);                                // to the disk itself; the result is not looked at
    void (*close)(void* file);                                 // always, also after a failure
    bool (*replace)(const char* from, const char* to, uint32_t* error);  // error: the system's number on failure
    void (*remove)(const char* path);
};

// The platform's own operations.
extern const FileOperations kFileOperations;

// The temporary file while a writer fills it.
struct AtomicFile {
    const FileOperations* operations;
    void* file;
    bool write_lost = false;  // a write failed, whatever the writer made of it
};

// Lines end in "\n" here; on Windows they reach the disk as CR LF.
bool atomic_file_write(AtomicFile* file, std::string_view text);

// Fills the open file from `context`; anything but 0 gives the whole save up.
using AtomicWriter = int32_t (*)(AtomicFile* file, const void* context);

// 0, or -1 after one log line "<log_prefix>: ..." that says which step failed; then the target is as it was and the
// temporary file is gone.
int32_t write_file_atomic(const char* path, AtomicWriter writer, const void* context, const char* log_prefix,
                          const FileOperations* operations = &kFileOperations);

// The common case: a text that is ready in memory.
int32_t write_text_atomic(const char* path, std::string_view text, const char* log_prefix,
                          const FileOperations* operations = &kFileOperations);
