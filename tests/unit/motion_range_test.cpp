// saved_motion_range: the regions as one text, and the way back from texts good and bad.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "settings/motion_range.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"

static const char* const kParseError = "ERR auto_setup_restore_motion_range: failed to parse saved_motion_range";

static void number_regions(Settings* settings) {
    for (int32_t feed = 0; feed < 4; ++feed) {
        settings->motion_start_x[feed] = 10 * feed + 1;
        settings->motion_start_y[feed] = 10 * feed + 2;
        settings->motion_end_x[feed] = 10 * feed + 3;
        settings->motion_end_y[feed] = 10 * feed + 4;
    }
}

static void set_text(Settings* settings, const char* text) {
    snprintf(settings->saved_motion_range, sizeof settings->saved_motion_range, "%s", text);
}

TEST(MotionRange, ListsStartAndEndOfTheThreeFeedsInOrder) {
    const auto settings = default_settings();
    number_regions(settings.get());
    save_motion_range(settings.get());
    EXPECT_STREQ(settings->saved_motion_range, "1,2,3,4,11,12,13,14,21,22,23,24");
}

TEST(MotionRange, TheLongestNumbersFitTheSetting) {
    const auto settings = default_settings();
    for (int32_t feed = 0; feed < 3; ++feed) {
        settings->motion_start_x[feed] = settings->motion_start_y[feed] = INT_MIN;
        settings->motion_end_x[feed] = settings->motion_end_y[feed] = INT_MIN;
    }
    save_motion_range(settings.get());
    EXPECT_EQ(std::string(settings->saved_motion_range).size(), size_t{12 * 11 + 11});
}

TEST(MotionRange, RestoringBringsBackWhatWasSaved) {
    const LogCapture log;
    const auto settings = default_settings();
    number_regions(settings.get());
    save_motion_range(settings.get());
    const Settings saved = *settings;
    for (int32_t feed = 0; feed < 3; ++feed) {
        settings->motion_start_x[feed] = 0;
        settings->motion_start_y[feed] = -7;
        settings->motion_end_x[feed] = 1919;
        settings->motion_end_y[feed] = 8;
    }
    EXPECT_EQ(restore_motion_range(settings.get()), 0);
    EXPECT_TRUE(same_bytes(settings.get(), &saved));
    EXPECT_TRUE(log.lines().empty());
}

TEST(MotionRange, BlanksBeforeNumbersAndTextBehindTheTwelfthDoNotMatter) {
    const LogCapture log;
    const auto settings = default_settings();
    set_text(settings.get(), " 1, 2,\t3,4,+5,-6,7,8,9,10,11,12,13 and more");
    EXPECT_EQ(restore_motion_range(settings.get()), 0);
    EXPECT_EQ(settings->motion_start_x[0], 1);
    EXPECT_EQ(settings->motion_start_x[1], 5);
    EXPECT_EQ(settings->motion_start_y[1], -6);
    EXPECT_EQ(settings->motion_end_y[2], 12);
}

TEST(MotionRange, AnyOtherTextLeavesTheRegionsAloneWithAnErrorLine) {
    for (const char* text :
         {"", "1", "1,2,3,4,5,6,7,8,9,10,11", "1,2,3,4,5,6,7,8,9,10,11,", "a,2,3,4,5,6,7,8,9,10,11,12",
          "1 ,2,3,4,5,6,7,8,9,10,11,12", "1;2;3;4;5;6;7;8;9;10;11;12", "1,2,3,4,,6,7,8,9,10,11,12"}) {
        LogCapture log;
        const auto settings = default_settings();
        number_regions(settings.get());
        set_text(settings.get(), text);
        const Settings before = *settings;
        EXPECT_EQ(restore_motion_range(settings.get()), -1) << text;
        EXPECT_TRUE(same_bytes(settings.get(), &before)) << text;
        EXPECT_EQ(log.lines(), std::vector<std::string>{kParseError}) << text;
    }
}

TEST(MotionRange, ATextWithoutItsTerminatorIsReadWithinItsField) {
    const auto settings = default_settings();
    memset(settings->saved_motion_range, '1', sizeof settings->saved_motion_range);
    EXPECT_EQ(restore_motion_range(settings.get()), -1);
}
