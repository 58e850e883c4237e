// Where in feed 1's picture the movie changes from feed 0 to feed 1: the column that shows the same distance as
// feed 0's column at 90% of the picture width. Without grid lines each jump tells its own column.
#pragma once

#include "autosetup/jump_records.h"

inline constexpr int32_t kTriggerReferenceColumn = 1728;  // of feed 0: 90% of 1920
inline constexpr int32_t kTriggerColumnLimit = 1500;      // of feed 1: farther right is not believed
inline constexpr int32_t kNoColumn = -1;

struct MetreColumn {
    int32_t column;    // kNoColumn when the table holds no comparable value
    float difference;  // metres, absolute; infinite without a column
};
// The column of a 1920-entry table that shows `metres` most nearly; the leftmost of equals.
MetreColumn closest_metre_column(const float* table, float metres);

struct MetreTrigger {
    int32_t column;         // of feed 1; kNoColumn: the grids tell none
    float metres;           // at the trigger; 0 without one
    int32_t bridge_column;  // of feed 1, where a type-2 movie hands over to feed 2
    int32_t type2_column;   // of feed 2, showing the same place; kNoColumn: no bridge
};
// Needs feed 0 active; without it, or without the grids, nothing is found and nothing logged.
MetreTrigger find_metre_trigger(const AutoSetupWorkspace* workspace);

// Trigger columns in the order in which jumps gave them.
struct TriggerColumns {
    int32_t column[kJumpLimit];
    int32_t count;
};
// Appends the jump's own trigger column, if it has one, and logs which feeds told it.
void add_jump_trigger(TriggerColumns* columns, const JumpView& view, int32_t jump);
