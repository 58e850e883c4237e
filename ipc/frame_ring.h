// The frame rings: camera frames travel between the programs through rings of 520 fixed-size slots. Feed rings hold
// half-height I420 pictures and nothing else; output rings hold full pictures behind a header of the movie builder's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

inline constexpr uint32_t kRingSlots = 520;
inline constexpr uint32_t kSlotHeaderSize = 224;
inline constexpr int32_t kFrameWidth = 1920;
inline constexpr int32_t kFeedHeight = 540;
inline constexpr int32_t kOutputHeight = 1080;
inline constexpr int32_t kOutputRegionCount = 2;

// Bytes of one I420 picture of the full width, and of the slot that holds it (rounded up to 64).
constexpr uint32_t picture_bytes(int32_t height) {
    return static_cast<uint32_t>(kFrameWidth * height + 2 * (kFrameWidth / 2) * (height / 2));
}
constexpr uint32_t slot_stride(int32_t height) {
    return (kSlotHeaderSize + picture_bytes(height) + 63) / 64 * 64;
}

inline constexpr uint32_t kFeedSlotStride = slot_stride(kFeedHeight);
inline constexpr uint32_t kOutputSlotStride = slot_stride(kOutputHeight);
inline constexpr uint32_t kOutputHeaderSize = 2112;  // the movie builder's own
inline constexpr uint64_t kFeedRegionSize = uint64_t{kRingSlots} * kFeedSlotStride;
inline constexpr uint64_t kOutputRegionSize = kOutputHeaderSize + uint64_t{kRingSlots} * kOutputSlotStride;
static_assert(kFeedSlotStride == 1555456 && kFeedRegionSize == 0x3035E000);
static_assert(kOutputSlotStride == 3110656 && kOutputRegionSize == 0x6069C040);

struct FrameSlotHeader {      // first 224 bytes of every ring slot, little-endian
    int64_t pts;              //   0  presentation time stamp; the source writes it once per frame
    int64_t seq;              //   8  frame number, rises by one per feed
    uint8_t workers_16[20];   //  16  the workers' own bytes, never touched by the controller
    uint32_t motion_flags;    //  36  bit 0: motion found; the motion worker writes it after the frame
    uint8_t workers_40[4];    //  40
    uint32_t display_type;    //  44  2: pair with feed 2, else with feed 0; read from feed 1's frames
    uint8_t workers_48[176];  //  48
};
static_assert(sizeof(FrameSlotHeader) == kSlotHeaderSize);
static_assert(offsetof(FrameSlotHeader, pts) == 0 && offsetof(FrameSlotHeader, seq) == 8);
static_assert(offsetof(FrameSlotHeader, motion_flags) == 36 && offsetof(FrameSlotHeader, display_type) == 44);

// Offsets of the three planes from the start of a slot whose picture is `height` rows high.
constexpr uint32_t y_plane_offset() {
    return kSlotHeaderSize;
}
constexpr uint32_t u_plane_offset(int32_t height) {
    return kSlotHeaderSize + static_cast<uint32_t>(kFrameWidth * height);
}
constexpr uint32_t v_plane_offset(int32_t height) {
    return u_plane_offset(height) + static_cast<uint32_t>((kFrameWidth / 2) * (height / 2));
}
static_assert(u_plane_offset(kFeedHeight) == 1037024 && v_plane_offset(kFeedHeight) == 1296224);
static_assert(u_plane_offset(kOutputHeight) == 2073824 && v_plane_offset(kOutputHeight) == 2592224);

// Where slot `slot` starts in its region. An impossible slot means slot 0.
constexpr uint64_t feed_slot_offset(uint32_t slot) {
    return uint64_t{slot < kRingSlots ? slot : 0} * kFeedSlotStride;
}
constexpr uint64_t output_slot_offset(uint32_t slot) {
    return kOutputHeaderSize + uint64_t{slot < kRingSlots ? slot : 0} * kOutputSlotStride;
}

// The newest complete slot of a feed ring whose write counter reads `nw`: two behind the counter, so that the slot in
// front of the writer is never read while it is being filled.
constexpr uint32_t newest_slot(uint32_t nw) {
    return (nw + 518u) % kRingSlots;
}

// Region names. `name` receives at most 32 bytes, terminated.
inline void feed_region_name(char (&name)[32], int32_t feed, int32_t channel) {
    snprintf(name, sizeof name, "Local\\SkiJumpFeed_%d_%d", feed, channel);
}
inline void output_region_name(char (&name)[32], int32_t output) {
    snprintf(name, sizeof name, "Local\\SkiJumpOutput_%d", output);
}
