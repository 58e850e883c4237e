// Where settings.txt is. A build tree keeps it some levels above the executable, an installed rig beside it, so the
// search climbs. A file named on the command line is only the fallback: a rig in daily use must not be able to run on
// another file's settings by a forgotten argument in a shortcut.
#pragma once

#include <cstdint>

#include "app/file_exists.h"

inline constexpr int32_t kSettingsPathSize = 260;
inline constexpr int32_t kSettingsSearchDirectories = 5;  // the executable's own and its four nearest ancestors

// Writes the path to use to `out`, at most 259 bytes. `exe_path` is the executable's full path with backslashes;
// `positional` the command line's file, null or empty for none. `exists` is asked with `context`. A directory whose
// settings.txt would not fit is passed over.
void resolve_settings_path(const char* exe_path, const char* positional, FileExists exists, void* context,
                           char out[kSettingsPathSize]);

// Writes the directory of a settings path to `out`, without its last backslash except for a root: "C:" alone would
// mean whatever directory is current on that drive. Returns 0; -1, `out` untouched, when there is no backslash.
int32_t settings_directory(const char* settings_path, char out[kSettingsPathSize]);
