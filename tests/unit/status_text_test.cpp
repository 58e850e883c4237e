#include "tools/status_text.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "ipc/sync_objects.h"

namespace {

// A practice run on channel 1 with one worker of two gone. Every number differs, so that no two can be swapped
// unseen.
StatusSnapshot practice_run() {
    StatusSnapshot s;
    ControlBlock& b = s.block;
    b.channel = 1;
    b.num_feeds = 3;
    b.num_channels = 3;
    b.ring_slots = 520;
    b.videogen_state = 3;
    b.viewer_state = 2;
    b.output_active = 1;
    b.output_frame_idx = 77;
    b.movie_published_count = 5;
    b.movie_serial = 1234567890123;
    b.force_start_seq = 100;
    b.force_end_seq = 250;
    b.force_result = -1;
    b.force_frame = -2;
    b.force_state = 4;
    b.force_request = 1;
    for (int32_t f = 0; f < kFeedCount; ++f) {
        b.feed[f][0].nw = 9;
        b.feed[f][1].nw = static_cast<uint32_t>(1000 + f);
        b.feed[f][1].frame_seq = 5000000000 + f;
        b.feed_frame_count[f] = static_cast<uint32_t>(2000 + f);
        b.motion_idx[f] = static_cast<uint32_t>(900 + f);
        b.motion_slow[f] = static_cast<uint32_t>(20 + f);
        b.feed_sync_offset[f] = f - 1;
        b.force_ack[f] = static_cast<uint32_t>(f);
        b.source_ready[f] = 3;
        b.motion_ready[f] = f;
        s.region[feed_region_number(f, 1)] = {true, true, kFeedRegionSize};
    }
    b.motion_active[1] = 1;
    b.motion_paused[2] = 1;
    s.region[kRegionControl] = {true, true, 12288};
    s.region[kRegionJumpers] = {true, true, kJumperRegionSize};
    s.region[kRegionOutputs] = {true, true, kOutputRegionSize};
    s.region[kRegionOutputs + 1] = {true, true, 4096};
    s.feed_ring[0][1] = {true, 6000, true, 35'400, {true, true, 60.04, 59.9, 31.0, 61.5}, {}, 48'200, 3, 1};
    s.feed_ring[2][1] = {true, 6002, false, 0, {true, false, 9.0, 50.0, 49.0, 51.0}, {}, 0, 0, 0};
    s.output_ring[0] = {true, 5900, true, 1'500'000, {}, {true, true, 30.0, 30.0, 0.0, 60.0}, 0, 0, 0};
    s.has_jumpers = true;
    s.jumper_count = 12;
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        s.mutex[i] = MutexState::free;
        s.event[i] = i == 1 ? EventState::missing : EventState::clear;
    }
    s.worker[0] = {4711, WorkerPresence::running, "motion.exe"};
    s.worker[5] = {4712, WorkerPresence::gone, ""};
    return s;
}

// The value of `key` up to the next key or the end.
std::string json_value(const std::string& json, const std::string& key) {
    const std::string start = "\"" + key + "\": ";
    const size_t at = json.find(start);
    if (at == std::string::npos) return "(missing)";
    const size_t from = at + start.size();
    size_t to = from;
    int32_t depth = 0;
    for (; to < json.size(); ++to) {
        const char c = json[to];
        if (depth == 0 && (c == ',' || c == '}')) break;
        depth += c == '[' || c == '{' ? 1 : 0;
        depth -= c == ']' || c == '}' ? 1 : 0;
    }
    return json.substr(from, to - from);
}

// Every line's words with single blanks between them, so that column widths do not matter.
std::vector<std::string> words_of_lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        std::string words;
        std::istringstream line_in(line);
        for (std::string word; line_in >> word;) words += (words.empty() ? "" : " ") + word;
        lines.push_back(words);
    }
    return lines;
}

bool has_line(const StatusSnapshot& status, const std::string& wanted) {
    for (const std::string& line : words_of_lines(status_as_text(status)))
        if (line == wanted) return true;
    return false;
}

}  // namespace

TEST(StatusJson, HoldsEveryFieldOnOneLine) {
    const std::string json = status_as_json(practice_run());
    EXPECT_EQ(json.find('\n'), json.size() - 1);
    const std::pair<const char*, const char*> expected[] = {
        {"channel", "1"},
        {"paused", "0"},
        {"shutdown", "0"},
        {"num_feeds", "3"},
        {"num_channels", "3"},
        {"ring_slots", "520"},
        {"nw", "[1000, 1001, 1002]"},
        {"frame_seq", "[5000000000, 5000000001, 5000000002]"},
        {"feed_frame_count", "[2000, 2001, 2002]"},
        {"motion_idx", "[900, 901, 902]"},
        {"motion_active", "[0, 1, 0]"},
        {"motion_slow", "[20, 21, 22]"},
        {"motion_paused", "[0, 0, 1]"},
        {"feed_sync_offset", "[-1, 0, 1]"},
        {"source_ready", "[3, 3, 3]"},
        {"motion_ready", "[0, 1, 2]"},
        {"videogen_state", "3"},
        {"viewer_state", "2"},
        {"output_active", "1"},
        {"output_frame_idx", "77"},
        {"movie_published_count", "5"},
        {"movie_serial", "1234567890123"},
        {"force_ack", "[0, 1, 2]"},
        {"force_start_seq", "100"},
        {"force_end_seq", "250"},
        {"force_result", "-1"},
        {"force_frame", "-2"},
        {"force_state", "4"},
        {"force_request", "1"},
        {"feed_rings", "[[0, 1, 0], [0, 1, 0], [0, 1, 0]]"},
        {"output_rings", "[1, 1]"},
        {"jumper_count", "12"},
        {"pid_slots",
         "[{\"pid\": 4711, \"running\": 1, \"image\": \"motion.exe\"}, null, null, null, null, "
         "{\"pid\": 4712, \"running\": 0, \"image\": null}, null, null]"},
    };
    for (const auto& [key, value] : expected) EXPECT_EQ(json_value(json, key), value) << key;
}

TEST(StatusJson, MotionIsFoundBySearchingForAOneBehindItsKey) {
    StatusSnapshot s = practice_run();
    for (const bool motion : {false, true}) {
        s.block.motion_active[1] = motion ? 1 : 0;
        const std::string json = status_as_json(s);
        const size_t at = json.find("\"motion_active\": [");
        ASSERT_NE(at, std::string::npos);
        EXPECT_EQ(json.substr(at, json.find(']', at) - at).find('1') != std::string::npos, motion);
    }
}

TEST(StatusJson, ListsSyncObjectsByIndex) {
    const std::string json = status_as_json(practice_run());
    std::string all = "[1";
    for (int32_t i = 1; i < kSyncObjectCount; ++i) all += ", 1";
    all += "]";
    EXPECT_EQ(json_value(json, "mutexes"), all);
    EXPECT_EQ(json_value(json, "events"), all.replace(4, 1, "0"));
}

TEST(StatusJson, HasRatesOnlyAfterASecondLook) {
    StatusSnapshot s = practice_run();
    EXPECT_EQ(json_value(status_as_json(s), "frames_per_second"), "(missing)");
    s.has_rates = true;
    s.rates = {{60.0, 59.94, 0.0}, {1.0, 2.0, 3.0}};
    EXPECT_EQ(json_value(status_as_json(s), "frames_per_second"), "[60.0, 59.9, 0.0]");
    EXPECT_EQ(json_value(status_as_json(s), "motion_per_second"), "[1.0, 2.0, 3.0]");
}

TEST(StatusJson, AMissingJumperRegionIsNull) {
    StatusSnapshot s = practice_run();
    s.has_jumpers = false;
    EXPECT_EQ(json_value(status_as_json(s), "jumper_count"), "null");
}

TEST(StatusJson, QuotesWhateverAProgramIsCalled) {
    StatusSnapshot s = practice_run();
    s.worker[0].image = "a\"b\\c\nd\xC3\xA9.exe";
    EXPECT_NE(status_as_json(s).find("\"image\": \"a\\\"b\\\\c\\u000ad\xC3\xA9.exe\""), std::string::npos);
}

TEST(StatusJson, AChannelOutOfRangeIsShownAndChannelZeroCounted) {
    for (const int channel : {-1, 3, 127, -128}) {
        StatusSnapshot s = practice_run();
        s.block.channel = static_cast<int8_t>(channel);
        EXPECT_EQ(json_value(status_as_json(s), "channel"), std::to_string(channel));
        EXPECT_EQ(json_value(status_as_json(s), "nw"), "[9, 9, 9]");
        EXPECT_NE(status_as_text(s).find("channel " + std::to_string(channel) + ","), std::string::npos);
    }
}

TEST(StatusText, TellsTheRunLineByLine) {
    const std::vector<std::string> expected = {
        "channel 1, playing, 3 feeds, 3 channels, 520 slots per ring",
        "feed nw frames motion_idx motion slow offset source detector",
        "0 1000 2000 900 no 20 -1 ready not started",
        "1 1001 2001 901 yes 21 0 ready starting",
        "2 1002 2002 902 paused 22 1 ready attached",
        "ring nw pts now mean min max newest seq age longest gap lost breaks",
        "feed 0 ch 1 1000 60.0 59.9 31.0 61.5 6000 0.035 s 48.2 ms 3 1",
        "feed 1 ch 1 1001 - - - - - - 0.0 ms 0 0",
        "feed 2 ch 1 1002 - 50.0 49.0 51.0 6002 - 0.0 ms 0 0",
        "output 0 shown 30.0 30.0 0.0 60.0 5900 1.500 s",
        "output 1 written - - - - - -",
        "movie builder: ready viewer: attached",
        "output: region 1 being written, newest frame 77",
        "movies: 5 published, newest serial 1234567890123",
        "forced movie: request 1, state 4, frame -2, result -1, frames 100 to 250, taken 0 1 2",
        "requests: force video: frames 100 to 250 not taken yet, motion 2: pause",
        "switches: diagnostic logs off, blob circles off, shadow removal off, grid panel closed",
        "regions: control ok jumpers ok feed 0: - ok - feed 1: - ok - feed 2: - ok - outputs ok WRONG",
        "wrong size: Local\\SkiJumpOutput_1 has 4096 bytes instead of 1617543232",
        "jumpers: 12",
        "mutexes: 37 of 37; all free",
        "events: 36 of 37; none signalled",
        "worker slot 0: pid 4711 motion.exe",
        "worker slot 5: pid 4712 (gone)",
    };
    EXPECT_EQ(words_of_lines(status_as_text(practice_run())), expected);
}

TEST(StatusText, TellsAPausedAndClosingRunWithoutWorkersOrJumpers) {
    StatusSnapshot s;
    s.block.paused = 1;
    s.block.shutdown = 1;
    EXPECT_TRUE(has_line(s, "channel 0, paused, shutting down, 0 feeds, 0 channels, 0 slots per ring"));
    EXPECT_TRUE(has_line(s, "jumpers: no region"));
    EXPECT_TRUE(has_line(s, "mutexes: 0 of 37;"));
    EXPECT_TRUE(has_line(s, "events: 0 of 37;"));
    EXPECT_TRUE(has_line(s, "requests: shutdown: every worker is to exit"));
    EXPECT_TRUE(has_line(s, "regions: control - jumpers - feed 0: - - - feed 1: - - - feed 2: - - - outputs - -"));
    EXPECT_TRUE(has_line(s, "workers: none"));
}

TEST(StatusText, AddsRatesAfterASecondLook) {
    StatusSnapshot s = practice_run();
    s.has_rates = true;
    s.rates = {{60.0, 59.94, 0.0}, {1.0, 2.0, 3.0}};
    EXPECT_TRUE(has_line(s, "feed nw frames motion_idx motion slow offset source detector frames/s motion/s"));
    EXPECT_TRUE(has_line(s, "1 1001 2001 901 yes 21 0 ready starting 59.9 2.0"));
}

TEST(StatusText, ShowsAReadinessWithoutANameAsANumberAndARunningWorkerOfUnknownName) {
    StatusSnapshot s = practice_run();
    s.block.videogen_state = 17;
    s.worker[0].image.clear();
    EXPECT_TRUE(has_line(s, "movie builder: 17 viewer: attached"));
    EXPECT_TRUE(has_line(s, "worker slot 0: pid 4711 ?"));
}

TEST(StatusText, GoesByTheClockAsSoonAsItHasOne) {
    StatusSnapshot s = practice_run();
    s.has_rates = true;
    s.feed_ring[0][1].clock_rate = {true, true, 12.0, 13.0, 0.0, 60.0};
    EXPECT_TRUE(has_line(s, "ring nw fps now mean min max newest seq age longest gap lost breaks"));
    EXPECT_TRUE(has_line(s, "feed 0 ch 1 1000 12.0 13.0 0.0 60.0 6000 0.035 s 48.2 ms 3 1"));
}

TEST(StatusText, NamesOnlyTheSyncObjectsThatAreNotAtRest) {
    StatusSnapshot s = practice_run();
    s.mutex[0] = MutexState::unknown;
    s.mutex[4] = MutexState::held;
    s.mutex_held_looks[4] = 1;
    s.mutex[12] = MutexState::abandoned;
    s.mutex[28] = MutexState::held;
    s.mutex_held_looks[28] = 17;
    EXPECT_TRUE(has_line(s,
                         "mutexes: 37 of 37; 0 workers unknown, 4 nw 1 held, 12 force_start_seq abandoned, "
                         "28 pid_slot 1 held (17 looks)"));
    s.event[13] = EventState::signalled;
    s.event[14] = EventState::clear;
    s.odd_events = uint64_t{1} << 14;
    EXPECT_TRUE(
        has_line(s, "events: 36 of 37; 13 force request signalled, 14 new output frame clear (wrong reset mode)"));
}

TEST(StatusText, StaysAsWideAsAConsoleWindowWhateverIsHeld) {
    StatusSnapshot s = practice_run();
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        s.mutex[i] = MutexState::abandoned;
        s.event[i] = EventState::signalled;
    }
    std::istringstream in(status_as_text(s));
    int32_t abandoned = 0;
    for (std::string line; std::getline(in, line);) {
        EXPECT_LT(line.size(), 120u) << line;
        for (size_t at = line.find("abandoned"); at != std::string::npos; at = line.find("abandoned", at + 1))
            ++abandoned;
    }
    EXPECT_EQ(abandoned, kSyncObjectCount);
}

TEST(StatusText, ARegionWhoseSizeCannotBeToldSaysSo) {
    StatusSnapshot s;
    s.region[kRegionControl] = {true, false, 0};
    EXPECT_TRUE(has_line(s, "regions: control ? jumpers - feed 0: - - - feed 1: - - - feed 2: - - - outputs - -"));
}

TEST(StatusJson, TellsEveryRegionsSizeBesideTheExpectedOne) {
    StatusSnapshot s = practice_run();
    s.region[kRegionControl].size_known = false;
    const std::string json = status_as_json(s);
    const std::string first =
        "[{\"name\": \"Local\\\\SkiJumpControl\", \"present\": 1, \"size\": null, \"expected_size\": 9776, "
        "\"as_expected\": null}";
    EXPECT_EQ(json_value(json, "regions").substr(0, first.size()), first);
    EXPECT_NE(json.find("{\"name\": \"Local\\\\SkiJumpOutput_1\", \"present\": 1, \"size\": 4096, "
                        "\"expected_size\": 1617543232, \"as_expected\": 0}]"),
              std::string::npos);
    EXPECT_NE(json.find("{\"name\": \"Local\\\\SkiJumpFeed_0_1\", \"present\": 1, \"size\": 808837120, "
                        "\"expected_size\": 808837120, \"as_expected\": 1}"),
              std::string::npos);
}

TEST(StatusJson, ListsTheRingsThatExistWithTheirRates) {
    const std::string json = status_as_json(practice_run());
    EXPECT_EQ(
        json_value(json, "rings"),
        "[{\"name\": \"Local\\\\SkiJumpFeed_0_1\", \"nw\": 1000, \"newest_seq\": 6000, \"newest_age_us\": 35400, "
        "\"clock_rate\": null, \"stamp_rate\": {\"now\": 60.0, \"mean\": 59.9, \"min\": 31.0, \"max\": 61.5}, "
        "\"longest_gap_us\": 48200, \"lost\": 3, \"interruptions\": 1}, "
        "{\"name\": \"Local\\\\SkiJumpFeed_1_1\", \"nw\": 1001, \"newest_seq\": null, \"newest_age_us\": null, "
        "\"clock_rate\": null, \"stamp_rate\": null, \"longest_gap_us\": 0, \"lost\": 0, \"interruptions\": 0}, "
        "{\"name\": \"Local\\\\SkiJumpFeed_2_1\", \"nw\": 1002, \"newest_seq\": 6002, \"newest_age_us\": null, "
        "\"clock_rate\": null, \"stamp_rate\": {\"now\": null, \"mean\": 50.0, \"min\": 49.0, \"max\": 51.0}, "
        "\"longest_gap_us\": 0, \"lost\": 0, \"interruptions\": 0}, "
        "{\"name\": \"Local\\\\SkiJumpOutput_0\", \"newest_seq\": 5900, \"newest_age_us\": 1500000, "
        "\"clock_rate\": {\"now\": 30.0, \"mean\": 30.0, \"min\": 0.0, \"max\": 60.0}}, "
        "{\"name\": \"Local\\\\SkiJumpOutput_1\", \"newest_seq\": null, \"newest_age_us\": null, "
        "\"clock_rate\": null}]");
}

TEST(StatusJson, TellsEverySyncObjectsStateByIndex) {
    StatusSnapshot s = practice_run();
    s.mutex[1] = MutexState::held;
    s.mutex_held_looks[1] = 3;
    s.mutex[2] = MutexState::abandoned;
    s.mutex[3] = MutexState::missing;
    s.mutex[4] = MutexState::unknown;
    s.event[0] = EventState::signalled;
    s.event[2] = EventState::unknown;
    s.odd_events = uint64_t{1} << 36;
    const std::string json = status_as_json(s);
    const auto starts = [&](const char* key) { return json_value(json, key).substr(0, 43); };
    EXPECT_EQ(starts("mutex_state"), "[\"free\", \"held\", \"abandoned\", \"missing\", \"u");
    EXPECT_EQ(starts("event_state"), "[\"signalled\", \"missing\", \"unknown\", \"clear\"");
    EXPECT_EQ(starts("mutex_meaning"), "[\"workers\", \"workers\", \"channel\", \"nw 0\", \"");
    EXPECT_EQ(json_value(json, "mutex_held_looks").substr(0, 10), "[0, 3, 0, ");
    EXPECT_EQ(json_value(json, "mutexes").substr(0, 16), "[1, 1, 1, 0, 1, ");
    const std::string odd = json_value(json, "event_of_wrong_kind");
    EXPECT_EQ(odd.substr(odd.size() - 6), " 0, 1]");
}

TEST(StatusJson, HoldsTheRequestsAsFieldsAndInWords) {
    StatusSnapshot s = practice_run();
    ControlBlock& b = s.block;
    b.size = 9776;
    b.sync_epoch_us = 123456789012;
    b.grid_setup_active = 2;
    b.grid_feed = 3;
    b.grid_line = 4;
    b.grid_near = 5;
    b.grid_click_ready = 7;
    b.grid_click_x = -8;
    b.grid_click_y = -9;
    b.grid_generation = 10;
    b.settings_generation = 11;
    b.diag_logging = 12;
    b.blob_circles = 13;
    b.erase_shadows_on = 14;
    for (int32_t f = 0; f < kFeedCount; ++f) {
        b.motion_trial_frames[f] = static_cast<uint32_t>(30 + f);
        b.motion_slow_frames[f] = static_cast<uint32_t>(40 + f);
        b.feed_offset_live[f] = 50 + f;
    }
    b.capfile_paused[0] = 1;
    b.capfile_shutdown[2] = 1;
    const std::string json = status_as_json(s);
    const std::pair<const char*, const char*> expected[] = {
        {"size", "9776"},
        {"sync_epoch_us", "123456789012"},
        {"grid_setup_active", "2"},
        {"grid_feed", "3"},
        {"grid_line", "4"},
        {"grid_near", "5"},
        {"grid_click_wait", "0"},
        {"grid_click_ready", "7"},
        {"grid_click_x", "-8"},
        {"grid_click_y", "-9"},
        {"grid_generation", "10"},
        {"settings_generation", "11"},
        {"motion_trial_frames", "[30, 31, 32]"},
        {"motion_slow_frames", "[40, 41, 42]"},
        {"capfile_paused", "[1, 0, 0]"},
        {"capfile_shutdown", "[0, 0, 1]"},
        {"feed_offset_live", "[50, 51, 52]"},
        {"diag_logging", "12"},
        {"blob_circles", "13"},
        {"erase_shadows_on", "14"},
        {"requests",
         "[\"force video: frames 100 to 250 not taken yet\", \"capfile 0: pause\", "
         "\"capfile 2: finish the file and exit\", \"motion 2: pause\"]"},
    };
    for (const auto& [key, value] : expected) EXPECT_EQ(json_value(json, key), value) << key;
}
