#include "settings/setting_suggestion.h"

#include <string>

#include <gtest/gtest.h>

#include "settings/descriptor_table.h"

static std::string nearest(std::string_view key) {
    const int32_t row = setting_row_nearest(key);
    return row < 0 ? "" : kSettingTable[row].key;
}

TEST(SettingSuggestion, OneTypingErrorFindsTheKey) {
    EXPECT_EQ(nearest("feed_cuont"), "feed_count");  // swapped
    EXPECT_EQ(nearest("feed_cont"), "feed_count");   // missing
    EXPECT_EQ(nearest("feed_countt"), "feed_count");
    EXPECT_EQ(nearest("feed_coint"), "feed_count");
    EXPECT_EQ(nearest("movie_pas"), "movie_pad");
    EXPECT_EQ(nearest("max_dif_y%"), "max_diff_y%");
}

TEST(SettingSuggestion, PrefixesBracketsBlanksAndCaseCountLittle) {
    EXPECT_EQ(nearest("upload_host"), "*upload_host");
    EXPECT_EQ(nearest("font_file"), "*font_file");
    EXPECT_EQ(nearest("@far[0][3]"), "@far[0][ 3]");
    EXPECT_EQ(nearest("far[2][29]"), "@far[2][29]");
    EXPECT_EQ(nearest("near[1][ 7"), "@near[1][ 7]");
    EXPECT_EQ(nearest("*feed_count"), "feed_count");
    EXPECT_EQ(nearest("feed-count"), "feed_count");
    EXPECT_EQ(nearest("Feed_Count"), "feed_count");
    EXPECT_EQ(nearest("METER_LINE_y"), "meter_line_Y") << "case counts so little that ten letters of it still fit";
    EXPECT_EQ(nearest("min_motion_count0"), "min_motion_count[0]");
    EXPECT_EQ(nearest("*camera_device_path"), "*camera_device_path[0]");
}

TEST(SettingSuggestion, AnIndexThatDoesNotExistFindsTheFirstThatDoes) {
    EXPECT_EQ(nearest("feed_motion_on[3]"), "feed_motion_on[0]");
    EXPECT_EQ(nearest("@far[0][30]"), "@far[0][ 0]") << "of the anchors one digit away the first of the table";
}

TEST(SettingSuggestion, WhatResemblesNothingHasNoSuggestion) {
    for (const char* key : {"", "x", "abc", "[]", "*", "@@@@[[[[]]]]", "        ", "colour_scheme", "language"})
        EXPECT_EQ(nearest(key), "") << "'" << key << "'";
    EXPECT_EQ(nearest(std::string(500, 'f')), "");
    EXPECT_EQ(nearest(std::string(80, '[')), "");
}

TEST(SettingSuggestion, AShortKeyMayHaveFewerErrorsThanALongOne) {
    EXPECT_EQ(nearest("mvie_pd"), "") << "two errors in seven characters";
    EXPECT_EQ(nearest("min_frame_betwen_movie"), "min_frames_between_movies") << "three in twenty-two";
    EXPECT_EQ(nearest("mn_frame_betwen_movie"), "") << "four";
}

TEST(SettingSuggestion, EveryKeyIsNearestToItself) {
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (kSettingTable[row].type == SETTING_SEPARATOR) continue;
        EXPECT_EQ(setting_row_nearest(kSettingTable[row].key), row);
    }
}
