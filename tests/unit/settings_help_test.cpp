// The help pages: the one made from the table says what the table and the loader say, and both hold together.
#include <climits>
#include <cstdio>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "procs/force_video_step.h"
#include "procs/readiness.h"
#include "settings/descriptor_table.h"
#include "settings/settings_file.h"
#include "settings/settings_line.h"
#include "tests/support/html_check.h"
#include "tests/support/settings_text.h"
#include "tools/settings_help_facts.h"
#include "tools/settings_help_page.h"

static const std::string& page() {
    static const std::string html = settings_help_page();
    return html;
}

static int32_t occurrences(std::string_view text, std::string_view part) {
    int32_t count = 0;
    for (size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

static std::string escaped(std::string_view text) {
    std::string html;
    append_html(&html, text);
    return html;
}

// The row of a key, from its heading to its end.
static std::string row_of(std::string_view key) {
    const size_t at = page().find("<th scope=\"row\"><code>" + escaped(key) + "</code>");
    return at == std::string::npos ? "" : page().substr(at, page().find("</tr>", at) - at);
}

static std::string read_text(const char* path) {
    std::string text;
    FILE* file = fopen(path, "rb");
    if (!file) return text;
    char buffer[4096];
    for (size_t got = 0; (got = fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, got);
    fclose(file);
    return text;
}

static const std::string& guide() {
    static const std::string html = read_text(ORVEK_TEST_DATA "/../../doc/help/index.html");
    return html;
}

// Nothing that is fetched from elsewhere; every id once; every link within the two pages leads somewhere.
static void expect_sound(const std::string& html, const std::string& own_name, const std::string& other_name,
                         const std::string& other) {
    EXPECT_EQ(html_nesting_fault(html), "");
    EXPECT_EQ(html.rfind("<!doctype html>", 0), 0u);
    for (const char* outside : {" src=", "<link", "@import", "url(", "href=\"http", "href=\"//"})
        EXPECT_EQ(html.find(outside), std::string::npos) << own_name << " " << outside;
    const auto ids = html_values(html, "id");
    const auto other_ids = html_values(other, "id");
    for (const auto& [id, count] : ids) EXPECT_EQ(count, 1) << own_name << " #" << id;
    for (const auto& [target, count] : html_values(html, "href")) {
        const size_t hash = target.find('#');
        const std::string file = target.substr(0, hash);
        EXPECT_TRUE(file.empty() || file == other_name) << own_name << " -> " << target;
        if (hash == std::string::npos) continue;
        const std::string id = target.substr(hash + 1);
        EXPECT_EQ((file.empty() ? ids : other_ids).count(id), 1u) << own_name << " -> " << target;
    }
}

TEST(SettingsHelp, EveryKeyHasExactlyOneRow) {
    int32_t settings = 0;
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (kSettingTable[row].type == SETTING_SEPARATOR) continue;
        ++settings;
        const std::string code = "<code>" + escaped(kSettingTable[row].key) + "</code>";
        EXPECT_EQ(occurrences(page(), "<th scope=\"row\">" + code), 1) << kSettingTable[row].key;
    }
    EXPECT_EQ(settings, 388);
    EXPECT_EQ(occurrences(page(), "<th scope=\"row\">"), settings);
}

TEST(SettingsHelp, ThePageIsSoundAndNeedsNoOtherFile) {
    expect_sound(page(), "settings.html", "index.html", guide());
}

TEST(SettingsHelp, TheGuideIsSoundAndItsLinksLeadSomewhere) {
    ASSERT_NE(guide(), "") << "doc/help/index.html could not be read";
    expect_sound(guide(), "index.html", "settings.html", page());
    EXPECT_EQ(guide().find("<script"), std::string::npos);
}

TEST(SettingsHelp, TheGuideExplainsEveryStatusOfPracticeAndForceVideo) {
    for (const ReadinessAnswer answer :
         {ReadinessAnswer::waiting, ReadinessAnswer::ready, ReadinessAnswer::timed_out}) {
        const std::string text = readiness_status_text(answer, 12);
        EXPECT_NE(guide().find("<th scope=\"row\">" + text + "</th>"), std::string::npos) << text;
    }
    int32_t texts = 0;
    for (const ForceVideoAnswer answer : {ForceVideoAnswer::unavailable, ForceVideoAnswer::post,
                                          ForceVideoAnswer::defer, ForceVideoAnswer::timed_out}) {
        for (const char* text : {force_video_press_text(answer), force_video_tick_text(answer)}) {
            if (!text) continue;
            ++texts;
            EXPECT_NE(guide().find(std::string("<th scope=\"row\">") + text + "</th>"), std::string::npos) << text;
        }
    }
    EXPECT_EQ(texts, 5);
}

TEST(SettingsHelp, ARowTellsTypeDefaultUnitRangeAndReader) {
    const std::string row = row_of("movie_padding_before_frames");
    for (const char* part : {"whole number", ">60<", "frames", "0 to 300; anything else loads as 60", "videogen.exe"})
        EXPECT_NE(row.find(part), std::string::npos) << part << " in " << row;
    EXPECT_NE(row_of("@far[0][ 3]").find("pair x,y</td><td class=\"value\">0,0<"), std::string::npos);
    EXPECT_NE(row_of("max_diff_y%").find("<td class=\"value\">0.700000<"), std::string::npos);
    EXPECT_NE(row_of("*font_file").find("(empty)"), std::string::npos);
    EXPECT_NE(row_of("*capfile_output_dir").find("capfile.exe"), std::string::npos) << "from the help text";
    EXPECT_NE(row_of("min_blob_keep").find("kept for the workers"), std::string::npos);
}

TEST(SettingsHelp, OnlyKeysThatAreNotWrittenCarryTheDagger) {
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (kSettingTable[row].type == SETTING_SEPARATOR) continue;
        const bool marked = row_of(kSettingTable[row].key).find("†") != std::string::npos;
        EXPECT_EQ(marked, !setting_row_is_saved(row)) << kSettingTable[row].key;
    }
}

TEST(SettingsHelp, TextsAreEscapedAndPercentSignsStandOnce) {
    EXPECT_EQ(escaped("a<b>&\"c\"\r\nd"), "a&lt;b&gt;&amp;&quot;c&quot;\nd");
    EXPECT_NE(page().find("Tools -&gt; Select Practice Files..."), std::string::npos);
    EXPECT_EQ(page().find("%%"), std::string::npos);
    EXPECT_NE(row_of("auto_setup_adaptive_width_slow_pct").find("% of trial frames"), std::string::npos);
}

TEST(SettingsHelp, IdsOfRowsCanStandInALink) {
    EXPECT_EQ(settings_help_id("feed_count"), "feed_count");
    EXPECT_EQ(settings_help_id("@far[0][ 3]"), "far-0-3");
    EXPECT_EQ(settings_help_id("*archive_dir"), "archive_dir");
    EXPECT_EQ(settings_help_id("max_diff_y%"), "max_diff_y-pct");
    EXPECT_EQ(settings_help_id("Display / UI"), "Display-UI");
}

TEST(SettingsHelp, EveryCategoryIsInTheContents) {
    for (const char* category : kSettingCategories) {
        if (!category) continue;
        EXPECT_NE(page().find("<li><a href=\"#" + settings_help_id(category) + "\">"), std::string::npos) << category;
    }
}

TEST(SettingsHelp, EveryFactBelongsToAKey) {
    std::set<std::string_view> bases;
    for (const SettingDescriptor& row : kSettingTable)
        if (row.key) bases.insert(setting_key_base(row.key));
    std::set<std::string_view> told;
    for (const SettingFact& fact : setting_facts()) {
        EXPECT_EQ(bases.count(fact.base), 1u) << fact.base;
        EXPECT_TRUE(told.insert(fact.base).second) << fact.base << " twice";
    }
}

// Whether loading changes the value that a line gives the row.
static bool loader_changes(int32_t row, const std::string& line) {
    const auto s = default_settings();
    apply_settings_line(s.get(), line);
    std::string before;
    std::string after;
    format_setting_value(s.get(), row, &before);
    settings_normalise(s.get(), true);
    format_setting_value(s.get(), row, &after);
    return before != after;
}

TEST(SettingsHelp, EveryValueTheLoaderChangesHasItsRangeTold) {
    int32_t changed = 0;
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (kSettingTable[row].type != SETTING_INT) continue;
        const std::string key = kSettingTable[row].key;
        if (!loader_changes(row, key + "=-1000000") && !loader_changes(row, key + "=1000000")) continue;
        ++changed;
        const SettingFact* fact = setting_fact_find(key);
        ASSERT_NE(fact, nullptr) << key;
        EXPECT_STRNE(fact->range, "") << key;
    }
    EXPECT_EQ(changed, 4 + 3 + 12) << "four checked numbers, three line counts, twelve rows of regions";
}

TEST(SettingsHelp, TheRangesToldAreTheLoaders) {
    const struct {
        const char* key;
        int32_t low, high;
    } ranges[] = {{"feed_count", 1, 4},
                  {"movie_padding_before_frames", 0, 300},
                  {"movie_padding_after_frames", 0, 300},
                  {"upload_enabled", 0, 1},
                  {"meter_line_count[1]", INT_MIN, 30}};
    for (const auto& range : ranges) {
        const int32_t row = setting_row_find(range.key);
        const std::string start = std::string(range.key) + "=";
        EXPECT_FALSE(loader_changes(row, start + std::to_string(range.low))) << range.key;
        EXPECT_FALSE(loader_changes(row, start + std::to_string(range.high))) << range.key;
        EXPECT_TRUE(loader_changes(row, start + std::to_string(range.high + 1))) << range.key;
        if (range.low == INT_MIN) continue;
        EXPECT_TRUE(loader_changes(row, start + std::to_string(range.low - 1))) << range.key;
        const std::string told = setting_fact_find(range.key)->range;
        EXPECT_EQ(told.find(std::to_string(range.low)), 0u) << told;
        EXPECT_NE(told.find(std::to_string(range.high)), std::string::npos) << told;
    }
}
