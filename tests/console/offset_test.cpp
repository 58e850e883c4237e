// The overlay offsets under the wheel, the alignment of the feeds and the backup of the motion regions.
#include <string>

#include "tests/console/console_test.h"
#include "tests/console/mouse.h"

namespace {
class Offsets : public ConsoleTest {
protected:
    void SetUp() override {
        ConsoleTest::SetUp();
        installation_write(installation, "controller_window.ini", "x=20\ny=20\nwidth=1500\nheight=1140\n");
    }
    bool wheel(int32_t delta) const {
        return turn_wheel_at(control(console, 110), 300, 100, delta);
    }
    // A turn of the wheel that changes nothing. A button pressed behind it shows that it has been looked at.
    void wheel_in_vain(int32_t delta) {
        const int32_t before = log_count(installation, "feed offset: feed * overlay_frame_offsets=*");
        const int32_t others = log_count(installation, "blob circle overlay *");
        ASSERT_TRUE(wheel(delta));
        Sleep(100);  // input takes its way through the display server
        press_on(kTabPreview, 718);
        ASSERT_TRUE(log_shows(installation, "blob circle overlay *", others + 1));
        EXPECT_EQ(log_count(installation, "feed offset: feed * overlay_frame_offsets=*"), before) << delta;
    }
    testing::AssertionResult wheel_gives(int32_t feed, int32_t delta, int32_t offset) {
        const std::string line =
            "feed offset: feed " + std::to_string(feed) + " overlay_frame_offsets=" + std::to_string(offset) +
            " (delta=" + std::to_string(delta) + ", signaled source via shm_control.feed_offset_live)";
        const int32_t before = log_count(installation, line);
        if (!wheel(delta)) return testing::AssertionFailure() << "the picture is covered";
        const testing::AssertionResult shown = log_shows(installation, line, before + 1);
        if (!shown) return shown;
        return becomes(
            "feed_offset_live", [&] { return shared_load(shared.block->feed_offset_live[feed]); }, offset);
    }
    std::string saved_offset(int32_t feed) const {
        return installation_setting(installation, "overlay_frame_offsets[" + std::to_string(feed) + "]");
    }
    std::string settings_path() const {
        return installation_path(installation, "settings.txt");
    }
    void plant_nw(int32_t channel, uint32_t nw0, uint32_t nw1, uint32_t nw2) {
        shared_store(shared.block->feed[0][channel].nw, nw0);
        shared_store(shared.block->feed[1][channel].nw, nw1);
        shared_store(shared.block->feed[2][channel].nw, nw2);
    }
    testing::AssertionResult sync_offsets_become(int32_t first, int32_t last) const {
        const auto& offset = shared.block->feed_sync_offset;
        if (wait_until([&] {
                return shared_load(offset[0]) == first && shared_load(offset[1]) == 0 &&
                       shared_load(offset[2]) == last;
            }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << shared_load(offset[0]) << "," << shared_load(offset[1]) << "," << shared_load(offset[2]);
    }
};
}  // namespace

TEST_F(Offsets, TheWheelMovesTheAdjustedFeedByWholeNotchesAndLeavingSaves) {
    start_with({"overlay_frame_offsets[1]=100"});
    open_shared();
    EXPECT_EQ(button_text(console, 726), "Set F1 Offset");
    wheel_in_vain(120);
    press_on(kTabPreview, 726);
    EXPECT_TRUE(button_becomes(console, 726, "Exit F1 Offset"));
    EXPECT_TRUE(log_shows(installation,
                          "feed offset: feed 1 adjustment ON (overlay_frame_offsets[1]=100; "
                          "wheel up=larger, wheel down=smaller, range [0..540])"));
    wheel_in_vain(60);
    wheel_in_vain(-60);
    EXPECT_TRUE(wheel_gives(1, 240, 102));
    EXPECT_TRUE(wheel_gives(1, -120, 101));
    EXPECT_TRUE(wheel_gives(1, -180, 100));
    EXPECT_EQ(log_count(installation, "settings: saved *"), 0) << "the wheel does not save";
    EXPECT_TRUE(wheel_gives(1, 360, 103));
    press_on(kTabPreview, 726);
    EXPECT_TRUE(log_shows(installation, "feed offset: feed 1 adjustment OFF (overlay_frame_offsets[1]=103)"));
    EXPECT_TRUE(log_shows_in_order(
        installation, {"feed offset: feed 1 adjustment ON *", "feed offset: feed 1 overlay_frame_offsets=102 *",
                       "feed offset persisted to " + settings_path(), "feed offset: feed 1 adjustment OFF *"}));
    EXPECT_TRUE(button_becomes(console, 726, "Set F1 Offset"));
    EXPECT_EQ(saved_offset(1), "103");
    wheel_in_vain(120);
}

TEST_F(Offsets, AnOffsetNeverLeaves0To540) {
    start_with({"overlay_frame_offsets[0]=1", "overlay_frame_offsets[2]=538"});
    open_shared();
    press_on(kTabPreview, 725);
    EXPECT_TRUE(button_becomes(console, 725, "Exit F0 Offset"));
    EXPECT_TRUE(wheel_gives(0, -240, 0));
    wheel_in_vain(-120);
    press_on(kTabPreview, 727);
    EXPECT_TRUE(button_becomes(console, 727, "Exit F2 Offset"));
    EXPECT_TRUE(wheel_gives(2, 240, 540));
    wheel_in_vain(120);
    wheel_in_vain(1200);
    EXPECT_TRUE(wheel_gives(2, -120, 539));
}

TEST_F(Offsets, ChangingOverToAnotherFeedSavesTheFirst) {
    start_with({"overlay_frame_offsets[0]=10", "overlay_frame_offsets[1]=20"});
    open_shared();
    press_on(kTabPreview, 725);
    EXPECT_TRUE(button_becomes(console, 725, "Exit F0 Offset"));
    EXPECT_TRUE(wheel_gives(0, 120, 11));
    EXPECT_EQ(saved_offset(0), "10");
    press_on(kTabPreview, 726);
    EXPECT_TRUE(button_becomes(console, 726, "Exit F1 Offset"));
    EXPECT_EQ(button_text(console, 725), "Set F0 Offset");
    EXPECT_TRUE(log_shows(installation, "feed offset: feed 1 adjustment ON (overlay_frame_offsets[1]=20; *"));
    EXPECT_EQ(saved_offset(0), "11");
    EXPECT_EQ(log_count(installation, "feed offset persisted to *"), 0) << "saved in silence";
    EXPECT_EQ(log_count(installation, "feed offset: feed 0 adjustment OFF *"), 0);
    EXPECT_TRUE(wheel_gives(1, -120, 19));
    EXPECT_EQ(shared_load(shared.block->feed_offset_live[0]), 11);
}

TEST_F(Offsets, AnOffsetThatCannotBeSavedIsReportedAndKept) {
    start_with({"overlay_frame_offsets[2]=10"});
    open_shared();
    press_on(kTabPreview, 727);
    EXPECT_TRUE(button_becomes(console, 727, "Exit F2 Offset"));
    EXPECT_TRUE(wheel_gives(2, 120, 11));
    const std::string blocker = settings_path() + ".tmp";
    ASSERT_TRUE(CreateDirectoryA(blocker.c_str(), nullptr));
    press_on(kTabPreview, 727);
    EXPECT_TRUE(log_shows(installation, "feed offset: feed 2 adjustment OFF (overlay_frame_offsets[2]=11)"));
    EXPECT_TRUE(log_shows_in_order(installation, {"ERR failed to persist feed offset to " + settings_path(),
                                                  "feed offset: feed 2 adjustment OFF *"}));
    EXPECT_EQ(saved_offset(2), "10");
    ASSERT_TRUE(RemoveDirectoryA(blocker.c_str()));
    ASSERT_EQ(console_close(&console), 0);
    EXPECT_EQ(saved_offset(2), "11") << "closing saves what was kept";
}

TEST_F(Offsets, TheWheelDoesNothingWhileTheTabIsHidden) {
    start_with({"overlay_frame_offsets[1]=100"});
    open_shared();
    press_on(kTabPreview, 726);
    EXPECT_TRUE(button_becomes(console, 726, "Exit F1 Offset"));
    ASSERT_TRUE(select_tab(console, kTabFeeds));
    PostMessageW(console.window, WM_MOUSEWHEEL, MAKEWPARAM(0, 240), 0);
    PostMessageW(control(console, 110), WM_MOUSEWHEEL, MAKEWPARAM(0, 240), 0);
    ASSERT_TRUE(select_tab(console, kTabPreview));
    EXPECT_EQ(log_count(installation, "feed offset: feed 1 overlay_frame_offsets=*"), 0);
    EXPECT_TRUE(wheel_gives(1, 120, 101)) << "and goes on where it was";
}

TEST_F(Offsets, SyncFeedsStoresTheLeadOverFeedOneAndSavesNothing) {
    start_with({});
    open_shared();
    plant_nw(0, 1000, 990, 985);
    press_on(kTabPreview, 715);
    EXPECT_TRUE(log_shows(installation,
                          "sync feeds: nw[0]=1000 nw[1]=990 nw[2]=985 → offsets[0]=10 offsets[1]=0 "
                          "offsets[2]=-5"));
    EXPECT_TRUE(sync_offsets_become(10, -5));
    plant_nw(2, 3, 2, 7);
    shared_store(shared.block->channel, int8_t{2});
    press_on(kTabPreview, 715);
    EXPECT_TRUE(log_shows(installation,
                          "sync feeds: nw[0]=3 nw[1]=2 nw[2]=7 → offsets[0]=1 offsets[1]=0 "
                          "offsets[2]=5"));
    EXPECT_TRUE(sync_offsets_become(1, 5));
    EXPECT_EQ(log_count(installation, "settings: saved *"), 0);
}

TEST_F(Offsets, SaveMotionRangeKeepsTheTwelveNumbersInTheSettings) {
    start_with({"motion_start_x[0]=1", "motion_start_y[0]=32", "motion_end_x[0]=3", "motion_end_y[0]=4",
                "motion_start_x[1]=11", "motion_start_y[1]=42", "motion_end_x[1]=13", "motion_end_y[1]=14",
                "motion_start_x[2]=21", "motion_start_y[2]=52", "motion_end_x[2]=23", "motion_end_y[2]=24"});
    press_on(kTabPreview, 719);
    EXPECT_TRUE(log_shows(installation, "saved motion range: 1,32,3,4,11,42,13,14,21,52,23,24"));
    EXPECT_EQ(installation_setting(installation, "*saved_motion_range"), "1,32,3,4,11,42,13,14,21,52,23,24");
}
