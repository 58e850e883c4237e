#include "autosetup/report_plots.h"

#include <algorithm>
#include <cmath>

#include "autosetup/report_text.h"

namespace {

constexpr double kPictureWidth = 960;
constexpr double kLeft = 60, kRight = 16, kTop = 34, kBottom = 34;
constexpr double kCharacterWidth = 7;  // of an axis label, a guess on the safe side
constexpr double kJumpGap = 8, kJumpLeast = 14;
constexpr int32_t kRows = 540;
constexpr int32_t kBandStep = 4;   // columns per bar
constexpr int32_t kCurveStep = 4;  // columns per point of a curve

// Where values lie in the picture.
struct Axis {
    double from, to;       // values
    double start, extent;  // picture units; the extent is negative for an axis that rises to the top
};

struct JumpLayout {
    double first_seq, span;  // frames
    double left, width;      // picture units
};

}  // namespace

static double on_axis(const Axis& axis, double value) {
    return axis.start + (value - axis.from) / (axis.to - axis.from) * axis.extent;
}

static Axis rising_axis(double from, double to, double height) {
    return {from, to > from ? to : from + 1, kTop + height, -height};
}

static Axis column_axis() {
    return {0, kPixelColumns - 1, kLeft, kPictureWidth - kLeft - kRight};
}

static void open_picture(const char* id, int32_t number, const char* title, double height, std::string* html) {
    put(html,
        "<figure><svg id=\"%s-%d\" viewBox=\"0 0 %.0f %.0f\" role=\"img\" aria-labelledby=\"%s-%d-title\">"
        "<title id=\"%s-%d-title\">%s</title>\n",
        id, number, kPictureWidth, kTop + height + kBottom, id, number, id, number, title);
    put(html, "<rect class=\"frame\" x=\"%.0f\" y=\"%.0f\" width=\"%.0f\" height=\"%.0f\"/>\n", kLeft, kTop,
        kPictureWidth - kLeft - kRight, height);
}

static void close_picture(const std::string& caption, std::string* html) {
    *html += "</svg><figcaption>" + caption + "</figcaption></figure>\n";
}

static void put_text(double x, double y, const char* anchor, const char* text, std::string* html) {
    put(html, "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\">%s</text>\n", x, y, anchor, text);
}

static void put_horizontal(const char* kind, double y, std::string* html) {
    put(html, "<path class=\"%s\" d=\"M%.0f %.1fH%.0f\"/>\n", kind, kLeft, y, kPictureWidth - kRight);
}

// 1, 2 or 5 times a power of ten, so that about five steps cover the range.
static double tick_step(double range) {
    const double rough = std::max(range / 5, 1.0);
    const double power = std::pow(10, std::floor(std::log10(rough)));
    const double factor = rough / power;
    return (factor <= 1 ? 1 : factor <= 2 ? 2 : factor <= 5 ? 5 : 10) * power;
}

static std::string tick_text(double value) {
    std::string text;
    put(&text, "%.0f", value);
    return text == "-0" ? "0" : text;
}

static void put_value_ticks(const Axis& axis, std::string* html) {
    const double step = tick_step(axis.to - axis.from);
    const double first = std::ceil(axis.from / step) * step;
    for (int32_t i = 0; i < 12 && first + i * step <= axis.to; ++i) {
        const double y = on_axis(axis, first + i * step);
        put_horizontal("grid", y, html);
        put_text(kLeft - 6, y + 4, "end", tick_text(first + i * step).c_str(), html);
    }
}

static void put_column_ticks(double bottom, std::string* html) {
    const Axis axis = column_axis();
    for (int32_t column = 0; column < kPixelColumns; column += 240)
        put_text(on_axis(axis, column), bottom + 16, "middle", tick_text(column).c_str(), html);
    put_text(kPictureWidth - kRight, bottom + 16, "end", "column", html);
}

static const char* jump_class(const AutoSetupWorkspace* workspace, int32_t jump) {
    if (jump >= workspace->calculation.jumps) return "unjudged";
    switch (workspace->calculation.jump[jump].verdict) {
        case kJumpAccepted:
            return "accepted";
        case kJumpInvalid:
            return "invalid";
        case kJumpOutlier:
            return "outlier";
    }
    return "unjudged";
}

static std::vector<JumpLayout> lay_out_jumps(const AutoSetupWorkspace* workspace, int32_t feed) {
    const int32_t count = workspace->jump_count[feed];
    std::vector<JumpLayout> layout;
    double total = 0;
    for (int32_t j = 0; j < count; ++j) {
        const JumpSpan& span = workspace->jumps[feed][j];
        const MotionBlob* blobs = workspace->blobs[feed] + span.start;
        const auto [least, most] = std::minmax_element(
            blobs, blobs + span.count, [](const MotionBlob& a, const MotionBlob& b) { return a.seq < b.seq; });
        const auto first = static_cast<double>(least->seq);
        layout.push_back({first, static_cast<double>(most->seq) - first, 0, 0});
        total += layout.back().span;
    }
    const double room = kPictureWidth - kLeft - kRight - (kJumpGap + kJumpLeast) * count;
    double left = kLeft + kJumpGap / 2;
    for (JumpLayout& jump : layout) {
        jump.left = left;
        jump.width = kJumpLeast + (total > 0 ? room * (jump.span / total) : room / count);
        left += jump.width + kJumpGap;
    }
    return layout;
}

// One path for all dots of a jump: round dots are lines of no length, crosses are drawn.
static int32_t put_jump_dots(const MotionBlob* blobs, int32_t count, int32_t most, const JumpLayout& jump,
                             const Axis& columns, const char* kind, std::string* html) {
    const int32_t shown = std::min(count, std::max(most, 2));
    const bool crosses = kind[0] == 'i';
    put(html, "<path class=\"dots %s\" d=\"", kind);
    for (int32_t i = 0; i < shown; ++i) {
        const int64_t index = shown > 1 ? int64_t{i} * (count - 1) / (shown - 1) : 0;
        const MotionBlob& blob = blobs[index];
        const double share = jump.span > 0 ? (static_cast<double>(blob.seq) - jump.first_seq) / jump.span : 0.5;
        const double x = jump.left + share * jump.width;
        const double y = on_axis(columns, std::clamp(blob.x, 0, kPixelColumns - 1));
        if (crosses) {
            put(html, "M%.1f %.1fl4 4m0-4l-4 4", x - 2, y - 2);
        } else {
            put(html, "M%.1f %.1fh0", x, y);
        }
    }
    *html += "\"/>\n";
    return shown;
}

static void put_jump_labels(const JumpLayout& jump, int32_t number, int64_t first_frame, double bottom,
                            double* labels_end, std::string* html) {
    put_text(jump.left + jump.width / 2, kTop - 8, "middle", std::to_string(number).c_str(), html);
    const std::string frame = std::to_string(first_frame);
    const double width = kCharacterWidth * static_cast<double>(frame.size());
    if (jump.left < *labels_end || jump.left + width > kPictureWidth) return;
    put_text(jump.left, bottom + 16, "start", frame.c_str(), html);
    *labels_end = jump.left + width + kCharacterWidth;
}

void plot_blob_columns(const AutoSetupWorkspace* workspace, int32_t feed, std::string* html) {
    constexpr double kHeight = 210;
    const int32_t count = workspace->jump_count[feed];
    std::string title;
    put(&title, "Feed %d: blob column over frame number, %d jumps", feed, count);
    open_picture("plot-jumps", feed, title.c_str(), kHeight, html);
    const Axis columns = rising_axis(0, kPixelColumns - 1, kHeight);
    put_value_ticks(columns, html);
    const std::vector<JumpLayout> layout = lay_out_jumps(workspace, feed);
    int32_t drawn = 0, blobs = 0;
    double labels_end = 0;
    for (int32_t j = 0; j < count; ++j) {
        const JumpLayout& jump = layout[static_cast<size_t>(j)];
        const JumpSpan& span = workspace->jumps[feed][j];
        const MotionBlob* first = workspace->blobs[feed] + span.start;
        put(html, "<rect class=\"jump %s\" x=\"%.1f\" y=\"%.0f\" width=\"%.1f\" height=\"%.0f\"/>\n",
            jump_class(workspace, j), jump.left - 3, kTop, jump.width + 6, kHeight);
        drawn += put_jump_dots(first, span.count, kPlotPoints / count, jump, columns, jump_class(workspace, j), html);
        blobs += span.count;
        put_jump_labels(jump, j, first->seq, kTop + kHeight, &labels_end, html);
    }
    put_text(4, 12, "start", "column", html);
    std::string caption;
    put(&caption, "<b>Feed %d.</b> %d of %d blobs shown", feed, drawn, blobs);
    const int32_t dropped = workspace->blob_count[feed] - blobs;
    if (dropped > 0) put(&caption, "; %d blobs after the last of %d jumps were not looked at", dropped, count);
    caption += ". Above: number of the jump as in the log; below: its first frame. Pauses are cut out.";
    close_picture(caption, html);
}

static Axis dot_axis(const DotPlot& plot, double height) {
    const auto [least, most] = std::minmax_element(plot.value.begin(), plot.value.end());
    auto from = static_cast<double>(*least), to = static_cast<double>(*most);
    if (plot.has_median) {
        from = std::min(from, static_cast<double>(plot.median));
        to = std::max(to, static_cast<double>(plot.median));
    }
    const double margin = std::max((to - from) * 0.15, 3.0);
    return rising_axis(from - margin, to + margin, height);
}

static void put_bounds(const DotPlot& plot, const Axis& axis, std::string* html) {
    if (plot.low == plot.high) return;
    for (const int64_t bound : {plot.low, plot.high}) {
        const auto value = static_cast<double>(bound);
        if (value < axis.from || value > axis.to) continue;
        put_horizontal("bound", on_axis(axis, value), html);
        std::string text;
        put(&text, "bound %lld", static_cast<long long>(bound));
        const double y = on_axis(axis, value) + (bound == plot.low ? 13 : -4);
        put_text(kPictureWidth - kRight - 4, y, "end", text.c_str(), html);
    }
}

void plot_dots(const DotPlot& plot, std::string* html) {
    constexpr double kHeight = 130;
    open_picture(plot.id, 0, plot.title, kHeight, html);
    const Axis axis = dot_axis(plot, kHeight);
    put_value_ticks(axis, html);
    put_bounds(plot, axis, html);
    if (plot.has_median) put_horizontal("median", on_axis(axis, static_cast<double>(plot.median)), html);
    const size_t count = plot.value.size();
    const double step = (kPictureWidth - kLeft - kRight) / static_cast<double>(count);
    for (size_t i = 0; i < count; ++i) {
        const double x = kLeft + step * (static_cast<double>(i) + 0.5);
        put(html, "<circle class=\"%s\" cx=\"%.1f\" cy=\"%.1f\" r=\"4\"/>\n",
            plot.counted[i] ? "counted" : "left-out", x, on_axis(axis, static_cast<double>(plot.value[i])));
        if (step >= 3 * kCharacterWidth)
            put_text(x, kTop + kHeight + 16, "middle", std::to_string(plot.number[i]).c_str(), html);
    }
    put_text(4, 12, "start", "frames", html);
    put_text(kPictureWidth - kRight, kTop + kHeight + 30, "end", plot.across, html);
    close_picture("<b>" + std::string(plot.title) + ".</b> " + plot.caption, html);
}

// Highest and lowest row of the blobs in each bar of kBandStep columns.
static void put_blob_rows(const AutoSetupWorkspace* workspace, int32_t feed, const Axis& rows, std::string* html) {
    constexpr int32_t kBars = kPixelColumns / kBandStep;
    std::vector<int32_t> first(kBars, kRows), last(kBars, -1);
    for (int32_t i = 0; i < workspace->blob_count[feed]; ++i) {
        const MotionBlob& blob = workspace->blobs[feed][i];
        const auto bar = static_cast<size_t>(std::clamp(blob.x, 0, kPixelColumns - 1) / kBandStep);
        first[bar] = std::min(first[bar], std::clamp(blob.first_y, 0, kRows - 1));
        last[bar] = std::max(last[bar], std::clamp(blob.last_y, 0, kRows - 1));
    }
    const Axis columns = column_axis();
    *html += "<path class=\"rows\" d=\"";
    for (size_t bar = 0; bar < kBars; ++bar) {
        if (last[bar] < first[bar]) continue;
        put(html, "M%.1f %.1fV%.1f", on_axis(columns, (static_cast<double>(bar) + 0.5) * kBandStep),
            on_axis(rows, first[bar]), on_axis(rows, last[bar] + 1));
    }
    *html += "\"/>\n";
}

static void put_old_band(const Settings* before, int32_t feed, const Axis& rows, std::string* html) {
    const int64_t shift = before->overlay_frame_offsets[feed];
    for (const int64_t row : {before->motion_start_y[feed] - shift, before->motion_end_y[feed] - shift}) {
        if (row < 0 || row >= kRows) continue;
        put_horizontal("before", on_axis(rows, static_cast<double>(row)), html);
    }
}

void plot_motion_band(const AutoSetupWorkspace* workspace, const Settings* before, int32_t feed, std::string* html) {
    constexpr double kHeight = 200;
    std::string title;
    put(&title, "Feed %d: rows of the blobs and motion band", feed);
    open_picture("plot-band", feed, title.c_str(), kHeight, html);
    const Axis rows = {0, kRows, kTop, kHeight};
    const int32_t y0 = workspace->region_y0[feed], y1 = workspace->region_y1[feed];
    const bool measured = y1 > 0;
    if (measured) {
        put(html, "<rect class=\"band\" x=\"%.0f\" y=\"%.1f\" width=\"%.0f\" height=\"%.1f\"/>\n", kLeft,
            on_axis(rows, y0), kPictureWidth - kLeft - kRight,
            std::max(on_axis(rows, static_cast<double>(y1) + 1) - on_axis(rows, y0), 0.0));
    }
    put_value_ticks(rows, html);
    put_blob_rows(workspace, feed, rows, html);
    put_old_band(before, feed, rows, html);
    put_column_ticks(kTop + kHeight, html);
    put_text(4, 12, "start", "row", html);
    std::string caption;
    put(&caption, "<b>Feed %d.</b> Blobs on rows %d … %d", feed, workspace->bbox_y_min[feed],
        workspace->bbox_y_max[feed]);
    if (measured) put(&caption, "; the band takes rows %d … %d", y0, y1);
    put(&caption, " (before: %lld … %lld, dashed). All %d blobs, highest and lowest row per %d columns.",
        static_cast<long long>(int64_t{before->motion_start_y[feed]} - before->overlay_frame_offsets[feed]),
        static_cast<long long>(int64_t{before->motion_end_y[feed]} - before->overlay_frame_offsets[feed]),
        workspace->blob_count[feed], kBandStep);
    close_picture(caption, html);
}

static void put_curve(const int32_t* table, const Axis& frames, const char* kind, std::string* html) {
    const Axis columns = column_axis();
    put(html, "<path class=\"curve %s\" d=\"", kind);
    for (int32_t step = 0; step <= kPixelColumns / kCurveStep; ++step) {
        const int32_t x = std::min(step * kCurveStep, kPixelColumns - 1);
        put(html, "%c%.1f %.1f", x == 0 ? 'M' : 'L', on_axis(columns, x), on_axis(frames, table[x]));
    }
    *html += "\"/>\n";
}

void plot_pixel_frames(const Settings* settings, int32_t feed, std::string* html) {
    constexpr double kHeight = 200;
    const int32_t* const tables[] = {settings->pixel_to_start[feed], settings->pixel_to_scene[feed],
                                     settings->pixel_to_end[feed]};
    constexpr const char* kKinds[] = {"to-start", "to-scene", "to-end"};
    double from = 0, to = 0;
    for (const int32_t* table : tables) {
        const auto [least, most] = std::minmax_element(table, table + kPixelColumns);
        from = std::min(from, static_cast<double>(*least));
        to = std::max(to, static_cast<double>(*most));
    }
    std::string title;
    put(&title, "Feed %d: frames to start, scene change and end over the column", feed);
    open_picture("plot-pixel-frames", feed, title.c_str(), kHeight, html);
    const Axis frames = rising_axis(from, to, kHeight);
    put_value_ticks(frames, html);
    for (int32_t i = 0; i < 3; ++i) put_curve(tables[i], frames, kKinds[i], html);
    put_column_ticks(kTop + kHeight, html);
    put_text(4, 12, "start", "frames", html);
    std::string caption;
    put(&caption, "<b>Feed %d.</b> Column 0: %d to start, %d to scene, %d to end; column 1919: %d, %d, %d frames.",
        feed, tables[0][0], tables[1][0], tables[2][0], tables[0][kPixelColumns - 1], tables[1][kPixelColumns - 1],
        tables[2][kPixelColumns - 1]);
    close_picture(caption, html);
}
