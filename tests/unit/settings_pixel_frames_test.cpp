#include "settings/pixel_frames_file.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>

#include <gtest/gtest.h>

#include "settings/settings_file.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

static std::string entry_lines(int32_t feed, int32_t count) {
    std::string text;
    for (int32_t x = 0; x < count; ++x)
        text += "pixel_frames[" + std::to_string(feed) + "][" + std::to_string(x) + "] = " + std::to_string(x) +
                ", " + std::to_string(-x) + ", 5\n";
    return text;
}

static int32_t parse(Settings* settings, std::string_view text) {
    return pixel_frames_parse(settings, text.data(), text.size());
}

TEST(PixelFrames, LieInTheFolderOfTheSettings) {
    const struct {
        const char* settings_path;
        const char* expected;
    } cases[] = {
        {"settings.txt", "pixel_frames.txt"},
        {"/a/b/settings.txt", "/a/b/pixel_frames.txt"},
        {"C:\\x\\s.txt", "C:\\x\\pixel_frames.txt"},
        {"C:\\x/y\\s.txt", "C:\\x/y\\pixel_frames.txt"},
        {"C:\\x\\y/s.txt", "C:\\x\\y/pixel_frames.txt"},
        {"", "pixel_frames.txt"},
        {"dir/", "dir/pixel_frames.txt"},
    };
    for (const auto& c : cases) {
        char path[kPixelFramesPathSize];
        ASSERT_TRUE(pixel_frames_path(c.settings_path, &path)) << c.settings_path;
        EXPECT_STREQ(path, c.expected) << c.settings_path;
    }
}

TEST(PixelFrames, AFolderOf495BytesIsTheLongest) {
    char path[kPixelFramesPathSize] = "untouched";
    EXPECT_FALSE(pixel_frames_path((std::string(495, 'd') + "/s").c_str(), &path));
    EXPECT_STREQ(path, "untouched");
    EXPECT_TRUE(pixel_frames_path((std::string(494, 'd') + "/s").c_str(), &path));
    EXPECT_EQ(strlen(path), 511u);
    const auto s = default_settings();
    LogCapture log;
    EXPECT_EQ(settings_load_pixel_frames(s.get(), (std::string(495, 'd') + "/s").c_str()), -1);
    EXPECT_TRUE(log.take().empty());
}

TEST(PixelFrames, NullArgumentsFail) {
    EXPECT_EQ(settings_load_pixel_frames(nullptr, "x"), -1);
    EXPECT_EQ(settings_load_pixel_frames(default_settings().get(), nullptr), -1);
}

TEST(PixelFrames, AMissingFileChangesNothingAndSaysNothing) {
    TempDir dir;
    LogCapture log;
    const auto s = settings_from_text("pixel_frames[2][3]=1,2,3\n");
    const Settings before = *s;
    EXPECT_EQ(settings_load_pixel_frames(s.get(), dir.file("settings.txt").c_str()), 0);
    EXPECT_TRUE(same_bytes(s.get(), &before));
    EXPECT_TRUE(log.take().empty());
}

TEST(PixelFrames, AFileOfOneFeedOnlySetsThatFlag) {
    TempDir dir;
    LogCapture log;
    write_whole_file(dir.file("pixel_frames.txt"), entry_lines(1, 1920));
    const auto s = default_settings();
    EXPECT_EQ(settings_load_pixel_frames(s.get(), dir.file("settings.txt").c_str()), 0);
    EXPECT_EQ(log.take(),
              std::vector<std::string>{"INF settings: loaded pixel_frames from '" + dir.file("pixel_frames.txt") +
                                       "' (1920 entries; populated: 0/1/0)"});
    EXPECT_EQ(s->pixel_to_start[1][1919], 1919);
    EXPECT_EQ(s->pixel_to_scene[1][1919], -1919);
    EXPECT_EQ(s->pixel_to_end[1][1919], 5);
}

TEST(PixelFrames, EntriesOutsideTheTablesAreSkippedAndNotCounted) {
    const auto s = default_settings();
    EXPECT_EQ(parse(s.get(),
                    "pixel_frames[3][0] = 1, 2, 3\npixel_frames[0][1920] = 1, 2, 3\npixel_frames[0][-1] = 1, 2, 3\n"
                    "pixel_frames[-1][0] = 1, 2, 3\n"),
              0);
    const auto untouched = default_settings();
    EXPECT_TRUE(same_bytes(s.get(), untouched.get()));
}

TEST(PixelFrames, LeadingBlanksAreFineAndCommentsAreComments) {
    const auto s = default_settings();
    EXPECT_EQ(parse(s.get(), " \t pixel_frames[0][1] = 4, 5, 6\n  # pixel_frames[0][2] = 7, 8, 9\n"), 1);
    EXPECT_EQ(s->pixel_to_end[0][1], 6);
    EXPECT_EQ(s->pixel_to_end[0][2], 0);
}

TEST(PixelFrames, AnEntryWrittenWithoutBlanksIsRead) {
    const auto s = default_settings();
    EXPECT_EQ(parse(s.get(), "pixel_frames[2][7]=-1,-2,-3"), 1);
    EXPECT_EQ(s->pixel_to_start[2][7], -1);
    EXPECT_EQ(s->pixel_to_scene[2][7], -2);
    EXPECT_EQ(s->pixel_to_end[2][7], -3);
}

TEST(PixelFrames, AnEmptyFileClearsTheFlagsButNotTheValues) {
    TempDir dir;
    LogCapture log;
    write_whole_file(dir.file("settings.txt"), "pixel_frames[2][3]=1,2,3\n");
    write_whole_file(dir.file("pixel_frames.txt"), "");
    const auto s = default_settings();
    ASSERT_EQ(settings_load(s.get(), dir.file("settings.txt").c_str()), 0);
    EXPECT_EQ(s->pixel_frames_populated[2], 0);
    EXPECT_EQ(s->pixel_to_end[2][3], 3);
    EXPECT_EQ(log.lines().back(), "INF settings: loaded pixel_frames from '" + dir.file("pixel_frames.txt") +
                                      "' (0 entries; populated: 0/0/0)");
}

TEST(PixelFrames, ALineLongerThan255CharactersIsReadInPieces) {
    const auto s = default_settings();
    EXPECT_EQ(parse(s.get(), "#" + std::string(254, 'c') + "pixel_frames[0][1] = 4, 5, 6\n"), 1);
    EXPECT_EQ(parse(s.get(), "#" + std::string(253, 'c') + "pixel_frames[0][1] = 4, 5, 6\n"), 0);
}

TEST(PixelFrames, TheWrittenFileIsDenseWithItsHeader) {
    const auto s = default_settings();
    s->pixel_frames_populated[1] = 1;
    s->pixel_to_start[1][2] = 3;
    s->pixel_to_scene[1][2] = -4;
    s->pixel_to_end[1][2] = INT32_MIN;
    std::string text;
    pixel_frames_format(s.get(), &text);
    const std::vector<std::string> lines = split_lines(text);
    const std::vector<std::string> header = {
        "# Orvekline \xE2\x80\x94 pixel_frames.txt",
        "# Per-pixel frame-offset tables, 1920 entries x 3 feeds.",
        "# Generated by auto-setup; written as a full dense table",
        "# (all X values interpolated/extrapolated from observed blobs).",
        "#",
        "# Line format: pixel_frames[FEED][X] = to_start, to_scene, to_end",
        "#   to_start = frames back to movie start on feed 1's timeline",
        "#   to_scene = signed frames to scene-change (positive=future)",
        "#   to_end   = frames forward to movie end",
        "#",
        "# populated_flags: feed0=0 feed1=1 feed2=0",
        "# -----------------------------------------------------------",
        "",
    };
    ASSERT_EQ(lines.size(), header.size() + size_t{3} * (1 + 1920 + 1));
    for (size_t i = 0; i < header.size(); ++i) EXPECT_EQ(lines[i], header[i]);
    for (size_t feed = 0; feed < 3; ++feed) {
        const size_t title = header.size() + feed * 1922;
        EXPECT_EQ(lines[title], "# --- feed " + std::to_string(feed) + " ---");
        EXPECT_EQ(lines[title + 1], "pixel_frames[" + std::to_string(feed) + "][0] = 0, 0, 0");
        EXPECT_EQ(lines[title + 1920], "pixel_frames[" + std::to_string(feed) + "][1919] = 0, 0, 0");
        EXPECT_EQ(lines[title + 1921], "");
    }
    EXPECT_EQ(lines[header.size() + 1922 + 3], "pixel_frames[1][2] = 3, -4, -2147483648");
}

TEST(PixelFrames, AnEmptyRecordStillGivesAll5760Entries) {
    std::string text;
    pixel_frames_format(default_settings().get(), &text);
    const auto lines = split_lines(text);
    const auto is_entry = [](const std::string& line) { return line.starts_with("pixel_frames["); };
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), is_entry), 5760);
    EXPECT_NE(text.find("# populated_flags: feed0=0 feed1=0 feed2=0\n"), std::string::npos);
}

TEST(PixelFrames, SavingToABareNameWritesIntoTheCurrentFolder) {
    TempDir dir;
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path());
    const int32_t rc = settings_save(default_settings().get(), "bare.txt");
    std::filesystem::current_path(before);
    EXPECT_EQ(rc, 0);
    EXPECT_TRUE(file_exists(dir.file("bare.txt")));
    EXPECT_TRUE(file_exists(dir.file("pixel_frames.txt")));
}

// Ten digits or more, unless they are the largest number itself: beyond 32 bits scanf has no defined answer.
static bool has_long_number(std::string_view line) {
    size_t digits = 0;
    for (size_t i = 0; i <= line.size(); ++i) {
        if (i < line.size() && line[i] >= '0' && line[i] <= '9') {
            ++digits;
        } else {
            if (digits > 9 && line.substr(i - digits, digits) != "2147483647") return true;
            digits = 0;
        }
    }
    return false;
}

// The reader is hand-written for speed; scanf says what it has to accept. Lines are grown from entry fragments and
// broken at random, so that most are nearly right.
TEST(PixelFrames, ALineMeansWhatScanfSaysItMeans) {
    static constexpr const char* kFragments[] = {"pixel_frames[",
                                                 "pixel_frames",
                                                 "[",
                                                 "]",
                                                 "][",
                                                 "=",
                                                 ",",
                                                 " ",
                                                 "\t",
                                                 "\v",
                                                 "\r",
                                                 "\f",
                                                 "0",
                                                 "1",
                                                 "2",
                                                 "7",
                                                 "1919",
                                                 "1920",
                                                 "-",
                                                 "+",
                                                 "-12",
                                                 "+3",
                                                 "x",
                                                 ".",
                                                 "#",
                                                 "2147483647",
                                                 "\n",
                                                 " = ",
                                                 ", ",
                                                 "0x1",
                                                 "p",
                                                 "00"};
    std::mt19937 random(20240707);
    const auto pick = [&random](size_t n) { return static_cast<size_t>(random() % n); };
    int32_t accepted = 0;
    const auto s = default_settings();
    for (int32_t round = 0; round < 200000; ++round) {
        std::vector<std::string> parts = {pick(3) ? "" : " ",
                                          "pixel_frames[",
                                          std::to_string(pick(4)),
                                          "][",
                                          std::to_string(pick(1925)),
                                          "]",
                                          " ",
                                          "=",
                                          " ",
                                          std::to_string(pick(99)),
                                          ",",
                                          " ",
                                          "-5",
                                          ",",
                                          " ",
                                          std::to_string(pick(99)),
                                          "\n"};
        for (size_t change = pick(4); change > 0; --change) {
            const size_t at = pick(parts.size());
            const size_t kind = pick(3);
            if (kind == 0) parts[at] = kFragments[pick(std::size(kFragments))];
            if (kind == 1)
                parts.insert(parts.begin() + static_cast<std::ptrdiff_t>(at),
                             kFragments[pick(std::size(kFragments))]);
            if (kind == 2) parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(at));
        }
        std::string line;
        for (const std::string& part : parts) line += part;
        line = line.substr(0, line.find('\n') + 1);  // one line; all of it when there is no line end
        if (line.empty()) continue;
        if (has_long_number(line)) continue;

        size_t first = line.find_first_not_of(" \t");
        int32_t v[5] = {};
        bool expected =
            first != std::string::npos && line[first] != '#' && line[first] != '\r' && line[first] != '\n';
        expected = expected && sscanf(line.c_str() + first, " pixel_frames[%d][%d] = %d, %d, %d", &v[0], &v[1], &v[2],
                                      &v[3], &v[4]) == 5;
        expected = expected && v[0] >= 0 && v[0] < 3 && v[1] >= 0 && v[1] < 1920;
        const int32_t count = parse(s.get(), line);
        ASSERT_EQ(count, expected ? 1 : 0) << "'" << line << "'";
        if (!expected) continue;
        ++accepted;
        ASSERT_EQ(s->pixel_to_start[v[0]][v[1]], v[2]) << line;
        ASSERT_EQ(s->pixel_to_scene[v[0]][v[1]], v[3]) << line;
        ASSERT_EQ(s->pixel_to_end[v[0]][v[1]], v[4]) << line;
    }
    EXPECT_GT(accepted, 20000) << "the generator must hit both sides";
}
