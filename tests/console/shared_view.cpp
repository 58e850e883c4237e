#include "tests/console/shared_view.h"

#include <cstdio>
#include <cstring>
#include <string>

bool shared_view_open(SharedView* view) {
    *view = {};
    view->mapping = OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, kControlBlockName);
    if (view->mapping == nullptr) return false;
    view->block = static_cast<ControlBlock*>(MapViewOfFile(view->mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    bool complete = view->block != nullptr;
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        const std::string number = std::to_string(i);
        view->mutex[i] = OpenMutexA(SYNCHRONIZE, FALSE, (kMutexNamePrefix + number).c_str());
        view->event[i] = OpenEventA(EVENT_ALL_ACCESS, FALSE, (kEventNamePrefix + number).c_str());
        complete = complete && view->mutex[i] != nullptr && view->event[i] != nullptr;
    }
    return complete;
}

void shared_view_close(SharedView* view) {
    if (view->block != nullptr) UnmapViewOfFile(view->block);
    if (view->mapping != nullptr) CloseHandle(view->mapping);
    for (HANDLE handle : view->mutex)
        if (handle != nullptr) CloseHandle(handle);
    for (HANDLE handle : view->event)
        if (handle != nullptr) CloseHandle(handle);
    *view = {};
}

bool event_is_set(const SharedView& view, int32_t index) {
    return WaitForSingleObject(view.event[index], 0) == WAIT_OBJECT_0;
}

bool test_ring_create(TestRing* ring, int32_t feed, int32_t channel) {
    char name[32];
    feed_region_name(name, feed, channel);
    ring->mapping =
        CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, static_cast<DWORD>(kFeedRegionSize >> 32),
                           static_cast<DWORD>(kFeedRegionSize & 0xFFFFFFFFu), name);
    ring->view = nullptr;
    if (ring->mapping == nullptr) return false;
    ring->view = static_cast<uint8_t*>(MapViewOfFile(ring->mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    return ring->view != nullptr;
}

void test_ring_close(TestRing* ring) {
    if (ring->view != nullptr) UnmapViewOfFile(ring->view);
    if (ring->mapping != nullptr) CloseHandle(ring->mapping);
    *ring = {};
}

void test_ring_paint(const TestRing& ring, uint32_t slot, Yuv top, Yuv bottom) {
    constexpr size_t kHalf = kFeedHeight / 2;
    constexpr size_t kChromaWidth = kFrameWidth / 2;
    uint8_t* base = ring.view + feed_slot_offset(slot);
    memset(base + y_plane_offset(), top.y, kFrameWidth * kHalf);
    memset(base + y_plane_offset() + kFrameWidth * kHalf, bottom.y, kFrameWidth * kHalf);
    uint8_t* u = base + u_plane_offset(kFeedHeight);
    uint8_t* v = base + v_plane_offset(kFeedHeight);
    memset(u, top.u, kChromaWidth * kHalf / 2);
    memset(u + kChromaWidth * kHalf / 2, bottom.u, kChromaWidth * kHalf / 2);
    memset(v, top.v, kChromaWidth * kHalf / 2);
    memset(v + kChromaWidth * kHalf / 2, bottom.v, kChromaWidth * kHalf / 2);
}
