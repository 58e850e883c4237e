// The settings editor without its window: places, texts and what a typed text stores.
#include "settings/editor_rows.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

static testing::AssertionResult lies_at(const EditorPlace& place, int32_t x, int32_t y, int32_t width,
                                        int32_t height) {
    if (place.x == x && place.y == y && place.width == width && place.height == height)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << place.x << "," << place.y << " " << place.width << "x" << place.height;
}

namespace {

class EditorRowsTest : public testing::Test {
protected:
    void SetUp() override {
        settings_init_defaults(settings.get());
        lay_out_editor(rows.get());
    }
    const EditorRow& row_of(const char* key) const {
        return rows->row[static_cast<size_t>(settings_info_find(key))];
    }
    std::string text(const char* key) const {
        return editor_value_text(settings.get(), settings_info_find(key));
    }
    std::string stored(const char* key, std::string_view typed) {
        editor_store_text(settings.get(), settings_info_find(key), typed);
        return text(key);
    }

    std::unique_ptr<Settings> settings = std::make_unique<Settings>();
    std::unique_ptr<EditorRows> rows = std::make_unique<EditorRows>();
};

}  // namespace

TEST_F(EditorRowsTest, TheFirstHeadingLiesAt6AndTheFirstRowAt28) {
    EXPECT_STREQ(rows->row[0].heading, "Display / UI");
    EXPECT_TRUE(lies_at(rows->row[0].heading_place, 10, 6, 380, 22));
    EXPECT_STREQ(settings_info_at(rows->row[0].index)->key, "frame_position_bar_height");
    EXPECT_TRUE(lies_at(rows->row[0].label, 10, 30, 260, 18));
    EXPECT_TRUE(lies_at(rows->row[0].box, 275, 28, 120, 20));
    EXPECT_EQ(rows->row[1].heading, nullptr);
    EXPECT_EQ(rows->row[1].box.y, 49);
}

TEST_F(EditorRowsTest, ALaterHeadingKeepsAGapOf6) {
    EXPECT_STREQ(rows->row[4].heading, "Video / Movie");
    EXPECT_TRUE(lies_at(rows->row[4].heading_place, 10, 28 + 4 * 21 + 6, 380, 22));
    EXPECT_EQ(rows->row[4].box.y, 28 + 4 * 21 + 6 + 22);
}

TEST_F(EditorRowsTest, EveryPublicSettingHasItsRowInOrder) {
    ASSERT_EQ(rows->count, kSettingInfoCount);
    int32_t y = 6;
    std::string heading;
    for (int32_t i = 0; i < rows->count; ++i) {
        const EditorRow& row = rows->row[static_cast<size_t>(i)];
        const SettingInfo* info = settings_info_at(i);
        EXPECT_EQ(row.index, i);
        if (heading != info->category) {
            ASSERT_NE(row.heading, nullptr) << info->key;
            EXPECT_STREQ(row.heading, info->category);
            EXPECT_EQ(row.heading_place.y, y >= 7 ? y + 6 : y);
            y = row.heading_place.y + 22;
            heading = info->category;
        } else {
            EXPECT_EQ(row.heading, nullptr) << info->key;
        }
        EXPECT_TRUE(lies_at(row.label, 10, y + 2, 260, 18)) << info->key;
        EXPECT_TRUE(lies_at(row.box, 275, y, info->type == SETTING_STRING ? 720 : 120, 20)) << info->key;
        y += 21;
    }
    EXPECT_EQ(rows->content_height, y + 6);
}

TEST_F(EditorRowsTest, OnlyTheOutputFolderHasAButton) {
    ASSERT_GE(rows->folder_row, 0);
    EXPECT_STREQ(settings_info_at(rows->folder_row)->key, "*capfile_output_dir");
    EXPECT_TRUE(lies_at(rows->folder_button, 720 + 281, row_of("*capfile_output_dir").box.y - 1, 90, 22));
}

TEST(EditorLayout, ARowWithoutACategoryStaysUnderTheHeadingBefore) {
    static const SettingInfo infos[] = {{"a", "", "", SETTING_INT},
                                        {"b", "", "One", SETTING_INT},
                                        {"c", "", "", SETTING_INT},
                                        {"d", "", "One", SETTING_INT}};
    auto rows = std::make_unique<EditorRows>();
    lay_out_editor(rows.get(), 4, [](int32_t index) { return &infos[index]; });
    EXPECT_EQ(rows->row[0].heading, nullptr);
    EXPECT_EQ(rows->row[0].box.y, 6);
    EXPECT_EQ(rows->row[1].heading_place.y, 27 + 6);
    EXPECT_EQ(rows->row[1].box.y, 55);
    EXPECT_EQ(rows->row[2].heading, nullptr);
    EXPECT_EQ(rows->row[3].heading, nullptr);
    EXPECT_EQ(rows->folder_row, -1);
    EXPECT_EQ(rows->content_height, 55 + 3 * 21 + 6);
}

TEST(EditorLayout, WhatExceedsFiveHundredRowsIsLeftOut) {
    static const SettingInfo info = {"a", "", "", SETTING_INT};
    auto rows = std::make_unique<EditorRows>();
    lay_out_editor(rows.get(), 501, [](int32_t) { return &info; });
    EXPECT_EQ(rows->count, 500);
    EXPECT_EQ(rows->content_height, 6 + 500 * 21 + 6);
    lay_out_editor(rows.get(), 0, [](int32_t) { return &info; });
    EXPECT_EQ(rows->count, 0);
    EXPECT_EQ(rows->content_height, 12);
}

TEST_F(EditorRowsTest, AValueIsShownAsItsKindIs) {
    EXPECT_EQ(text("capfile_nvenc_gpu_index"), "-1");
    EXPECT_EQ(text("mouse_position_speed"), "5.000000");
    EXPECT_EQ(text("*archive_dir"), "output_videos");
    EXPECT_EQ(text("*font_file"), "");
    EXPECT_EQ(text("@far[0][ 0]"), "0,0");
    settings->near_lines[2][29].x = -7;
    settings->near_lines[2][29].y = 1919;
    EXPECT_EQ(text("@near[2][29]"), "-7,1919");
    EXPECT_EQ(editor_value_text(settings.get(), -1), "");
    EXPECT_EQ(editor_value_text(settings.get(), kSettingInfoCount), "");
}

TEST_F(EditorRowsTest, AFloatShowsSixDecimalsAndStoresTheNearest32BitNumber) {
    EXPECT_EQ(stored("mouse_position_speed", "0.35"), "0.350000");
    EXPECT_EQ(settings->mouse_position_speed, 0.35f);
    EXPECT_EQ(stored("mouse_position_speed", "wide"), "0.000000");
}

TEST_F(EditorRowsTest, LettersInAnIntegerBoxStore0) {
    EXPECT_EQ(stored("big_window_height", "abc"), "0");
    EXPECT_EQ(stored("big_window_height", " 12 apples"), "12");
    EXPECT_EQ(stored("big_window_height", ""), "0");
    EXPECT_EQ(stored("big_window_height", "-4"), "-4") << "limits are the loader's";
}

TEST_F(EditorRowsTest, APairThatIsNoneStoresZerosAndALoneNumberIsX) {
    EXPECT_EQ(stored("@far[1][ 3]", "640,360"), "640,360");
    EXPECT_EQ(stored("@far[1][ 3]", " -5, 17 "), "-5,17");
    EXPECT_EQ(stored("@far[1][ 3]", "12"), "12,0");
    EXPECT_EQ(stored("@far[1][ 3]", "12,"), "12,0");
    EXPECT_EQ(stored("@far[1][ 3]", "12 ,13"), "12,0") << "the comma follows the number at once";
    EXPECT_EQ(stored("@far[1][ 3]", ",13"), "0,0");
    EXPECT_EQ(stored("@far[1][ 3]", "left"), "0,0");
    EXPECT_EQ(stored("@far[1][ 3]", ""), "0,0");
}

TEST_F(EditorRowsTest, ATextIsStoredAsTyped) {
    EXPECT_EQ(stored("*archive_dir", " C:\\Schanze Süd "), " C:\\Schanze Süd ");
    EXPECT_EQ(stored("*archive_dir", ""), "");
}

TEST_F(EditorRowsTest, ATextThatIsTooLongEndsWithAWholeCharacter) {
    EXPECT_EQ(stored("*archive_dir", std::string(255, 'a')), std::string(255, 'a'));
    EXPECT_EQ(stored("*archive_dir", std::string(300, 'a')), std::string(255, 'a'));
    EXPECT_EQ(stored("*archive_dir", std::string(254, 'a') + "é"), std::string(254, 'a'));
    EXPECT_EQ(stored("*archive_dir", std::string(253, 'a') + "éb"), std::string(253, 'a') + "é");
}

TEST_F(EditorRowsTest, EveryTextComesBackAsItWasShown) {
    for (int32_t i = 0; i < rows->count; ++i) {
        const std::string shown = editor_value_text(settings.get(), i);
        editor_store_text(settings.get(), i, shown);
        EXPECT_EQ(editor_value_text(settings.get(), i), shown) << settings_info_at(i)->key;
    }
    auto defaults = std::make_unique<Settings>();
    settings_init_defaults(defaults.get());
    EXPECT_EQ(memcmp(settings.get(), defaults.get(), sizeof(Settings)), 0);
}

TEST(EditorMotionX, AThirdAHalfAndTheWholePicture) {
    EXPECT_EQ(editor_motion_end_x(33), 633);
    EXPECT_EQ(editor_motion_end_x(50), 960);
    EXPECT_EQ(editor_motion_end_x(100), 1919);
    EXPECT_EQ(editor_motion_end_x(0), 1);
}

TEST(EditorScroll, APositionStaysWithinTheContent) {
    EXPECT_EQ(editor_scroll_position(-20, 1000, 300), 0);
    EXPECT_EQ(editor_scroll_position(500, 1000, 300), 500);
    EXPECT_EQ(editor_scroll_position(9999, 1000, 300), 701);
    EXPECT_EQ(editor_scroll_position(20, 1000, 5000), 0);
    EXPECT_EQ(editor_scroll_position(5000, 1000, 0), 1000);
}

TEST(EditorScroll, TheWheelMovesALinePerNotchAndKeepsTheRest) {
    int32_t rest = 0;
    EXPECT_EQ(editor_wheel_pixels(&rest, 120), -20);
    EXPECT_EQ(editor_wheel_pixels(&rest, -240), 40);
    EXPECT_EQ(editor_wheel_pixels(&rest, -60), 0);
    EXPECT_EQ(editor_wheel_pixels(&rest, -60), 20);
    EXPECT_EQ(editor_wheel_pixels(&rest, -60), 0);
    EXPECT_EQ(editor_wheel_pixels(&rest, 60), 0) << "half a notch back is no notch";
    EXPECT_EQ(editor_wheel_pixels(&rest, 60), -20);
}
