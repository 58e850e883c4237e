#include "preview/preview_thread.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "preview/preview_panel.h"
#include "tests/windows/preview_rig.h"

TEST(PreviewThread, BothEventsLeadToARefreshMessageAndAreReset) {
    PreviewRig rig;
    rig.create();
    preview_set_active(rig.panel.get(), true);
    rig.pump(50);
    for (const int32_t event : {kEventNewOutput, kEventNewFrame}) {
        const int32_t before = rig.refreshes;
        ipc_signal(&rig.sync, event);
        rig.pump(150);
        EXPECT_EQ(rig.refreshes, before + 1) << event;
        EXPECT_EQ(WaitForSingleObject(rig.sync.event[event], 0), DWORD{WAIT_TIMEOUT}) << event;
    }
}

TEST(PreviewThread, OutputEventsAreThrottledToOneRefreshIn16Milliseconds) {
    PreviewRig rig;
    rig.create();
    preview_set_active(rig.panel.get(), true);
    rig.pump(50);
    rig.refreshes = 0;
    const DWORD start = GetTickCount();
    while (GetTickCount() - start < 1000) {
        ipc_signal(&rig.sync, kEventNewOutput);
        rig.pump(1);
    }
    const auto most = static_cast<int32_t>((GetTickCount() - start) / 16 + 3);
    EXPECT_LE(rig.refreshes, most);
    EXPECT_GE(rig.refreshes, 15) << "a slow machine, but not that slow";
}

TEST(PreviewThread, OneMessageIsUnderWayAtMost) {
    PreviewRig rig;
    rig.create();
    preview_set_active(rig.panel.get(), true);
    rig.pump(50);
    rig.answer = false;
    rig.refreshes = 0;
    for (int32_t i = 0; i < 20; ++i) {
        ipc_signal(&rig.sync, kEventNewFrame);
        Sleep(5);
    }
    rig.pump(50);
    EXPECT_EQ(rig.refreshes, 1);
    preview_refresh(rig.panel.get());
    ipc_signal(&rig.sync, kEventNewFrame);
    rig.pump(100);
    EXPECT_EQ(rig.refreshes, 2);
}

// The quickest of several: a thread that slept to its time-out would not be quick once.
TEST(PreviewThread, IsWokenToEndInsteadOfWaitingForItsTimeOut) {
    PreviewRig rig;
    rig.create();
    DWORD quickest = INFINITE;
    for (int32_t i = 0; i < 6; ++i) {
        preview_set_active(rig.panel.get(), true);
        rig.pump(20);
        const DWORD start = GetTickCount();
        preview_set_active(rig.panel.get(), false);
        quickest = std::min(quickest, GetTickCount() - start);
    }
    EXPECT_LT(quickest, 100u);
}

TEST(PreviewThread, HiddenTabGetsNeitherMessagesNorTimerTicks) {
    PreviewRig rig;
    rig.create();
    rig.pump(20);
    EXPECT_EQ(rig.panel->thread.thread, nullptr) << "nothing runs before the tab is shown";
    preview_set_active(rig.panel.get(), true);
    preview_set_active(rig.panel.get(), true);
    rig.pump(1300);
    EXPECT_EQ(rig.ticks, 1);
    preview_set_active(rig.panel.get(), false);
    EXPECT_EQ(rig.panel->thread.thread, nullptr);
    rig.pump(20);
    rig.ticks = rig.refreshes = 0;
    for (int32_t i = 0; i < 13; ++i) {
        ipc_signal(&rig.sync, kEventNewOutput);
        ipc_signal(&rig.sync, kEventNewFrame);
        rig.pump(100);
    }
    EXPECT_EQ(rig.ticks, 0);
    EXPECT_EQ(rig.refreshes, 0);
    preview_set_active(rig.panel.get(), true);
    rig.pump(300);
    EXPECT_GE(rig.refreshes, 1) << "shown again, it takes up the events";
}
