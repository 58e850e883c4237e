// The title bar as a monitor: counters of every feed, and which of them are too slow.
#include <string>

#include "tests/console/console_test.h"

namespace {
class Title : public ConsoleTest {
protected:
    void plant_counters() {
        constexpr uint32_t kNw[] = {1000, 990, 985};
        constexpr uint32_t kMotion[] = {700, 640, 521};
        for (int32_t feed = 0; feed < kFeedCount; ++feed) {
            shared_store(shared.block->feed[feed][0].nw, kNw[feed]);
            shared_store(shared.block->motion_idx[feed], kMotion[feed]);
        }
        shared_store(shared.block->output_frame_idx, 77);
    }
    testing::AssertionResult title_becomes(const std::string& expected) {
        SetEvent(shared.event[kEventNewFrame]);
        return becomes(
            "title", [&] { return console_title(console); }, expected);
    }
};
}  // namespace

static constexpr char kThreeFeeds[] = "[CH 0]  0(480,180,077) 1(470,120,077) 2(465,001,077)  Δ(   15,179,164)";

TEST_F(Title, ShowsThePositionsInTheRingsAndTheSpreadOverAllFeeds) {
    start_with({"feed_count=3"});
    open_shared();
    plant_counters();
    EXPECT_TRUE(title_becomes(kThreeFeeds));
}

TEST_F(Title, InactiveFeedsDoNotCountIntoTheSpread) {
    start_with({"feed_count=2"});
    open_shared();
    plant_counters();
    EXPECT_TRUE(title_becomes("[CH 0]  0(480,180,077) 1(470,120,077) 2(465,001,077)  Δ(    5,119,114)"));
}

TEST_F(Title, FollowsTheLiveChannelAndTakesNoOutputFrameAsZero) {
    start_with({"feed_count=3"});
    open_shared();
    shared_store(shared.block->channel, int8_t{2});
    shared_store(shared.block->output_frame_idx, -1);
    for (int32_t feed = 0; feed < kFeedCount; ++feed)
        shared_store(shared.block->feed[feed][2].nw, static_cast<uint32_t>(7 + feed));
    EXPECT_TRUE(title_becomes("[CH 2]  0(007,000,000) 1(008,000,000) 2(009,000,000)  Δ(    2,000,002)"));
}

TEST_F(Title, NamesTheMotionWorkersThatReportThemselvesSlow) {
    start_with({"feed_count=3"});
    open_shared();
    plant_counters();
    shared_store(shared.block->motion_slow[0], 1u);
    shared_store(shared.block->motion_slow[2], 1u);
    EXPECT_TRUE(title_becomes(kThreeFeeds + std::string("   M0:SLOW M2:SLOW")));
    shared_store(shared.block->motion_slow[0], 0u);
    shared_store(shared.block->motion_slow[2], 0u);
    EXPECT_TRUE(title_becomes(kThreeFeeds));
}

TEST_F(Title, NamesAFeedThatDropsFramesWhileAnotherKeepsUp) {
    start_with({"feed_count=3"});
    open_shared();
    const uint64_t begun_at = GetTickCount64();
    // Fast enough to stay above the limit even when this loop stalls for a moment.
    const bool flagged = wait_until([&] {
        const uint64_t elapsed_ms = GetTickCount64() - begun_at;
        shared_store(shared.block->feed_frame_count[0], static_cast<uint32_t>(elapsed_ms * 120 / 1000));
        shared_store(shared.block->feed_frame_count[1], static_cast<uint32_t>(elapsed_ms * 120 / 1000));
        shared_store(shared.block->feed_frame_count[2], static_cast<uint32_t>(elapsed_ms * 20 / 1000));
        SetEvent(shared.event[kEventNewFrame]);
        return console_title(console).ends_with("  DROPPING FRAMES: Feed 2");
    });
    EXPECT_TRUE(flagged) << console_title(console);
}

TEST_F(Title, AHiddenPreviewPostsNoRefreshes) {
    start_with({"feed_count=3"});
    open_shared();
    plant_counters();
    ASSERT_TRUE(title_becomes(kThreeFeeds));
    ASSERT_TRUE(select_tab(console, kTabFeeds));
    shared_store(shared.block->feed[0][0].nw, 1001u);
    SetEvent(shared.event[kEventNewFrame]);
    Sleep(1500);  // longer than the waiter's time-out and the preview's timer together
    EXPECT_EQ(console_title(console), kThreeFeeds);
    EXPECT_TRUE(event_is_set(shared, kEventNewFrame)) << "nobody waits for it";
    ASSERT_TRUE(select_tab(console, kTabPreview));
    EXPECT_TRUE(becomes(
        "new frame event", [&] { return event_is_set(shared, kEventNewFrame); }, false));
    EXPECT_TRUE(becomes(
        "title", [&] { return console_title(console).substr(0, 21); }, std::string("[CH 0]  0(481,180,077")));
}

TEST_F(Title, TenThousandRefreshesLeaveNoResourcesBehind) {
    start_with({"feed_count=3"});
    open_shared();
    const auto refresh = [&](int32_t times) {
        for (int32_t i = 0; i < times; ++i) {
            shared_store(shared.block->feed[1][0].nw, static_cast<uint32_t>(i));
            DWORD_PTR result = 0;
            SendMessageTimeoutW(console.window, kRefreshMessage, 0, 0, SMTO_NORMAL, kPatienceMs, &result);
            if (i % 100 == 0) UpdateWindow(console.window);
        }
    };
    refresh(200);  // what is made once has been made
    ASSERT_TRUE(console_answers(console, kPatienceMs));
    const Resources before = count_resources(console);
    ASSERT_GT(before.gdi_objects, 0u);
    ASSERT_GT(before.handles, 0u);
    refresh(10000);
    // A paint may be under way at the moment of counting: a leak would not go away by waiting.
    EXPECT_TRUE(wait_until(
        [&] {
            const Resources after = count_resources(console);
            return after.gdi_objects <= before.gdi_objects + 4 && after.windows == before.windows &&
                   after.handles <= before.handles + 4;
        },
        3000))
        << "GDI " << before.gdi_objects << " -> " << count_resources(console).gdi_objects << ", windows "
        << before.windows << " -> " << count_resources(console).windows << ", handles " << before.handles << " -> "
        << count_resources(console).handles;
}
