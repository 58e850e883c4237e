#include "tools/status_text.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "ipc/sync_objects.h"

namespace {

constexpr uint64_t kAllObjects = (uint64_t{1} << kSyncObjectCount) - 1;

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
        s.feed_ring[f][1] = true;
    }
    b.motion_active[1] = 1;
    b.motion_paused[2] = 1;
    s.output_ring[0] = s.output_ring[1] = true;
    s.has_jumpers = true;
    s.jumper_count = 12;
    s.mutexes = kAllObjects;
    s.events = kAllObjects & ~uint64_t{2};
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
        "movie builder: ready viewer: attached",
        "output: region 1 being written, newest frame 77",
        "movies: 5 published, newest serial 1234567890123",
        "forced movie: request 1, state 4, frame -2, result -1, frames 100 to 250, taken 0 1 2",
        "feed rings by channel: 0: no yes no 1: no yes no 2: no yes no output rings: yes yes",
        "jumpers: 12",
        "mutexes: 37 of 37 events: 36 of 37",
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
    EXPECT_TRUE(has_line(s, "mutexes: 0 of 37 events: 0 of 37"));
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
