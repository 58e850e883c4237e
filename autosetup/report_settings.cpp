#include "autosetup/report_settings.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "autosetup/report_text.h"
#include "procs/worker_commands.h"
#include "settings/descriptor_table.h"
#include "settings/settings_line.h"
#include "settings/settings_values.h"

namespace {

constexpr char kTablesName[] = "pixel_frames.txt";
constexpr const char* kNotInUse[kAnalysisFeeds] = {"feed 0 is not in use", "feed 1 is not in use",
                                                   "feed 2 is not in use"};

// Units by the beginning of a key.
constexpr struct {
    const char* beginning;
    const char* unit;
} kUnits[] = {
    {"feed_video_frames", "frames"},
    {"frames_before_first_blob", "frames"},
    {"frames_after_last_blob", "frames"},
    {"inter_feed_gap_frames", "frames"},
    {"feed_sync_offset", "frames"},
    {"min_type2_frames", "frames"},
    {"motion_start_x", "column"},
    {"motion_end_x", "column"},
    {"motion_start_y", "row"},
    {"motion_end_y", "row"},
    {"center_of_blob_scene", "column"},
    {"max_blob_size", "pixels"},
    {"max_diff_", "difference sum"},
    {"blob_match_tolerance_us", "µs"},
};

}  // namespace

static const char* unit_of(std::string_view key) {
    for (const auto& row : kUnits)
        if (key.substr(0, strlen(row.beginning)) == row.beginning) return row.unit;
    return "";
}

static std::string indexed(const char* name, int32_t index) {
    return std::string(name) + '[' + static_cast<char>('0' + index) + ']';
}

const char* report_failure(const AutoSetupWorkspace* workspace) {
    switch (workspace->phase) {
        case 1:
            return "no feed has valid grid lines";
        case 3:
            for (const int32_t count : workspace->blob_count)
                if (count > 0) return "the computer ran out of memory while it read the logs";
            return "the motion logs hold no blobs";
        case 6:
            return "most of the jumps were invalid";
        default:
            return "the analysis did not finish";
    }
}

static const char* reason_or(const char* reason, const char* fallback) {
    return reason ? reason : fallback;
}

static const char* kept_offset(const AutoSetupWorkspace* workspace, const Settings* before, int32_t feed) {
    if (feed == 1) return before->feed_sync_offset[1] == 0 ? "feed 1 is the reference, its offset is 0" : nullptr;
    if (workspace->sync_valid[feed]) return nullptr;
    return reason_or(workspace->alignment.kept[feed / 2], "it was not measured");
}

// What apply_auto_setup_results would write for one feed, and what holds it back.
static void add_feed_targets(const AutoSetupWorkspace* workspace, const Settings* before, int32_t feed,
                             const char* failure, std::vector<ReportTarget>* targets) {
    const bool active = feed_is_active(before->feed_count, feed);
    const char* common = active ? failure : kNotInUse[feed];
    const bool missed = active && failure;
    for (const char* name : {"feed_video_frames", "frames_before_first_blob", "frames_after_last_blob",
                             "motion_start_y", "motion_end_y"})
        targets->push_back({indexed(name, feed), common, missed});
    const bool has_width = workspace->region_end_x[feed] > 0;
    for (const char* name : {"motion_start_x", "motion_end_x"})
        targets->push_back(
            {indexed(name, feed), common || has_width ? common : "the run had no width trial", missed});
    const char* offset_kept = common ? common : kept_offset(workspace, before, feed);
    targets->push_back({indexed("feed_sync_offset", feed), offset_kept, active && feed != 1 && offset_kept});
}

std::vector<ReportTarget> report_targets(const AutoSetupWorkspace* workspace, const Settings* before,
                                         const AnalysisEnd& end) {
    const char* failure = end.result != 0 ? report_failure(workspace) : nullptr;
    std::vector<ReportTarget> targets;
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed)
        add_feed_targets(workspace, before, feed, failure, &targets);

    const bool has_feed_0 = feed_is_active(before->feed_count, 0);
    const char* scene = has_feed_0 ? failure : kNotInUse[0];
    for (const char* key : {"center_of_blob_scene_trigger[0]", "min_type2_frames"})
        targets.push_back({key, scene, has_feed_0 && failure});
    for (int32_t i = 0; i < 2; ++i) {
        const bool unmeasured = !scene && !workspace->gap_valid[i];
        targets.push_back({indexed("inter_feed_gap_frames", i),
                           unmeasured ? reason_or(workspace->gaps.kept[i], "it was not measured") : scene,
                           has_feed_0 && (failure || unmeasured)});
    }
    const bool no_caps = !failure && workspace->cap_max_blob_size <= 0;
    for (const char* key : {"max_blob_size", "max_diff_y", "max_diff_u", "max_diff_v"})
        targets.push_back({key, no_caps ? "no blobs were seen" : failure, failure || no_caps});
    const char* tables = workspace->pixel_frames.kept;
    if (tables) targets.push_back({kTablesName, tables, true});
    return targets;
}

static std::string value_text(const Settings* settings, int32_t row) {
    std::string text;
    format_setting_value(settings, row, &text);
    return text;
}

static bool row_differs(const Settings* before, const Settings* after, int32_t row) {
    return kSettingTable[row].type != SETTING_SEPARATOR && value_text(before, row) != value_text(after, row);
}

// Columns of a feed whose table row differs; all of them when the table is new or gone.
static int32_t table_differences(const Settings* before, const Settings* after, int32_t feed) {
    if ((before->pixel_frames_populated[feed] != 0) != (after->pixel_frames_populated[feed] != 0))
        return kPixelColumns;
    int32_t count = 0;
    for (int32_t x = 0; x < kPixelColumns; ++x) {
        const bool same = before->pixel_to_start[feed][x] == after->pixel_to_start[feed][x] &&
                          before->pixel_to_scene[feed][x] == after->pixel_to_scene[feed][x] &&
                          before->pixel_to_end[feed][x] == after->pixel_to_end[feed][x];
        if (!same) ++count;
    }
    return count;
}

int32_t report_change_count(const Settings* before, const Settings* after) {
    int32_t count = 0;
    for (int32_t row = 0; row < kSettingRowCount; ++row)
        if (row_differs(before, after, row)) ++count;
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed)
        if (table_differences(before, after, feed) > 0) ++count;
    return count;
}

// "+12", or nothing where there is no difference to speak of.
static std::string difference_text(const Settings* before, const Settings* after, int32_t row) {
    if (kSettingTable[row].type != SETTING_INT) return {};
    const int32_t index = settings_info_find(kSettingTable[row].key);
    const int64_t rise = int64_t{settings_get_int(after, index)} - settings_get_int(before, index);
    std::string text;
    put(&text, "%+lld", static_cast<long long>(rise));
    return text;
}

static void put_changed_row(const Settings* before, const Settings* after, int32_t row, std::string* html) {
    const SettingDescriptor& setting = kSettingTable[row];
    const std::string_view help(setting.description);
    const char* kind = setting.type == SETTING_STRING ? "text" : "number";
    *html += "<tr><th scope=\"row\"><code>";
    put_escaped(html, setting.key);
    *html += "</code><small>";
    put_escaped(html, help.substr(0, help.find_first_of("\r\n")));
    put(html, "%s</small></th><td class=\"%s\">", setting_row_is_saved(row) ? "" : " (not stored in settings.txt)",
        kind);
    put_escaped(html, value_text(before, row));
    put(html, "</td><td class=\"%s\"><b>", kind);
    put_escaped(html, value_text(after, row));
    *html += "</b></td><td class=\"number\">";
    put_escaped(html, difference_text(before, after, row));
    put(html, "</td><td>%s</td></tr>\n", unit_of(setting.key));
}

static void put_table_state(const Settings* settings, int32_t feed, std::string* html) {
    if (settings->pixel_frames_populated[feed] == 0) {
        *html += "empty";
        return;
    }
    const int32_t* const tables[] = {settings->pixel_to_start[feed], settings->pixel_to_scene[feed],
                                     settings->pixel_to_end[feed]};
    constexpr const char* kNames[] = {"to start", "to scene", "to end"};
    for (int32_t i = 0; i < 3; ++i) {
        const auto [least, most] = std::minmax_element(tables[i], tables[i] + kPixelColumns);
        put(html, "%s%s %d … %d", i == 0 ? "" : "<br/>", kNames[i], *least, *most);
    }
}

static void put_changed_table(const Settings* before, const Settings* after, int32_t feed, std::string* html) {
    const int32_t columns = table_differences(before, after, feed);
    if (columns == 0) return;
    put(html,
        "<tr><th scope=\"row\"><code>pixel_frames[%d]</code><small>Frames to start, scene change and end of the "
        "movie, in pixel_frames.txt; %d of %d columns differ</small></th><td class=\"number range\">",
        feed, columns, kPixelColumns);
    put_table_state(before, feed, html);
    *html += "</td><td class=\"number range\"><b>";
    put_table_state(after, feed, html);
    *html += "</b></td><td></td><td>frames</td></tr>\n";
}

void report_changed_settings(const Settings* before, const Settings* after, std::string* html) {
    if (report_change_count(before, after) == 0) {
        *html += "<p class=\"missing\">No setting changed.</p>\n";
        return;
    }
    *html +=
        "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"Changed settings\"><table>\n"
        "<thead><tr><th scope=\"col\">Setting</th><th scope=\"col\" class=\"number\">Before</th><th scope=\"col\" "
        "class=\"number\">After</th>"
        "<th scope=\"col\" class=\"number\">Change</th><th scope=\"col\">Unit</th></tr></thead>\n<tbody>\n";
    for (int32_t row = 0; row < kSettingRowCount; ++row)
        if (row_differs(before, after, row)) put_changed_row(before, after, row, html);
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) put_changed_table(before, after, feed, html);
    *html += "</tbody></table></div>\n";
}

static void put_target_value(const ReportTarget& target, const Settings* after, std::string* html) {
    *html += "<code>";
    put_escaped(html, target.key);
    const int32_t row = setting_row_find(target.key);
    if (row >= 0) {
        *html += " = ";
        put_escaped(html, value_text(after, row));
    }
    *html += "</code> ";
}

static bool is_same_reason(const char* a, const char* b) {
    return a && b ? strcmp(a, b) == 0 : a == b;
}

// One row for all settings that share a reason; a null reason stands for those measured anew with the same result.
static void put_reason(const std::vector<const ReportTarget*>& targets, const char* reason, const Settings* after,
                       std::string* html) {
    *html += "<tr><th scope=\"row\">";
    put_escaped(html, reason ? reason : "measured again, with the same result");
    *html += "</th><td class=\"items\">";
    for (const ReportTarget* target : targets)
        if (is_same_reason(target->kept, reason)) put_target_value(*target, after, html);
    *html += "</td></tr>\n";
}

void report_kept_settings(const std::vector<ReportTarget>& targets, const Settings* before, const Settings* after,
                          std::string* html) {
    std::vector<const ReportTarget*> shown;
    std::vector<const char*> reasons;
    for (const ReportTarget& target : targets) {
        const int32_t row = setting_row_find(target.key);
        if (!target.kept && (row < 0 || row_differs(before, after, row))) continue;
        shown.push_back(&target);
        const auto same = [&](const char* reason) { return is_same_reason(reason, target.kept); };
        if (std::none_of(reasons.begin(), reasons.end(), same)) reasons.push_back(target.kept);
    }
    if (shown.empty()) {
        *html += "<p class=\"missing\">None: every setting that Auto Setup measures has a new value.</p>\n";
        return;
    }
    *html +=
        "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"Settings that stayed\"><table>\n"
        "<thead><tr><th scope=\"col\">Why</th><th scope=\"col\">Settings</th></tr></thead>\n<tbody>\n";
    for (const char* reason : reasons) put_reason(shown, reason, after, html);
    *html += "</tbody></table></div>\n";
}
