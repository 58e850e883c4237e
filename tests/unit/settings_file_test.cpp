// Reading settings.txt, line by line and as a whole.
#include "settings/settings_file.h"

#include <climits>
#include <cmath>
#include <cstring>

#include <gtest/gtest.h>

#include "settings/settings_line.h"
#include "settings/text_numbers.h"
#include "settings/text_pieces.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

TEST(SettingsLine, FallsIntoKeyAndValue) {
    struct Case {
        const char* line;
        LineKind kind;
        const char* key;
        const char* value;
    };
    const Case cases[] = {
        {"", LineKind::nothing, "", ""},
        {" \t ", LineKind::nothing, "", ""},
        {"\n", LineKind::nothing, "", ""},
        {"  \r\n", LineKind::nothing, "", ""},
        {"# feed_count=1\n", LineKind::nothing, "", ""},
        {" \t# feed_count=1\n", LineKind::nothing, "", ""},
        {"feed_count 2\n", LineKind::no_equals, "", ""},
        {"feed_count=\n", LineKind::no_value, "feed_count", ""},
        {"feed_count= \t \r\n", LineKind::no_value, "feed_count", ""},
        {"feed_count=#2\n", LineKind::no_value, "feed_count", ""},
        {"feed_count=  # two\n", LineKind::no_value, "feed_count", ""},
        {"=2\n", LineKind::unknown_key, "", "2"},
        {"Feed_Count=2\n", LineKind::unknown_key, "Feed_Count", "2"},
        {"feed_count=2\n", LineKind::setting, "feed_count", "2"},
        {"feed_count=2", LineKind::setting, "feed_count", "2"},
        {" \tfeed_count \t=\t 2 \t# two\r\n", LineKind::setting, "feed_count", "2"},
        {"*font_file=a#b\n", LineKind::setting, "*font_file", "a#b"},
        {"*font_file=a #b\n", LineKind::setting, "*font_file", "a"},
        {"*font_file=a\t#b\n", LineKind::setting, "*font_file", "a"},
        {"*font_file=a=b \"c\" \\d\r\n", LineKind::setting, "*font_file", "a=b \"c\" \\d"},
        {"*font_file=one\rtwo\n", LineKind::setting, "*font_file", "one"},
        {"@far[0][ 3]=412,87\n", LineKind::setting, "@far[0][ 3]", "412,87"},
        {"@far[0][3]=412,87\n", LineKind::unknown_key, "@far[0][3]", "412,87"},
        {"pixel_frames[0][1]=1,2,3\n", LineKind::pixel_entry, "pixel_frames[0][1]", "1,2,3"},
        {"pixel_frames=1,2,3\n", LineKind::unknown_key, "pixel_frames", "1,2,3"},
    };
    for (const Case& c : cases) {
        const SettingsLine line = split_settings_line(c.line);
        EXPECT_EQ(static_cast<int>(line.kind), static_cast<int>(c.kind)) << c.line;
        EXPECT_EQ(line.key, c.key) << c.line;
        EXPECT_EQ(line.value, c.value) << c.line;
    }
}

TEST(TextNumbers, AreReadLikeAtoi) {
    for (const char* text : {"12", " \t12", "-12", "+12", "12abc", "abc", "", "-", "+-3", "- 3", "0x10", "1e3", "007",
                             "2147483647", "-2147483648", "\v\f\r7", "3.9", ".5"})
        EXPECT_EQ(text_to_int(text), atoi(text)) << text;
}

TEST(TextNumbers, TooLargeOnesBecomeTheNearestThatFits) {
    EXPECT_EQ(text_to_int("2147483648"), INT32_MAX);
    EXPECT_EQ(text_to_int("-2147483649"), INT32_MIN);
    EXPECT_EQ(text_to_int("-2147483648"), INT32_MIN);
    EXPECT_EQ(text_to_int("18446744073709551617"), INT32_MAX) << "2^64 + 1";
    EXPECT_EQ(text_to_int("-0000000000000000000000000000000000000012"), -12);
    EXPECT_EQ(text_to_int("1000000000000000000000000000000000000000"), INT32_MAX);
    EXPECT_EQ(text_to_int("99999999999999999999999999999999"), INT32_MAX);
    EXPECT_EQ(text_to_int("-99999999999999999999999999999999"), INT32_MIN);
}

TEST(TextNumbers, AWholeNumberIsOneThatIsReadAsItIsWritten) {
    for (const char* text : {"0", "-0", "+7", " 12", "00012", "2147483647", "-2147483648", "+0002147483647"})
        EXPECT_TRUE(text_is_int(text)) << text;
    for (const char* text : {"", "-", "x", "12 ", "12a", "1.0", "2147483648", "-2147483649", "12147483647",
                             "-12147483648", "-2147483647000000000000", "4294967296"})
        EXPECT_FALSE(text_is_int(text)) << text;
}

TEST(TextNumbers, FloatsAreReadLikeAtof) {
    for (const char* text : {"0.35", " 5", "-.5", "1e3", "0.0001", "abc", "", "7up", "1e-60", "123456789.123"})
        EXPECT_EQ(text_to_float(text), static_cast<float>(atof(text))) << text;
    EXPECT_TRUE(std::isinf(text_to_float("1e300")));
}

TEST(SettingsParse, BlanksAroundKeyAndValueAndACommentAreSkipped) {
    EXPECT_EQ(settings_from_text("   feed_count  =  2   # two cameras today\n")->feed_count, 2);
}

TEST(SettingsParse, AnEmptyValueKeepsTheOldOne) {
    EXPECT_EQ(settings_from_text("feed_count=#2\n")->feed_count, 3);
    EXPECT_EQ(settings_from_text("feed_count=2\nfeed_count=\n")->feed_count, 2);
    EXPECT_STREQ(settings_from_text("*upload_path=clips\n*upload_path=\n")->upload_path, "clips");
}

TEST(SettingsParse, AHashInsideAPathBelongsToThePath) {
    EXPECT_STREQ(settings_from_text("*font_file=C:\\fonts#1\\big.fnt # the big one\n")->font_file,
                 "C:\\fonts#1\\big.fnt");
}

TEST(SettingsParse, EmptyTextsFallBackToTheirDefaults) {
    const auto s = default_settings();
    for (char* text : {s->archive_dir, s->upload_host, s->upload_path, s->upload_signal_url}) text[0] = '\0';
    settings_normalise(s.get());
    EXPECT_STREQ(s->archive_dir, "output_videos");
    EXPECT_STREQ(s->upload_host, "upload.example.invalid");
    EXPECT_STREQ(s->upload_path, "uploads");
    EXPECT_STREQ(s->upload_signal_url, "http://upload.example.invalid/tournament/signal_next.cgi");
}

TEST(SettingsParse, ValuesAreConvertedByKind) {
    const auto s = settings_from_text(
        "movie_pad=12abc\nmin_frames=abc\nmax_diff_y%=0.125\n@far[0][ 3]=412,87\n@near[2][29]= -4 , +9 \n"
        "@far[0][ 4]=55\n*camera_device_path[1]=\\\\?\\usb#vid_1#{65e8}\n");
    EXPECT_EQ(s->movie_pad, 12);
    EXPECT_EQ(s->min_frames, 0);
    EXPECT_EQ(s->max_diff_y_pct, 0.125f);
    EXPECT_EQ(s->far_lines[0][3].x, 412);
    EXPECT_EQ(s->far_lines[0][3].y, 87);
    EXPECT_EQ(s->near_lines[2][29].x, -4);
    EXPECT_EQ(s->near_lines[2][29].y, 9);
    EXPECT_EQ(s->far_lines[0][4].x, 55);
    EXPECT_EQ(s->far_lines[0][4].y, 0);
    EXPECT_STREQ(s->camera_device_path[1], "\\\\?\\usb#vid_1#{65e8}");
    EXPECT_STREQ(s->far_lines[0][3].label, "@far[0][ 3]");
}

TEST(SettingsParse, AStringIsCutAt255Bytes) {
    const auto s = settings_from_text("*archive_dir=" + std::string(300, 'w') + "\n");
    EXPECT_EQ(std::string(s->archive_dir), std::string(255, 'w'));
}

TEST(SettingsParse, UnknownKeysAndLinesWithoutEqualsChangeNothing) {
    const auto s = settings_from_text("nonsense=5\nfeed_count\nFEED_COUNT=1\n[section]\n");
    const auto untouched = settings_from_text("");
    EXPECT_TRUE(same_bytes(s.get(), untouched.get()));
}

TEST(SettingsParse, TheLastOfTwoLinesWins) {
    EXPECT_EQ(settings_from_text("feed_count=1\nfeed_count=2\n")->feed_count, 2);
}

TEST(SettingsParse, ANulEndsALine) {
    using std::string_view_literals::operator""sv;
    const auto s = settings_from_text("feed_count=\0002\nmovie_pad=1\0009\n"sv);
    EXPECT_EQ(s->feed_count, 3);
    EXPECT_EQ(s->movie_pad, 1);
}

TEST(SettingsParse, ALineOf600CharactersIsReadAsTwoPieces) {
    // The first piece has 511 characters: a comment long enough puts a setting at the head of the second.
    std::string line = "#" + std::string(510, 'c') + "feed_count=2";
    EXPECT_EQ(settings_from_text(line + std::string(600 - line.size(), ' ') + "\n")->feed_count, 2);
    line = "*font_file=" + std::string(589, 'f');
    const auto s = settings_from_text(line + "\nfeed_count=1\n");
    EXPECT_EQ(strlen(s->font_file), 255u);
    EXPECT_EQ(s->feed_count, 1);
}

TEST(SettingsParse, ALineOf511CharactersWithItsEndIsOnePiece) {
    const std::string comment = "#" + std::string(509, 'c');
    EXPECT_EQ(settings_from_text(comment + "\nfeed_count=2\n")->feed_count, 2);
    EXPECT_EQ(settings_from_text(comment + "c\nfeed_count=2\n")->feed_count, 2);
}

TEST(SettingsParse, InlinePixelEntriesFillTheTables) {
    const auto s = settings_from_text("pixel_frames[1][1919] = 3, -2, 40\n");
    EXPECT_EQ(s->pixel_to_start[1][1919], 3);
    EXPECT_EQ(s->pixel_to_scene[1][1919], -2);
    EXPECT_EQ(s->pixel_to_end[1][1919], 40);
    EXPECT_EQ(s->pixel_frames_populated[0], 0);
    EXPECT_EQ(s->pixel_frames_populated[1], 1);
    EXPECT_EQ(s->pixel_frames_populated[2], 0);
}

TEST(SettingsParse, InlinePixelEntriesMayBeWrittenLoosely) {
    const char* loose[] = {"pixel_frames[1][7]=3,-2,40", "pixel_frames[ 1][ 7 = 3 ,-2\t, 40 and more",
                           "  pixel_frames[+1][007] =3, -2,40 # c"};
    for (const char* line : loose) {
        const auto s = settings_from_text(line);
        EXPECT_EQ(s->pixel_to_start[1][7], 3) << line;
        EXPECT_EQ(s->pixel_to_scene[1][7], -2) << line;
        EXPECT_EQ(s->pixel_to_end[1][7], 40) << line;
    }
}

TEST(SettingsParse, BadInlinePixelEntriesAreIgnored) {
    const char* bad[] = {"pixel_frames[3][0]=1,2,3",    "pixel_frames[-1][0]=1,2,3",
                         "pixel_frames[0][1920]=1,2,3", "pixel_frames[0][-1]=1,2,3",
                         "pixel_frames[0][5]=1,2",      "pixel_frames[0][5]=1 2 3",
                         "pixel_frames[0]=1,2,3",       "pixel_frames[x][5]=1,2,3",
                         "pixel_frames[0] [5]=1,2,3",   "pixel_frames[4294967296][0]=1,2,3"};
    const auto untouched = settings_from_text("");
    for (const char* line : bad) EXPECT_TRUE(same_bytes(settings_from_text(line).get(), untouched.get())) << line;
}

TEST(SettingsParse, ClearsThePopulatedFlagsFirst) {
    const auto s = default_settings();
    s->pixel_frames_populated[0] = s->pixel_frames_populated[2] = 1;
    const std::string text = "pixel_frames[1][0]=1,2,3\n";
    settings_parse(s.get(), text.data(), text.size());
    EXPECT_EQ(s->pixel_frames_populated[0], 0);
    EXPECT_EQ(s->pixel_frames_populated[1], 1);
    EXPECT_EQ(s->pixel_frames_populated[2], 0);
}

TEST(SettingsNormalise, MotionRegionsAreBroughtIntoTheVisibleBand) {
    const auto s = settings_from_text(
        "motion_start_y[0]=5\nmotion_end_y[0]=900\noverlay_frame_offsets[1]=-10\nmotion_start_y[1]=20\n"
        "motion_end_y[1]=519\nmotion_start_y[2]=29\nmotion_end_y[2]=530\nmotion_start_x[0]=-5\nmotion_end_x[0]=9999\n"
        "motion_start_y[3]=1\nmotion_end_y[3]=4000\n");
    EXPECT_EQ(s->motion_start_y[0], 30);
    EXPECT_EQ(s->motion_end_y[0], 529);
    EXPECT_EQ(s->motion_start_y[1], 20);
    EXPECT_EQ(s->motion_end_y[1], 519);
    EXPECT_EQ(s->motion_start_y[2], 30);
    EXPECT_EQ(s->motion_end_y[2], 529);
    EXPECT_EQ(s->motion_start_x[0], -5);
    EXPECT_EQ(s->motion_end_x[0], 9999);
    EXPECT_EQ(s->motion_start_y[3], 1);
    EXPECT_EQ(s->motion_end_y[3], 4000);
}

TEST(SettingsNormalise, AnIgnoreRegionIsClampedOnlyWhenThereIsOne) {
    const auto s = settings_from_text("ignore_end_x[1]=1\nignore_end_y[2]=600\noverlay_frame_offsets[2]=100\n");
    EXPECT_EQ(s->ignore_start_y[0], 0);
    EXPECT_EQ(s->ignore_end_y[0], 0);
    EXPECT_EQ(s->ignore_start_y[1], 30);
    EXPECT_EQ(s->ignore_end_y[1], 0);
    EXPECT_EQ(s->ignore_start_y[2], 130);
    EXPECT_EQ(s->ignore_end_y[2], 600);
    EXPECT_EQ(settings_from_text("ignore_end_y[2]=700\noverlay_frame_offsets[2]=100\n")->ignore_end_y[2], 629);
}

TEST(SettingsNormalise, AnOffsetAtTheEndOfTheNumberRangeDoesNotWrap) {
    const auto s = settings_from_text("overlay_frame_offsets[0]=2147483647\noverlay_frame_offsets[1]=-2147483648\n");
    EXPECT_EQ(s->motion_start_y[0], INT32_MAX);
    EXPECT_EQ(s->motion_end_y[0], 0);
    EXPECT_EQ(s->motion_start_y[1], 0);
    EXPECT_EQ(s->motion_end_y[1], INT32_MIN + 529);
}

TEST(SettingsNormalise, CheckedValuesOutOfRangeBecomeTheirDefaultsWithOneWarningEach) {
    LogCapture log;
    struct Case {
        const char* key;
        int32_t value, loaded;
        const char* warning;
    };
    const Case cases[] = {
        {"feed_count", 7, 3, "WRN settings: feed_count=7 out of range [1,4]; using default 3"},
        {"feed_count", 0, 3, "WRN settings: feed_count=0 out of range [1,4]; using default 3"},
        {"feed_count", 1, 1, nullptr},
        {"feed_count", 4, 4, nullptr},
        {"movie_padding_before_frames", 301, 60,
         "WRN settings: movie_padding_before_frames=301 out of range [0,300]; using default 60"},
        {"movie_padding_before_frames", 300, 300, nullptr},
        {"movie_padding_after_frames", -1, 60,
         "WRN settings: movie_padding_after_frames=-1 out of range [0,300]; using default 60"},
        {"movie_padding_after_frames", 0, 0, nullptr},
        {"upload_enabled", 2, 1, "WRN settings: upload_enabled=2 out of range [0,1]; using default 1"},
        {"upload_enabled", 0, 0, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.key) + "=" + std::to_string(c.value));
        const auto s = default_settings();
        const std::string text = std::string(c.key) + "=" + std::to_string(c.value) + "\n";
        settings_parse(s.get(), text.data(), text.size());
        log.take();
        settings_normalise(s.get());
        const std::vector<std::string> lines = log.take();
        ASSERT_EQ(lines.size(), c.warning ? 1u : 0u);
        if (c.warning) {
            EXPECT_EQ(lines[0], c.warning);
        }
        std::string again;
        settings_format(s.get(), &again);
        EXPECT_NE(again.find("\n" + std::string(c.key) + "=" + std::to_string(c.loaded) + "\n"), std::string::npos);
    }
}

TEST(SettingsNormalise, OtherValuesAreNotChecked) {
    const auto s = settings_from_text("capfile_quality_cq=99\npractice_video_sync_offset[1]=-3\n");
    EXPECT_EQ(s->capfile_quality_cq, 99);
    EXPECT_EQ(s->practice_video_sync_offset[1], -3);
}

TEST(SettingsNormalise, RecomputesTheMeterValues) {
    const auto s = settings_from_text("meter_line_count[0]=45\nmeter_line_start[0]=10\nmeter_line_increment[0]=2\n");
    EXPECT_EQ(s->meter_line_count[0], 30);
    EXPECT_EQ(s->meter_values[0][29], 68);
}

TEST(SettingsLoad, AFileThatCannotBeOpenedLeavesTheRecordAndOneErrorLine) {
    TempDir dir;
    LogCapture log;
    const auto s = default_settings();
    s->pixel_frames_populated[1] = 1;
    const Settings before = *s;
    const std::string path = dir.file("settings.txt");
    EXPECT_EQ(settings_load(s.get(), path.c_str()), -1);
    EXPECT_TRUE(same_bytes(s.get(), &before));
    EXPECT_EQ(log.take(), std::vector<std::string>{"ERR settings: cannot open '" + path + "' for reading"});
}

TEST(SettingsLoad, NullArgumentsFail) {
    const auto s = default_settings();
    EXPECT_EQ(settings_load(nullptr, "x"), -1);
    EXPECT_EQ(settings_load(s.get(), nullptr), -1);
}

TEST(SettingsLoad, ReportsTheInlineFlagsBeforePixelFramesOverrideThem) {
    TempDir dir;
    LogCapture log;
    const std::string path = dir.file("settings.txt");
    write_whole_file(path, "feed_count=9\r\npixel_frames[0][4]=1,2,3\r\n");
    write_whole_file(dir.file("pixel_frames.txt"), "pixel_frames[1][5] = 7, 8, 9\n");
    const auto s = default_settings();
    ASSERT_EQ(settings_load(s.get(), path.c_str()), 0);
    const std::vector<std::string> expected = {
        "WRN settings: feed_count=9 out of range [1,4]; using default 3",
        "INF settings: loaded from '" + path + "' (pixel_frames populated: 1/0/0)",
        "INF settings: loaded pixel_frames from '" + dir.file("pixel_frames.txt") +
            "' (1 entries; populated: 0/1/0)"};
    EXPECT_EQ(log.take(), expected);
    EXPECT_EQ(s->pixel_to_end[0][4], 3) << "the inline value stays, only its flag goes";
    EXPECT_EQ(s->pixel_to_end[1][5], 9);
}

TEST(SettingsLoad, KeysMissingFromTheFileKeepTheirValues) {
    TempDir dir;
    const std::string path = dir.file("settings.txt");
    write_whole_file(path, "movie_pad=4\n");
    const auto s = default_settings();
    s->max_frames = 1234;
    ASSERT_EQ(settings_load(s.get(), path.c_str()), 0);
    EXPECT_EQ(s->max_frames, 1234);
    EXPECT_EQ(s->movie_pad, 4);
}

// The stream is read in chunks; where a chunk ends must not matter.
TEST(TextPieces, AFileFallsIntoTheSamePiecesAsItsText) {
    TempDir dir;
    std::string text;
    for (uint32_t i = 0; text.size() < 400000; ++i) {
        text.append((i * 7919u) % 1300u, static_cast<char>('a' + i % 26));
        if (i % 5 != 0) text.push_back('\n');
        if (i % 11 == 0) text.append("x\0y\n", 4);
    }
    const std::string path = dir.file("text");
    write_whole_file(path, text);
    const auto collect = [](void* pieces, std::string_view piece) {
        static_cast<std::vector<std::string>*>(pieces)->emplace_back(piece);
    };
    std::vector<std::string> from_text;
    std::vector<std::string> from_file;
    std::vector<std::string> from_fgets;
    for_each_piece(text, 512, collect, &from_text);
    FILE* file = fopen(path.c_str(), "r");
    ASSERT_NE(file, nullptr);
    for_each_piece_of_file(file, 512, collect, &from_file);
    rewind(file);
    char line[512];
    while (fgets(line, sizeof line, file)) from_fgets.emplace_back(line);
    fclose(file);
    EXPECT_EQ(from_text, from_file);
    EXPECT_EQ(from_text, from_fgets);
}
