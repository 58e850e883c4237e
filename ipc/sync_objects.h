// The fixed set of named mutexes and events that the controller and the workers share. Whichever process creates an
// object first fixes its reset mode, so every program uses this table.
#pragma once

#include <cstdint>

inline constexpr int32_t kSyncObjectCount = 37;                     // of each: indices 0..36
inline constexpr char kMutexNamePrefix[] = "Local\\SkiJumpMutex_";  // followed by the decimal index
inline constexpr char kEventNamePrefix[] = "Local\\SkiJumpEvent_";
inline constexpr uint32_t kLockTimeoutMs = 1000;  // nobody waits longer for a mutex: a hung worker must not freeze us

// Bit i set: event i is manual-reset. All others are auto-reset.
inline constexpr uint64_t kManualResetEvents = 0x18070441C2ull;
constexpr bool event_is_manual_reset(int32_t index) {
    return index >= 0 && index < kSyncObjectCount && (kManualResetEvents >> index & 1) != 0;
}

// Mutexes by what they guard in the control block. Those not named here belong to the workers.
inline constexpr int32_t kMutexChannel = 2;
inline constexpr int32_t kMutexNw = 3;         // + feed: 3, 4, 5
inline constexpr int32_t kMutexMotionIdx = 6;  // + feed: 6, 7, 8
inline constexpr int32_t kMutexOutput = 9;     // output_active, feed_sync_offset, motion_active, force_ack
inline constexpr int32_t kMutexForceResult = 11;
inline constexpr int32_t kMutexForceStart = 12;
inline constexpr int32_t kMutexForceEnd = 13;
inline constexpr int32_t kMutexOutputFrame = 15;
inline constexpr int32_t kMutexJumpers = 19;  // the jumper region
inline constexpr int32_t kMutexGrid = 20;     // grid_setup_active .. grid_generation
inline constexpr int32_t kMutexPidSlot = 27;  // + slot: 27..34

// Events.
inline constexpr int32_t kEventMotionWake = 6;     // + feed: 6, 7, 8; manual: wakes the motion workers at shut-down
inline constexpr int32_t kEventForceRequest = 13;  // auto: a Force Video request is posted
inline constexpr int32_t kEventNewOutput = 14;     // manual: a new output frame; wakes the preview
inline constexpr int32_t kEventResume = 18;        // manual: Play was pressed, or wake up to shut down
inline constexpr int32_t kEventGridClick = 21;     // auto
inline constexpr int32_t kEventCapfile = 35;       // manual: capfile_paused or capfile_shutdown changed
inline constexpr int32_t kEventNewFrame = 36;      // manual: a new feed frame; the preview's second wake source
