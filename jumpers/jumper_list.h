// What the console does with the shared start list. The callers hold mutex 19 as far as it can be had; since they go
// ahead without it when somebody died holding it, and since the other programs may write anything, every field is
// read once and checked before it becomes an index, and texts are copied out with a bound.
#pragma once

#include <cstdint>

#include "ipc/jumper_region.h"
#include "jumpers/jumper_file.h"

inline constexpr int32_t kDistanceTextSize = 48;  // the largest float takes 41 characters in "%.1f"
inline constexpr int32_t kLastRound = kRoundCount - 1;

struct JumperRow {
    int32_t bib;
    char name[32];
    char club[32];
};

struct JumperDistance {
    bool measured;
    float metres;  // 0 unless measured
};

// For a region that this process has made.
void jumper_list_init(JumperRegion* region);

// Records in use, within 0..200.
int32_t jumper_list_count(const JumperRegion* region);

// Replaces the whole list by the forerunner and these jumpers; the forerunner is the current one, the round stays.
// Returns the new count.
int32_t jumper_list_fill(JumperRegion* region, const JumperEntry* entry, int32_t entry_count);

// `row` within 0..199.
void jumper_list_row(const JumperRegion* region, int32_t row, JumperRow* out);
JumperDistance jumper_list_distance(const JumperRegion* region, int32_t row, int32_t round);
// The cell's text: empty unless measured.
void jumper_distance_text(const JumperDistance& distance, char (&text)[kDistanceTextSize]);

// Makes a row the current one; false, with nothing changed, for a row beyond the list.
bool jumper_list_select_row(JumperRegion* region, int32_t row);
// The first with this bib; returns its row, or -1 with nothing changed.
int32_t jumper_list_select_bib(JumperRegion* region, int32_t bib);

// The current jumper's row, 0 <= row < count, or -1 when there is none.
int32_t jumper_list_current(const JumperRegion* region);

void jumper_round_down(JumperRegion* region);
void jumper_round_up(JumperRegion* region);
