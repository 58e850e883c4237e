// The whole Auto Setup analysis against numbers that were worked out by other means:
// tests/data/auto_setup_reference.py computes every case in tests/data/auto_setup a second time, without sharing a
// line with the program. Each case is a text (its form is told in that script); beside it lies what must come out,
// number by number and log line by line.
//
// ORVEK_AUTO_SETUP_CASES names another folder of cases, for runs over thousands of random ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "autosetup/analyze.h"
#include "settings/settings_file.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr int32_t kSampleColumns[] = {0, 1, 333, 640, 960, 1280, 1599, 1727, 1728, 1918, 1919};

struct ReferenceCase {
    std::string settings;  // lines as in settings.txt
    std::string logs[kAnalysisFeeds];
    bool has_log[kAnalysisFeeds] = {};
    bool restore_regions = true;
    int32_t populated[kAnalysisFeeds] = {};
    int32_t region_end_x[kAnalysisFeeds] = {};
};

}  // namespace

// ---- reading a case

static std::vector<std::string> words_of(const std::string& text) {
    std::vector<std::string> words;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(' ', at), text.size());
        if (end > at) words.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

// "r SEQ TS SIZE X Y FIRST LAST YCUM UCUM VCUM" as a motion worker would write it; "-" leaves a token out.
static std::string expand_record(int32_t feed, const std::string& line) {
    static constexpr const char* kBefore[] = {"",
                                              " seq=",
                                              " ts=",
                                              " type=1 blobs=1 blob0_sz=",
                                              " blob0_x=",
                                              " blob0_y=",
                                              " blob0_first_y=",
                                              " blob0_last_y=",
                                              " ycum=0,0,0,",
                                              " ucum=0,0,0,",
                                              " vcum=0,0,0,"};
    std::string text = "feed " + std::to_string(feed);
    const std::vector<std::string> words = words_of(line);
    for (size_t i = 1; i < words.size() && i < std::size(kBefore); ++i)
        if (words[i] != "-") text += kBefore[i] + words[i];
    return text;
}

// "case.name[2]=5" or "case.name=5": what the run controller would decide.
static void apply_case_key(ReferenceCase* reference, const std::string& line) {
    const size_t equals = line.find('=');
    const size_t bracket = line.find('[');
    const auto feed = static_cast<size_t>(bracket < equals ? std::atoi(line.c_str() + bracket + 1) : 0);
    const int32_t value = std::atoi(line.c_str() + equals + 1);
    if (line.starts_with("case.restore")) reference->restore_regions = value != 0;
    if (line.starts_with("case.populated")) reference->populated[feed] = value;
    if (line.starts_with("case.region_end_x")) reference->region_end_x[feed] = value;
}

static ReferenceCase read_case(const std::string& path) {
    ReferenceCase reference;
    int32_t feed = -1;
    for (const std::string& line : split_lines(read_whole_file(path))) {
        if (line.starts_with("#")) continue;
        if (line.starts_with("[log ")) {
            feed = line[5] - '0';
            reference.has_log[feed] = true;
        } else if (line.starts_with("case.") && feed < 0) {
            apply_case_key(&reference, line);
        } else if (feed < 0) {
            reference.settings += line + "\n";
        } else if (line.starts_with("r ")) {
            reference.logs[feed] += expand_record(feed, line) + "\n";
        } else if (line.starts_with("=")) {
            reference.logs[feed] += line.substr(1) + "\n";
        }
    }
    return reference;
}

// ---- writing what came out

static std::string join(std::initializer_list<int64_t> values) {
    std::string text;
    for (const int64_t value : values) text += (text.empty() ? "" : " ") + std::to_string(value);
    return text;
}

static std::string join(const int32_t* values, int32_t count) {
    std::string text;
    for (int32_t i = 0; i < count; ++i) text += (i ? " " : "") + std::to_string(values[i]);
    return text;
}

static uint32_t float_bits(float value) {
    uint32_t bits = 0x7FC00000;  // every undefined value counts as the same
    if (!std::isnan(value)) memcpy(&bits, &value, sizeof bits);
    return bits;
}

static std::string float_text(float value) {
    if (std::isnan(value)) return "nan";
    char text[80];
    snprintf(text, sizeof text, "%.3f:%08x", static_cast<double>(value), float_bits(value));
    return text;
}

static void hash_byte(uint64_t* hash, uint8_t byte) {
    *hash = (*hash ^ byte) * 0x100000001B3U;
}

static void hash_word(uint64_t* hash, uint32_t word) {
    for (uint32_t shift = 0; shift < 32; shift += 8) hash_byte(hash, static_cast<uint8_t>(word >> shift));
}

static std::string hash_text(uint64_t hash) {
    char text[20];
    snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    return text;
}

static constexpr uint64_t kHashStart = 0xCBF29CE484222325U;

static std::string blob_text(const MotionBlob& blob) {
    std::string text;
    for (const int64_t value :
         {static_cast<int64_t>(blob.size), static_cast<int64_t>(blob.x), static_cast<int64_t>(blob.y),
          static_cast<int64_t>(blob.first_y), static_cast<int64_t>(blob.last_y), blob.seq, blob.ts})
        text += std::to_string(value) + ",";
    return text + float_text(blob.meter);
}

using Lines = std::vector<std::string>;

// "name[index] rest", without a blank when the rest is empty.
static void say(Lines* lines, const std::string& name, const std::string& rest) {
    lines->push_back(rest.empty() ? name : name + " " + rest);
}

static std::string indexed(const char* name, int32_t index) {
    return std::string(name) + "[" + std::to_string(index) + "]";
}

static void say_meters(Lines* lines, const AutoSetupWorkspace& workspace, int32_t feed) {
    uint64_t hash = kHashStart;
    for (const float metres : workspace.meters_at_x[feed]) hash_word(&hash, float_bits(metres));
    std::string text = std::to_string(workspace.grid_valid[feed]) + " " + hash_text(hash);
    for (const int32_t x : kSampleColumns) text += " " + float_text(workspace.meters_at_x[feed][x]);
    say(lines, indexed("meters", feed), text);
}

static void say_blobs(Lines* lines, const AutoSetupWorkspace& w, int32_t feed) {
    const int32_t count = w.blob_count[feed];
    uint64_t hash = kHashStart;
    for (int32_t i = 0; i < count; ++i)
        for (const char byte : (i ? "\n" : "") + blob_text(w.blobs[feed][i]))
            hash_byte(&hash, static_cast<uint8_t>(byte));
    std::string text = join({count, w.blob_capacity[feed]}) + " " + hash_text(hash);
    if (count > 0) text += " " + blob_text(w.blobs[feed][0]) + " " + blob_text(w.blobs[feed][count - 1]);
    say(lines, indexed("blobs", feed), text);
    say(lines, indexed("statistics", feed),
        join({w.centroid_y_min[feed], w.centroid_y_max[feed], w.bbox_y_min[feed], w.bbox_y_max[feed],
              w.blob_size_max[feed], w.ycum_max[feed], w.ucum_max[feed], w.vcum_max[feed]}));
    text = std::to_string(w.jump_count[feed]);
    for (int32_t j = 0; j < w.jump_count[feed]; ++j)
        text += " " + std::to_string(w.jumps[feed][j].start) + "+" + std::to_string(w.jumps[feed][j].count);
    say(lines, indexed("jumps", feed), text);
}

static void say_alignment(Lines* lines, const char* name, const AlignRecord* records) {
    for (int32_t j = 0; j < kJumpLimit; ++j) {
        const AlignRecord& record = records[j];
        if (!record.valid) continue;
        say(lines, indexed(name, j),
            join({record.offset, record.pairs}) + " " + float_text(record.meter_lo) + " " +
                float_text(record.meter_hi));
    }
}

static std::string verdict_text(const JumpTrace& jump) {
    static constexpr const char* kVerdicts[] = {"accepted", "invalid", "outlier"};
    static constexpr const char* kRules[] = {"none", "span", "short feed 2", "few records", "trigger column"};
    std::string text = kVerdicts[jump.verdict];
    if (jump.rule != kRuleNone) text += std::string(" ") + kRules[jump.rule] + " " + join({jump.feed, jump.value});
    return text;
}

static void say_calculation(Lines* lines, const AutoSetupWorkspace& w) {
    const CalculationTrace& trace = w.calculation;
    for (int32_t j = 0; j < trace.jumps; ++j) say(lines, indexed("verdict", j), verdict_text(trace.jump[j]));
    say(lines, "verdicts", join({trace.jumps, trace.invalid, trace.outliers, trace.outliers_kept}));
    say(lines, "video_frames", join(w.result_feed_video_frames, kAnalysisFeeds));
    say(lines, "frames_before", join(w.result_frames_before, kAnalysisFeeds));
    say(lines, "frames_after", join(w.result_frames_after, kAnalysisFeeds));
    say(lines, "trigger_x_type1_type2",
        join({w.result_scene_trigger_x, w.result_min_type1_frames, w.result_min_type2_frames}));
    std::string regions;
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed)
        regions += (feed ? " " : "") + std::to_string(w.region_y0[feed]) + ".." + std::to_string(w.region_y1[feed]);
    say(lines, "regions", regions);
    say(lines, "caps", join({w.cap_max_blob_size, w.cap_max_diff_y, w.cap_max_diff_u, w.cap_max_diff_v}));
}

static void say_gaps(Lines* lines, const AutoSetupWorkspace& w) {
    static constexpr const char* kMethods[] = {"none", "triggers", "alignment", "incremental"};
    for (int32_t i = 0; i < 2; ++i)
        say(lines, indexed("gap", i),
            join({w.gap_valid[i], w.gap_frames[i], w.gap_samples[i], w.gap_mad[i]}) + " " +
                kMethods[w.gaps.method[i]]);
    say(lines, "triggers_01", join(w.gaps.trigger_01, w.gaps.trigger_01_count));
    say(lines, "triggers_02", join(w.gaps.trigger_02, w.gaps.trigger_02_count));
    say(lines, "gap_alignment", join(w.gaps.alignment, w.gaps.alignment_count));
}

static void say_settings(Lines* lines, const Settings& s) {
    say(lines, "center_of_blob_scene_trigger", join(s.center_of_blob_scene_trigger, 3));
    say(lines, "feed_sync_offset", join(s.feed_sync_offset, 3));
    say(lines, "feed_video_frames", join(s.feed_video_frames, 3));
    say(lines, "frames_after_last_blob", join(s.frames_after_last_blob, 3));
    say(lines, "frames_before_first_blob", join(s.frames_before_first_blob, 3));
    say(lines, "inter_feed_gap_frames", join(s.inter_feed_gap_frames, 2));
    say(lines, "max_blob_size", join({s.max_blob_size}));
    say(lines, "max_diff_u", join({s.max_diff_u}));
    say(lines, "max_diff_v", join({s.max_diff_v}));
    say(lines, "max_diff_y", join({s.max_diff_y}));
    say(lines, "min_type2_frames", join({s.min_type2_frames}));
    say(lines, "motion_end_x", join(s.motion_end_x, 3));
    say(lines, "motion_end_y", join(s.motion_end_y, 3));
    say(lines, "motion_start_x", join(s.motion_start_x, 3));
    say(lines, "motion_start_y", join(s.motion_start_y, 3));
}

static void say_tables(Lines* lines, const AutoSetupWorkspace& w, const Settings& s) {
    const PixelFramesTrace& trace = w.pixel_frames;
    say(lines, "pixel_trace",
        join({trace.merged, trace.contributing, trace.frame_count, trace.scene_x, trace.switch2_frame}));
    say(lines, "populated", join(s.pixel_frames_populated, 3));
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        uint64_t hash = kHashStart;
        for (int32_t x = 0; x < kPixelColumns; ++x)
            for (const int32_t value :
                 {s.pixel_to_start[feed][x], s.pixel_to_scene[feed][x], s.pixel_to_end[feed][x]})
                hash_word(&hash, static_cast<uint32_t>(value));
        std::string text = hash_text(hash);
        for (const int32_t x : kSampleColumns)
            text += " " + std::to_string(s.pixel_to_start[feed][x]) + "," +
                    std::to_string(s.pixel_to_scene[feed][x]) + "," + std::to_string(s.pixel_to_end[feed][x]);
        say(lines, indexed("table", feed), text);
    }
}

static Lines describe(const AutoSetupWorkspace& workspace, const Settings& settings, AnalysisEnd end) {
    static constexpr const char* kOutcomes[] = {"applied", "tables only", "nothing"};
    Lines lines = {std::string("outcome ") + kOutcomes[end.outcome], "result " + std::to_string(end.result),
                   "phase " + std::to_string(workspace.phase)};
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) say_meters(&lines, workspace, feed);
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) say_blobs(&lines, workspace, feed);
    say_alignment(&lines, "align_01", workspace.align_01);
    say_alignment(&lines, "align_12", workspace.align_12);
    const AutoSetupWorkspace& w = workspace;
    say(&lines, "sync", join(w.sync_offset, 3) + " " + join({w.sync_valid[0], w.sync_valid[1], w.sync_valid[2]}));
    say(&lines, "sync_trace",
        join({w.alignment.meter_aligned[0], w.alignment.meter_aligned[1], w.alignment.median[0],
              w.alignment.median[1]}));
    say_calculation(&lines, workspace);
    say_gaps(&lines, workspace);
    say_settings(&lines, settings);
    say_tables(&lines, workspace, settings);
    return lines;
}

// ---- running a case

static Lines run_case(const ReferenceCase& reference) {
    const TempDir folder;
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed)
        if (reference.has_log[feed])
            write_whole_file(folder.file("motion_debug_" + std::to_string(feed) + ".log"), reference.logs[feed]);
    const auto settings = default_settings();
    settings_parse(settings.get(), reference.settings.data(), reference.settings.size());
    std::copy(std::begin(reference.populated), std::end(reference.populated), settings->pixel_frames_populated);

    const WorkspacePtr workspace(workspace_create(settings.get()));
    workspace->log_dir = folder.path().c_str();
    std::copy(std::begin(reference.region_end_x), std::end(reference.region_end_x), workspace->region_end_x);
    LogCapture log;
    const AnalysisEnd end = auto_setup_conclude(workspace.get(), settings.get(), reference.restore_regions);
    auto_setup_log_end(end);
    Lines lines = describe(*workspace, *settings, end);
    const Lines logged = log.lines();
    lines.insert(lines.end(), logged.begin(), logged.end());
    return lines;
}

// Undefined values are printed with or without a sign, depending on the system.
static std::string with_plain_nan(std::string line) {
    for (const char* spelling : {"-nan(ind)", "nan(ind)", "-nan"})
        for (size_t at = line.find(spelling); at != std::string::npos; at = line.find(spelling))
            line.replace(at, strlen(spelling), "nan");
    return line;
}

// A sentence about the first line that differs, "" when none does.
static std::string first_difference(const Lines& ours, const Lines& expected) {
    for (size_t i = 0; i < std::max(ours.size(), expected.size()); ++i) {
        const std::string our_line = i < ours.size() ? with_plain_nan(ours[i]) : "(nothing)";
        const std::string expected_line = i < expected.size() ? expected[i] : "(nothing)";
        if (our_line == expected_line) continue;
        return "line " + std::to_string(i + 1) + "\n  expected: " + expected_line + "\n  ours:     " + our_line;
    }
    return "";
}

static std::vector<std::filesystem::path> case_files() {
    const char* chosen = std::getenv("ORVEK_AUTO_SETUP_CASES");
    const std::filesystem::path folder = chosen ? chosen : std::string(ORVEK_TEST_DATA) + "/auto_setup";
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        if (entry.path().extension() == ".case") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

TEST(AutoSetupReference, EveryNumberAndLogLineIsAsWorkedOutIndependently) {
    const auto files = case_files();
    ASSERT_GE(files.size(), 30U);
    for (auto path : files) {
        const Lines ours = run_case(read_case(path.string()));
        const Lines expected = split_lines(read_whole_file(path.replace_extension(".expected").string()));
        EXPECT_GT(expected.size(), 50U) << path.string();
        const std::string difference = first_difference(ours, expected);
        if (!difference.empty()) ADD_FAILURE() << path.stem().string() << ", " << difference;
    }
}
