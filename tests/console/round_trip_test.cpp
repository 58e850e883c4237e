// The rig's whole loop: what the recorders made of a practice run is played as practice videos, and Auto Setup finds
// on it what is true of the scene that was recorded.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "rig/common/rig_options.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"
#include "tests/console/console_test.h"
#include "tests/support/scene_timing.h"

namespace {

constexpr int32_t kJumpers = 4;
constexpr int32_t kTriggerColumn = 1728;  // 0.9 of the width, as the rig's detectors and the apply step take it
constexpr int32_t kTableColumn = 1727;    // the same as the tables round it
constexpr int32_t kFramesOff = 2;

// No frame counts as slow, so that a busy machine cannot narrow the pictures.
constexpr char kScene[] = "seed=1\njumpers=4\nlead_in_frames=150\npause_seconds=0.5\nslow_above_width=1920\n";
// A recording begins with the first frame that its feed shows. So the cameras are switched on together while they are
// recorded; when the recordings are played, each counts its frames from its own start again.
constexpr char kSwitchedOnTogether[] = "feed_offset[0]=0\nfeed_offset[2]=0\n";
// The scene takes 22 seconds. The rest is for the practice run to come up.
constexpr char kRecord[] = "--capture-test --source practice --duration 45";
// At the usual quality the picture crawls where nothing moves, which a detector takes for motion.
constexpr char kQuality[] = "26";

class RoundTripOnTheRig : public ConsoleTest {
protected:
    RoundTripOnTheRig() : ConsoleTest(true) {}

    void SetUp() override {
        ConsoleTest::SetUp();
        if (!installation_bring(installation, "ffmpeg.exe")) GTEST_SKIP() << "there is no ffmpeg.exe";
        ASSERT_TRUE(installation_bring(installation, "orvekctl.exe"));
        const std::string sample = std::string(ORVEK_TEST_DATA) + "/../../packaging/sample/settings.txt";
        ASSERT_TRUE(CopyFileA(sample.c_str(), installation_path(installation, "settings.txt").c_str(), FALSE));
    }

    int32_t setting(const std::string& key) {
        return atoi(installation_setting(installation, key).c_str());
    }
    void set(const std::string& key, const std::string& value);
    std::string recording_of(int32_t feed);
    void record_feeds();
    void choose_recordings();
    void expect_truth();
};

}  // namespace

void RoundTripOnTheRig::set(const std::string& key, const std::string& value) {
    const std::string arguments = "settings set settings.txt \"" + key + "\" \"" + value + "\"";
    HANDLE process = installation_start(installation, "orvekctl.exe", arguments, nullptr, nullptr);
    ASSERT_NE(process, nullptr);
    DWORD code = 99;
    if (WaitForSingleObject(process, kPatienceMs) == WAIT_OBJECT_0) GetExitCodeProcess(process, &code);
    CloseHandle(process);
    ASSERT_EQ(code, 0u) << arguments;
}

// The only recording of the feed; empty when there is none or more than one.
std::string RoundTripOnTheRig::recording_of(int32_t feed) {
    const std::string folder = installation_path(installation, "recorded");
    WIN32_FIND_DATAA found;
    HANDLE search = FindFirstFileA((folder + "\\cap_" + std::to_string(feed) + "_*.mp4").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return "";
    std::string path = folder + "\\" + found.cFileName;
    if (FindNextFileA(search, &found)) path.clear();
    FindClose(search);
    return path;
}

void RoundTripOnTheRig::record_feeds() {
    set("*capfile_output_dir", installation_path(installation, "recorded"));
    set("capfile_quality_cq", kQuality);
    installation_write(installation, "rig.txt", std::string(kScene) + kSwitchedOnTogether);
    start(kRecord);
    ASSERT_EQ(console_wait_for_exit(&console, 120'000), 0);
    console_release(&console);
    EXPECT_EQ(log_count(installation, "ERR *"), 0);
}

// A recording holds what its feed showed: its rows begin at the overlay offset that was set while it was filmed.
void RoundTripOnTheRig::choose_recordings() {
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        const std::string index = "[" + std::to_string(feed) + "]";
        const std::string recording = recording_of(feed);
        ASSERT_FALSE(recording.empty()) << "feed " << feed;
        set("*practice_video_path" + index, recording);
        const int32_t filmed_from = setting("overlay_frame_offsets" + index);
        ASSERT_GT(filmed_from, 0);
        constexpr const char* kRows[] = {"motion_start_y", "motion_end_y", "ignore_start_y", "ignore_end_y"};
        std::vector<int32_t> rows;
        for (const char* key : kRows) rows.push_back(setting(key + index) - filmed_from);
        set("overlay_frame_offsets" + index, "0");  // first: the regions are kept inside the rows that it shows
        for (size_t i = 0; i < rows.size(); ++i) set(kRows[i] + index, std::to_string(rows[i]));
        EXPECT_EQ(setting("motion_start_y" + index), rows[0]);
    }
}

void RoundTripOnTheRig::expect_truth() {
    Scene scene;
    scene_init(&scene, rig_options_load(installation_path(installation, "rig.txt").c_str()).scene);
    const SceneTiming truth = scene_timing(scene, kJumpers, kTriggerColumn);
    const std::vector<std::string> lines = log_lines(installation);

    const std::string offsets = last_line_of(lines, "auto setup: feed_sync_offset = ");
    int32_t offset[kSceneFeeds] = {-999, -999, -999};
    int32_t valid[kSceneFeeds] = {};
    EXPECT_EQ(sscanf(offsets.c_str(), "[%d, %d, %d] (valid flags: %d, %d, %d)", &offset[0], &offset[1], &offset[2],
                     &valid[0], &valid[1], &valid[2]),
              6)
        << offsets;
    const std::string gaps = last_line_of(lines, "auto setup: inter_feed_gap_frames = ");
    int32_t gap[2] = {-999, -999};
    int32_t gap_valid[2] = {};
    EXPECT_EQ(sscanf(gaps.c_str(), "[%d, %d] (valid flags: %d, %d;", &gap[0], &gap[1], &gap_valid[0], &gap_valid[1]),
              4)
        << gaps;
    for (int32_t pair = 0; pair < 2; ++pair) {
        EXPECT_EQ(gap_valid[pair], 1) << "pair " << pair;
        EXPECT_NEAR(gap[pair], truth.gap[pair], kFramesOff) << "pair " << pair;
        RecordProperty("gap_" + std::to_string(pair) + "_off", gap[pair] - truth.gap[pair]);
    }

    const auto s = std::make_unique<Settings>();
    settings_init_defaults(s.get());
    ASSERT_EQ(settings_load(s.get(), installation_path(installation, "settings.txt").c_str()), 0);
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        SCOPED_TRACE("feed " + std::to_string(feed));
        EXPECT_EQ(valid[feed], 1);
        EXPECT_NEAR(offset[feed], truth.sync_offset[feed], kFramesOff);
        ASSERT_EQ(s->pixel_frames_populated[feed], 1);
        const TableErrors worst =
            table_errors(truth, feed, kTableColumn, s->pre_movie_padding_frames, s->post_movie_padding_frames,
                         s->pixel_to_start[feed], s->pixel_to_scene[feed], s->pixel_to_end[feed]);
        EXPECT_LE(std::max({worst.start, worst.scene, worst.end}), kFramesOff + 0.5);
        char off[96];
        snprintf(off, sizeof off, "offset %d, tables %.2f/%.2f/%.2f", offset[feed] - truth.sync_offset[feed],
                 worst.start, worst.scene, worst.end);
        RecordProperty("off_" + std::to_string(feed), off);
    }
}

TEST_F(RoundTripOnTheRig, AutoSetupOnTheRecordedFeedsFindsTheTimingOfTheScene) {
    record_feeds();
    if (HasFatalFailure()) return;
    choose_recordings();
    if (HasFatalFailure()) return;
    installation_write(installation, "rig.txt", kScene);
    start("--auto-setup --max-movies 4");
    ASSERT_EQ(console_wait_for_exit(&console, 300'000), 0);
    EXPECT_TRUE(log_shows_in_order(
        installation, {"feed 0: 4 jumps segmented", "feed 1: 4 jumps segmented", "feed 2: 4 jumps segmented",
                       "pixel_frames_v2: populated all three feeds from 4 jumpers", "auto setup: settings saved"}));
    EXPECT_EQ(log_count(installation, "ERR *"), 0);
    const std::string player = installation_read(installation, "practice_player.log");
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed)
        EXPECT_NE(player.find("feed " + std::to_string(feed) + " plays " + recording_of(feed)), std::string::npos)
            << player;
    expect_truth();
}
