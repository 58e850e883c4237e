// A distance as a measuring program writes it into the start list: whose, which round's, how far.
#pragma once

#include <cstdint>

#include "ipc/jumper_region.h"

struct Measurement {
    bool by_index;   // false: `jumper` is a bib
    int32_t jumper;  // bib, or record index 0..199
    int32_t round;   // 0 practice, 1, 2
    float metres;
    bool valid;  // false: the distance is written with its flag clear, as while a measurement is under way
};

// From the command line behind the program's name: "BIB ROUND METRES" or "--index INDEX ROUND METRES", each with an
// optional "--invalid" at the end. False, with nothing written, for anything else.
bool measurement_parse(int argc, const char* const* argv, Measurement* measurement);

// Writes distance and flag, nothing else; the caller holds the region's mutex. Returns the record's index, or -1,
// with nothing written, when the list has no such jumper.
int32_t measurement_write(JumperRegion* region, const Measurement& measurement);
