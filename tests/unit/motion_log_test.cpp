// Blob records out of the motion workers' logs.
#include "autosetup/motion_log.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "autosetup/log_lines.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"
#include "tests/support/plain_motion_log.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

namespace {
// A folder of logs, the workspace they are read into and the settings.
struct Logs {
    TempDir dir;
    std::unique_ptr<Settings> settings = default_settings();
    WorkspacePtr workspace = make_workspace();

    Logs() {
        workspace->log_dir = dir.path().c_str();
        settings->min_blob_sizes[0] = 10;
    }
    void write(int32_t feed, std::string_view text) const {
        write_whole_file(dir.file("motion_debug_" + std::to_string(feed) + ".log"), text);
    }
    int32_t parse() const {
        return auto_setup_parse_logs(workspace.get(), settings.get());
    }
    int32_t count(int32_t feed) const {
        return workspace->blob_count[feed];
    }
    const MotionBlob& blob(int32_t feed, int32_t i) const {
        return workspace->blobs[feed][i];
    }
};
}  // namespace

// The number of records that feed 1 gets from a log with this text.
static int32_t accepted(std::string_view text) {
    const Logs logs;
    logs.write(1, text);
    logs.parse();
    return logs.count(1);
}

TEST(MotionLog, ABlobLineBecomesARecord) {
    const Logs logs;
    logs.write(1,
               "12:00:00 feed 1 seq=123456789012 ts=987654321098 type=2 blobs=3 blob0_sz=500 blob0_x=700 blob0_y=260 "
               "blob0_first_y=240 blob0_last_y=281 ycum=1,2,3,40 ucum=5,6,7,8 vcum=-1,-2,-3,9\n");
    ASSERT_EQ(logs.parse(), 0);
    ASSERT_EQ(logs.count(1), 1);
    const MotionBlob& blob = logs.blob(1, 0);
    EXPECT_EQ(blob.size, 500u);
    EXPECT_EQ(blob.x, 700);
    EXPECT_EQ(blob.y, 260);
    EXPECT_EQ(blob.first_y, 240);
    EXPECT_EQ(blob.last_y, 281);
    EXPECT_EQ(blob.seq, 123'456'789'012);
    EXPECT_EQ(blob.ts, 987'654'321'098);
    EXPECT_EQ(blob.meter, 0.0f);
    EXPECT_EQ(logs.workspace->centroid_y_min[1], 260);
    EXPECT_EQ(logs.workspace->centroid_y_max[1], 260);
    EXPECT_EQ(logs.workspace->bbox_y_min[1], 240);
    EXPECT_EQ(logs.workspace->bbox_y_max[1], 281);
    EXPECT_EQ(logs.workspace->blob_size_max[1], 500);
    EXPECT_EQ(logs.workspace->ycum_max[1], 40);
    EXPECT_EQ(logs.workspace->ucum_max[1], 8);
    EXPECT_EQ(logs.workspace->vcum_max[1], 9);
    EXPECT_EQ(logs.workspace->blob_capacity[1], 1024);
}

TEST(MotionLog, WhatALineLeavesOutHasItsDefault) {
    const Logs logs;
    logs.write(2, "blob0_x=5 blob0_sz=10 seq=1 feed 2\nblob0_x=6 blob0_sz=10 blob0_y=7 seq=2 feed 2\n");
    ASSERT_EQ(logs.parse(), 0);
    ASSERT_EQ(logs.count(2), 2);
    EXPECT_EQ(logs.blob(2, 0).y, 0);
    EXPECT_EQ(logs.blob(2, 0).first_y, 0);
    EXPECT_EQ(logs.blob(2, 0).last_y, 0);
    EXPECT_EQ(logs.blob(2, 0).ts, 0);
    EXPECT_EQ(logs.blob(2, 1).first_y, 7);
    EXPECT_EQ(logs.blob(2, 1).last_y, 7);
}

TEST(MotionLog, LinesOfAnotherFeedAreSkipped) {
    EXPECT_EQ(accepted("feed 0 seq=1 blob0_sz=50 blob0_x=1\nfeed 0 seq=2 blob0_sz=50 blob0_x=2\n"), 0);
    EXPECT_EQ(accepted("feed 0 seq=1 blob0_sz=50 blob0_x=1\nfeed 1 seq=2 blob0_sz=50 blob0_x=2\n"), 1);
}

TEST(MotionLog, TypeDecidesBeforeTheBlobCountAndNeitherIsNeeded) {
    EXPECT_EQ(accepted("feed 1 seq=1 type=0 blobs=3 blob0_sz=50 blob0_x=1\n"), 0);
    EXPECT_EQ(accepted("feed 1 seq=1 type=1 blobs=0 blob0_sz=50 blob0_x=1\n"), 1);
    EXPECT_EQ(accepted("feed 1 seq=1 type=-1 blob0_sz=50 blob0_x=1\n"), 1);
    EXPECT_EQ(accepted("feed 1 seq=1 type=x blob0_sz=50 blob0_x=1\n"), 0);
    EXPECT_EQ(accepted("feed 1 seq=1 blobs=0 blob0_sz=50 blob0_x=1\n"), 0);
    EXPECT_EQ(accepted("feed 1 seq=1 blobs=-1 blob0_sz=50 blob0_x=1\n"), 0);
    EXPECT_EQ(accepted("feed 1 seq=1 blobs=1 blob0_sz=50 blob0_x=1\n"), 1);
    EXPECT_EQ(accepted("feed 1 seq=1 blob0_sz=50 blob0_x=1\n"), 1);
    EXPECT_EQ(accepted("type=0 blobs=0 feed 1 seq=1 blob0_sz=50 blob0_x=1\n"), 0);  // the first without its blank
    EXPECT_EQ(accepted("type=0 feed 1 seq=1 blob0_sz=50 blob0_x=1\n"), 1);
}

TEST(MotionLog, ALineWithoutAnyOfTheNeededKeysIsSkipped) {
    EXPECT_EQ(accepted("feed 1 seq=1 blob0_x=1\n"), 0);
    EXPECT_EQ(accepted("feed 1 seq=1 blob0_sz=50\n"), 0);
    EXPECT_EQ(accepted("feed 1 blob0_sz=50 blob0_x=1\n"), 0);
    EXPECT_EQ(accepted("seq=1 blob0_sz=50 blob0_x=1\n"), 0);
    EXPECT_EQ(accepted("feed1 seq=1 blob0_sz=50 blob0_x=1\n"), 0);
    EXPECT_EQ(accepted("feed 1 seq=1 blob0_sz= blob0_x=\n"), 0);  // the size of nothing is 0
}

TEST(MotionLog, TheFirstFeedsLeastSizeHoldsForEveryFeed) {
    const Logs logs;
    logs.settings->min_blob_sizes[0] = 500;
    logs.settings->min_blob_sizes[2] = 50;
    logs.write(2, "feed 2 seq=1 blob0_sz=100 blob0_x=1\nfeed 2 seq=2 blob0_sz=500 blob0_x=2\n");
    EXPECT_EQ(logs.parse(), 0);
    ASSERT_EQ(logs.count(2), 1);
    EXPECT_EQ(logs.blob(2, 0).x, 2);
}

TEST(MotionLog, AKeyIsFoundAtTheEndOfALongerOne) {
    const Logs logs;
    logs.write(1, "feed 1 fire_seq=7 seq=8 xblob0_sz=50 blob0_sz=60 myblob0_x=3 blob0_x=4\n");
    ASSERT_EQ(logs.parse(), 0);
    EXPECT_EQ(logs.blob(1, 0).seq, 7);
    EXPECT_EQ(logs.blob(1, 0).size, 50u);
    EXPECT_EQ(logs.blob(1, 0).x, 3);
}

TEST(MotionLog, TheFirstFeedWordCounts) {
    EXPECT_EQ(accepted("feed 1 seq=1 blob0_sz=50 blob0_x=1 feed 2\n"), 1);
    EXPECT_EQ(accepted("feed x feed 1 seq=1 blob0_sz=50 blob0_x=1\n"), 0);
    EXPECT_EQ(accepted("newsfeed 1 seq=1 blob0_sz=50 blob0_x=1\n"), 1);
}

TEST(MotionLog, NumbersTooLargeAreTheNearestThatFit) {
    const Logs logs;
    logs.write(1,
               "feed 1 seq=99999999999999999999 ts=-99999999999999999999 blob0_sz=9999999999 blob0_x=-9999999999\n");
    ASSERT_EQ(logs.parse(), 0);
    EXPECT_EQ(logs.blob(1, 0).seq, INT64_MAX);
    EXPECT_EQ(logs.blob(1, 0).ts, INT64_MIN);
    EXPECT_EQ(logs.blob(1, 0).size, 2'147'483'647u);
    EXPECT_EQ(logs.blob(1, 0).x, INT_MIN);
}

TEST(MotionLog, OnlyFourCumulatedNumbersCount) {
    const Logs logs;
    logs.write(1,
               "feed 1 seq=1 blob0_sz=50 blob0_x=1 ycum=1,2,300 ucum=1, 2,\t3, 44 vcum=1,2,3,55,66\n"
               "feed 1 seq=2 blob0_sz=50 blob0_x=1 ycum=1 ,2,3,4 ucum=1,2,3,x ucum=1,2,3,99 vcum=1,2,3,54\n");
    ASSERT_EQ(logs.parse(), 0);
    EXPECT_EQ(logs.workspace->ycum_max[1], 0);
    EXPECT_EQ(logs.workspace->ucum_max[1], 44);
    EXPECT_EQ(logs.workspace->vcum_max[1], 55);
}

TEST(MotionLog, ColumnsOutsideThePictureTakeTheMetresOfItsEdge) {
    const Logs logs;
    set_linear_grid(logs.workspace.get(), 1, 100.0f, 0.5f);
    logs.write(1,
               "feed 1 seq=1 blob0_sz=50 blob0_x=-5\nfeed 1 seq=2 blob0_sz=50 blob0_x=2500\n"
               "feed 1 seq=3 blob0_sz=50 blob0_x=10\n");
    ASSERT_EQ(logs.parse(), 0);
    EXPECT_EQ(logs.blob(1, 0).meter, 100.0f);
    EXPECT_EQ(logs.blob(1, 1).meter, 1059.5f);  // 100 + 1919 / 2
    EXPECT_EQ(logs.blob(1, 2).meter, 105.0f);
    EXPECT_EQ(logs.blob(1, 0).x, -5);
}

static std::string blob_lines(int32_t count) {
    std::string text;
    for (int32_t i = 0; i < count; ++i)
        text += "feed 1 seq=" + std::to_string(i) + " blob0_sz=50 blob0_x=" + std::to_string(i % 1920) + "\n";
    return text;
}

TEST(MotionLog, The1025thRecordDoublesTheRoom) {
    const Logs logs;
    logs.write(1, blob_lines(1024));
    ASSERT_EQ(logs.parse(), 0);
    EXPECT_EQ(logs.workspace->blob_capacity[1], 1024);
    const Logs more;
    more.write(1, blob_lines(1025));
    ASSERT_EQ(more.parse(), 0);
    EXPECT_EQ(more.count(1), 1025);
    EXPECT_EQ(more.workspace->blob_capacity[1], 2048);
    EXPECT_EQ(more.blob(1, 0).seq, 0);
    EXPECT_EQ(more.blob(1, 1024).seq, 1024);
}

TEST(MotionLog, EveryFeedGetsItsLine) {
    LogCapture log;
    const Logs logs;
    logs.write(0, "");
    logs.write(1,
               "feed 1 seq=1 blob0_sz=60 blob0_x=1 blob0_y=300 blob0_first_y=280 blob0_last_y=290\n"
               "feed 1 seq=2 blob0_sz=50 blob0_x=1 blob0_y=200 blob0_first_y=190 blob0_last_y=330\n");
    EXPECT_EQ(logs.parse(), 0);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "INF auto_setup_parse_logs: motion_debug_2.log not found, skipping feed 2",
                               "INF feed 0: 0 blobs parsed, centroid_y 1080..0, bbox_y 1080..0, max_size 0",
                               "INF feed 1: 2 blobs parsed, centroid_y 200..300, bbox_y 190..330, max_size 60",
                               "INF feed 2: 0 blobs parsed, centroid_y 0..0, bbox_y 0..0, max_size 0",
                           }));
}

TEST(MotionLog, WithoutAnyLogItFails) {
    LogCapture log;
    const Logs logs;
    EXPECT_EQ(logs.parse(), -1);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "INF auto_setup_parse_logs: motion_debug_0.log not found, skipping feed 0",
                               "INF auto_setup_parse_logs: motion_debug_1.log not found, skipping feed 1",
                               "INF auto_setup_parse_logs: motion_debug_2.log not found, skipping feed 2",
                               "INF feed 0: 0 blobs parsed, centroid_y 0..0, bbox_y 0..0, max_size 0",
                               "INF feed 1: 0 blobs parsed, centroid_y 0..0, bbox_y 0..0, max_size 0",
                               "INF feed 2: 0 blobs parsed, centroid_y 0..0, bbox_y 0..0, max_size 0",
                               "ERR auto_setup_parse_logs: no blobs found in any feed",
                           }));
}

static void* no_memory(void* /*memory*/, size_t /*size*/) {
    return nullptr;
}

static void* memory_for_1024_records(void* memory, size_t size) {
    return size <= 1024 * sizeof(MotionBlob) ? realloc(memory, size) : nullptr;
}

TEST(MotionLog, WithoutMemoryForTheFirstRecordsItFails) {
    LogCapture log;
    const Logs logs;
    logs.write(0, "");
    EXPECT_EQ(parse_motion_logs(logs.workspace.get(), logs.settings.get(), {no_memory}), -1);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"ERR auto_setup_parse_logs: malloc failed for feed 0"});
}

TEST(MotionLog, WithoutMemoryForMoreRecordsItKeepsWhatItHas) {
    LogCapture log;
    const Logs logs;
    logs.write(0, "feed 0 seq=1 blob0_sz=50 blob0_x=1\n");
    logs.write(1, blob_lines(1025));
    EXPECT_EQ(parse_motion_logs(logs.workspace.get(), logs.settings.get(), {memory_for_1024_records}), -1);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"ERR auto_setup_parse_logs: realloc failed for feed 1"});
    EXPECT_EQ(logs.count(0), 1);
    EXPECT_EQ(logs.count(1), 1024);
    EXPECT_EQ(logs.blob(1, 1023).seq, 1023);
}

TEST(MotionLog, APathThatDoesNotFitIsCut) {
    const auto workspace = make_workspace();
    char path[24];
    motion_log_path(workspace.get(), 2, path, sizeof path);
    EXPECT_STREQ(path, "motion_debug_2.log");
    workspace->log_dir = "logs";
    motion_log_path(workspace.get(), 2, path, sizeof path);
    EXPECT_STREQ(path, "logs/motion_debug_2.log");
    workspace->log_dir = "logs/";
    motion_log_path(workspace.get(), 0, path, sizeof path);
    EXPECT_STREQ(path, "logs/motion_debug_0.log");
    workspace->log_dir = "longer";
    motion_log_path(workspace.get(), 0, path, sizeof path);
    EXPECT_STREQ(path, "longer/motion_debug_0.l");
}

TEST(MotionLog, APieceOfALongLineIsALineOfItsOwn) {
    const std::string blob = "feed 1 seq=1 blob0_sz=50 blob0_x=1 ";
    EXPECT_EQ(accepted(blob + std::string(1023 - blob.size(), '.') + blob), 2);
    EXPECT_EQ(accepted(blob + std::string(1020 - blob.size(), '.') + blob), 1);  // the second has lost its "feed "
    EXPECT_EQ(accepted(std::string(1023 - 5, '.') + blob), 0);
}

static size_t pick(std::mt19937* random, size_t limit) {
    return static_cast<size_t>((*random)()) % limit;
}

// A number as a worker may write it, or hardly ever does.
static std::string any_number(std::mt19937* random) {
    static const char* const kNumbers[] = {"0",          "-1",         "007",         "123456789",  "999999999",
                                           "1234567890", "2147483647", "-2147483648", "9999999999", "-999999999",
                                           "",           "-",          "+5",          " 6",         "12345678"};
    static const char* const kLong[] = {"999999999999999999",  "9223372036854775807",      "-9223372036854775809",
                                        "1000000000000000000", "000000000000000000000007", "12345678901234567"};
    switch (pick(random, 12)) {
        case 0:
            return kNumbers[pick(random, std::size(kNumbers))];
        case 1:
            return kLong[pick(random, std::size(kLong))];
        default:
            return std::to_string(pick(random, size_t{1} << pick(random, 31)));
    }
}

// A line as the workers write it, mostly, with now and then something else in it.
static std::string usual_line(std::mt19937* random, const std::string& feed) {
    static const char* const kKeys[] = {"seq",     "ts",      "type",          "blobs",       "blob0_sz",
                                        "blob0_x", "blob0_y", "blob0_first_y", "blob0_last_y"};
    const bool plain = pick(random, 2) == 0;
    std::string line = "feed " + feed;
    const auto number = [&] { return plain ? std::to_string(pick(random, 3000)) : any_number(random); };
    for (const char* key : kKeys) line += std::string(" ") + key + "=" + number();
    for (const char* key : {" ycum=", " ucum=", " vcum="})
        line += key + number() + "," + number() + "," + number() + "," + number();
    line += pick(random, 4) == 0 ? "\r\n" : "\n";
    static constexpr std::string_view kOdd{" =,-\r\n\0x9b", 10};
    for (size_t damage = pick(random, 4) == 0 ? 1 + pick(random, 2) : 0; damage > 0; --damage) {
        const size_t at = pick(random, line.size());
        switch (pick(random, 3)) {
            case 0:
                line.erase(at, 1 + pick(random, 12));
                break;
            case 1:
                line[at] = kOdd[pick(random, kOdd.size())];
                break;
            default:
                line.insert(at, 1, kOdd[pick(random, kOdd.size())]);
                break;
        }
        if (line.empty()) line = "\n";
    }
    return line;
}

// Lines of keys in any order, some cut, doubled, glued or foreign, some far beyond the line buffer.
static std::string hostile_log(std::mt19937* random, const std::string& feed) {
    static const char* const kTokens[] = {
        "feed 1 ",
        "feed 1 ",
        "feed 0 ",
        "feed ",
        "seq=",
        "fire_seq=",
        " ts=",
        "ts=",
        "blob0_sz=",
        "blob0_sz=",
        "blob0_x=",
        "blob0_y=",
        "blob0_",
        "x=",
        "y=",
        "blob0_first_y=",
        "type=",
        " type=1 ",
        " type=0 ",
        " blobs=2 ",
        " blobs=",
        "ycum=",
        "ucum=",
        "blob0_last_y=",
        "vcum=",
        "1,2,3,4",
        "9, 8,\t7, -6 ",
        "1,2,3",
        "=",
        "\r",
        " ",
        "99999999999999999999",
        "-",
        "+7",
        "-2147483649",
        "12",
        "2000 ",
        "garbage ",
        "feed",
        "blob0_sz",
    };
    constexpr size_t kTokenCount = sizeof kTokens / sizeof kTokens[0];
    const auto pick = [random](size_t limit) { return ::pick(random, limit); };
    std::string log;
    const size_t lines = pick(8);
    for (size_t line = 0; line < lines; ++line) {
        if (pick(3) == 0) {
            log += usual_line(random, feed);
            continue;
        }
        if (pick(2) == 0) {
            log += "feed " + feed + " seq=" + std::to_string(pick(900)) + " blob0_sz=" + std::to_string(pick(40)) +
                   " blob0_x=" + std::to_string(pick(2500)) + " blob0_y=" + std::to_string(pick(600));
        }
        for (size_t i = pick(14); i > 0; --i) {
            log += kTokens[pick(kTokenCount)];
            if (pick(2) == 0) log += std::to_string(pick(3000));
            if (pick(3) == 0) log += ' ';
            if (pick(60) == 0) log += '\0';
            if (pick(60) == 0) log += static_cast<char>(pick(256));
        }
        if (pick(10) == 0) log.append(pick(2200), '.');
        if (pick(30) != 0) log += pick(3) == 0 ? "\r\n" : "\n";
    }
    return log;
}

TEST(MotionLog, AnyLogReadsAsThroughALineBufferKeyByKey) {
    const Logs logs;
    AutoSetupWorkspace* const workspace = logs.workspace.get();
    set_linear_grid(workspace, 1, -3.0f, 0.25f);
    std::mt19937 random(11);
    int32_t records = 0;
    for (int32_t round = 0; round < 6'700; ++round) {  // of three logs
        std::string log[kAnalysisFeeds];
        PlainFeed plain[kAnalysisFeeds];
        for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
            // Some straddle the edge of the block that is read at once.
            if (round % 100 == 0) log[feed].assign(kLogBlock - pick(&random, 1200), round % 200 == 0 ? '\n' : '.');
            log[feed] += hostile_log(&random, std::to_string(feed));
            logs.write(feed, log[feed]);
            plain[feed] = plain_motion_log(log[feed], feed, 10,
                                           workspace->grid_valid[feed] ? workspace->meters_at_x[feed] : nullptr);
        }
        for (const ByteScan* scan : byte_scans()) {
            // Each log with the best; with the others a fifth of them, since opening files takes its time.
            if (scan != &best_byte_scan() && round % 5 != 0) continue;
            parse_motion_logs(workspace, logs.settings.get(), {.scan = scan});
            for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
                records += logs.count(feed);
                ASSERT_TRUE(plain_matches(*workspace, feed, plain[feed]))
                    << scan->name << ", round " << round << ", feed " << feed << ":\n"
                    << log[feed];
                workspace->ycum_max[feed] = workspace->ucum_max[feed] = workspace->vcum_max[feed] = 0;
            }
            workspace_release_blobs(workspace);
        }
    }
    EXPECT_GT(records, 20'000);
}
