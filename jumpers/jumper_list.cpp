#include "jumpers/jumper_list.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "ipc/shared_access.h"
#include "settings/text_pieces.h"

namespace {

constexpr char kForerunnerName[] = "FORERUNNER";

}  // namespace

template <size_t Size>
static void store_text(char (&field)[Size], const char* text) {
    const size_t length = std::min(strlen(text), Size - 1);
    for (size_t i = 0; i < Size; ++i) shared_store(field[i], i < length ? text[i] : '\0');
}

template <size_t Size>
static void load_text(const char (&field)[Size], char (&text)[Size]) {
    for (size_t i = 0; i < Size; ++i) text[i] = shared_load(field[i]);
    // Another program may have filled the field without its terminator.
    const std::string_view all(text, Size);
    if (all.find('\0') == std::string_view::npos) text[text_cut(all, Size - 1)] = '\0';
}

static void clear(void* from, size_t size) {
    auto* byte = static_cast<uint8_t*>(from);
    for (size_t i = 0; i < size; ++i) shared_store(byte[i], uint8_t{0});
}

static bool is_row(int32_t row) {
    return row >= 0 && row < kJumperCapacity;
}

void jumper_list_init(JumperRegion* region) {
    clear(region, sizeof *region);
    shared_store(region->initialised, 1);
}

int32_t jumper_list_count(const JumperRegion* region) {
    return std::clamp(shared_load(region->count), 0, kJumperCapacity);
}

static void store_record(JumperRecord* record, const JumperEntry& entry) {
    shared_store(record->bib, entry.bib);
    store_text(record->name, entry.name);
    store_text(record->club, entry.club);
    store_text(record->extra, entry.extra);
}

int32_t jumper_list_fill(JumperRegion* region, const JumperEntry* entry, int32_t entry_count) {
    // Nobody who reads without the mutex shall take a half-written record for a jumper: the count goes first and
    // comes last.
    shared_store(region->count, 0);
    shared_store(region->current_bib, 0);
    shared_store(region->current_index, 0);
    clear(region->records, sizeof region->records);

    JumperEntry forerunner = {};
    memcpy(forerunner.name, kForerunnerName, sizeof kForerunnerName);
    store_record(&region->records[0], forerunner);
    const int32_t taken = std::clamp(entry_count, 0, kJumperFileCapacity);
    for (int32_t i = 0; i < taken; ++i) store_record(&region->records[1 + i], entry[i]);

    shared_store(region->count, 1 + taken);
    shared_store(region->list_loaded, 1);
    return 1 + taken;
}

void jumper_list_row(const JumperRegion* region, int32_t row, JumperRow* out) {
    *out = {};
    if (!is_row(row)) return;
    const JumperRecord& record = region->records[row];
    out->bib = shared_load(record.bib);
    load_text(record.name, out->name);
    load_text(record.club, out->club);
}

JumperDistance jumper_list_distance(const JumperRegion* region, int32_t row, int32_t round) {
    if (!is_row(row) || round < 0 || round >= kRoundCount) return {};
    const JumperResult& result = region->records[row].result[round];
    if (shared_load(result.valid) == 0) return {};
    return {true, shared_load(result.distance)};
}

void jumper_distance_text(const JumperDistance& distance, char (&text)[kDistanceTextSize]) {
    text[0] = '\0';
    if (distance.measured) snprintf(text, sizeof text, "%.1f", static_cast<double>(distance.metres));
}

bool jumper_list_select_row(JumperRegion* region, int32_t row) {
    if (row < 0 || row >= jumper_list_count(region)) return false;
    shared_store(region->current_index, row);
    shared_store(region->current_bib, shared_load(region->records[row].bib));
    return true;
}

int32_t jumper_list_select_bib(JumperRegion* region, int32_t bib) {
    const int32_t count = jumper_list_count(region);
    for (int32_t row = 0; row < count; ++row) {
        if (shared_load(region->records[row].bib) != bib) continue;
        shared_store(region->current_index, row);
        shared_store(region->current_bib, bib);
        return row;
    }
    return -1;
}

int32_t jumper_list_current(const JumperRegion* region) {
    const int32_t index = shared_load(region->current_index);
    return index >= 0 && index < jumper_list_count(region) ? index : -1;
}

void jumper_round_down(JumperRegion* region) {
    const int32_t round = shared_load(region->round);
    if (round >= 1) shared_store(region->round, round - 1);
}

void jumper_round_up(JumperRegion* region) {
    const int32_t round = shared_load(region->round);
    if (round < kLastRound) shared_store(region->round, round + 1);
}
