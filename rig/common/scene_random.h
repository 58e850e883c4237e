// The scene's only source of chance: numbers that depend on their arguments alone, so that any frame can be drawn
// without the ones before it and every build draws the same.
#pragma once

#include <cstdint>

constexpr uint64_t scene_hash(uint64_t a, uint64_t b) {
    uint64_t h = a * 0x9E3779B97F4A7C15ull + b * 0xC2B2AE3D27D4EB4Full + 0x165667B19E3779F9ull;
    h = (h ^ (h >> 30)) * 0xBF58476D1CE4E5B9ull;
    h = (h ^ (h >> 27)) * 0x94D049BB133111EBull;
    return h ^ (h >> 31);
}

// Evenly spread over 0 .. below - 1.
constexpr int32_t scene_pick(uint64_t a, uint64_t b, int32_t below) {
    return static_cast<int32_t>(scene_hash(a, b) % static_cast<uint64_t>(below));
}

// Evenly spread over 0 <= result < 1.
constexpr double scene_unit(uint64_t a, uint64_t b) {
    return static_cast<double>(scene_hash(a, b) >> 11) * (1.0 / 9007199254740992.0);
}
