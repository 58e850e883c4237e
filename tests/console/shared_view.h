// The program's shared memory and sync objects as an independent process sees them, opened by name.
#pragma once

#include <windows.h>

#include <cstdint>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/shared_access.h"
#include "ipc/sync_objects.h"

struct SharedView {
    HANDLE mapping;
    ControlBlock* block;
    HANDLE mutex[kSyncObjectCount];
    HANDLE event[kSyncObjectCount];
};

// Opens what the program has created; false when the control block or a sync object is missing.
bool shared_view_open(SharedView* view);
void shared_view_close(SharedView* view);

// Whether the manual-reset event is signalled at this moment.
bool event_is_set(const SharedView& view, int32_t index);

// A feed's ring, made by the test in the place of a worker. Costs 0.8 GB of RAM once the program has pinned it.
struct TestRing {
    HANDLE mapping;
    uint8_t* view;
};
bool test_ring_create(TestRing* ring, int32_t feed, int32_t channel);
void test_ring_close(TestRing* ring);

// Fills a slot with one colour per half: rows 0..269 get `top`, the rest `bottom`.
struct Yuv {
    uint8_t y, u, v;
};
void test_ring_paint(const TestRing& ring, uint32_t slot, Yuv top, Yuv bottom);
