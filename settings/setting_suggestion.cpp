#include "settings/setting_suggestion.h"

#include <algorithm>
#include <array>

#include "settings/descriptor_table.h"

namespace {

constexpr int32_t kError = 5;   // a letter or digit
constexpr int32_t kSlight = 1;  // what people leave out because it looks like decoration
constexpr size_t kMaxErrors = 3;
constexpr size_t kCharactersPerError = 4;
constexpr size_t kLongest = 80;  // no key comes near; keeps a hostile line from costing time

using Costs = std::array<int32_t, kLongest + 1>;
using Letters = std::array<int8_t, 36>;  // how often each letter, in either case, and each digit stands in a key

}  // namespace

static bool is_decoration(char c) {
    return std::string_view("*@[] ").find(c) != std::string_view::npos;
}

static char lower_case(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

static bool is_joint(char c) {
    return c == '_' || c == '-' || c == ' ';
}

static int32_t gap_cost(char c) {
    return is_decoration(c) ? kSlight : kError;
}

static int32_t change_cost(char from, char to) {
    if (from == to) return 0;
    if (lower_case(from) == lower_case(to) || (is_joint(from) && is_joint(to))) return kSlight;
    return kError;
}

// Edit distance with swapped neighbours counted as one error; anything above `limit` once it cannot get below again.
static int32_t distance(std::string_view from, std::string_view to, int32_t limit) {
    Costs before_last{};
    Costs last{};
    Costs current{};
    for (size_t j = 1; j <= to.size(); ++j) last[j] = last[j - 1] + gap_cost(to[j - 1]);
    for (size_t i = 1; i <= from.size(); ++i) {
        current[0] = last[0] + gap_cost(from[i - 1]);
        int32_t least = current[0];
        for (size_t j = 1; j <= to.size(); ++j) {
            const int32_t removed = last[j] + gap_cost(from[i - 1]);
            const int32_t added = current[j - 1] + gap_cost(to[j - 1]);
            current[j] = std::min({removed, added, last[j - 1] + change_cost(from[i - 1], to[j - 1])});
            const bool swapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
            if (swapped) current[j] = std::min(current[j], before_last[j - 2] + kError);
            least = std::min(least, current[j]);
        }
        // A swap reaches back two rows, so one row above the limit decides only with room for it.
        if (least > limit + kError) return least;
        before_last = last;
        last = current;
    }
    return last[to.size()];
}

static void count_letters(Letters* letters, std::string_view text, int8_t step) {
    for (const char c : text) {
        const char lower = lower_case(c);
        if (lower >= 'a' && lower <= 'z')
            (*letters)[lower - 'a'] = static_cast<int8_t>((*letters)[lower - 'a'] + step);
        if (c >= '0' && c <= '9') (*letters)[26 + c - '0'] = static_cast<int8_t>((*letters)[26 + c - '0'] + step);
    }
}

// No distance is less: one error adds at most one letter and takes at most one away. Most rows need no closer look,
// or a file with nothing but unknown keys would take minutes.
static int32_t least_distance(Letters difference, std::string_view to) {
    count_letters(&difference, to, -1);
    int32_t more = 0;
    int32_t fewer = 0;
    for (const int8_t count : difference) (count > 0 ? more : fewer) += count;
    return std::max(more, -fewer) * kError;
}

int32_t setting_row_nearest(std::string_view key) {
    if (key.size() > kLongest) return -1;
    // What is slight adds up to less than one error, or a line of blanks and brackets would come near everything.
    const size_t errors = std::min(key.size() / kCharactersPerError, kMaxErrors);
    int32_t least = static_cast<int32_t>(errors) * kError + kError;
    int32_t nearest = -1;
    Letters letters{};
    count_letters(&letters, key, 1);
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        const SettingDescriptor& descriptor = kSettingTable[row];
        const std::string_view other = descriptor.key;
        if (descriptor.type == SETTING_SEPARATOR || other.size() > kLongest) continue;
        if (least_distance(letters, other) >= least) continue;
        const int32_t cost = distance(key, other, least);
        if (cost >= least) continue;
        least = cost;
        nearest = row;
    }
    return nearest;
}
