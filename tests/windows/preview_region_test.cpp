// The camera set-up in a panel of our own, for what the whole program cannot be brought to: no settings, no sync set.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "app/commands.h"
#include "ipc/sync_objects.h"
#include "preview/preview_panel.h"
#include "tests/support/log_capture.h"
#include "tests/windows/preview_rig.h"

static void click_picture(PreviewRig& rig, int32_t x, int32_t y) {
    SendMessageA(rig.panel->window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
    SendMessageA(rig.panel->window, WM_LBUTTONUP, 0, MAKELPARAM(x, y));
}

static void turn_wheel(PreviewRig& rig, int32_t delta) {
    SendMessageA(rig.panel->window, WM_MOUSEWHEEL, MAKEWPARAM(0, delta), 0);
}

TEST(PreviewRegions, WithoutSettingsNothingIsSavedOrMoved) {
    LogCapture log;
    PreviewRig rig;
    preview_create(rig.panel.get(), rig.window, GetModuleHandleA(nullptr), &rig.sync, nullptr, "");
    preview_layout(rig.panel.get(), {0, 0, 1590, 840});
    preview_set_active(rig.panel.get(), true);
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdSetRegion));
    log.take();
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdSaveRegions));
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdSaveMotionRange));
    EXPECT_TRUE(log.take().empty());
    EXPECT_STREQ(rig.button_text(kCmdSetRegion), "Click UL") << "the editor is not ended either";

    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdFeedOffset + 1));
    turn_wheel(rig, 240);
    EXPECT_EQ(rig.control()->feed_offset_live[1], 0);
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdFeedOffset + 2));
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdFeedOffset + 2));
    EXPECT_EQ(log.take(), (std::vector<std::string>{
                              "INF feed offset: feed 1 adjustment ON (overlay_frame_offsets[1]=-1; wheel up=larger, "
                              "wheel down=smaller, range [0..540])",
                              "INF feed offset: feed 2 adjustment ON (overlay_frame_offsets[2]=-1; wheel up=larger, "
                              "wheel down=smaller, range [0..540])",
                              "INF feed offset: feed 2 adjustment OFF (overlay_frame_offsets[2]=-1)"}));
}

TEST(PreviewRegions, SyncFeedsNeedsTheControlBlockAndTheSyncSet) {
    LogCapture log;
    {
        PreviewRig rig;
        preview_create(rig.panel.get(), rig.window, GetModuleHandleA(nullptr), nullptr, rig.settings.get(), "");
        rig.control()->feed[0][0].nw = 10;
        log.take();
        EXPECT_TRUE(preview_command(rig.panel.get(), kCmdSyncFeeds)) << "no sync set";
        EXPECT_EQ(rig.control()->feed_sync_offset[0], 0);
    }
    {
        PreviewRig rig;
        ipc_close(&rig.sync);
        rig.create();
        rig.control()->feed[0][0].nw = 10;
        log.take();
        EXPECT_TRUE(preview_command(rig.panel.get(), kCmdSyncFeeds)) << "a sync set that could not be made";
        EXPECT_EQ(rig.control()->feed_sync_offset[0], 0);
        EXPECT_TRUE(log.take().empty());
    }
    HANDLE blocker = CreateEventA(nullptr, TRUE, FALSE, kControlBlockName);
    PreviewRig rig;
    rig.create();
    ASSERT_EQ(rig.control(), nullptr);
    log.take();
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdSyncFeeds)) << "no control block";
    EXPECT_TRUE(log.take().empty());
    CloseHandle(blocker);
}

TEST(PreviewRegions, WithoutAControlBlockTheWheelStillMovesTheSetting) {
    HANDLE blocker = CreateEventA(nullptr, TRUE, FALSE, kControlBlockName);
    PreviewRig rig;
    rig.create();
    ASSERT_EQ(rig.control(), nullptr);
    preview_set_active(rig.panel.get(), true);
    preview_command(rig.panel.get(), kCmdFeedOffset);
    turn_wheel(rig, 240);
    EXPECT_EQ(rig.settings->overlay_frame_offsets[0], 2);
    EXPECT_EQ(rig.panel->pane[0].offset, 2);
    CloseHandle(blocker);
}

TEST(PreviewRegions, TheWheelNeedsItsTurnOnlyWhileAFeedIsAdjusted) {
    PreviewRig rig;
    rig.create();
    preview_set_active(rig.panel.get(), true);
    rig.settings->overlay_frame_offsets[2] = 5;
    turn_wheel(rig, 120);
    EXPECT_EQ(rig.settings->overlay_frame_offsets[2], 5);
    preview_command(rig.panel.get(), kCmdFeedOffset + 2);
    turn_wheel(rig, -240);
    EXPECT_EQ(rig.settings->overlay_frame_offsets[2], 3);
    EXPECT_EQ(rig.control()->feed_offset_live[2], 3);
    preview_set_active(rig.panel.get(), false);
    turn_wheel(rig, 120);
    EXPECT_EQ(rig.settings->overlay_frame_offsets[2], 3) << "hidden";
}

TEST(PreviewRegions, TheAdjustedPictureGetsTheKeyboard) {
    PreviewRig rig;
    rig.create();
    rig.show();
    preview_set_active(rig.panel.get(), true);
    SetFocus(rig.button(kCmdPlay));
    ASSERT_EQ(GetFocus(), rig.button(kCmdPlay));
    preview_command(rig.panel.get(), kCmdFeedOffset);
    EXPECT_EQ(GetFocus(), rig.panel->window);
}

TEST(PreviewRegions, ARegionIsDrawnWithTheClickThatCompletesIt) {
    const auto feed1 = make_feed(1, 0);
    paint_feed_slot(*feed1, 0, 100);
    PreviewRig rig;
    rig.create();
    rig.control()->feed[0][0].nw = rig.control()->feed[1][0].nw = rig.control()->feed[2][0].nw = 2;
    rig.show();
    preview_set_active(rig.panel.get(), true);
    rig.answer = false;  // no refresh but the click's own
    const int32_t top = rig.panel->places.pane[1].screen.top;
    preview_command(rig.panel.get(), kCmdSetRegion + 1);
    click_picture(rig, 600, top + 150);
    EXPECT_EQ(rig.painted(300, top + 20), RGB(100, 100, 100));
    click_picture(rig, 100, top + 20);
    EXPECT_EQ(rig.painted(300, top + 20), RGB(155, 155, 155)) << "outline";
    EXPECT_EQ(rig.painted(300, top + 80), RGB(100, 100, 100)) << "inside";
    preview_command(rig.panel.get(), kCmdIgnoreRegion + 1);
    click_picture(rig, 200, top + 60);
    click_picture(rig, 400, top + 100);
    EXPECT_EQ(rig.painted(300, top + 80), RGB(70, 130, 70)) << "tint";
    EXPECT_TRUE(rig.panel->pane[1].motion_rect.valid);
    EXPECT_FALSE(rig.panel->pane[0].motion_rect.valid);
}

TEST(PreviewRegions, CountersAndOffsetsAreTouchedUnderTheirMutexes) {
    PreviewRig rig;
    rig.create();
    // Each mutex held by somebody else delays the button by the lock's patience, and only by that.
    for (const int32_t mutex :
         {int32_t{kMutexChannel}, int32_t{kMutexNw}, kMutexNw + 1, kMutexNw + 2, int32_t{kMutexOutput}}) {
        std::promise<void> held, done;
        std::thread owner([&] {
            EXPECT_EQ(ipc_lock(&rig.sync, mutex), 0);
            held.set_value();
            done.get_future().wait();
            ipc_unlock(&rig.sync, mutex);
        });
        held.get_future().wait();
        rig.control()->feed[0][0].nw += 3;
        const ULONGLONG start = GetTickCount64();
        preview_command(rig.panel.get(), kCmdSyncFeeds);
        const ULONGLONG taken_ms = GetTickCount64() - start;
        done.set_value();
        owner.join();
        EXPECT_GE(taken_ms, 900u) << "mutex " << mutex;
        EXPECT_LT(taken_ms, 1900u) << "mutex " << mutex;
        EXPECT_EQ(rig.control()->feed_sync_offset[0], static_cast<int32_t>(rig.control()->feed[0][0].nw));
    }
}
