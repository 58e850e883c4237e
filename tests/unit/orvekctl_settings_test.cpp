// orvekctl's settings subcommands: what they print, what they leave behind and how they exit.
#include "tools/orvekctl_settings.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "settings/settings.h"
#include "tests/support/orvekctl_run.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"
#include "tools/orvekctl.h"

static OrvekctlAnswer orvekctl(std::vector<std::string> arguments) {
    return run_orvekctl(orvekctl_settings, std::move(arguments));
}

TEST(OrvekctlSettings, ListsEverySettingOnALineOfItsOwn) {
    const std::vector<std::string> lines = split_lines(settings_listing());
    ASSERT_EQ(lines.size(), 388u);
    EXPECT_EQ(lines[0], "frame_position_bar_height\tint\t15\tDisplay / UI\tPosition bar height in pixels");
    EXPECT_EQ(lines[387], "@near[2][29]\tpair\t0,0\tGrid Line Anchors\tNear anchor f2 line 29");
    for (const std::string& line : lines) EXPECT_EQ(std::count(line.begin(), line.end(), '\t'), 4) << line;
}

TEST(OrvekctlSettings, SetsThroughTheTypedSetters) {
    const auto s = default_settings();
    EXPECT_EQ(settings_set_from_text(s.get(), "feed_count", "2"), "");
    EXPECT_EQ(settings_set_from_text(s.get(), "max_diff_y%", "0.5"), "");
    EXPECT_EQ(settings_set_from_text(s.get(), "*archive_dir", "D:\\clips#2"), "");
    EXPECT_EQ(settings_set_from_text(s.get(), "@near[0][ 1]", "3,-4"), "");
    EXPECT_EQ(s->feed_count, 2);
    EXPECT_EQ(s->max_diff_y_pct, 0.5f);
    EXPECT_STREQ(s->archive_dir, "D:\\clips#2");
    EXPECT_EQ(s->near_lines[0][1].y, -4);
}

TEST(OrvekctlSettings, RefusesWhatTheFileCannotHold) {
    const auto s = default_settings();
    EXPECT_EQ(settings_set_from_text(s.get(), "no_such", "2"), "unknown key 'no_such'");
    EXPECT_EQ(settings_set_from_text(s.get(), "feed_count", "two"), "'two' is not a whole number");
    for (const char* number : {"2147483648", "-2147483649", "12147483647", "-12147483648", "99999999999999999999"})
        EXPECT_EQ(settings_set_from_text(s.get(), "feed_count", number),
                  std::string("'") + number + "' is not a whole number");
    for (const char* number : {"", "nan", "inf", "1e39"})
        EXPECT_EQ(settings_set_from_text(s.get(), "max_diff_y%", number),
                  std::string("'") + number + "' is not a number");
    EXPECT_EQ(settings_set_from_text(s.get(), "@near[0][ 1]", "3"), "'3' is not a pair x,y");
    EXPECT_EQ(settings_set_from_text(s.get(), "*archive_dir", "a #b"), "'a #b' cannot be kept in the file as it is");
    EXPECT_EQ(settings_set_from_text(s.get(), "*archive_dir", "a\nb=c"),
              "'a\nb=c' cannot be kept in the file as it is");
    EXPECT_NE(settings_set_from_text(s.get(), "feed_sync_offset[0]", "1"), "");
    const auto untouched = default_settings();
    EXPECT_TRUE(same_bytes(s.get(), untouched.get()));
}

TEST(OrvekctlSettings, ListPrints388Lines) {
    const OrvekctlAnswer answer = orvekctl({"list"});
    EXPECT_EQ(answer.exit_code, 0);
    EXPECT_EQ(split_lines(answer.out).size(), 388u);
    EXPECT_TRUE(answer.errors.empty());
}

TEST(OrvekctlSettings, FormatWritesIntoTheFileOrIntoAnother) {
    TempDir dir;
    const std::string file = dir.file("s.txt");
    const std::string other = dir.file("other.txt");
    write_whole_file(file, "feed_count=2 # two\n");
    EXPECT_EQ(orvekctl({"format", file, "--out", other}).exit_code, 0);
    EXPECT_EQ(read_whole_file(file), "feed_count=2 # two\n");
    EXPECT_NE(read_whole_file(other).find("\nfeed_count=2"), std::string::npos);
    EXPECT_TRUE(file_exists(dir.file("pixel_frames.txt")));
    EXPECT_EQ(orvekctl({"format", file}).exit_code, 0);
    EXPECT_EQ(read_whole_file(file), read_whole_file(other));
}

TEST(OrvekctlSettings, GetPrintsTheValueAsItIsWritten) {
    TempDir dir;
    const std::string file = dir.file("s.txt");
    write_whole_file(file, "max_diff_y%=0.5\n@far[0][ 3]=4,5\n*font_file=C:\\f.fnt\nfeed_count=9\n");
    EXPECT_EQ(split_lines(orvekctl({"get", file, "max_diff_y%"}).out), std::vector<std::string>{"0.500000"});
    EXPECT_EQ(split_lines(orvekctl({"get", file, "@far[0][ 3]"}).out), std::vector<std::string>{"4,5"});
    EXPECT_EQ(split_lines(orvekctl({"get", file, "*font_file"}).out), std::vector<std::string>{"C:\\f.fnt"});
    EXPECT_EQ(split_lines(orvekctl({"get", file, "feed_count"}).out), std::vector<std::string>{"3"});
    const OrvekctlAnswer unknown = orvekctl({"get", file, "font_file"});
    EXPECT_EQ(unknown.exit_code, 1);
    EXPECT_EQ(unknown.out, "");
}

TEST(OrvekctlSettings, SetChangesOneValueOrNothing) {
    TempDir dir;
    const std::string file = dir.file("s.txt");
    write_whole_file(file, "movie_pad=7\n");
    EXPECT_EQ(orvekctl({"set", file, "feed_count", "x"}).exit_code, 1);
    EXPECT_EQ(orvekctl({"set", file, "no_such", "1"}).exit_code, 1);
    EXPECT_EQ(read_whole_file(file), "movie_pad=7\n");
    EXPECT_EQ(orvekctl({"set", file, "feed_count", "1"}).exit_code, 0);
    EXPECT_EQ(split_lines(orvekctl({"get", file, "feed_count"}).out), std::vector<std::string>{"1"});
    EXPECT_EQ(split_lines(orvekctl({"get", file, "movie_pad"}).out), std::vector<std::string>{"7"});
}

TEST(OrvekctlSettings, CheckPrintsLineReasonAndText) {
    TempDir dir;
    const std::string file = dir.file("s.txt");
    write_whole_file(file, "feed_count=2\nfeed_cuont=2\x1b[2J\n");
    const OrvekctlAnswer answer = orvekctl({"check", file});
    EXPECT_EQ(answer.exit_code, 1);
    EXPECT_EQ(split_lines(answer.out),
              std::vector<std::string>{"2\tunknown key; nearest is 'feed_count'\tfeed_cuont=2\\x1B[2J"});
    EXPECT_TRUE(answer.errors.empty());
    EXPECT_EQ(orvekctl({"format", file}).exit_code, 0);
    EXPECT_EQ(orvekctl({"check", file}).out, "");
    EXPECT_EQ(orvekctl({"check", file}).exit_code, 0);
}

TEST(OrvekctlSettings, AMissingFileIsOneLineAndNothingIsWritten) {
    TempDir dir;
    const std::string file = dir.file("s.txt");
    const std::vector<std::vector<std::string>> commands = {
        {"format", file},
        {"format", file, "--out", dir.file("o.txt")},
        {"get", file, "feed_count"},
        {"set", file, "feed_count", "2"},
        {"check", file},
        {"check", dir.path()},  // a folder is no file either
    };
    for (const std::vector<std::string>& command : commands) {
        const OrvekctlAnswer answer = orvekctl(command);
        EXPECT_EQ(answer.exit_code, 2) << command[0];
        EXPECT_EQ(answer.out, "") << command[0];
        ASSERT_EQ(answer.errors.size(), 1u) << command[0];
        EXPECT_TRUE(answer.errors[0].starts_with("orvekctl: cannot read '" + command[1] + "': ")) << answer.errors[0];
        EXPECT_FALSE(file_exists(file)) << command[0];
        EXPECT_FALSE(file_exists(dir.file("o.txt"))) << command[0];
        EXPECT_FALSE(file_exists(dir.file("pixel_frames.txt"))) << command[0];
    }
}

TEST(OrvekctlSettings, BadUsageExitsWithTwo) {
    const std::vector<std::vector<std::string>> commands = {
        {}, {"frobnicate"}, {"list", "x"}, {"get", "f"}, {"set", "f", "k"}, {"check"}, {"format", "f", "--in", "o"}};
    for (const std::vector<std::string>& command : commands) {
        const OrvekctlAnswer answer = orvekctl(command);
        EXPECT_EQ(answer.exit_code, 2);
        EXPECT_EQ(answer.errors.size(), 1u);
    }
}
