// The table read once more, against lists that were not made from it.
#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "settings/descriptor_table.h"
#include "settings/settings_line.h"
#include "settings/settings_values.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

static std::vector<std::string> golden_lines(const char* name) {
    return split_lines(read_whole_file(std::string(ORVEK_TEST_DATA) + "/" + name));
}

static std::vector<std::string> fields_of(const std::string& line) {
    std::vector<std::string> fields(1);
    for (const char c : line) {
        if (c == '\t') {
            fields.emplace_back();
        } else {
            fields.back().push_back(c);
        }
    }
    return fields;
}

static std::string escaped(std::string_view text) {
    std::string out;
    for (const char c : text) out += c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c);
    return out;
}

static const char* type_word(SettingType type) {
    static constexpr const char* kWords[] = {"int", "float", "string", "pair", "separator"};
    return kWords[type];
}

TEST(SettingsTable, RowsStandInTheOrderOfTheFile) {
    const std::vector<std::string> keys = golden_lines("settings_keys.golden");  // an empty line per separator
    ASSERT_EQ(keys.size(), static_cast<size_t>(kSettingRowCount));
    for (int32_t row = 0; row < kSettingRowCount; ++row)
        EXPECT_EQ(kSettingTable[row].key, keys[row]) << "row " << row;
}

TEST(SettingsTable, EveryRowHasItsTypeDefaultCategoryAndHelp) {
    const std::vector<std::string> rows = golden_lines("settings_rows.golden");
    ASSERT_EQ(rows.size(), static_cast<size_t>(kSettingInfoCount));
    const auto defaults = default_settings();
    for (const std::string& line : rows) {
        SCOPED_TRACE(line);
        const std::vector<std::string> fields = fields_of(line);
        ASSERT_EQ(fields.size(), 5u);
        const int32_t row = setting_row_find(fields[0]);
        ASSERT_GE(row, 0);
        EXPECT_EQ(type_word(kSettingTable[row].type), fields[1]);
        std::string value;
        format_setting_value(defaults.get(), row, &value);
        if (kSettingTable[row].type == SETTING_FLOAT) {
            EXPECT_EQ(settings_get_float(defaults.get(), settings_info_find(fields[0])), std::stof(fields[2]));
        } else {
            EXPECT_EQ(value, fields[2]);
        }
        EXPECT_EQ(kSettingTable[row].category, fields[3]);
        EXPECT_EQ(escaped(kSettingTable[row].description), fields[4]);
    }
}

// Which field a key binds is the one thing the golden lists cannot tell.
TEST(SettingsTable, EveryKeyBindsTheFieldOfItsName) {
    const struct {
        std::string key, field;
        size_t offset;
    } rows[] = {
#define ROW(kind, key, field, init, category, help) {key, #field, offsetof(Settings, field)},
#define ROW_NOT_SAVED ROW
#define SEPARATOR()
#include "settings/descriptor_rows.inc"
#undef ROW
#undef ROW_NOT_SAVED
#undef SEPARATOR
    };
    EXPECT_EQ(std::size(rows), 208u);
    for (const auto& row : rows) {
        std::string expected = row.key[0] == '*' ? row.key.substr(1) : row.key;
        if (expected.back() == '%') expected.replace(expected.size() - 1, 1, "_pct");
        EXPECT_EQ(row.field, expected);
        EXPECT_EQ(kSettingTable[setting_row_find(row.key)].offset, row.offset) << row.key;
    }
    const auto s = default_settings();
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (kSettingTable[row].type != SETTING_PAIR) continue;
        const char* anchor = reinterpret_cast<const char*>(s.get()) + kSettingTable[row].offset;
        EXPECT_STREQ(reinterpret_cast<const GridLine*>(anchor)->label, kSettingTable[row].key);
    }
}

TEST(SettingsTable, EndsWithARowWhoseKeyIsNull) {
    EXPECT_EQ(kSettingTable[kSettingRowCount].key, nullptr);
    EXPECT_EQ(kSettingTable.size(), 427u);
}

TEST(SettingsTable, CountsByKindAreAsAgreed) {
    std::map<SettingType, int> count;
    for (int32_t row = 0; row < kSettingRowCount; ++row) ++count[kSettingTable[row].type];
    EXPECT_EQ(count[SETTING_INT], 183);
    EXPECT_EQ(count[SETTING_FLOAT], 11);
    EXPECT_EQ(count[SETTING_STRING], 14);
    EXPECT_EQ(count[SETTING_PAIR], 180);
    EXPECT_EQ(count[SETTING_SEPARATOR], 38);
}

TEST(SettingsTable, SeparatorsAreEmpty) {
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        const SettingDescriptor& descriptor = kSettingTable[row];
        if (descriptor.type != SETTING_SEPARATOR) continue;
        EXPECT_STREQ(descriptor.key, "");
        EXPECT_STREQ(descriptor.description, "");
        EXPECT_STREQ(descriptor.category, "");
    }
}

TEST(SettingsTable, KeyPrefixTellsStringsAndPairs) {
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        const SettingDescriptor& descriptor = kSettingTable[row];
        EXPECT_EQ(descriptor.key[0] == '*', descriptor.type == SETTING_STRING) << descriptor.key;
        EXPECT_EQ(descriptor.key[0] == '@', descriptor.type == SETTING_PAIR) << descriptor.key;
    }
}

TEST(SettingsTable, NoTwoRowsShareAByteOfTheRecord) {
    static constexpr size_t kSizes[] = {sizeof(int32_t), sizeof(float), kSettingTextSize, sizeof(GridLine)};
    std::vector<std::pair<size_t, size_t>> spans;
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        const SettingDescriptor& descriptor = kSettingTable[row];
        if (descriptor.type != SETTING_SEPARATOR)
            spans.emplace_back(descriptor.offset, descriptor.offset + kSizes[descriptor.type]);
    }
    std::sort(spans.begin(), spans.end());
    for (size_t i = 1; i < spans.size(); ++i) EXPECT_LE(spans[i - 1].second, spans[i].first) << "span " << i;
    EXPECT_LE(spans.back().second, sizeof(Settings));
}

TEST(SettingsTable, EveryKeyIsFoundAndNothingElse) {
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (kSettingTable[row].type == SETTING_SEPARATOR) continue;
        EXPECT_EQ(setting_row_find(kSettingTable[row].key), row);
        EXPECT_EQ(setting_row_find(std::string(kSettingTable[row].key) + "x"), -1);
    }
    for (const char* unknown : {"", "Feed_count", "feed_count ", "font_file", "min_blob_sizes", "min_blob_sizes[4]"})
        EXPECT_EQ(setting_row_find(unknown), -1) << unknown;
}

TEST(SettingsTable, APairKeyNeedsItsInnerBlank) {
    const int32_t row = setting_row_find("@far[1][ 5]");
    ASSERT_GE(row, 0);
    EXPECT_EQ(kSettingTable[row].offset, offsetof(Settings, far_lines) + 35 * sizeof(GridLine));
    EXPECT_EQ(setting_row_find("@far[1][5]"), -1);
}

TEST(SettingsTable, SeventeenKeysAreReadButNotSaved) {
    const std::set<std::string> expected = {"feed_video_frames[0]",
                                            "feed_video_frames[1]",
                                            "feed_video_frames[2]",
                                            "feed_sync_offset[0]",
                                            "feed_sync_offset[1]",
                                            "feed_sync_offset[2]",
                                            "frames_before_first_blob[0]",
                                            "frames_before_first_blob[1]",
                                            "frames_before_first_blob[2]",
                                            "frames_after_last_blob[0]",
                                            "frames_after_last_blob[1]",
                                            "frames_after_last_blob[2]",
                                            "inter_feed_gap_frames[0]",
                                            "inter_feed_gap_frames[1]",
                                            "center_of_blob_scene_trigger[0]",
                                            "center_of_blob_scene_trigger[1]",
                                            "center_of_blob_scene_trigger[2]"};
    std::set<std::string> listed;
    for (const char* key : kSettingsNotSaved)
        if (key) listed.insert(key);
    EXPECT_EQ(listed, expected);
    EXPECT_EQ(kSettingsNotSaved.back(), nullptr);
    for (int32_t row = 0; row < kSettingRowCount; ++row)
        EXPECT_EQ(setting_row_is_saved(row), expected.count(kSettingTable[row].key) == 0) << kSettingTable[row].key;
}

TEST(SettingsTable, CategoriesComeInOrderOfFirstAppearance) {
    const std::vector<std::string> expected = {"Display / UI",
                                               "Video / Movie",
                                               "Motion Regions",
                                               "Blob Trigger Logic",
                                               "Motion Marker Colors",
                                               "Percentage Thresholds",
                                               "Absolute Diff Thresholds",
                                               "Debug",
                                               "Blob Detection",
                                               "Scene Trigger",
                                               "Feed Control",
                                               "Grid Line Colors",
                                               "Cursor Measurement",
                                               "Grid Line Geometry",
                                               "Grid Line Anchors"};
    ASSERT_EQ(kSettingCategories.size(), expected.size() + 1);
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(kSettingCategories[i], expected[i]);
    EXPECT_EQ(kSettingCategories.back(), nullptr);
}
