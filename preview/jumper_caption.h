// The caption over the combined pane: who is on the hill.
#pragma once

#include <cstdint>

inline constexpr int32_t kJumperCaptionSize = 128;

// Writes "%03d  %s - %s" of bib, name and club in upper case, terminated, UTF-8 in and out. Upper case covers the
// letters of ASCII, Latin-1 and Latin Extended-A, which is what start lists hold; everything else stays as it is, and
// so do bytes that are no UTF-8. Too long a caption is cut between two characters.
void format_jumper_caption(char (&caption)[kJumperCaptionSize], int32_t bib, const char* name, const char* club);
