#include "rig/measurement.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "ipc/shared_access.h"

template <class Number>
static bool to_number(const char* text, Number* number) {
    const char* end = text + strlen(text);
    const auto [stopped, error] = std::from_chars(text, end, *number);
    return error == std::errc() && stopped == end && stopped != text;
}

bool measurement_parse(int argc, const char* const* argv, Measurement* measurement) {
    Measurement parsed = {};
    parsed.valid = true;
    if (argc > 0 && strcmp(argv[0], "--index") == 0) {
        parsed.by_index = true;
        ++argv, --argc;
    }
    if (argc > 0 && strcmp(argv[argc - 1], "--invalid") == 0) {
        parsed.valid = false;
        --argc;
    }
    if (argc != 3 || !to_number(argv[0], &parsed.jumper) || !to_number(argv[1], &parsed.round) ||
        !to_number(argv[2], &parsed.metres))
        return false;
    if (parsed.jumper < 0 || parsed.round < 0 || parsed.round >= kRoundCount || !std::isfinite(parsed.metres))
        return false;
    *measurement = parsed;
    return true;
}

static int32_t find_record(const JumperRegion* region, const Measurement& measurement) {
    const int32_t count = std::clamp(shared_load(region->count), 0, kJumperCapacity);
    if (measurement.by_index) return measurement.jumper < count ? measurement.jumper : -1;
    for (int32_t index = 0; index < count; ++index)
        if (shared_load(region->records[index].bib) == measurement.jumper) return index;
    return -1;
}

int32_t measurement_write(JumperRegion* region, const Measurement& measurement) {
    const int32_t index = find_record(region, measurement);
    if (index < 0) return -1;
    JumperResult& result = region->records[index].result[measurement.round];
    // Without the mutex a reader may come between the two: the flag never vouches for a distance not yet written.
    shared_store(result.valid, 0);
    shared_store(result.distance, measurement.metres);
    if (measurement.valid) shared_store(result.valid, 1);
    return index;
}
