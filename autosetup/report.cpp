#include "autosetup/report.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "app/log.h"
#include "autosetup/report_plots.h"
#include "autosetup/report_settings.h"
#include "autosetup/report_style.h"
#include "autosetup/report_text.h"
#include "autosetup/statistics.h"
#include "procs/worker_commands.h"
#include "settings/atomic_file.h"

namespace {

constexpr char kFileName[] = "auto_setup_report.html";
constexpr int32_t kLeastSamples = 3;
constexpr int64_t kOffsetLimit = 60;

struct Verdict {
    const char* kind;  // good, warn, bad
    std::string sentence;
    const char* advice;
};

}  // namespace

// Jumps behind the results.
static int32_t used_jumps(const CalculationTrace& trace) {
    if (trace.outliers_kept) return trace.jumps;
    int32_t count = 0;
    for (int32_t j = 0; j < trace.jumps; ++j) count += trace.jump[j].verdict == kJumpAccepted ? 1 : 0;
    return count;
}

static const char* failure_advice(int32_t phase) {
    switch (phase) {
        case 1:
            return "Set the grid lines of at least one feed, then run Auto Setup again.";
        case 3:
            return "Check that the practice run showed jumpers and that the motion regions cover the hill.";
        case 6:
            return "Use a practice video with complete single jumps, then run Auto Setup again.";
        default:
            return "Run Auto Setup again.";
    }
}

static const char* plural(int32_t count) {
    return count == 1 ? "" : "s";
}

static Verdict failed_verdict(const AutoSetupWorkspace* workspace, const AnalysisEnd& end) {
    const CalculationTrace& trace = workspace->calculation;
    std::string reason = report_failure(workspace);
    if (workspace->phase == 6 && trace.jumps > 0) put(&reason, " (%d of %d)", trace.invalid, trace.jumps);
    const char* advice = failure_advice(workspace->phase);
    if (end.outcome == kAnalysisTablesOnly)
        return {"warn", "The timing was not measured: " + reason + ". Only the pixel-frame tables were saved.",
                advice};
    return {"bad", "Auto Setup failed and saved no settings: " + reason + ".", advice};
}

static Verdict verdict_of(const AutoSetupWorkspace* workspace, const Settings* before, const Settings* after,
                          const AnalysisEnd& end, const std::vector<ReportTarget>& targets) {
    if (end.outcome != kAnalysisApplied) return failed_verdict(workspace, end);
    const CalculationTrace& trace = workspace->calculation;
    if (trace.jumps == 0)
        return {
            "bad", "No jump was seen by all cameras in use: the timing settings are built-in defaults.",
            "Run Auto Setup again with a practice run that every camera sees, before anyone relies on the timing."};
    const int32_t changes = report_change_count(before, after);
    const auto missed = static_cast<int32_t>(
        std::count_if(targets.begin(), targets.end(), [](const ReportTarget& target) { return target.missed; }));
    Verdict verdict = {"good", {}, ""};
    put(&verdict.sentence, "Auto Setup succeeded: measured from %d of %d jump%s, %d setting%s changed",
        used_jumps(trace), trace.jumps, plural(trace.jumps), changes, plural(changes));
    if (missed > 0) {
        put(&verdict.sentence, ", %d could not be measured", missed);
        verdict.kind = "warn";
        verdict.advice = "What could not be measured kept its value; the reasons are below.";
    }
    if (trace.outliers_kept) {
        verdict.sentence += ", and every jump is doubtful";
        verdict.kind = "warn";
        verdict.advice = "All jumps were outliers, so all were used. Repeat the run with better practice data.";
    }
    verdict.sentence += '.';
    return verdict;
}

static void put_head(const char* date, const Verdict& verdict, std::string* html) {
    *html +=
        "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"/>\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'\"/>\n"
        "<title>Auto Setup report</title>\n<style>";
    *html += kReportStyle;
    *html += "</style></head>\n<body>\n<header><h1>Auto Setup report</h1>\n<p class=\"date\">";
    put_escaped(html, date ? date : "");
    put(html, "</p></header>\n<main>\n<p id=\"verdict\" class=\"%s\">", verdict.kind);
    put_escaped(html, verdict.sentence);
    put(html, "</p>\n<p id=\"advice\">%s</p>\n", verdict.advice);
    *html +=
        "<nav aria-label=\"Contents\"><a href=\"#changed\">Changed</a> <a href=\"#kept\">Not changed</a> "
        "<a href=\"#jumps\">Jumps</a> <a href=\"#alignment\">Alignment</a> <a href=\"#gaps\">Gaps</a> "
        "<a href=\"#bands\">Motion bands</a> <a href=\"#pixel-frames\">Pixel frames</a> "
        "<a href=\"#logs\">Logs</a></nav>\n";
}

static void open_section(const char* id, const char* title, std::string* html) {
    put(html, "<section id=\"%s\"><h2>%s</h2>\n", id, title);
}

static void close_section(std::string* html) {
    *html += "</section>\n";
}

static void put_missing(int32_t feed, const char* what, std::string* html) {
    put(html, "<p class=\"missing\">Feed %d: %s.</p>\n", feed, what);
}

static std::string rule_text(const JumpTrace& trace) {
    const auto value = static_cast<long long>(trace.value);
    std::string text;
    switch (trace.rule) {
        case kRuleNone:
            break;
        case kRuleSpan:
            put(&text, "feed %d saw it for %lld frames; 10 to 520 are possible", trace.feed, value);
            break;
        case kRuleShortFeed2:
            put(&text, "feed 2 saw it for %lld frames, less than half the usual", value);
            break;
        case kRuleFewRecords:
            put(&text, "feed %d saw only %lld blob%s of it; 5 are needed", trace.feed, value, value == 1 ? "" : "s");
            break;
        case kRuleTriggerColumn:
            put(&text, "its scene trigger lies at column %lld, beyond 1500", value);
            break;
    }
    return text;
}

static void put_jump_verdict(const CalculationTrace& trace, int32_t jump, std::string* html) {
    if (jump >= trace.jumps) {
        *html += "<td>not used</td><td>";
        *html += trace.jumps > 0 ? "not every camera in use saw it" : "the calculation did not get to the jumps";
        *html += "</td>";
        return;
    }
    constexpr const char* kWords[] = {"accepted", "invalid", "outlier"};
    const JumpTrace& judged = trace.jump[jump];
    const char* word = kWords[std::clamp<int32_t>(judged.verdict, 0, 2)];
    put(html, "<td class=\"%s\">%s</td><td>%s%s</td>", word, word, rule_text(judged).c_str(),
        trace.outliers_kept && judged.verdict != kJumpAccepted ? " (used, as no jump was better)" : "");
}

static void put_jump_cell(const AutoSetupWorkspace* workspace, int32_t feed, int32_t jump, std::string* html) {
    if (jump >= workspace->jump_count[feed] || workspace->jumps[feed][jump].count < 1) {
        *html += "<td>–</td>";
        return;
    }
    const JumpSpan& span = workspace->jumps[feed][jump];
    const MotionBlob& first = workspace->blobs[feed][span.start];
    const MotionBlob& last = workspace->blobs[feed][span.start + span.count - 1];
    put(html, "<td>%d blob%s<br/>frames %lld … %lld<br/>columns %d … %d</td>", span.count, plural(span.count),
        static_cast<long long>(first.seq), static_cast<long long>(last.seq), first.x, last.x);
}

static void put_jump_table(const AutoSetupWorkspace* workspace, std::string* html) {
    const int32_t rows = *std::max_element(std::begin(workspace->jump_count), std::end(workspace->jump_count));
    if (rows == 0) return;
    *html +=
        "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"Jumps and verdicts\"><table>\n"
        "<thead><tr><th scope=\"col\">Jump</th><th scope=\"col\">Verdict</th><th scope=\"col\">Why</th>"
        "<th scope=\"col\">Feed 0</th><th scope=\"col\">Feed 1</th><th scope=\"col\">Feed 2</th></tr></thead>\n"
        "<tbody>\n";
    for (int32_t j = 0; j < rows; ++j) {
        put(html, "<tr><th scope=\"row\">%d</th>", j);
        put_jump_verdict(workspace->calculation, j, html);
        for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) put_jump_cell(workspace, feed, j, html);
        *html += "</tr>\n";
    }
    *html += "</tbody></table></div>\n";
}

static void put_jumps(const AutoSetupWorkspace* workspace, std::string* html) {
    open_section("jumps", "Jumps", html);
    *html +=
        "<p class=\"legend\"><span class=\"key accepted\">● accepted</span> &#160; <span class=\"key outlier\">■ "
        "outlier</span> &#160; <span class=\"key invalid\">✕ invalid</span> &#160; <span class=\"key\">● not "
        "used</span></p>\n";
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        if (workspace->jump_count[feed] > 0) {
            plot_blob_columns(workspace, feed, html);
        } else {
            put_missing(feed, "no jump", html);
        }
    }
    put_jump_table(workspace, html);
    close_section(html);
}

static void put_offsets(const AutoSetupWorkspace* workspace, const AnalysisEnd& end, int32_t pair,
                        std::string* html) {
    const AlignRecord* records = pair == 0 ? workspace->align_01 : workspace->align_12;
    const int32_t feed = pair == 0 ? 0 : 2;
    DotPlot plot = {};
    plot.id = pair == 0 ? "plot-align-01" : "plot-align-12";
    plot.title = pair == 0 ? "Feed 0 to feed 1" : "Feed 1 to feed 2";
    plot.across = "jump";
    for (int32_t j = 0; j < kJumpLimit; ++j) {
        if (!records[j].valid) continue;
        plot.value.push_back(records[j].offset);
        plot.number.push_back(j);
        plot.counted.push_back(records[j].pairs >= 2);
    }
    if (plot.value.empty()) {
        put(html, "<p class=\"missing\">%s: no jump was seen by both.</p>\n", plot.title);
        return;
    }
    const auto counted = static_cast<int32_t>(std::count(plot.counted.begin(), plot.counted.end(), true));
    plot.has_median = counted >= 2;
    plot.median = workspace->alignment.median[pair];
    plot.low = -kOffsetLimit;
    plot.high = kOffsetLimit;
    put(&plot.caption, "%d of %zu jump%s aligned by metres", counted, plot.value.size(),
        plural(static_cast<int32_t>(plot.value.size())));
    if (plot.has_median) put(&plot.caption, ", median %lld frames", static_cast<long long>(plot.median));
    plot.caption +=
        "; beyond ±60 frames an offset is not believed. Hollow: guessed from the pause between the feeds. ";
    if (end.result == 0 && workspace->sync_valid[feed]) {
        put(&plot.caption, "feed_sync_offset[%d] = %d frames.", feed, workspace->sync_offset[feed]);
    } else {
        put(&plot.caption, "feed_sync_offset[%d] stays as it was.", feed);
    }
    plot_dots(plot, html);
}

static void put_gap_samples(const char* id, const char* title, const int32_t* samples, int32_t count,
                            std::string* html) {
    if (count < 1) {
        put(html, "<p class=\"missing\">%s: no sample.</p>\n", title);
        return;
    }
    const RobustMedian robust = robust_median(samples, count, kLeastSamples);
    const int64_t reach = 3 * int64_t{robust.deviation};
    const bool judged = robust.outcome != kRobustTooFew;
    DotPlot plot = {};
    plot.id = id;
    plot.title = title;
    plot.across = "sample";
    for (int32_t i = 0; i < count; ++i) {
        plot.value.push_back(samples[i]);
        plot.number.push_back(i);
        const int64_t distance = std::abs(int64_t{samples[i]} - robust.initial_median);
        plot.counted.push_back(judged && (reach == 0 || distance <= reach));
    }
    plot.has_median = robust.outcome == kRobustMeasured;
    plot.median = robust.median;
    if (judged && reach > 0) {
        plot.low = robust.initial_median - reach;
        plot.high = robust.initial_median + reach;
    }
    put(&plot.caption, "%d sample%s", count, plural(count));
    if (plot.has_median) {
        put(&plot.caption, ", median %d frames of %d kept", robust.median, robust.clean);
    } else {
        put(&plot.caption, "; at least %d that agree are needed", kLeastSamples);
    }
    if (plot.low != plot.high)
        put(&plot.caption, "; hollow ones lie outside %lld … %lld frames", static_cast<long long>(plot.low),
            static_cast<long long>(plot.high));
    plot.caption += '.';
    plot_dots(plot, html);
}

static void put_gap_result(const AutoSetupWorkspace* workspace, const AnalysisEnd& end, int32_t gap,
                           std::string* html) {
    constexpr const char* kMethods[] = {"", "from the scene triggers", "from the feed alignment",
                                        "from the scene triggers of feeds 0 and 2, less the first gap"};
    put(html, "<p>Gap between feed %d and feed %d: ", gap, gap + 1);
    if (!workspace->gap_valid[gap]) {
        const char* kept = workspace->gaps.kept[gap];
        const char* unmeasured = end.result != 0 ? report_failure(workspace) : "it was not measured";
        *html += "kept, ";
        put_escaped(html, kept ? kept : unmeasured);
        *html += ".</p>\n";
        return;
    }
    put(html, "<b>%d frames</b> %s; %d sample%s, median deviation %d.</p>\n", workspace->gap_frames[gap],
        kMethods[std::clamp<int32_t>(workspace->gaps.method[gap], 0, 3)], workspace->gap_samples[gap],
        plural(workspace->gap_samples[gap]), workspace->gap_mad[gap]);
}

static void put_alignment(const AutoSetupWorkspace* workspace, const AnalysisEnd& end, std::string* html) {
    open_section("alignment", "Alignment of the feeds", html);
    *html += "<p>How far the later feed's frame numbers are ahead at the same moment, per jump.</p>\n";
    put_offsets(workspace, end, 0, html);
    put_offsets(workspace, end, 1, html);
    close_section(html);
    open_section("gaps", "Gaps between the feeds", html);
    *html += "<p>Frames in which neither camera covers the jumper; -30 to 150 are believed.</p>\n";
    const GapTrace& gaps = workspace->gaps;
    put_gap_result(workspace, end, 0, html);
    put_gap_result(workspace, end, 1, html);
    put_gap_samples("plot-gap-01", "Feed 0 to feed 1, scene triggers", gaps.trigger_01, gaps.trigger_01_count, html);
    put_gap_samples("plot-gap-12", "Feed 1 to feed 2, alignment", gaps.alignment, gaps.alignment_count, html);
    put_gap_samples("plot-gap-02", "Feed 0 to feed 2, scene triggers", gaps.trigger_02, gaps.trigger_02_count, html);
    close_section(html);
}

static void put_bands(const AutoSetupWorkspace* workspace, const Settings* before, const AnalysisEnd& end,
                      std::string* html) {
    open_section("bands", "Motion bands", html);
    if (end.result != 0) *html += "<p>The analysis failed; the motion bands stay as they were.</p>\n";
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        if (!feed_is_active(before->feed_count, feed)) {
            put_missing(feed, "not in use", html);
        } else if (workspace->blob_count[feed] < 1) {
            put_missing(feed, "no blobs", html);
        } else {
            plot_motion_band(workspace, before, feed, html);
        }
    }
    close_section(html);
}

static void put_tables(const AutoSetupWorkspace* workspace, const Settings* after, std::string* html) {
    const PixelFramesTrace& trace = workspace->pixel_frames;
    open_section("pixel-frames", "Pixel frames", html);
    if (trace.kept) {
        *html += "<p>The tables stay as they were: ";
        put_escaped(html, trace.kept);
        *html += ".</p>\n";
    } else if (trace.contributing > 0) {
        put(html,
            "<p>Averaged over %d of %d jump%s that the cameras saw together. A movie lasts %d frames without padding "
            "and changes its scene at frame %d, when the jumper is at column %d of feed 0.</p>\n",
            trace.contributing, trace.merged, plural(trace.merged), trace.frame_count, trace.switch2_frame,
            trace.scene_x);
    }
    *html +=
        "<p class=\"legend\"><span class=\"key to-start\">— to the movie's start</span> &#160; <span class=\"key "
        "to-scene\">– – to the scene change</span> &#160; <span class=\"key to-end\">··· to the end</span></p>\n";
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        if (after->pixel_frames_populated[feed] != 0) {
            plot_pixel_frames(after, feed, html);
        } else {
            put_missing(feed, "no table", html);
        }
    }
    close_section(html);
}

static void put_logs(const AutoSetupWorkspace* workspace, std::string* html) {
    open_section("logs", "What the logs held", html);
    *html +=
        "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"Logs\"><table>\n<thead><tr>"
        "<th scope=\"col\">Feed</th><th scope=\"col\">Blobs</th><th scope=\"col\">Jumps</th>"
        "<th scope=\"col\">Largest blob</th><th scope=\"col\">Blob rows</th><th scope=\"col\">Grid lines</th>"
        "</tr></thead>\n<tbody>\n";
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        put(html, "<tr><th scope=\"row\">%d</th><td>%d</td><td>%d</td>", feed, workspace->blob_count[feed],
            workspace->jump_count[feed]);
        if (workspace->blob_count[feed] > 0) {
            put(html, "<td>%d pixels</td><td>%d … %d</td>", workspace->blob_size_max[feed],
                workspace->bbox_y_min[feed], workspace->bbox_y_max[feed]);
        } else {
            *html += "<td>–</td><td>–</td>";
        }
        const float* meters = workspace->meters_at_x[feed];
        if (workspace->grid_valid[feed]) {
            put(html, "<td>%.1f … %.1f m</td></tr>\n", static_cast<double>(meters[0]),
                static_cast<double>(meters[kPixelColumns - 1]));
        } else {
            *html += "<td>not set</td></tr>\n";
        }
    }
    *html += "</tbody></table></div>\n";
    close_section(html);
}

void auto_setup_report(const AutoSetupWorkspace* workspace, const Settings* before, const Settings* after,
                       AnalysisEnd end, const char* date, std::string* html) {
    html->clear();
    const std::vector<ReportTarget> targets = report_targets(workspace, before, end);
    put_head(date, verdict_of(workspace, before, after, end, targets), html);
    open_section("changed", "Changed settings", html);
    report_changed_settings(before, after, html);
    close_section(html);
    open_section("kept", "Not changed", html);
    report_kept_settings(targets, before, after, html);
    close_section(html);
    put_jumps(workspace, html);
    put_alignment(workspace, end, html);
    put_bands(workspace, before, end, html);
    put_tables(workspace, after, html);
    put_logs(workspace, html);
    *html += "</main>\n</body></html>\n";
}

int32_t auto_setup_write_report(const char* settings_path, const std::string& html) {
    if (!settings_path) {
        log_error("auto setup: no settings path to put the report beside");
        return -1;
    }
    const std::string_view whole(settings_path);
    const size_t separator = whole.find_last_of("/\\");
    const std::string path =
        std::string(whole.substr(0, separator == std::string_view::npos ? 0 : separator + 1)) + kFileName;
    return write_text_atomic(path.c_str(), html, "auto setup");
}
