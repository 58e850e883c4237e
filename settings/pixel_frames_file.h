// pixel_frames.txt: the three per-column frame-offset tables, always beside settings.txt and read and written
// together with it. 5,760 lines, so the reader and the writer work on characters instead of going through scanf and
// printf.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "settings/atomic_file.h"
#include "settings/settings.h"

inline constexpr size_t kPixelFramesPathSize = 512;

// The path of pixel_frames.txt in the folder of `settings_path`. False, with `path` untouched, when it is too long.
bool pixel_frames_path(const char* settings_path, char (*path)[kPixelFramesPathSize]);

// Reads the file that belongs to `settings_path` over the tables. A missing file changes nothing and is no failure;
// one that exists clears the populated flags first. -1 for a null argument or a path that is too long; else 0.
int32_t settings_load_pixel_frames(Settings* settings, const char* settings_path);

// The writer of the file, for settings_write_atomic. 0, or -1 when a write failed.
int32_t settings_write_pixel_frames(AtomicFile* file, const Settings* settings);

// The same without a file. pixel_frames_parse clears the populated flags, applies every line of `text` and returns
// the number of entries taken; pixel_frames_format appends the whole file.
int32_t pixel_frames_parse(Settings* settings, const char* text, size_t size);
void pixel_frames_format(const Settings* settings, std::string* text);
