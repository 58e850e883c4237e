#include "settings/settings_values.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/settings_text.h"

static int32_t index_of(const char* key) {
    const int32_t index = settings_info_find(key);
    EXPECT_GE(index, 0) << key;
    return index;
}

TEST(SettingsDefaults, FillARecordOfRubbishCompletely) {
    const auto expected = default_settings();
    auto settings = std::make_unique<Settings>();
    memset(static_cast<void*>(settings.get()), 0xA5, sizeof(Settings));
    settings_init_defaults(settings.get());
    EXPECT_TRUE(same_bytes(settings.get(), expected.get()));
}

TEST(SettingsDefaults, PixelTablesAreEmptyAndGridLinesLabelled) {
    const auto s = default_settings();
    for (int32_t feed = 0; feed < 3; ++feed) {
        EXPECT_EQ(s->pixel_frames_populated[feed], 0);
        for (int32_t x = 0; x < kPixelColumns; ++x) {
            ASSERT_EQ(s->pixel_to_start[feed][x], 0);
            ASSERT_EQ(s->pixel_to_scene[feed][x], 0);
            ASSERT_EQ(s->pixel_to_end[feed][x], 0);
        }
        for (int32_t line = 0; line < kGridLinesPerFeed; ++line) {
            char label[64];
            snprintf(label, sizeof label, "@far[%d][%2d]", feed, line);
            EXPECT_STREQ(s->far_lines[feed][line].label, label);
            snprintf(label, sizeof label, "@near[%d][%2d]", feed, line);
            EXPECT_STREQ(s->near_lines[feed][line].label, label);
            EXPECT_EQ(s->far_lines[feed][line].x, 0);
            EXPECT_EQ(s->near_lines[feed][line].y, 0);
        }
    }
}

TEST(SettingsDefaults, ChromaValuesOutsideAByteAreKept) {
    const auto s = default_settings();
    EXPECT_EQ(s->meter_line_U, 265);
    EXPECT_EQ(s->meter1_line_U, 265);
    EXPECT_EQ(s->meterD_line_V, 265);
}

TEST(SettingsDefaults, NoDefaultSendsAMovieToARealHost) {
    const auto s = default_settings();
    EXPECT_STREQ(s->upload_host, "upload.example.invalid");
    EXPECT_STREQ(s->upload_signal_url, "http://upload.example.invalid/tournament/signal_next.cgi");
}

TEST(MeterValues, DefaultsGiveEveryFeedItsLines) {
    const auto s = default_settings();
    const std::vector<std::vector<int32_t>> expected = {
        {35, 40, 45, 50, 0}, {35, 40, 45, 50, 55, 60, 65, 0}, {45, 50, 55, 60, 65, 70, 75, 0}};
    for (size_t feed = 0; feed < 3; ++feed)
        for (size_t i = 0; i < expected[feed].size(); ++i) EXPECT_EQ(s->meter_values[feed][i], expected[feed][i]);
}

TEST(MeterValues, ACountAboveThirtyBecomesThirty) {
    const auto s = default_settings();
    s->meter_line_count[1] = 45;
    s->meter_line_count[2] = 31;
    s->meter_line_count[0] = 30;
    settings_recompute_meter_values(s.get());
    EXPECT_EQ(s->meter_line_count[1], 30);
    EXPECT_EQ(s->meter_line_count[2], 30);
    EXPECT_EQ(s->meter_line_count[0], 30);
    EXPECT_EQ(s->meter_values[1][29], 35 + 29 * 5);
}

TEST(MeterValues, ACountOfZeroOrLessLeavesTheListUntouched) {
    const auto s = default_settings();
    for (const int32_t count : {0, -7}) {
        s->meter_line_count[1] = count;
        s->meter_line_start[1] = 1000;
        settings_recompute_meter_values(s.get());
        EXPECT_EQ(s->meter_line_count[1], count);
        EXPECT_EQ(s->meter_values[1][0], 35);
        EXPECT_EQ(s->meter_values[1][6], 65);
    }
}

TEST(MeterValues, SlotsBeyondTheCountKeepTheirOldContents) {
    const auto s = default_settings();
    s->meter_line_count[1] = 2;
    s->meter_line_start[1] = 100;
    settings_recompute_meter_values(s.get());
    EXPECT_EQ(s->meter_values[1][0], 100);
    EXPECT_EQ(s->meter_values[1][1], 105);
    EXPECT_EQ(s->meter_values[1][2], 45);
}

TEST(MeterValues, HugeIncrementsWrapInsteadOfTrapping) {
    const auto s = default_settings();
    s->meter_line_count[0] = 30;
    s->meter_line_start[0] = INT32_MAX;
    s->meter_line_increment[0] = INT32_MAX;
    settings_recompute_meter_values(s.get());
    EXPECT_EQ(s->meter_values[0][0], INT32_MAX);
    EXPECT_EQ(s->meter_values[0][1], -2);
}

TEST(SettingsInfo, Lists388EntriesAndNeverASeparator) {
    EXPECT_EQ(settings_info_count(), 388);
    for (int32_t i = 0; i < settings_info_count(); ++i) {
        const SettingInfo* info = settings_info_at(i);
        ASSERT_NE(info, nullptr);
        EXPECT_NE(info->type, SETTING_SEPARATOR);
        EXPECT_STRNE(info->key, "");
        EXPECT_STRNE(info->description, "");
        EXPECT_STRNE(info->category, "");
        EXPECT_EQ(settings_info_find(info->key), i);
    }
    EXPECT_STREQ(settings_info_at(0)->key, "frame_position_bar_height");
    EXPECT_STREQ(settings_info_at(387)->key, "@near[2][29]");
}

TEST(SettingsInfo, AnswersNothingOutOfRange) {
    for (const int32_t index : {-1, 388, INT32_MIN, INT32_MAX}) EXPECT_EQ(settings_info_at(index), nullptr);
    EXPECT_EQ(settings_info_find("no_such_key"), -1);
    EXPECT_EQ(settings_info_find(""), -1);
}

TEST(SettingsAccess, GettersAndSettersReachTheField) {
    const auto s = default_settings();
    settings_set_int(s.get(), index_of("min_blob_sizes[3]"), 77);
    EXPECT_EQ(s->min_blob_sizes[3], 77);
    EXPECT_EQ(settings_get_int(s.get(), index_of("min_blob_sizes[3]")), 77);
    settings_set_float(s.get(), index_of("max_diff_y%"), 1.5f);
    EXPECT_EQ(s->max_diff_y_pct, 1.5f);
    EXPECT_EQ(settings_get_float(s.get(), index_of("max_diff_y%")), 1.5f);
    settings_set_string(s.get(), index_of("*camera_device_path[2]"), "cam");
    EXPECT_STREQ(s->camera_device_path[2], "cam");
    EXPECT_STREQ(settings_get_string(s.get(), index_of("*camera_device_path[2]")), "cam");
    settings_set_pair(s.get(), index_of("@near[2][ 9]"), {4, -5});
    EXPECT_EQ(s->near_lines[2][9].x, 4);
    EXPECT_EQ(s->near_lines[2][9].y, -5);
    EXPECT_STREQ(s->near_lines[2][9].label, "@near[2][ 9]");
    EXPECT_EQ(settings_get_pair(s.get(), index_of("@near[2][ 9]")).y, -5);
}

TEST(SettingsAccess, AStringOf300CharactersIsStoredAsItsFirst255) {
    const auto s = default_settings();
    const std::string text(300, 'q');
    settings_set_string(s.get(), index_of("*archive_dir"), text.c_str());
    EXPECT_EQ(std::string(s->archive_dir), std::string(255, 'q'));
    EXPECT_STREQ(s->upload_host, "upload.example.invalid") << "the neighbour is untouched";
}

TEST(SettingsAccess, ANullTextIsIgnored) {
    const auto s = default_settings();
    settings_set_string(s.get(), index_of("*archive_dir"), nullptr);
    EXPECT_STREQ(s->archive_dir, "output_videos");
}

TEST(SettingsAccess, ATextMayBeSetFromItself) {
    const auto s = default_settings();
    settings_set_string(s.get(), index_of("*archive_dir"), s->archive_dir + 7);
    EXPECT_STREQ(s->archive_dir, "videos");
}

TEST(SettingsAccess, AnotherKindReadsAsNothing) {
    const auto s = default_settings();
    const int32_t number = index_of("feed_count");
    const int32_t text = index_of("*archive_dir");
    EXPECT_EQ(settings_get_float(s.get(), number), 0.0f);
    EXPECT_STREQ(settings_get_string(s.get(), number), "");
    EXPECT_EQ(settings_get_pair(s.get(), number).x, 0);
    EXPECT_EQ(settings_get_int(s.get(), text), 0);
}

TEST(SettingsAccess, AnotherKindOrIndexSetsNothing) {
    const auto s = default_settings();
    const auto before = default_settings();
    for (int32_t index = -2; index < 391; ++index) {
        const SettingInfo* info = settings_info_at(index);
        const SettingType type = info ? info->type : SETTING_SEPARATOR;
        if (type != SETTING_INT) settings_set_int(s.get(), index, 99);
        if (type != SETTING_FLOAT) settings_set_float(s.get(), index, 9.0f);
        if (type != SETTING_STRING) settings_set_string(s.get(), index, "nine");
        if (type != SETTING_PAIR) settings_set_pair(s.get(), index, {9, 9});
    }
    EXPECT_TRUE(same_bytes(s.get(), before.get()));
    EXPECT_EQ(settings_get_int(s.get(), 388), 0);
    EXPECT_EQ(settings_get_int(s.get(), -1), 0);
}
