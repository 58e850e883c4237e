// A reader for settings.txt as the simulated workers need it: the lines as key and value, in memory, asked by key.
// The workers never write settings. rig.txt, the rig's own options, has the same form and uses the same reader.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct RigSettings {
    std::vector<std::pair<std::string, std::string>> lines;  // in file order; the last of equal keys counts
};

// Replaces the contents with those of `path`. Returns 0; -1, the contents untouched, when it cannot be read.
int32_t rig_settings_load(RigSettings* settings, const char* path);

// The same from text in memory.
void rig_settings_parse(RigSettings* settings, const char* text);

// The value of `key` ("min_blob_sizes[0]", "*archive_dir", "max_diff_y%"), or `fallback` when it is not there or does
// not begin with a number. The text stays valid until the next load.
int32_t rig_settings_int(const RigSettings* settings, const char* key, int32_t fallback);
float rig_settings_float(const RigSettings* settings, const char* key, float fallback);
const char* rig_settings_text(const RigSettings* settings, const char* key, const char* fallback);

// The int of "key[index]".
int32_t rig_settings_indexed(const RigSettings* settings, const char* key, int32_t index, int32_t fallback);

// An anchor point: "@far[feed][line]" or "@near[feed][line]". False, x and y untouched, when it is not there.
bool rig_settings_anchor(const RigSettings* settings, bool near_point, int32_t feed, int32_t line, int32_t* x,
                         int32_t* y);

// The feeds in use by `feed_count`: 1 means feed 1 alone, 2 feeds 1 and 2, anything else all three. Fills `feeds` and
// returns how many there are.
int32_t rig_active_feeds(const RigSettings* settings, int32_t (&feeds)[3]);
