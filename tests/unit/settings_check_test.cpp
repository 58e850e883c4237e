#include "settings/settings_check.h"

#include <vector>

#include <gtest/gtest.h>

#include "settings/settings_file.h"
#include "tests/support/settings_text.h"

// "line|reason|text" of every finding.
static std::vector<std::string> findings(std::string_view text) {
    std::vector<std::string> list;
    const auto collect = [](void* to, const SettingsFinding& f) {
        static_cast<std::vector<std::string>*>(to)->push_back(std::to_string(f.line) + "|" + std::string(f.reason) +
                                                              "|" + std::string(f.text));
    };
    const int32_t count = settings_check(text, collect, &list);
    EXPECT_EQ(count, static_cast<int32_t>(list.size()));
    return list;
}

TEST(SettingsCheck, AFileThatLoadsAsItStandsHasNoFindings) {
    const auto s = settings_from_text("movie_pad=5\n*font_file=C:\\f#1.fnt\n@far[0][ 3]=1,-2\n");
    std::string text;
    settings_format(s.get(), &text);
    EXPECT_EQ(findings(text), std::vector<std::string>{});
    EXPECT_EQ(findings(""), std::vector<std::string>{});
    EXPECT_EQ(findings("# c\n\n  feed_count = 2 # two\r\npixel_frames[1][3]=1,2,3\n"), std::vector<std::string>{});
}

TEST(SettingsCheck, EveryIgnoredOrChangedLineIsTold) {
    const struct {
        const char* text;
        const char* finding;
    } cases[] = {
        {"feed_count 2", "1|no '='|feed_count 2"},
        {"\nfeed_cuont=2\r\n", "2|unknown key; nearest is 'feed_count'|feed_cuont=2"},
        {"@far[0][3]=1,2\n", "1|unknown key; nearest is '@far[0][ 3]'|@far[0][3]=1,2"},
        {"colour_scheme=2\n", "1|unknown key|colour_scheme=2"},
        {"feed_count=\n", "1|no value; stays 3|feed_count="},
        {"*upload_path= # none\n", "1|no value; stays uploads|*upload_path= # none"},
        {"feed_cuont=\n", "1|unknown key, no value; nearest is 'feed_count'|feed_cuont="},
        {"movie_pad=12a\n", "1|not a whole number of 32 bits; loads as 12|movie_pad=12a"},
        {"movie_pad=5000000000\n", "1|not a whole number of 32 bits; loads as 2147483647|movie_pad=5000000000"},
        {"movie_pad=12147483647\n", "1|not a whole number of 32 bits; loads as 2147483647|movie_pad=12147483647"},
        {"max_diff_y%=low\n", "1|not a number; loads as 0.000000|max_diff_y%=low"},
        {"@far[0][ 3]=44\n", "1|not a pair x,y of whole numbers; loads as 44,0|@far[0][ 3]=44"},
        {"feed_count=7\n", "1|out of range; loads as 3|feed_count=7"},
        {"feed_count=x\n", "1|not a whole number of 32 bits; out of range; loads as 3|feed_count=x"},
        {"meter_line_count[2]=31\n", "1|out of range; loads as 30|meter_line_count[2]=31"},
        {"motion_start_y[0]=5\n", "1|out of range; loads as 30|motion_start_y[0]=5"},
        {"ignore_end_y[1]=530\n", "1|out of range; loads as 529|ignore_end_y[1]=530"},
        {"movie_pad=1\nmovie_pad=2\n", "1|set again in line 2|movie_pad=1"},
        {"pixel_frames[3][0]=1,2,3\n",
         "1|not a pixel-frame entry of feed 0..2 and column 0..1919 with three numbers|pixel_frames[3][0]=1,2,3"},
    };
    for (const auto& c : cases) EXPECT_EQ(findings(c.text), std::vector<std::string>{c.finding}) << c.text;
}

TEST(SettingsCheck, ATextThatIsCutIsTold) {
    const std::string line = "*archive_dir=" + std::string(256, 'd');
    EXPECT_EQ(findings(line), std::vector<std::string>{"1|longer than 255 bytes: cut|" + line});
}

TEST(SettingsCheck, ALineReadInPiecesIsToldOnceAndSoIsASettingInItsRest) {
    const std::string first = "#" + std::string(510, 'c');
    EXPECT_EQ(findings(first + "ccc\nmovie_pad=1\n"),
              std::vector<std::string>{"1|too long: read in pieces|" + first});
    const std::vector<std::string> expected = {"1|too long: read in pieces|" + first,
                                               "1|rest of a long line, read as a setting|movie_pad=4"};
    EXPECT_EQ(findings(first + "movie_pad=4\n"), expected);
}

TEST(SettingsCheck, ANulIsTold) {
    using std::string_view_literals::operator""sv;
    EXPECT_EQ(findings("movie_pad=1\0002\n"sv).size(), 1u);
}
