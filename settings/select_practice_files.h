// The practice-file chooser: a modal window in which the operator names the video that plays as each feed.
#pragma once

#include <windows.h>

#include <cstdint>

#include "settings/dialog_result.h"
#include "settings/settings.h"

inline constexpr int32_t kPracticePathId = 3001;    // + feed
inline constexpr int32_t kPracticeBrowseId = 3011;  // + feed
inline constexpr int32_t kPracticeClearId = 3021;   // + feed
inline constexpr int32_t kPracticeOkId = 3031;
inline constexpr int32_t kPracticeCancelId = 3032;

// Shows the chooser and returns when it has closed; `owner` is disabled in between but goes on answering messages.
// `paths`, terminated, come in as they are and, with `ok` only, go out as chosen; "" for none.
DialogResult select_practice_files(HWND owner, char paths[kSettingsFeeds][kSettingTextSize]);
