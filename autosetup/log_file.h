// The few calls for a file that another program may still be writing: the standard library's way of opening one says
// nothing about sharing.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr intptr_t kNoLogFile = -1;

// For reading, from its start; others may go on writing, renaming and deleting. kNoLogFile when it cannot be opened.
intptr_t log_file_open(const char* path);
// Up to `size` bytes; 0 at the end of what is there so far, and when reading fails.
size_t log_file_read(intptr_t file, char* bytes, size_t size);
void log_file_close(intptr_t file);
