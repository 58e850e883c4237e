// Where a help page lies: beside the program as installed, one level up as in a build tree, else wherever the
// current directory says.
#pragma once

#include <cstddef>
#include <cstdint>

#include "app/file_exists.h"

// Writes the path of the first existing copy of `page` ("index.html") to `path`, terminated. `exe_dir` has no
// trailing backslash. Returns 0; -1, with `path` untouched, when there is none or it does not fit.
int32_t help_page_find(const char* exe_dir, const char* page, FileExists exists, void* context, char* path,
                       size_t path_size);
