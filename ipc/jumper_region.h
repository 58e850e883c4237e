// The jumper region: start list, current round and current jumper, and the measured distances. The controller fills
// the list and moves the selection; the measuring programs write the results. All of it lies under mutex 19.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr char kJumperRegionName[] = "Local\\SkiJumpJumper";
inline constexpr uint32_t kJumperRegionSize = 102464;
inline constexpr int32_t kJumperCapacity = 200;  // record 0 is the forerunner
inline constexpr int32_t kRoundCount = 3;        // 0 practice, 1 and 2 the competition rounds

struct JumperResult {  // 136 bytes, written by the measuring programs
    float distance;    //   0  metres
    uint8_t workers_4[104];
    int32_t valid;  // 108  non-zero when a distance has been measured
    uint8_t workers_112[24];
};
static_assert(sizeof(JumperResult) == 136 && offsetof(JumperResult, distance) == 0);
static_assert(offsetof(JumperResult, valid) == 108);

struct JumperRecord {                  // 512 bytes
    int32_t bib;                       //   0  start number, 0 for the forerunner
    char name[32];                     //   4  terminated
    char club[32];                     //  36  terminated
    char extra[12];                    //  68  fourth column of the jumper file
    uint8_t reserved_80[4];            //  80
    JumperResult result[kRoundCount];  //  84  practice, round 1, round 2
    uint8_t reserved_492[20];          // 492
};
static_assert(sizeof(JumperRecord) == 512 && offsetof(JumperRecord, bib) == 0);
static_assert(offsetof(JumperRecord, name) == 4 && offsetof(JumperRecord, club) == 36);
static_assert(offsetof(JumperRecord, extra) == 68 && offsetof(JumperRecord, result) == 84);

struct JumperRegion {
    int32_t count;                          //  0  records in use, the forerunner included: 0..200
    int32_t round;                          //  4  0 practice, 1 and 2 the competition rounds
    int32_t current_bib;                    //  8  start number of the current jumper
    int32_t current_index;                  // 12  its record, 0..count - 1
    uint8_t workers_16[8];                  // 16
    int32_t list_loaded;                    // 24  1 after every load
    int32_t initialised;                    // 28  1 once the controller created the region
    uint8_t workers_32[24];                 // 32
    JumperRecord records[kJumperCapacity];  // 56  the start list, `count` of them in use
    uint8_t reserved_102456[8];
};
static_assert(sizeof(JumperRegion) == kJumperRegionSize && offsetof(JumperRegion, records) == 56);
static_assert(offsetof(JumperRegion, count) == 0);
static_assert(offsetof(JumperRegion, round) == 4 && offsetof(JumperRegion, current_bib) == 8);
static_assert(offsetof(JumperRegion, current_index) == 12 && offsetof(JumperRegion, list_loaded) == 24);
static_assert(offsetof(JumperRegion, initialised) == 28);
