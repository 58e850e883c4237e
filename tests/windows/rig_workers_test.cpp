// The simulated workers as real processes on real regions; the test plays the console and the frame source.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/jumper_region.h"
#include "ipc/scoped_handle.h"
#include "ipc/shared_access.h"
#include "ipc/sync_objects.h"
#include "tests/support/temp_dir.h"
#include "tests/support/wait.h"
#include "tests/windows/worker_stage.h"

static size_t count_of(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

class RigWorkers : public testing::Test {
protected:
    void SetUp() override {
        control_region = stage_region(kControlBlockName, kControlBlockSize);
        ASSERT_NE(control_region.view, nullptr);
        control = reinterpret_cast<ControlBlock*>(control_region.view);
        std::memset(control_region.view, 0, kControlBlockSize);
        control->size = kControlBlockSize;
        control->num_feeds = control->num_channels = 3;
        control->ring_slots = kRingSlots;
        control->paused = 1;
        control->output_frame_idx = -1;
        char name[32];
        feed_region_name(name, 1, 0);
        ring = stage_region(name, kFeedRegionSize);
        ASSERT_NE(ring.view, nullptr);
        settings("min_blob_sizes[1]=200\n");
    }

    void TearDown() override {
        if (child.hProcess != nullptr) {
            TerminateProcess(child.hProcess, 9);
            CloseHandle(child.hProcess);
            CloseHandle(child.hThread);
        }
    }

    void settings(const char* text) {
        write_whole_file(dir.file("settings.txt"), text);
    }

    void start(const std::string& program, const std::string& arguments) {
        std::string line =
            "\"" + beside_this_program(program) + "\" " + arguments + "\"" + dir.file("settings.txt") + "\"";
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        ASSERT_TRUE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                                   dir.path().c_str(), &startup, &child))
            << line << " error " << GetLastError();
    }

    // The id of a process that ended; nobody else gets it while `kept` lives.
    uint32_t ended_process(ScopedHandle* kept) {
        start("minimal_worker.exe", "9 ");  // there is no such feed
        WaitForSingleObject(child.hProcess, kPatienceMs);
        CloseHandle(child.hThread);
        kept->reset(child.hProcess);
        return child.dwProcessId;
    }

    // Appends a frame of snow to feed 1's ring, with a dark body of 60 x 40 at `x` unless that is negative.
    void write_frame(int32_t x) {
        const uint32_t nw = control->feed[1][0].nw;
        uint8_t* slot = ring.view + feed_slot_offset(nw % kRingSlots);
        auto* header = reinterpret_cast<FrameSlotHeader*>(slot);
        header->seq = nw;
        header->pts = int64_t{nw} * 1'000'000 / 60;
        header->motion_flags = 0;
        std::memset(slot + y_plane_offset(), 210, size_t{kFrameWidth} * kFeedHeight);
        std::memset(slot + u_plane_offset(kFeedHeight), 128, size_t{kFrameWidth} * kFeedHeight / 2);
        for (int32_t row = 200; x >= 0 && row < 240; ++row)
            std::memset(slot + y_plane_offset() + row * kFrameWidth + x, 120, 60);
        shared_store(control->feed[1][0].nw, nw + 1);
    }

    bool frames_seen(uint32_t frames) {
        return wait_until([&] { return shared_load(control->motion_idx[1]) == frames; });
    }

    // Asks everybody to leave and returns the exit code; 259 means still running.
    DWORD leave() {
        shared_store(control->shutdown, 1u);
        DWORD code = 0;
        WaitForSingleObject(child.hProcess, kPatienceMs);
        GetExitCodeProcess(child.hProcess, &code);
        return code;
    }

    const FrameSlotHeader* slot_of(uint32_t index) const {
        return reinterpret_cast<const FrameSlotHeader*>(ring.view + feed_slot_offset(index % kRingSlots));
    }

    TempDir dir;
    StageRegion control_region, ring;
    ControlBlock* control = nullptr;
    PROCESS_INFORMATION child{};
};

// The example that is handed out to those who write workers of their own.
TEST_F(RigWorkers, TheContractsMinimalWorkerDoesEveryDuty) {
    start("minimal_worker.exe", "1 ");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->motion_ready[1]) == kWorkerReady; }));
    EXPECT_EQ(shared_load(control->pid_slot[0]), child.dwProcessId);
    for (uint32_t frames = 0; frames < 3; ++frames) write_frame(-1);
    EXPECT_TRUE(frames_seen(2)) << "no event tells a detector of a frame";
    shared_store(control->motion_paused[1], 1u);
    write_frame(-1);
    EXPECT_TRUE(frames_seen(3)) << "it moves along while it is paused";
    EXPECT_EQ(leave(), 0u);
    EXPECT_EQ(shared_load(control->motion_ready[1]), kWorkerNotStarted);
    EXPECT_EQ(shared_load(control->pid_slot[0]), 0u);
}

TEST_F(RigWorkers, TheContractsMinimalWorkerRepeatsWhatALaterConsoleHasZeroed) {
    start("minimal_worker.exe", "1 ");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->motion_ready[1]) == kWorkerReady; }));
    shared_store(control->pid_slot[0], 0u);
    shared_store(control->motion_ready[1], kWorkerNotStarted);
    EXPECT_TRUE(wait_until([&] { return shared_load(control->motion_ready[1]) == kWorkerReady; }));
    EXPECT_TRUE(wait_until([&] { return shared_load(control->pid_slot[0]) == child.dwProcessId; }));
    shared_store(control->pid_slot[0], kPidSlotEmpty);
    EXPECT_TRUE(wait_until([&] { return shared_load(control->pid_slot[0]) == child.dwProcessId; }));
    EXPECT_EQ(leave(), 0u);
}

TEST_F(RigWorkers, TheContractsMinimalWorkerTakesTheEntryOfADeadOwnerAndLeavesALivingOnesAlone) {
    constexpr uint32_t nobodys_id = 0xFFFFFFF0;
    ScopedHandle ended;
    control->pid_slot[0] = GetCurrentProcessId();
    control->pid_slot[1] = ended_process(&ended);
    start("minimal_worker.exe", "1 ");
    EXPECT_TRUE(wait_until([&] { return shared_load(control->pid_slot[1]) == child.dwProcessId; }));
    EXPECT_EQ(shared_load(control->pid_slot[0]), GetCurrentProcessId());
    shared_store(control->pid_slot[0], nobodys_id);
    shared_store(control->pid_slot[1], 0u);
    EXPECT_TRUE(wait_until([&] { return shared_load(control->pid_slot[0]) == child.dwProcessId; }));
    EXPECT_EQ(shared_load(control->pid_slot[1]), 0u);
    EXPECT_EQ(leave(), 0u);
    EXPECT_EQ(shared_load(control->pid_slot[0]), 0u);
}

TEST_F(RigWorkers, MotionIsReadyWhileEverythingIsStillPaused) {
    start("motion.exe", "1 ");
    EXPECT_TRUE(wait_until([&] { return shared_load(control->motion_ready[1]) == kWorkerReady; }));
    EXPECT_EQ(shared_load(control->paused), 1u);
    EXPECT_EQ(leave(), 0u);
    EXPECT_EQ(shared_load(control->motion_ready[1]), kWorkerNotStarted);
}

TEST_F(RigWorkers, MotionLooksAtEveryFrameMarksItAndLogsIt) {
    control->diag_logging = 1;
    start("motion.exe", "1 ");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->motion_ready[1]) == kWorkerReady; }));
    for (int32_t frame = 0; frame < 10; ++frame) write_frame(-1);
    for (int32_t frame = 0; frame < 30; ++frame) write_frame(100 + 20 * frame);
    ASSERT_TRUE(frames_seen(39)) << "the frame in front of the writer is not read";
    EXPECT_EQ(slot_of(5)->motion_flags & 1, 0u);
    EXPECT_EQ(slot_of(25)->motion_flags & 1, 1u);
    EXPECT_EQ(shared_load(control->motion_active[1]), 1u);
    for (int32_t frame = 0; frame < 20; ++frame) write_frame(-1);
    ASSERT_TRUE(frames_seen(59));
    EXPECT_EQ(shared_load(control->motion_active[1]), 0u);
    EXPECT_EQ(shared_load(control->motion_trial_frames[1]), 59u);
    EXPECT_EQ(leave(), 0u);

    const std::string log = read_whole_file(dir.file("motion_debug_1.log"));
    EXPECT_EQ(count_of(log, "feed 1 seq="), 59u);
    EXPECT_EQ(count_of(log, " type=1 "), 30u);
    EXPECT_NE(log.find("seq=25 ts=416666 type=1 blobs=1 blob0_sz=2400 blob0_x=4"), std::string::npos) << log;
    EXPECT_EQ(count_of(log, "movie_active 0->1"), 1u);
    EXPECT_EQ(count_of(log, "SCENE TRIGGER (f1)"), 1u);
    EXPECT_NE(log.find("fire_seq=10"), std::string::npos);
}

TEST_F(RigWorkers, MotionLogIsMadeAnewEachTimeLoggingIsSwitchedOn) {
    start("motion.exe", "1 ");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->motion_ready[1]) == kWorkerReady; }));
    write_frame(-1);
    write_frame(-1);
    ASSERT_TRUE(frames_seen(1));
    EXPECT_FALSE(file_exists(dir.file("motion_debug_1.log")));
    for (uint32_t frames = 2; frames < 5; ++frames) {
        shared_store(control->diag_logging, 1u);
        ASSERT_TRUE(wait_until([&] { return read_whole_file(dir.file("motion_debug_1.log")).empty(); }));
        Sleep(100);
        write_frame(-1);
        ASSERT_TRUE(frames_seen(frames));
        shared_store(control->diag_logging, 0u);
        Sleep(100);
        EXPECT_EQ(count_of(read_whole_file(dir.file("motion_debug_1.log")), "\n"), 1u) << "run with " << frames;
    }
    EXPECT_EQ(leave(), 0u);
}

TEST_F(RigWorkers, MotionPassesOverFramesWhileDetectionIsPaused) {
    control->diag_logging = 1;
    control->motion_paused[1] = 1;
    start("motion.exe", "1 ");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->motion_ready[1]) == kWorkerReady; }));
    for (int32_t frame = 0; frame < 10; ++frame) write_frame(100 + 20 * frame);
    ASSERT_TRUE(frames_seen(9));
    EXPECT_EQ(shared_load(control->motion_trial_frames[1]), 0u);
    shared_store(control->motion_paused[1], 0u);
    Sleep(50);
    for (int32_t frame = 0; frame < 10; ++frame) write_frame(-1);
    ASSERT_TRUE(frames_seen(19));
    EXPECT_EQ(shared_load(control->motion_trial_frames[1]), 10u);
    EXPECT_EQ(leave(), 0u);
}

TEST_F(RigWorkers, MotionReadsTheSettingsAgainWhenTheirGenerationRises) {
    start("motion.exe", "1 ");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->motion_ready[1]) == kWorkerReady; }));
    for (int32_t frame = 0; frame < 5; ++frame) write_frame(-1);
    ASSERT_TRUE(frames_seen(4));
    settings("min_blob_sizes[1]=3000\n");
    shared_store(control->settings_generation, 1u);
    Sleep(50);
    for (int32_t frame = 0; frame < 10; ++frame) write_frame(300 + 20 * frame);
    ASSERT_TRUE(frames_seen(14));
    EXPECT_EQ(slot_of(10)->motion_flags & 1, 0u) << "2400 pixels are too few now";
    EXPECT_EQ(leave(), 0u);
}

TEST_F(RigWorkers, MotionFollowsASourceThatStartsAgain) {
    start("motion.exe", "1 ");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->motion_ready[1]) == kWorkerReady; }));
    for (int32_t frame = 0; frame < 30; ++frame) write_frame(-1);
    ASSERT_TRUE(frames_seen(29));
    shared_store(control->feed[1][0].nw, 0u);
    for (int32_t frame = 0; frame < 5; ++frame) {
        write_frame(-1);
        Sleep(20);
    }
    EXPECT_TRUE(frames_seen(4));
    EXPECT_EQ(leave(), 0u);
}

TEST_F(RigWorkers, VideogenBuildsTheMovieThatForceVideoAsksFor) {
    start("videogen.exe", "");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->videogen_state) == kWorkerReady; }));
    for (int32_t frame = 0; frame < 40; ++frame) write_frame(10 * frame);
    control->force_result = -1;
    control->force_start_seq = 5;
    control->force_end_seq = 24;
    shared_store(control->force_request, 1u);
    ASSERT_TRUE(wait_until([&] { return shared_load(control->movie_published_count) == 1; }));
    EXPECT_EQ(shared_load(control->movie_serial), 1);
    EXPECT_EQ(shared_load(control->force_request), 0u);
    EXPECT_EQ(shared_load(control->force_ack[0]), 1u);
    EXPECT_EQ(shared_load(control->output_active), 1u) << "region 0 was written and is shown now";
    EXPECT_TRUE(wait_until([&] { return shared_load(control->force_result) == 1; }));

    char name[32];
    output_region_name(name, 0);
    const StageRegion output = stage_region(name, kOutputRegionSize);
    ASSERT_NE(output.view, nullptr);
    const uint8_t* last = output.view + output_slot_offset(19);
    EXPECT_EQ(reinterpret_cast<const FrameSlotHeader*>(last)->seq, 24);
    EXPECT_EQ(std::memcmp(last + y_plane_offset(), reinterpret_cast<const uint8_t*>(slot_of(24)) + y_plane_offset(),
                          size_t{kFrameWidth} * kFeedHeight),
              0);
    EXPECT_EQ(last[y_plane_offset() + kFrameWidth * kFeedHeight], 16) << "feed 0 does not run: its half is black";
    shared_store(control->paused, 0u);
    EXPECT_TRUE(wait_until([&] { return shared_load(control->output_frame_idx) == 19; })) << "the movie plays";
    EXPECT_EQ(leave(), 0u);
}

TEST_F(RigWorkers, VideogenMakesOneMovieOfAJump) {
    settings("feed_count=1\nmovie_padding_before_frames=5\nmovie_padding_after_frames=5\n");
    start("videogen.exe", "");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->videogen_state) == kWorkerReady; }));
    for (int32_t frame = 0; frame < 90; ++frame) {
        shared_store(control->motion_active[1], frame >= 30 && frame < 60 ? 1u : 0u);
        write_frame(frame);
        Sleep(16);
    }
    EXPECT_TRUE(wait_until([&] { return shared_load(control->movie_published_count) == 1; }));
    EXPECT_EQ(shared_load(control->movie_serial), 1);
    EXPECT_EQ(leave(), 0u);
}

TEST_F(RigWorkers, VideogenLeavesTheStartListAloneWhenNoPracticePlayerRuns) {
    const StageRegion jumpers = stage_region(kJumperRegionName, kJumperRegionSize);
    ASSERT_NE(jumpers.view, nullptr);
    auto* region = reinterpret_cast<JumperRegion*>(jumpers.view);
    region->count = 1;
    settings("feed_count=1\n");
    start("videogen.exe", "");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->videogen_state) == kWorkerReady; }));
    for (int32_t frame = 0; frame < 60; ++frame) {
        shared_store(control->motion_active[1], frame >= 10 && frame < 40 ? 1u : 0u);
        write_frame(frame);
        Sleep(16);
    }
    for (int32_t frame = 0; frame < 80; ++frame) write_frame(-1);
    EXPECT_TRUE(wait_until([&] { return shared_load(control->movie_published_count) == 1; }));
    EXPECT_EQ(shared_load(region->count), 1);
    EXPECT_EQ(leave(), 0u);
}

TEST_F(RigWorkers, ViewerHandsTheClickOverInPicturePixels) {
    for (int32_t frame = 0; frame < 3; ++frame) write_frame(-1);
    start("viewer.exe", "");
    ASSERT_TRUE(wait_until([&] { return shared_load(control->viewer_state) == kWorkerReady; }));
    HWND window = nullptr;
    ASSERT_TRUE(wait_until([&] { return (window = FindWindowA("OrveklineViewer", nullptr)) != nullptr; }));
    const auto title = [&] {
        char text[64] = "";
        GetWindowTextA(window, text, sizeof text);
        return std::string(text);
    };
    const auto asks_for = [&](const char* what) {
        return wait_until([&] { return title().find(what) != std::string::npos; });
    };
    const auto click_is_ignored = [&] {
        PostMessageA(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(30, 40));
        SendMessageA(window, WM_NULL, 0, 0);
        Sleep(200);
        return shared_load(control->grid_click_ready) == 0;
    };
    EXPECT_TRUE(click_is_ignored()) << "nobody asked";

    shared_store(control->grid_feed, 0u);
    shared_store(control->grid_click_wait, 1u);
    EXPECT_TRUE(click_is_ignored()) << "the console's panel is closed";
    shared_store(control->grid_setup_active, 1u);
    ASSERT_TRUE(asks_for("click in feed 0"));
    EXPECT_TRUE(click_is_ignored()) << "feed 0 has no picture to click at";

    shared_store(control->grid_feed, 1u);
    ASSERT_TRUE(asks_for("click in feed 1"));
    PostMessageA(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(300, 269));
    ASSERT_TRUE(wait_until([&] { return shared_load(control->grid_click_ready) == 1; }));
    EXPECT_EQ(shared_load(control->grid_click_x), 600);
    EXPECT_EQ(shared_load(control->grid_click_y), 538);
    EXPECT_TRUE(wait_until([&] { return title() == "Orvekline viewer"; })) << "it asks no longer";
    shared_store(control->grid_click_x, -1);
    PostMessageA(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(10, 10));
    Sleep(200);
    EXPECT_EQ(shared_load(control->grid_click_x), -1) << "one answer for one question";
    EXPECT_EQ(leave(), 0u);
}
