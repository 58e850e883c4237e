#include "procs/feeds_running.h"

#include <gtest/gtest.h>

#include "procs/process_manager.h"

static ProcessManager with(int32_t slot, uint32_t kind, uint32_t state) {
    ProcessManager processes = {};
    processes.slots[slot].kind = kind;
    processes.slots[slot].state = state;
    return processes;
}

TEST(FeedsRunning, WithASourceOfPicturesOrARecorder) {
    for (const uint32_t kind : {kKindCapture, kKindFileplayer, kKindCapfile})
        for (const int32_t slot : {0, 7, kProcessSlots - 1})
            EXPECT_TRUE(feeds_running(with(slot, kind, kSlotRunning))) << kind << " in slot " << slot;
}

TEST(FeedsRunning, NotWithWorkersThatOnlyReadThem) {
    for (const uint32_t kind : {uint32_t{kKindMotion}, uint32_t{kKindVideogen}, uint32_t{kKindViewer}, 77u})
        EXPECT_FALSE(feeds_running(with(0, kind, kSlotRunning))) << kind;
}

TEST(FeedsRunning, NotWithSourcesThatHaveEnded) {
    for (const uint32_t state : {kSlotEmpty, kSlotStopped, kSlotFailed})
        EXPECT_FALSE(feeds_running(with(0, kKindCapture, state))) << state;
}

TEST(FeedsRunning, NotWithoutChildren) {
    EXPECT_FALSE(feeds_running(ProcessManager{}));
}
