#include "preview/preview_panel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "app/commands.h"
#include "app/log.h"
#include "ipc/control_block_reset.h"
#include "ipc/frame_ring.h"
#include "tests/support/log_capture.h"
#include "tests/windows/preview_rig.h"

static const uint8_t* middle_pixel(const PreviewPane& pane) {
    const auto width = static_cast<int32_t>(pane.header.biWidth);
    return pane.pixels + pane.header.biHeight / 2 * pane_stride(width) + width / 2 * 3;
}

static constexpr COLORREF grey(uint8_t level) {
    return RGB(level, level, level);
}

TEST(Preview, CreationMakesAndResetsTheControlBlockAndReportsWhatIsMissing) {
    LogCapture log;
    PreviewRig rig;
    rig.create();
    ASSERT_NE(rig.control(), nullptr);
    EXPECT_EQ(rig.control()->size, kControlBlockSize);
    EXPECT_EQ(rig.control()->paused, 1u);
    for (const char* feed : {"0", "1", "2"}) {
        EXPECT_EQ(log.count(std::string("INF feed_preview: shmem not available for feed ") + feed + " channel 0"), 1);
    }
    EXPECT_EQ(log.count("INF feed_preview: output shmem not available for output 0"), 1);
    EXPECT_EQ(log.count("INF feed_preview: output shmem not available for output 1"), 1);
    log.take();
    preview_reconnect(rig.panel.get());
    EXPECT_TRUE(log.take().empty()) << "a region that is still missing is no news";
}

TEST(Preview, CreationResetsABlockThatAnEarlierRunLeft) {
    WorkerRegion left_over(kControlBlockName, kControlBlockSize);
    std::memset(left_over.bytes(), 0xA5, kControlBlockSize);
    LogCapture log;
    PreviewRig rig;
    rig.settings->feed_count = 2;
    rig.settings->overlay_frame_offsets[2] = 77;
    rig.create();
    ASSERT_NE(rig.control(), nullptr);
    EXPECT_EQ(log.count("INF shmem: attached to 'Local\\SkiJumpControl' (9776 bytes)"), 1);
    EXPECT_EQ(rig.control()->num_feeds, 2u);
    EXPECT_EQ(rig.control()->feed_offset_live[2], 77);
    EXPECT_EQ(rig.control()->movie_published_count, 0u);
    EXPECT_EQ(rig.control()->pid_slot[7], 0u);
    EXPECT_EQ(rig.control()->workers_9772[3], 0) << "down to the last byte";
    LARGE_INTEGER now, frequency;
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    const int64_t now_us = performance_counter_us(now.QuadPart, frequency.QuadPart);
    EXPECT_GT(rig.control()->sync_epoch_us, now_us - 60'000'000);
    EXPECT_LE(rig.control()->sync_epoch_us, now_us);
}

TEST(Preview, ButtonsAreChildrenOfTheMainWindowHiddenUntilTheTabIsShown) {
    PreviewRig rig;
    rig.settings->erase_shadows = 1;
    rig.create();
    const auto shown = [&](HWND window) { return (GetWindowLongA(window, GWL_STYLE) & WS_VISIBLE) != 0; };
    for (const auto& row : kPreviewButtons) {
        ASSERT_NE(rig.button(row.id), nullptr) << row.id;
        EXPECT_FALSE(shown(rig.button(row.id))) << row.id;
        EXPECT_EQ(IsWindowEnabled(rig.button(row.id)) != 0, row.usable) << row.id;
        if (row.id == kCmdShadowRemoval) continue;
        EXPECT_STREQ(rig.button_text(row.id), row.text);
    }
    EXPECT_STREQ(rig.button_text(kCmdShadowRemoval), "motion shadow remove currently on");
    EXPECT_FALSE(shown(rig.button(kIdPreviewPicture)));
    preview_set_active(rig.panel.get(), true);
    for (const auto& row : kPreviewButtons) EXPECT_TRUE(shown(rig.button(row.id))) << row.id;
    EXPECT_TRUE(shown(rig.button(kIdPreviewPicture)));
    char name[32];
    GetClassNameA(rig.button(kIdPreviewPicture), name, sizeof name);
    EXPECT_STREQ(name, "SkiJumpPreview");
    preview_set_active(rig.panel.get(), false);
    for (const auto& row : kPreviewButtons) EXPECT_FALSE(shown(rig.button(row.id))) << row.id;
    EXPECT_FALSE(shown(rig.button(kIdPreviewPicture)));
}

TEST(Preview, LayoutPlacesButtonsInTheAreaAndThePictureBelowThem) {
    PreviewRig rig;
    rig.create();
    RECT place;
    GetWindowRect(rig.button(kCmdPlay), &place);
    MapWindowPoints(nullptr, rig.window, reinterpret_cast<POINT*>(&place), 2);
    EXPECT_EQ(place.left, 10);
    EXPECT_EQ(place.top, 30 + 10);
    GetWindowRect(rig.button(kIdPreviewPicture), &place);
    MapWindowPoints(nullptr, rig.window, reinterpret_cast<POINT*>(&place), 2);
    EXPECT_EQ(place.left, 0);
    EXPECT_EQ(place.top, 30 + place_buttons(1590).bottom);
    EXPECT_EQ(place.right, 1590);
    EXPECT_EQ(place.bottom, 840);
    EXPECT_EQ(preview_panel_width(rig.panel.get()), 700);
    preview_layout(rig.panel.get(), {0, 0, 0, 0});
    EXPECT_EQ(preview_panel_width(rig.panel.get()), 700) << "a minimised window has no layout";
}

TEST(Preview, AllPanesShowGreyPlaceholdersWithNoWorkerRunning) {
    PreviewRig rig;
    rig.create();
    rig.show();
    preview_set_active(rig.panel.get(), true);
    preview_refresh(rig.panel.get());
    for (int32_t i = 0; i < kPaneCount; ++i) {
        const PlaceRect& place = rig.panel->places.pane[i].screen;
        EXPECT_EQ(rig.painted(place.right - 5, place.top + 100), grey(32)) << i;
        int32_t yellow = 0;
        for (int32_t x = 5; x < 80; ++x) {
            for (int32_t y = 3; y < 20; ++y) yellow += rig.painted(x, place.top + y) == RGB(255, 255, 0) ? 1 : 0;
        }
        EXPECT_GT(yellow, 5) << "text of pane " << i;
    }
    EXPECT_EQ(rig.painted(703, 300), grey(200)) << "divider";
    EXPECT_EQ(rig.painted(700, 300), grey(128)) << "its edge";
}

TEST(Preview, ReconnectReportsEachFeedOnceWhenItsRegionAppears) {
    LogCapture log;
    PreviewRig rig;
    rig.create();
    preview_reconnect(rig.panel.get());
    rig.settings->motion_end_x[1] = 1919;
    const auto feed1 = make_feed(1, 0);
    log.take();
    preview_reconnect(rig.panel.get());
    preview_reconnect(rig.panel.get());
    const std::string line1 = "INF preview: reconnected feed 1 (attempt 2, region_valid=1, ignore_valid=0)";
    EXPECT_EQ(log.count(line1), 1);
    const auto feed0 = make_feed(0, 0), feed2 = make_feed(2, 0);
    preview_reconnect(rig.panel.get());
    preview_reconnect(rig.panel.get());
    EXPECT_EQ(log.count("INF preview: reconnected feed 0 (attempt 4, region_valid=0, ignore_valid=0)"), 1);
    EXPECT_EQ(log.count("INF preview: reconnected feed 2 (attempt 4, region_valid=0, ignore_valid=0)"), 1);
    EXPECT_EQ(log.count(line1), 1);
    EXPECT_TRUE(rig.panel->pane[1].motion_rect.valid);
}

TEST(Preview, ShowsTheNewestCompleteSlotOfTheLiveChannel) {
    const auto channel0 = make_feed(1, 0), channel1 = make_feed(1, 1);
    paint_feed_slot(*channel0, 0, 50);
    paint_feed_slot(*channel0, 1, 60);
    paint_feed_slot(*channel1, 2, 70);
    PreviewRig rig;
    rig.create();
    EXPECT_TRUE(rig.panel->pane[1].connected);
    EXPECT_FALSE(rig.panel->pane[0].connected);
    preview_set_active(rig.panel.get(), true);
    rig.control()->feed[1][0].nw = 2;
    rig.control()->feed[1][1].nw = 4;
    for (const auto feed : {0, 2}) rig.control()->feed[feed][0].nw = 2;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(middle_pixel(rig.panel->pane[1])[0], 50);
    rig.control()->feed[1][0].nw = 3;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(middle_pixel(rig.panel->pane[1])[0], 60);
    rig.control()->channel = 1;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(middle_pixel(rig.panel->pane[1])[0], 70);
    rig.control()->channel = 2;  // no such region: the source stays
    rig.control()->feed[1][2].nw = 4;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(middle_pixel(rig.panel->pane[1])[0], 70);
}

TEST(Preview, ASlotBeyondTheEndOfARegionThatIsTooSmallIsNeverRead) {
    const auto feed1 = make_feed(1, 0, 1), feed0 = make_feed(0, 0);
    paint_feed_slot(*feed1, 0, 50);
    const auto output0 = make_output(0, 1), output1 = make_output(1, 1);
    LogCapture log;
    PreviewRig rig;
    rig.create();
    preview_set_active(rig.panel.get(), true);
    rig.control()->feed[0][0].nw = 2;
    rig.control()->feed[1][0].nw = 2;
    rig.control()->output_frame_idx = -1;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(middle_pixel(rig.panel->pane[1])[0], 50) << "what is there can be shown";
    log.take();

    rig.control()->feed[1][0].nw = 522;  // slot 0 again, then one far behind the end
    preview_refresh(rig.panel.get());
    rig.control()->feed[1][0].nw = 1;
    for (int32_t refresh = 0; refresh < 3; ++refresh) preview_refresh(rig.panel.get());
    EXPECT_FALSE(rig.panel->pane[1].has_picture);
    EXPECT_TRUE(rig.panel->pane[0].has_picture) << "the others go on";
    EXPECT_FALSE(rig.panel->pane[kCombinedPane].has_picture);
    EXPECT_EQ(log.take(),
              (std::vector<std::string>{"ERR preview: 'Local\\SkiJumpFeed_1_0' is too small (1556480 bytes, "
                                        "808837120 needed) — not used"}));
    rig.control()->output_frame_idx = 519;
    preview_refresh(rig.panel.get());
    EXPECT_FALSE(rig.panel->pane[kCombinedPane].has_picture);
    EXPECT_EQ(log.count("ERR preview: 'Local\\SkiJumpOutput_1' is too small (3112960 bytes, 1617543232 needed) — not "
                        "used"),
              1);
    rig.control()->output_frame_idx = 0;
    rig.control()->feed[1][0].nw = 2;
    preview_refresh(rig.panel.get());
    EXPECT_TRUE(rig.panel->pane[1].has_picture) << "a slot that is there is shown again";
    EXPECT_TRUE(rig.panel->pane[kCombinedPane].has_picture);
}

TEST(Preview, AControlBlockThatIsTooSmallIsLeftAloneUntilAWholeOneCanBeMade) {
    LogCapture log;
    PreviewRig rig;
    {
        WorkerRegion small(kControlBlockName, 4096);
        rig.create();
        EXPECT_EQ(rig.control(), nullptr);
        preview_set_active(rig.panel.get(), true);
        preview_refresh(rig.panel.get());
        preview_refresh(rig.panel.get());
        EXPECT_EQ(log.count("ERR preview: 'Local\\SkiJumpControl' is too small (4096 bytes, 9776 needed) — not used"),
                  1);
    }
    preview_refresh(rig.panel.get());
    EXPECT_NE(rig.control(), nullptr);
}

// How long a refresh takes while another thread sits on the mutexes.
static ULONGLONG refresh_ms_while_held(PreviewRig& rig, const std::vector<int32_t>& mutexes) {
    std::promise<void> held, done;
    std::thread owner([&] {
        for (const int32_t mutex : mutexes) EXPECT_EQ(ipc_lock(&rig.sync, mutex), 0) << mutex;
        held.set_value();
        done.get_future().wait();
        for (const int32_t mutex : mutexes) ipc_unlock(&rig.sync, mutex);
    });
    held.get_future().wait();
    const ULONGLONG start = GetTickCount64();
    preview_refresh(rig.panel.get());
    const ULONGLONG taken_ms = GetTickCount64() - start;
    done.set_value();
    owner.join();
    return taken_ms;
}

TEST(Preview, EveryFieldIsReadUnderItsMutexAndAHungOwnerCostsASecondNotThePicture) {
    const auto feed1 = make_feed(1, 0);
    paint_feed_slot(*feed1, 0, 50);
    PreviewRig rig;
    rig.create();
    preview_set_active(rig.panel.get(), true);
    const std::vector<int32_t> read = {2, 3, 4, 5, 15};  // channel, nw of each feed, output_frame_idx
    std::vector<int32_t> others;
    for (int32_t mutex = 0; mutex < kSyncObjectCount; ++mutex)
        if (mutex != 9 && std::find(read.begin(), read.end(), mutex) == read.end()) others.push_back(mutex);
    for (auto& feed : rig.control()->feed) feed[0].nw = 2;
    EXPECT_LT(refresh_ms_while_held(rig, others), 900u);
    for (const int32_t mutex : read) EXPECT_GE(refresh_ms_while_held(rig, {mutex}), 950u) << mutex;
    EXPECT_GE(refresh_ms_while_held(rig, {9}), 1900u) << "motion_active of the connected feed, then output_active";
    EXPECT_EQ(middle_pixel(rig.panel->pane[1])[0], 50);
}

TEST(Preview, StacksFeed1OverItsPartnerUntilAnOutputFrameIsThere) {
    const auto feed0 = make_feed(0, 0), feed1 = make_feed(1, 0), feed2 = make_feed(2, 0);
    paint_feed_slot(*feed0, 0, 10);
    paint_feed_slot(*feed1, 0, 20);
    paint_feed_slot(*feed2, 0, 30);
    LogCapture log;
    PreviewRig rig;
    rig.create();
    for (int32_t feed = 0; feed < 3; ++feed) rig.control()->feed[feed][0].nw = 2;
    rig.control()->output_frame_idx = 1;
    preview_set_active(rig.panel.get(), true);
    preview_refresh(rig.panel.get());
    const PreviewPane& combined = rig.panel->pane[kCombinedPane];
    const uint8_t* lowest = combined.pixels;
    const uint8_t* topmost = combined.pixels + (combined.header.biHeight - 1) * pane_stride(combined.header.biWidth);
    EXPECT_EQ(topmost[0], 20);
    EXPECT_EQ(lowest[0], 10);
    reinterpret_cast<FrameSlotHeader*>(feed1->bytes())->display_type = 2;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(topmost[0], 20);
    EXPECT_EQ(lowest[0], 30);

    const auto output0 = make_output(0), output1 = make_output(1);
    paint_output_slot(*output0, 1, 80);
    paint_output_slot(*output1, 1, 90);
    preview_reconnect(rig.panel.get());
    preview_reconnect(rig.panel.get());
    EXPECT_EQ(log.count("INF preview: both output regions mapped"), 1);
    EXPECT_EQ(log.count("INF preview: upgraded combined to output shmem"), 1);
    EXPECT_EQ(lowest[0], 90) << "region 0 is being written, so region 1 is shown";
    rig.control()->output_active = 1;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(lowest[0], 80);
    rig.control()->output_frame_idx = -1;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(lowest[0], 30) << "nothing finished yet: back to the feeds";
}

TEST(Preview, OutputsFoundAtCreationNeedNoUpgrade) {
    const auto output0 = make_output(0), output1 = make_output(1);
    paint_output_slot(*output1, 0, 44);
    LogCapture log;
    PreviewRig rig;
    rig.create();
    rig.control()->output_frame_idx = 0;
    preview_set_active(rig.panel.get(), true);
    preview_reconnect(rig.panel.get());
    EXPECT_EQ(middle_pixel(rig.panel->pane[kCombinedPane])[0], 44);
    EXPECT_EQ(log.count("INF preview: upgraded combined to output shmem"), 0);
    EXPECT_EQ(log.count("INF preview: both output regions mapped"), 0);
}

TEST(Preview, MotionIsMarkedFromEitherSignWhileHighlightIsOn) {
    const auto feed1 = make_feed(1, 0);
    paint_feed_slot(*feed1, 0, 100);
    PreviewRig rig;
    rig.settings->motion_end_x[1] = 1919;
    rig.settings->motion_end_y[1] = 539;
    rig.settings->mark_motion_Y = 0x155;  // only the low byte counts
    rig.create();
    rig.control()->feed[1][0].nw = 2;
    preview_set_active(rig.panel.get(), true);
    const auto level = [&] {
        preview_refresh(rig.panel.get());
        return int32_t{middle_pixel(rig.panel->pane[1])[0]};
    };
    EXPECT_EQ(level(), 100);
    rig.control()->motion_active[1] = 1;
    EXPECT_EQ(level(), 100 ^ 0x55);
    rig.control()->motion_active[1] = 0;
    reinterpret_cast<FrameSlotHeader*>(feed1->bytes())->motion_flags = 1;
    EXPECT_EQ(level(), 100 ^ 0x55);
    preview_command(rig.panel.get(), kCmdHighlight);
    EXPECT_EQ(level(), 100);
    EXPECT_EQ(rig.panel->pane[1].pixels[0], 155) << "the outline stays";
}

TEST(Preview, PaintsTheFeedAndTheJumpersCaption) {
    const auto feed0 = make_feed(0, 0);
    paint_feed_slot(*feed0, 0, 77);
    PreviewRig rig;
    rig.create();
    rig.control()->feed[0][0].nw = 2;
    rig.panel->current_jumper = [](void*, int32_t* bib, const char** name, const char** club) {
        *bib = 7, *name = "Jörg", *club = "Oslo";
        return true;
    };
    rig.show();
    preview_set_active(rig.panel.get(), true);
    preview_refresh(rig.panel.get());
    EXPECT_EQ(rig.painted(350, 100), grey(77));
    const int32_t left = 700 * 64 / 1920, top = rig.panel->places.pane[kCombinedPane].screen.top + 2;
    int32_t ground = 0, other = 0;
    for (int32_t x = left; x < left + 40; ++x) {
        for (int32_t y = top; y < top + 14; ++y) ++(rig.painted(x, y) == RGB(0, 0, 128) ? ground : other);
    }
    EXPECT_GT(ground, 200);
    EXPECT_GT(other, 20);
    EXPECT_EQ(rig.painted(left - 2, top + 5), grey(32)) << "the caption begins at its place";
}

TEST(Preview, ACaptionThatReachesBeyondThePanesIsTakenBackWhole) {
    static const char* current = "";
    current = "Maximilian Alexander Freiherr von und zu Obersdorf-Unterschneidheim";
    PreviewRig rig;
    rig.create();
    rig.panel->current_jumper = [](void*, int32_t* bib, const char** name, const char** club) {
        *bib = 7, *name = current, *club = "Skiclub Klingenthal";
        return true;
    };
    preview_set_divider(rig.panel.get(), 400);
    rig.show();
    preview_set_active(rig.panel.get(), true);
    preview_refresh(rig.panel.get());
    preview_refresh(rig.panel.get());
    const int32_t row = rig.panel->places.pane[kCombinedPane].screen.top + 3;
    const int32_t beyond = 400 + 30;  // of the divider too
    EXPECT_EQ(rig.painted(beyond, row), RGB(0, 0, 128));
    current = "Ole";
    preview_refresh(rig.panel.get());
    EXPECT_EQ(rig.painted(beyond, row), GetSysColor(COLOR_BTNFACE));
    EXPECT_EQ(rig.painted(20, row), RGB(0, 0, 128)) << "the new one stands there";
    current = "Maximilian Alexander Freiherr von und zu Obersdorf-Unterschneidheim";
    preview_set_divider(rig.panel.get(), 450);
    rig.panel->current_jumper = nullptr;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(rig.painted(450 + 30, row), GetSysColor(COLOR_BTNFACE)) << "nobody jumps";
    EXPECT_EQ(rig.painted(405, row), grey(32)) << "the panes are wider now";
    EXPECT_EQ(rig.painted(453, 300), grey(200)) << "the divider moved";
}

TEST(Preview, DraggingTheDividerResizesWithinItsLimits) {
    PreviewRig rig;
    rig.create();
    preview_set_active(rig.panel.get(), true);
    const HWND picture = rig.button(kIdPreviewPicture);
    const auto mouse = [&](UINT message, int32_t x, int32_t y) {
        SendMessageA(picture, message, 0, MAKELPARAM(x, y));
    };
    mouse(WM_MOUSEMOVE, 900, 50);
    EXPECT_EQ(preview_panel_width(rig.panel.get()), 700) << "no button pressed";
    mouse(WM_LBUTTONDOWN, 702, 50);
    mouse(WM_MOUSEMOVE, 900, 50);
    EXPECT_EQ(preview_panel_width(rig.panel.get()), 900);
    mouse(WM_MOUSEMOVE, -300, 50);
    EXPECT_EQ(preview_panel_width(rig.panel.get()), 400);
    mouse(WM_MOUSEMOVE, 5000, 50);
    EXPECT_EQ(preview_panel_width(rig.panel.get()), 1590 - 186);
    mouse(WM_MOUSEMOVE, 500, 50);
    mouse(WM_LBUTTONUP, 500, 50);
    mouse(WM_MOUSEMOVE, 800, 50);
    EXPECT_EQ(preview_panel_width(rig.panel.get()), 500);
    EXPECT_EQ(rig.panel->pane[0].header.biWidth, 500);
    EXPECT_EQ(rig.panel->pane[0].header.biHeight, 140);
    mouse(WM_LBUTTONDOWN, 400, 50);
    mouse(WM_MOUSEMOVE, 800, 50);
    EXPECT_EQ(preview_panel_width(rig.panel.get()), 500) << "pressed beside the bar";
    preview_set_divider(rig.panel.get(), 650);
    EXPECT_EQ(preview_panel_width(rig.panel.get()), 650);
}

TEST(PreviewCommands, PlayAndPauseToggleTheControlBlock) {
    LogCapture log;
    PreviewRig rig;
    rig.create();
    log.take();
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdPlay));
    EXPECT_EQ(rig.control()->paused, 0u);
    EXPECT_EQ(WaitForSingleObject(rig.sync.event[kEventResume], 0), DWORD{WAIT_OBJECT_0});
    EXPECT_STREQ(rig.button_text(kCmdPlay), "Pause");
    ipc_reset_event(&rig.sync, kEventResume);
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdPlay));
    EXPECT_EQ(rig.control()->paused, 1u);
    EXPECT_EQ(WaitForSingleObject(rig.sync.event[kEventResume], 0), DWORD{WAIT_TIMEOUT});
    EXPECT_STREQ(rig.button_text(kCmdPlay), "Play");
    EXPECT_EQ(log.take(), (std::vector<std::string>{"INF preview: play", "INF preview: pause"}));
    preview_set_play_text(rig.panel.get(), "Pause");
    EXPECT_STREQ(rig.button_text(kCmdPlay), "Pause");
}

TEST(PreviewCommands, TogglesChangeStateTextAndLogThere) {
    LogCapture log;
    PreviewRig rig;
    rig.create();
    log.take();
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdHighlight));
    EXPECT_STREQ(rig.button_text(kCmdHighlight), "Highlight OFF");
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdHighlight));
    EXPECT_STREQ(rig.button_text(kCmdHighlight), "Highlight ON");
    EXPECT_TRUE(log.take().empty()) << "highlight is not logged";

    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdLogOn));
    EXPECT_EQ(rig.control()->diag_logging, 1u);
    EXPECT_STREQ(rig.button_text(kCmdLogOn), "Log Off");
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdCircles));
    EXPECT_EQ(rig.control()->blob_circles, 1u);
    EXPECT_STREQ(rig.button_text(kCmdCircles), "Circles Off");
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdShadowRemoval));
    EXPECT_EQ(rig.control()->erase_shadows_on, 1u);
    EXPECT_EQ(rig.settings->erase_shadows, 1);
    EXPECT_STREQ(rig.button_text(kCmdShadowRemoval), "motion shadow remove currently on");
    EXPECT_EQ(log.take(),
              (std::vector<std::string>{"INF diagnostic logging enabled", "INF blob circle overlay enabled",
                                        "INF motion shadow removal enabled"}));

    for (const int32_t id : {kCmdLogOn, kCmdCircles, kCmdShadowRemoval}) preview_command(rig.panel.get(), id);
    EXPECT_EQ(rig.control()->diag_logging, 0u);
    EXPECT_EQ(rig.control()->blob_circles, 0u);
    EXPECT_EQ(rig.control()->erase_shadows_on, 0u);
    EXPECT_EQ(rig.settings->erase_shadows, 0);
    EXPECT_STREQ(rig.button_text(kCmdLogOn), "Log On");
    EXPECT_STREQ(rig.button_text(kCmdCircles), "Circles On");
    EXPECT_STREQ(rig.button_text(kCmdShadowRemoval), "motion shadow remove currently off");
    EXPECT_EQ(log.take(),
              (std::vector<std::string>{"INF diagnostic logging disabled", "INF blob circle overlay disabled",
                                        "INF motion shadow removal disabled"}));
}

TEST(PreviewCommands, OtherCommandsAreLeftToTheMainWindow) {
    PreviewRig rig;
    rig.create();
    for (const int32_t id : {0, 201, 500, 701, 702, 703, 705, 706, 707, 708, 709, 714, 720, 728, 729, 730, 1001}) {
        EXPECT_FALSE(preview_command(rig.panel.get(), id)) << id;
    }
}

TEST(Preview, WorksWithoutAControlBlockAndTakesOneLaterWithoutResettingIt) {
    LogCapture log;
    // A name taken by another kind of object cannot become a region.
    HANDLE blocker = CreateEventA(nullptr, TRUE, FALSE, kControlBlockName);
    ASSERT_NE(blocker, nullptr);
    const auto feed1 = make_feed(1, 0);
    paint_feed_slot(*feed1, 0, 33);
    PreviewRig rig;
    rig.create();
    EXPECT_EQ(rig.control(), nullptr);
    preview_set_active(rig.panel.get(), true);
    preview_refresh(rig.panel.get());
    EXPECT_EQ(middle_pixel(rig.panel->pane[1])[0], 33);
    EXPECT_FALSE(rig.panel->pane[kCombinedPane].has_picture);
    log.take();
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdPlay));
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdCircles));
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdShadowRemoval));
    EXPECT_STREQ(rig.button_text(kCmdPlay), "Play");
    EXPECT_STREQ(rig.button_text(kCmdCircles), "Circles On");
    EXPECT_EQ(rig.settings->erase_shadows, 0);
    EXPECT_TRUE(log.take().empty());

    const std::string failure = "ERR shmem: CreateFileMapping failed for 'Local\\SkiJumpControl', error=6";
    preview_refresh(rig.panel.get());
    EXPECT_EQ(log.take(), std::vector<std::string>{failure}) << "every refresh tries";
    preview_reconnect(rig.panel.get());
    EXPECT_EQ(log.take(), std::vector<std::string>{failure}) << "and a reconnect only by its refresh";
    preview_set_active(rig.panel.get(), false);
    preview_refresh(rig.panel.get());
    EXPECT_TRUE(log.take().empty());
    preview_set_active(rig.panel.get(), true);

    CloseHandle(blocker);
    // A worker's block, half at work.
    WorkerRegion block(kControlBlockName, kControlBlockSize);
    reinterpret_cast<ControlBlock*>(block.bytes())->movie_published_count = 5;
    for (auto& feed : reinterpret_cast<ControlBlock*>(block.bytes())->feed) feed[0].nw = 2;
    preview_refresh(rig.panel.get());
    ASSERT_NE(rig.control(), nullptr);
    EXPECT_EQ(rig.control()->movie_published_count, 5u);
    EXPECT_EQ(rig.control()->paused, 0u);
    for (const auto& line : log.lines()) EXPECT_EQ(line.find("shm_control: reset"), std::string::npos) << line;
}

TEST(Preview, WorksWithoutSyncSetAndSettings) {
    PreviewRig rig;
    EXPECT_EQ(preview_create(rig.panel.get(), rig.window, GetModuleHandleA(nullptr), nullptr, nullptr, ""), 0);
    preview_layout(rig.panel.get(), {0, 0, 1200, 700});
    preview_set_active(rig.panel.get(), true);
    EXPECT_EQ(rig.panel->thread.thread, nullptr);
    preview_reconnect(rig.panel.get());
    EXPECT_TRUE(preview_command(rig.panel.get(), kCmdPlay));
    EXPECT_EQ(rig.control()->paused, 0u);
}

TEST(Preview, TenThousandRefreshesHoldNothingMoreThanTheFirst) {
    const auto feed1 = make_feed(1, 0, kRingSlots);  // full size, so that every slot is there
    const auto output0 = make_output(0), output1 = make_output(1);
    PreviewRig rig;
    rig.settings->motion_end_x[1] = 1000;
    rig.settings->ignore_end_x[1] = 500;
    rig.create();
    rig.control()->motion_active[1] = 1;
    rig.control()->output_frame_idx = 0;
    rig.show();
    preview_set_active(rig.panel.get(), true);
    preview_layout(rig.panel.get(), {0, 0, 700, 400});  // small, so that the display does not set the pace
    for (int32_t i = 0; i < 20; ++i) preview_refresh(rig.panel.get());
    const Holdings before = count_holdings();
    for (uint32_t i = 0; i < 10000; ++i) {
        rig.control()->feed[1][0].nw = i;
        preview_refresh(rig.panel.get());
        if (i % 100 == 0) preview_reconnect(rig.panel.get());
    }
    const Holdings after = count_holdings();
    EXPECT_GT(before.gdi_objects, 0u);
    EXPECT_GT(before.handles, 0u);
    EXPECT_EQ(after.gdi_objects, before.gdi_objects);
    EXPECT_EQ(after.windows, before.windows);
    EXPECT_EQ(after.handles, before.handles);
}

TEST(Preview, CreatingAndDestroyingLeavesNothingBehind) {
    const auto feed1 = make_feed(1, 0);
    const auto once = [] {
        PreviewRig rig;
        rig.create();
        rig.show();
        preview_set_active(rig.panel.get(), true);
        for (auto& feed : rig.control()->feed) feed[0].nw = 2;
        preview_refresh(rig.panel.get());
        preview_destroy(rig.panel.get());
        EXPECT_EQ(preview_control_block(rig.panel.get()), nullptr);
        EXPECT_EQ(GetDlgItem(rig.window, kCmdPlay), nullptr);
        preview_destroy(rig.panel.get());
    };
    once();
    const Holdings before = count_holdings();
    for (int32_t i = 0; i < 2; ++i) once();
    const Holdings after = count_holdings();
    EXPECT_EQ(after.gdi_objects, before.gdi_objects);
    EXPECT_EQ(after.windows, before.windows);
    EXPECT_LE(after.handles, before.handles);
}
