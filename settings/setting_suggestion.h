// Finds the key that an operator probably meant. A mistyped key is ignored without a word by loading, so whoever
// tells of it should also tell how it is spelt.
#pragma once

#include <cstdint>
#include <string_view>

// The row of the key that is fewest typing errors away from `key`: letters wrong, missing, too many or swapped, at
// most one for every four characters and never more than three. A missing or needless "*", "@", bracket or blank, a
// "-" for a "_" and the wrong case count a fifth of that. Of several equally near the first of the table; -1 when
// none is near enough.
int32_t setting_row_nearest(std::string_view key);
