// The camera chooser: a modal window in which the operator gives each feed one of the cameras that capture.exe finds.
#pragma once

#include <windows.h>

#include <cstdint>

#include "settings/dialog_result.h"
#include "settings/settings.h"

inline constexpr int32_t kCameraListId = 3101;     // + feed
inline constexpr int32_t kCameraSwapId = 3111;     // 0 with 1; then 0 with 2, 1 with 2
inline constexpr int32_t kCameraRefreshId = 3121;  // OK and Cancel are IDOK and IDCANCEL
inline constexpr int32_t kCameraStatusId = 3122;

// Shows the chooser and returns when it has closed; `owner` is disabled in between but goes on answering messages.
// `paths` are the feeds' cameras, terminated, "" for none: they come in as they are and, with `ok` only, go out as
// chosen. `exe_dir`, without a trailing backslash, is where capture.exe is and where the window's place is kept.
// capture.exe gets ten seconds for its answer; the window can be cancelled meanwhile.
DialogResult select_cameras(HWND owner, const char* exe_dir, char paths[kSettingsFeeds][kSettingTextSize]);
