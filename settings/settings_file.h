// settings.txt: one key=value per line, in the words and the order of the descriptor table. Reading is forgiving
// (what makes no sense is skipped without a message), writing is whole or not at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "settings/atomic_file.h"
#include "settings/settings.h"

// Reads settings.txt over the record, which must hold the defaults: keys that are missing keep their values. Then
// brings the few checked values into range and reads pixel_frames.txt from the same folder. -1, with the record
// untouched, for a null argument or a file that cannot be opened (one log line); else 0.
int32_t settings_load(Settings* settings, const char* path);

// Writes settings.txt, then pixel_frames.txt beside it. -1 when settings.txt was not written: null argument, a record
// that was never given defaults, or a failed step (logged). A pixel_frames.txt that could not be written is logged
// and does not fail the save. Tests hand in their own file operations.
int32_t settings_save(const Settings* settings, const char* path,
                      const FileOperations* operations = &kFileOperations);

// Fills the open file from the record; anything but 0 gives the save up.
using SettingsWriter = int32_t (*)(AtomicFile* file, const Settings* settings);

// write_file_atomic for a writer of the record: 0 or -1.
int32_t settings_write_atomic(const char* path, SettingsWriter writer, const Settings* settings,
                              const FileOperations* operations = &kFileOperations);

// The writer of settings.txt. Always 0: a lost write is found when the file is flushed.
int32_t settings_write_keys(AtomicFile* file, const Settings* settings);

// The two halves of loading without a file. settings_parse clears the populated flags and applies every line of
// `text`, which need not end in a NUL; settings_normalise recomputes the meter values and brings the checked values
// into range, with one warning (unless quiet) for each that was replaced.
void settings_parse(Settings* settings, const char* text, size_t size);
void settings_normalise(Settings* settings, bool quiet = false);

// Appends what settings_write_keys writes.
void settings_format(const Settings* settings, std::string* text);
