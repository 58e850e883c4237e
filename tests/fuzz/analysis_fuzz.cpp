// Any bytes as the three motion logs and the settings that the analysis looks at, through to the end of a run. The
// first bytes turn the settings; the rest is either the logs' own text, parted by 0xFF, or records of six bytes of
// which plausible logs are made, so that the later steps have something to chew on.
#include <algorithm>
#include <cstring>
#include <memory>

#include "autosetup/analyze.h"
#include "settings/settings_values.h"
#include "tests/support/fuzz_folder.h"
#include "tests/support/practice_logs.h"

namespace {
struct Input {
    const uint8_t* at;
    size_t left;

    uint8_t byte() {
        if (left == 0) return 0;
        --left;
        return *at++;
    }
    int32_t word() {
        const int32_t high = byte();
        return static_cast<int16_t>(high << 8 | byte());
    }
    // Mostly a small number, now and then one of the largest.
    int32_t number() {
        const int32_t value = word();
        if (value == INT16_MAX) return INT32_MAX;
        return value == INT16_MIN ? INT32_MIN : value;
    }
};
}  // namespace

static void turn_settings(Input* input, Settings* settings) {
    const uint8_t flags = input->byte();
    settings->feed_count = flags % 4;
    if ((flags & 0x10) == 0) {
        set_practice_grid(settings);
    } else {
        for (int32_t feed = 0; feed < 3; ++feed) {
            settings->meter_line_count[feed] = input->number();
            settings->meter_line_start[feed] = input->number();
            settings->meter_line_increment[feed] = input->number();
            for (int32_t line = 0; line < 3; ++line) {
                settings->far_lines[feed][line].x = input->number();
                settings->near_lines[feed][line].x = input->number();
                settings->near_lines[feed][line].y = 1;
            }
        }
    }
    settings->min_blob_sizes[0] = 0;
    if ((flags & 0x20) == 0) return;
    settings->min_blob_sizes[0] = input->number();
    settings->movie_padding_before_frames = input->number();
    settings->movie_padding_after_frames = input->number();
    settings->pre_movie_padding_frames = input->number();
    settings->post_movie_padding_frames = input->number();
    settings->blob_match_tolerance_us = input->number();
    const int32_t fraction = input->number();
    memcpy(&settings->scene_trigger_f0_fraction, &fraction, sizeof fraction);
    for (int32_t feed = 0; feed < 3; ++feed) {
        settings->overlay_frame_offsets[feed] = input->number();
        settings->ydiff_min[feed] = input->number();
    }
}

static void write_text_logs(const Input& input) {
    std::string_view rest(reinterpret_cast<const char*>(input.at), input.left);
    for (int32_t feed = 0; feed < 3; ++feed) {
        const size_t end = feed < 2 ? std::min(rest.find('\xFF'), rest.size()) : rest.size();
        fuzz_write_motion_log(feed, rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

static int64_t wrapped_sum(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

// One record to three: a jumper passes a feed at a constant speed, or a scene trigger fires, or a single odd blob.
static void write_record_logs(Input input) {
    std::string log[3];
    int64_t seq[3] = {1000, 1000, 1000};
    while (input.left >= 6 && log[0].size() + log[1].size() + log[2].size() < 200'000) {
        const uint8_t kind = input.byte();
        const size_t feed = kind % 3;
        const uint8_t step = input.byte();
        seq[feed] = wrapped_sum(seq[feed], kind >= 0xF8 ? static_cast<int64_t>(step) << 55 : step);
        if (kind >= 0xC0 && kind < 0xE0) {
            static const char* const kTriggers[] = {"SCENE TRIGGER (f1)", "SCENE TRIGGER (f2)",
                                                    "SCENE TRIGGER OVERRIDE (f0)", "movie_active 0->1"};
            log[1] += std::string(kTriggers[kind % 4]) + " fire_seq=" + std::to_string(seq[1] + input.byte()) + "\n";
            continue;
        }
        int32_t x = input.word();
        const int32_t speed = input.byte() - 128;
        const int32_t count = kind < 0x80 ? 1 : input.byte() % 64;
        for (int32_t i = 0; i < count; ++i, x += speed) {
            const int64_t ts = kind % 16 == 7 ? 0 : wrapped_sum(seq[feed] % (int64_t{1} << 40) * 16'667, kind % 7);
            log[feed] += "feed " + std::to_string(feed) + " seq=" + std::to_string(seq[feed]) +
                         " ts=" + std::to_string(ts) + " type=1 blob0_sz=" + std::to_string(20 + step) +
                         " blob0_x=" + std::to_string(x) + " blob0_y=" + std::to_string(2 * step + i) +
                         " blob0_first_y=" + std::to_string(2 * step - 9) + " ycum=1,2,3," + std::to_string(x) + "\n";
            seq[feed] = wrapped_sum(seq[feed], 1);
        }
    }
    for (int32_t feed = 0; feed < 3; ++feed) fuzz_write_motion_log(feed, log[feed]);
}

static bool same_tables(const Settings& a, const Settings& b) {
    return memcmp(a.pixel_to_start, b.pixel_to_start, sizeof a.pixel_to_start) == 0 &&
           memcmp(a.pixel_to_scene, b.pixel_to_scene, sizeof a.pixel_to_scene) == 0 &&
           memcmp(a.pixel_to_end, b.pixel_to_end, sizeof a.pixel_to_end) == 0 &&
           memcmp(a.pixel_frames_populated, b.pixel_frames_populated, sizeof a.pixel_frames_populated) == 0;
}

static std::string_view bytes_of(const Settings& settings) {
    return {reinterpret_cast<const char*>(&settings), sizeof settings};
}

static void check_jumps(const AutoSetupWorkspace& workspace) {
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        fuzz_require(workspace.jump_count[feed] >= 0 && workspace.jump_count[feed] <= kJumpLimit);
        int32_t next = 0;
        for (int32_t jump = 0; jump < workspace.jump_count[feed]; ++jump) {
            const JumpSpan& span = workspace.jumps[feed][jump];
            fuzz_require(span.start == next && span.count > 0);
            next += span.count;
        }
        fuzz_require(next <= workspace.blob_count[feed]);
    }
}

static void check_end(const AutoSetupWorkspace& workspace, const Settings& before, const Settings& after,
                      AnalysisEnd end) {
    check_jumps(workspace);
    fuzz_require((end.outcome == kAnalysisApplied) == (end.result == 0));
    fuzz_require((workspace.phase == 8) == (end.result == 0));
    if (workspace.pixel_frames.contributing == 0) {
        fuzz_require(same_tables(before, after));
    } else {
        for (const int32_t populated : after.pixel_frames_populated) fuzz_require(populated == 1);
    }
    if (end.result != 0) {  // nothing but the tables may have changed
        Settings rest = after;
        memcpy(rest.pixel_to_start, before.pixel_to_start, sizeof rest.pixel_to_start);
        memcpy(rest.pixel_to_scene, before.pixel_to_scene, sizeof rest.pixel_to_scene);
        memcpy(rest.pixel_to_end, before.pixel_to_end, sizeof rest.pixel_to_end);
        memcpy(rest.pixel_frames_populated, before.pixel_frames_populated, sizeof rest.pixel_frames_populated);
        fuzz_require(bytes_of(rest) == bytes_of(before));
    }
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    fuzz_mute_log();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input{data, size};
    const bool as_text = (input.byte() & 1) != 0;
    const auto settings = std::make_unique<Settings>();
    settings_init_defaults(settings.get());
    turn_settings(&input, settings.get());
    if (as_text) {
        write_text_logs(input);
    } else {
        write_record_logs(input);
    }
    const auto before = std::make_unique<Settings>(*settings);
    AutoSetupWorkspace* const workspace = workspace_create(settings.get());
    fuzz_require(workspace != nullptr);
    workspace->log_dir = fuzz_folder().c_str();
    const AnalysisEnd end = auto_setup_conclude(workspace, settings.get(), false);
    auto_setup_log_end(end);
    check_end(*workspace, *before, *settings, end);
    workspace_destroy(workspace);
    return 0;
}
