// Force Video: what a press leaves in the control block, what it starts, how long it waits, and on the simulated rig
// whether the movie holds exactly the frames that were asked for.
#include <cstdio>
#include <string>
#include <vector>

#include "ipc/scoped_handle.h"
#include "rig/output_header.h"
#include "tests/console/console_test.h"

namespace {

constexpr char kPosted[] = "Force Video: requested 520-frame movie";
constexpr char kDeferred[] = "Force Video: launching videogen — movie will build once ready";
constexpr char kViewerLine[] = "force video: viewer was not running — launched it";
constexpr char kVideogenLine[] =
    "force video: videogen was not running — launched it; force request deferred until ready";
constexpr uint32_t kOldAck = 7;
constexpr int64_t kOldNumber = 4711;  // in the request's fields before a press

class ForceVideo : public ConsoleTest {
protected:
    explicit ForceVideo(bool simulated_rig = false) : ConsoleTest(simulated_rig) {}

    void TearDown() override {
        ConsoleTest::TearDown();
        test_ring_close(&ring);
    }
    // The console with these children running; videogen and viewer report ready only when fake.txt says so.
    void start_with_children(std::initializer_list<int32_t> start_buttons, const char* names) {
        start_with({"feed_count=1"});
        open_shared();
        for (int32_t id : start_buttons) press_on(kTabProcesses, id);
        ASSERT_TRUE(select_tab(console, kTabProcesses));
        ASSERT_TRUE(running_children_become(console, names));
        fill_request_fields();
    }
    void fill_request_fields() {
        for (uint32_t& ack : shared.block->force_ack) shared_store(ack, kOldAck);
        shared_store(shared.block->force_result, kOldNumber);
        shared_store(shared.block->force_start_seq, kOldNumber);
        shared_store(shared.block->force_end_seq, kOldNumber);
        shared_store(shared.block->force_request, 0u);
    }
    void videogen_reports(int32_t state) {
        shared_store(shared.block->videogen_state, state);
    }
    testing::AssertionResult videogen_state_becomes(int32_t state) {
        return becomes(
            "videogen_state", [&] { return shared_load(shared.block->videogen_state); }, state);
    }
    // Without a ring the press is counted by this number.
    void plant_frame_seq(int32_t channel, int64_t frame_seq) {
        shared_store<int64_t>(shared.block->feed[1][channel].frame_seq, frame_seq);
    }
    testing::AssertionResult request_is(int64_t start, int64_t end, int32_t channel = 0) {
        if (!wait_until([&] { return shared_load(shared.block->force_request) == 1; }))
            return testing::AssertionFailure() << "no request was posted";
        const ControlBlock* block = shared.block;
        for (int32_t c = 0; c < kChannelCount; ++c)
            if (shared_load(block->force_ack[c]) != (c == channel ? 0 : kOldAck))
                return testing::AssertionFailure() << "force_ack[" << c << "] is " << block->force_ack[c];
        if (block->force_result != -1 || block->force_start_seq != start || block->force_end_seq != end)
            return testing::AssertionFailure() << "result " << block->force_result << ", window "
                                               << block->force_start_seq << ".." << block->force_end_seq;
        if (WaitForSingleObject(shared.event[kEventForceRequest], 2000) != WAIT_OBJECT_0)
            return testing::AssertionFailure() << "event 13 was not signalled";
        return testing::AssertionSuccess();
    }
    // How many of the request's fields, in the order of writing, no longer hold what they held before the press.
    int32_t fields_written() const {
        const ControlBlock* block = shared.block;
        if (shared_load(block->force_request) != 0) return 5;
        if (shared_load(block->force_end_seq) != kOldNumber) return 4;
        if (shared_load(block->force_start_seq) != kOldNumber) return 3;
        if (shared_load(block->force_result) != kOldNumber) return 2;
        return shared_load(block->force_ack[0]) != kOldAck ? 1 : 0;
    }
    // Presses while this mutex is taken, and looks how far the request came.
    int32_t fields_written_while_held(int32_t mutex, int32_t expected) {
        fill_request_fields();
        const size_t lines = log_length(installation);
        if (WaitForSingleObject(shared.mutex[mutex], 5000) != WAIT_OBJECT_0) return -1;
        send_command(console, 714);
        wait_until([&] { return log_length(installation) > lines && fields_written() == expected; }, 800);
        Sleep(100);
        const int32_t written = fields_written();
        ReleaseMutex(shared.mutex[mutex]);
        return written;
    }
    void expect_nothing_posted() {
        EXPECT_EQ(fields_written(), 0);
        EXPECT_EQ(WaitForSingleObject(shared.event[kEventForceRequest], 0), WAIT_TIMEOUT);
    }

    TestRing ring = {};
};

class ForceVideoOnTheRig : public ForceVideo {
protected:
    ForceVideoOnTheRig() : ForceVideo(true) {}
    void TearDown() override {
        for (ScopedHandle& handle : mappings) handle.reset();
        for (const uint8_t* view : outputs)
            if (view != nullptr) UnmapViewOfFile(view);
        ForceVideo::TearDown();
    }
    void map_outputs() {
        for (int32_t output = 0; output < kOutputRegionCount; ++output) {
            char name[32];
            output_region_name(name, output);
            mappings[output].reset(OpenFileMappingA(FILE_MAP_READ, FALSE, name));
            outputs[output] =
                static_cast<const uint8_t*>(MapViewOfFile(mappings[output].get(), FILE_MAP_READ, 0, 0, 0));
            ASSERT_NE(outputs[output], nullptr) << name;
        }
    }
    // The window of the newest press, as the log tells it.
    void window_of_press(int64_t* start, int64_t* end) {
        long long press = 0;
        long long first = 0;
        long long last = 0;
        for (const std::string& line : log_lines(installation)) {
            int32_t slot = 0;
            sscanf(line.c_str(), "INF force video: frame=%d press_seq=%lld window start_seq=%lld end_seq=%lld", &slot,
                   &press, &first, &last);
        }
        ASSERT_GT(press, 0);
        *start = first;
        *end = last;
    }
    // Waits for the movie builder's answer to a press and compares the movie, frame by frame, with the request.
    void expect_the_movie_asked_for() {
        int64_t start = 0;
        int64_t end = 0;
        window_of_press(&start, &end);
        ASSERT_EQ(end - start, 519);
        ASSERT_TRUE(wait_until([&] { return shared_load(shared.block->force_result) > 0; }, 60000));
        const uint32_t written = shared_load(shared.block->output_active);
        ASSERT_LE(written, 1u);
        const uint8_t* movie = outputs[1 - written];
        const auto* header = reinterpret_cast<const OutputHeader*>(movie);
        EXPECT_EQ(header->serial, shared_load(shared.block->force_result));
        EXPECT_EQ(header->forced, 1u);
        ASSERT_EQ(header->frames, 520u);
        for (uint32_t slot = 0; slot < header->frames; ++slot) {
            const auto* frame = reinterpret_cast<const FrameSlotHeader*>(movie + output_slot_offset(slot));
            ASSERT_EQ(frame->seq, start + slot) << "frame " << slot << " of the movie";
        }
    }

    ScopedHandle mappings[kOutputRegionCount];
    const uint8_t* outputs[kOutputRegionCount] = {};
};

}  // namespace

TEST_F(ForceVideo, APressAsksTheReadyMovieBuilderForTheFramesAroundTheOneOnShow) {
    order_workers({"videogen ready", "viewer ready"});
    start_with_children({230, 232}, "videogen viewer");
    ASSERT_TRUE(videogen_state_becomes(3));
    ASSERT_TRUE(test_ring_create(&ring, 1, 0));
    reinterpret_cast<FrameSlotHeader*>(ring.view + feed_slot_offset(480))->seq = 1000;
    shared_store(shared.block->feed[1][0].nw, 1002u);
    plant_frame_seq(0, 9999);
    ASSERT_TRUE(select_tab(console, kTabPreview));
    ASSERT_TRUE(log_shows(installation, "preview: reconnected feed 1 (attempt *"));
    const size_t before = log_length(installation);
    press_on(kTabPreview, 714);
    EXPECT_TRUE(request_is(740, 1259));
    EXPECT_TRUE(status_becomes(console, kPosted));
    EXPECT_TRUE(log_shows_in_order_from(installation, before,
                                        {"force video: frame=480 press_seq=1000 window start_seq=740 end_seq=1259 "
                                         "(back=260 fwd=259 total=520)"}));
    EXPECT_EQ(log_count(installation, "force video: *"), 1) << "one line says it all";
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_EQ(running_children(console), "videogen viewer") << "nothing was started";
}

TEST_F(ForceVideo, F8DoesTheSameAndAPressInTheFirstFramesStartsAtZero) {
    order_workers({"videogen ready", "viewer ready"});
    start_with_children({230, 232}, "videogen viewer");
    ASSERT_TRUE(videogen_state_becomes(3));
    plant_frame_seq(0, 101);
    press_key(console, VK_F8, false);
    EXPECT_TRUE(request_is(0, 359));
    EXPECT_TRUE(log_shows(installation, "force video: frame=518 press_seq=100 window start_seq=0 end_seq=359 *"));
    EXPECT_TRUE(status_becomes(console, kPosted));
}

TEST_F(ForceVideo, WithoutAnyFrameTheWindowBeginsAtZero) {
    order_workers({"videogen ready", "viewer ready"});
    start_with_children({230, 232}, "videogen viewer");
    ASSERT_TRUE(videogen_state_becomes(3));
    press_on(kTabPreview, 714);
    EXPECT_TRUE(request_is(0, 259));
}

TEST_F(ForceVideo, TheLiveChannelIsAskedAndAcknowledged) {
    order_workers({"videogen ready", "viewer ready"});
    start_with_children({230, 232}, "videogen viewer");
    ASSERT_TRUE(videogen_state_becomes(3));
    plant_frame_seq(0, 1);
    plant_frame_seq(2, 5'000'000'001);
    shared_store(shared.block->channel, int8_t{2});
    press_on(kTabPreview, 714);
    EXPECT_TRUE(request_is(4'999'999'740, 5'000'000'259, 2));
}

// Whoever holds a mutex sees the request stop in front of the field which that mutex guards.
TEST_F(ForceVideo, EachFieldIsWrittenUnderItsOwnMutexAndTheFlagLast) {
    order_workers({"videogen ready", "viewer ready"});
    start_with_children({230, 232}, "videogen viewer");
    ASSERT_TRUE(videogen_state_becomes(3));
    plant_frame_seq(0, 1001);
    struct Case {
        int32_t mutex, written_before;
    };
    // Nobody waits longer than a second for a mutex: on a machine that stalls so long the look comes too late, and is
    // taken again.
    for (const Case c : {Case{9, 0}, Case{11, 1}, Case{12, 2}, Case{13, 3}}) {
        int32_t written = -1;
        for (int32_t attempt = 0; attempt < 3 && written != c.written_before; ++attempt) {
            written = fields_written_while_held(c.mutex, c.written_before);
            EXPECT_TRUE(request_is(740, 1259)) << "mutex " << c.mutex;
        }
        EXPECT_EQ(written, c.written_before) << "mutex " << c.mutex;
    }
}

TEST_F(ForceVideo, WhatIsMissingIsStartedAndTheRequestFollowsOnceTheMovieBuilderIsReady) {
    start_with_children({}, "");
    videogen_reports(3);  // left by one that is gone
    plant_frame_seq(0, 1001);
    press_on(kTabPreview, 714);
    EXPECT_TRUE(status_becomes(console, kDeferred));
    EXPECT_TRUE(log_shows_in_order(
        installation,
        {"force video: frame=518 press_seq=1000 window start_seq=740 end_seq=1259 (back=260 fwd=259 total=520)",
         "launched viewer (PID *): \"" + installation_path(installation, "viewer.exe") + "\" \"*settings.txt\"",
         kViewerLine,
         "launched videogen (PID *): \"" + installation_path(installation, "videogen.exe") + "\" \"*settings.txt\"",
         kVideogenLine}));
    EXPECT_TRUE(videogen_state_becomes(0));
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_EQ(running_children(console), "viewer videogen");
    plant_frame_seq(0, 1301);  // time goes on, the window stays
    Sleep(1200);
    expect_nothing_posted();

    videogen_reports(3);
    EXPECT_TRUE(request_is(740, 1259));
    EXPECT_TRUE(status_becomes(console, "Force Video: videogen ready — requested 520-frame movie"));
    EXPECT_TRUE(
        log_shows(installation, "force video: deferred request fired (videogen ready) start_seq=740 end_seq=1259"));
    fill_request_fields();
    Sleep(1200);
    expect_nothing_posted();
}

TEST_F(ForceVideo, TheMovieBuilderComesBackAfterACrashAndTheViewerDoesNot) {
    start_with_children({}, "");
    press_on(kTabPreview, 714);
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    ASSERT_TRUE(running_children_become(console, "viewer videogen"));
    const uint32_t videogen = pid_of_child(console, "videogen");
    ASSERT_TRUE(end_process(pid_of_child(console, "viewer")));
    ASSERT_TRUE(end_process(videogen));
    EXPECT_TRUE(running_children_become(console, "videogen"));
    EXPECT_TRUE(wait_until([&] { return pid_of_child(console, "videogen") != videogen; }));
}

TEST_F(ForceVideo, AMovieBuilderThatRunsButIsNotReadyIsNotStartedAgain) {
    start_with_children({230}, "videogen");
    videogen_reports(2);
    plant_frame_seq(0, 1001);
    press_on(kTabPreview, 714);
    EXPECT_TRUE(status_becomes(console, kDeferred));
    EXPECT_TRUE(log_shows(installation, kViewerLine)) << "the viewer need not wait";
    EXPECT_EQ(log_count(installation, kVideogenLine), 0);
    EXPECT_EQ(shared_load(shared.block->videogen_state), 2) << "its own report stands";
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_EQ(running_children(console), "videogen viewer");
    expect_nothing_posted();
    videogen_reports(3);
    EXPECT_TRUE(request_is(740, 1259));
}

TEST_F(ForceVideo, TheStoppedSlotOfAnEarlierStartHidesNoRunningChild) {
    order_workers({"videogen ready", "viewer ready"});
    start_with_children({230, 232}, "videogen viewer");
    for (int32_t id : {231, 233, 230, 232}) press_on(kTabProcesses, id);
    ASSERT_TRUE(running_children_become(console, "videogen viewer"));
    ASSERT_TRUE(videogen_state_becomes(3));
    fill_request_fields();
    press_on(kTabPreview, 714);
    EXPECT_TRUE(request_is(0, 259));
    EXPECT_TRUE(status_becomes(console, kPosted));
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_EQ(running_children(console), "videogen viewer");
}

TEST_F(ForceVideo, ASecondPressTakesThePlaceOfTheWaitingOneAndWaitsItsFullTime) {
    start_with_children({230, 232}, "videogen viewer");
    plant_frame_seq(0, 1001);
    press_on(kTabPreview, 714);
    ASSERT_TRUE(log_shows(installation, "force video: frame=518 press_seq=1000 *"));
    Sleep(6000);
    plant_frame_seq(0, 1401);
    press_on(kTabPreview, 714);
    ASSERT_TRUE(log_shows(installation, "force video: frame=518 press_seq=1400 *"));
    Sleep(6000);
    EXPECT_EQ(log_count(installation, "WRN force video: timed out*"), 0) << "the first press's time is over";
    expect_nothing_posted();
    videogen_reports(3);
    EXPECT_TRUE(request_is(1140, 1659));
    EXPECT_TRUE(
        log_shows(installation, "force video: deferred request fired (videogen ready) start_seq=1140 end_seq=1659"));
    fill_request_fields();
    Sleep(1200);
    expect_nothing_posted();
    EXPECT_EQ(log_count(installation, "force video: deferred request fired *"), 1);
}

TEST_F(ForceVideo, APressThatIsPostedAtOnceIsNotOverwrittenByAnOlderOne) {
    start_with_children({230, 232}, "videogen viewer");
    plant_frame_seq(0, 1001);
    press_on(kTabPreview, 714);
    ASSERT_TRUE(log_shows(installation, "force video: frame=518 press_seq=1000 *"));
    plant_frame_seq(0, 1401);
    videogen_reports(3);
    send_command(console, 714);
    EXPECT_TRUE(wait_until([&] { return shared_load(shared.block->force_end_seq) == 1659; }));
    Sleep(1200);
    EXPECT_EQ(shared_load(shared.block->force_end_seq), 1659);
}

TEST_F(ForceVideo, AMovieBuilderThatNeverGetsReadyIsGivenUpAfterTenSecondsAndNothingIsPosted) {
    start_with_children({}, "");
    plant_frame_seq(0, 1001);
    press_on(kTabPreview, 714);
    ASSERT_TRUE(status_becomes(console, kDeferred));
    const uint64_t pressed_at = GetTickCount64();
    EXPECT_TRUE(status_becomes(console, "Force video: videogen did not start"));
    EXPECT_GE(GetTickCount64() - pressed_at, 9000u);
    EXPECT_TRUE(log_shows(installation,
                          "WRN force video: timed out waiting for videogen readiness — pending request cleared"));
    videogen_reports(3);
    Sleep(1200);
    expect_nothing_posted();
    EXPECT_EQ(log_count(installation, "force video: deferred request fired *"), 0);
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_EQ(running_children(console), "viewer videogen") << "what was started stays";
}

TEST_F(ForceVideo, WithoutAControlBlockItSaysSoAndStartsNothing) {
    const ScopedHandle blocker(CreateSemaphoreA(nullptr, 0, 1, kControlBlockName));
    ASSERT_TRUE(blocker.valid());
    start_with({});
    press_on(kTabPreview, 714);
    EXPECT_TRUE(status_becomes(console, "Force Video: shared memory or settings not available"));
    EXPECT_TRUE(log_shows(installation, "ERR force video: shared memory or settings not available"));
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_EQ(running_children(console), "");
    EXPECT_EQ(log_count(installation, "force video: *"), 0);
}

TEST_F(ForceVideo, WithoutSyncObjectsTheRequestIsPostedUnlocked) {
    const ScopedHandle blocker(CreateSemaphoreA(nullptr, 0, 1, (std::string(kMutexNamePrefix) + "30").c_str()));
    ASSERT_TRUE(blocker.valid());
    start_with({});
    const ScopedHandle mapping(OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, kControlBlockName));
    auto* block = static_cast<ControlBlock*>(MapViewOfFile(mapping.get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
    ASSERT_NE(block, nullptr);
    shared_store<int64_t>(block->feed[1][0].frame_seq, 1001);
    press_on(kTabPreview, 714);
    EXPECT_TRUE(status_becomes(console, kDeferred));
    shared_store(block->videogen_state, 3);
    EXPECT_TRUE(wait_until([&] { return shared_load(block->force_request) == 1; }));
    EXPECT_EQ(shared_load(block->force_start_seq), 740);
    EXPECT_EQ(shared_load(block->force_end_seq), 1259);
    UnmapViewOfFile(block);
}

TEST_F(ForceVideoOnTheRig, TheMovieHoldsExactlyTheFramesAskedFor) {
    installation_write(installation, "rig.txt",
                       "lead_in_frames=100000\r\n");  // no jump competes for the movie builder
    start_with({"feed_count=1"});
    open_shared();
    press_on(kTabPreview, 701);
    ASSERT_TRUE(status_becomes(console, "Practice: all processes running, viewer launched", 60000));
    ASSERT_TRUE(log_shows(installation, "preview: reconnected feed 1 (attempt *"));
    ASSERT_TRUE(wait_until([&] { return shared_load(shared.block->feed[1][0].nw) > 300; }, 60000));
    map_outputs();
    const uint32_t published = shared_load(shared.block->movie_published_count);
    shared_store(shared.block->force_result, int64_t{0});
    press_on(kTabPreview, 714);
    ASSERT_TRUE(status_becomes(console, kPosted));
    expect_the_movie_asked_for();
    EXPECT_EQ(shared_load(shared.block->movie_published_count), published + 1);
    EXPECT_EQ(shared_load(shared.block->force_request), 0u);

    // Once more with no movie builder: it is started, and still makes the movie of the moment of the press.
    press_on(kTabProcesses, 231);
    ASSERT_TRUE(running_children_become(console, "fileplayer[-1] motion[1] viewer"));
    shared_store(shared.block->force_result, int64_t{0});
    press_on(kTabPreview, 714);
    ASSERT_TRUE(log_shows(installation, kVideogenLine));
    ASSERT_TRUE(log_shows(installation, "force video: deferred request fired (videogen ready) *"));
    expect_the_movie_asked_for();
    EXPECT_EQ(log_count(installation, "ERR *"), 0);
}

// The jump's own movie is given up for the one that was asked for.
TEST_F(ForceVideoOnTheRig, AMovieAskedForDuringAJumpHoldsItsFramesToo) {
    const std::string sample = std::string(ORVEK_TEST_DATA) + "/../../packaging/sample/settings.txt";
    ASSERT_TRUE(CopyFileA(sample.c_str(), installation_path(installation, "settings.txt").c_str(), FALSE)) << sample;
    start();
    open_shared();
    press_on(kTabPreview, 701);
    ASSERT_TRUE(status_becomes(console, "Practice: all processes running, viewer launched", 60000));
    ASSERT_TRUE(log_shows(installation, "preview: reconnected feed 1 (attempt *"));
    map_outputs();
    // Late enough for a whole window: where the machine is quick, the first jump comes within the first 260 frames.
    ASSERT_TRUE(wait_until(
        [&] {
            return shared_load(shared.block->feed[1][0].nw) > 300 && shared_load(shared.block->motion_active[1]) != 0;
        },
        90000));
    shared_store(shared.block->force_result, int64_t{0});
    press_on(kTabPreview, 714);
    ASSERT_TRUE(status_becomes(console, kPosted));
    expect_the_movie_asked_for();
}
