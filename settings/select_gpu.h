// The modal chooser of the graphics card that encodes file captures: lists the NVIDIA adapters and hands back the
// chosen one. It changes no setting itself.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "settings/dialog_result.h"
#include "settings/gpu_list.h"

// Shows the chooser and returns when it is closed; `owner` is disabled meanwhile. The entry with the index
// `current_index`, when that is 0 or more, else the first whose name contains `current_name`, is chosen to begin
// with. On `ok` `chosen` holds the choice; otherwise it is untouched.
DialogResult select_gpu(HWND owner, const char* ffmpeg_path, const char* current_name, int32_t current_index,
                        GpuEntry* chosen);

// Writes the path of the ffmpeg.exe captures are encoded with: the installed one, else the one in `exe_dir` (without
// a trailing backslash), else the bare name for the search path.
void resolve_ffmpeg(const char* exe_dir, char* path, size_t size);
