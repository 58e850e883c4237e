// The crash report in words, and which old reports may go. It is written by a program that has just failed, so
// nothing here touches the heap or the runtime's formatting: every byte goes into a buffer that was there before.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "procs/process_manager.h"

struct CrashTime {
    int32_t year, month, day, hour, minute, second;  // local
};

enum class CrashAccess { none, read, write, execute };

struct CrashFacts {
    const char* version;
    CrashTime time;
    uint32_t process, thread;
    bool main_thread;
    uint32_t code;
    uint64_t address;
    const char* module;  // base name; null: the address lies in none
    uint64_t offset;     // of the address in the module
    CrashAccess access;  // what the instruction wanted of which address
    uint64_t access_address;
    const char* dump;                 // file name; null: there is none
    const ProcessManager* processes;  // null: none yet, or none any more
    const char* log;                  // the end of the log file; null: it could not be read
    size_t log_length;                // bytes
    bool log_is_whole;                // else its first line may be cut
};

inline constexpr int32_t kCrashLogLines = 40;
inline constexpr size_t kCrashTextSize = 32768;  // holds kCrashLogLines of usual length, and all else

// Writes the report, as much as fits, terminated. Returns its length.
size_t crash_text(const CrashFacts& facts, char* out, size_t size);

// "crash_YYYYMMDD_HHMMSS.txt": names sort by time.
inline constexpr size_t kCrashFileNameSize = 32;
void crash_file_name(const CrashTime& time, const char* extension, char out[kCrashFileNameSize]);

// Whether that is how this file is called; the date need not be one.
bool is_crash_file(std::string_view name, std::string_view extension);

inline constexpr int32_t kCrashFilesKept = 10;

// The newest of the folder's earlier reports of one kind, oldest first. Starts as zeros.
struct CrashFiles {
    char names[kCrashFilesKept - 1][kCrashFileNameSize];  // the one that was just written stays besides
    int32_t count;
};

// Takes in a file of the folder. True when there is one too many: `removed` is its name. Files that are no reports of
// this extension, and `written` itself, change nothing; the clock may have been set back since the others.
bool crash_files_offer(CrashFiles* files, const char* name, const char* extension, const char* written,
                       char removed[kCrashFileNameSize]);
