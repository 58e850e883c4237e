// The frame log of a running console: rows that agree with the frames planted, and the setting that switches it.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tests/console/console_test.h"

namespace {

constexpr char kHeader[] =
    "time_ms,channel,f0_nw,f0_idx,f0_seq,f0_pts,f1_nw,f1_idx,f1_seq,f1_pts,f2_nw,f2_idx,f2_seq,f2_pts,"
    "f1_display_type,f1_motion_flags\r\n";

struct Row {
    double time_ms;
    int32_t channel;
    struct {
        int32_t nw, idx;
        long long seq, pts;
    } feed[3];
    int32_t display_type, motion_flags;
};

class FrameLog : public ConsoleTest {
protected:
    explicit FrameLog(bool simulated_rig = false) : ConsoleTest(simulated_rig) {}
    void TearDown() override {
        ConsoleTest::TearDown();
        test_ring_close(&ring);
    }
    // Every whole row so far, none before the header is there. A line that is no row fails the test.
    std::vector<Row> rows() const {
        const std::string text = installation_read(installation, "frame_log.csv");
        std::vector<Row> found;
        if (!text.starts_with(kHeader)) return found;
        for (size_t at = strlen(kHeader), end = 0; (end = text.find("\r\n", at)) != std::string::npos; at = end + 2) {
            const std::string line = text.substr(at, end - at);
            Row r = {};
            int used = 0;
            const int fields =
                sscanf(line.c_str(), "%lf,%d,%d,%d,%lld,%lld,%d,%d,%lld,%lld,%d,%d,%lld,%lld,%d,%d%n", &r.time_ms,
                       &r.channel, &r.feed[0].nw, &r.feed[0].idx, &r.feed[0].seq, &r.feed[0].pts, &r.feed[1].nw,
                       &r.feed[1].idx, &r.feed[1].seq, &r.feed[1].pts, &r.feed[2].nw, &r.feed[2].idx, &r.feed[2].seq,
                       &r.feed[2].pts, &r.display_type, &r.motion_flags, &used);
            EXPECT_TRUE(fields == 16 && static_cast<size_t>(used) == line.size()) << line;
            found.push_back(r);
        }
        return found;
    }
    testing::AssertionResult rows_come(size_t more_than) {
        if (wait_until([&] { return rows().size() > more_than; })) return testing::AssertionSuccess();
        return testing::AssertionFailure() << "no row after " << more_than;
    }
    // The file of settings anew, read by the console.
    void reload(std::initializer_list<const char*> lines) {
        installation_settings(installation, lines);
        ASSERT_TRUE(select_tab(console, kTabSettings));
        press_key(console, 'L', true);
        ASSERT_TRUE(status_becomes(console, "Settings loaded"));
        ASSERT_TRUE(select_tab(console, kTabPreview));
    }

    TestRing ring = {};
};

class FrameLogOnTheRig : public FrameLog {
protected:
    FrameLogOnTheRig() : FrameLog(true) {}
};

}  // namespace

TEST_F(FrameLog, IsNotMadeWhileItsSettingIsOff) {
    start_with({"debug_frame_log=0"});
    Sleep(2500);
    EXPECT_FALSE(installation_has(installation, "frame_log.csv"));
}

TEST_F(FrameLog, ItsRowsAgreeWithTheFramesInTheRegions) {
    start_with({"debug_frame_log=1"});
    open_shared();
    ASSERT_TRUE(rows_come(0));
    ASSERT_TRUE(test_ring_create(&ring, 1, 0));
    ASSERT_TRUE(log_shows(installation, "preview: reconnected feed 1 (attempt *"));
    shared_store(shared.block->feed[0][0].nw, 100u);
    shared_store(shared.block->feed[2][0].nw, 1u);
    for (uint32_t nw = 1040; nw < 1046; ++nw) {
        const uint32_t slot = (nw + 518) % 520;
        auto* header = reinterpret_cast<FrameSlotHeader*>(ring.view + feed_slot_offset(slot));
        header->seq = nw - 2;
        header->pts = int64_t{nw} * 16667;
        header->display_type = nw % 3;
        header->motion_flags = nw % 2;
        shared_store(shared.block->feed[1][0].nw, nw);
        SetEvent(shared.event[kEventNewFrame]);
        ASSERT_TRUE(wait_until([&] {
            const auto all = rows();
            return !all.empty() && all.back().feed[1].nw == static_cast<int32_t>(nw);
        })) << nw;
    }
    double last_time = 0;
    int32_t last_nw = 0;
    int32_t checked = 0;
    for (const Row& row : rows()) {
        EXPECT_GE(row.time_ms, last_time);
        last_time = row.time_ms;
        EXPECT_EQ(row.channel, 0);
        for (const auto& feed : row.feed) EXPECT_EQ(feed.idx, (feed.nw + 518) % 520);
        EXPECT_EQ(row.feed[0].seq + row.feed[0].pts + row.feed[2].seq + row.feed[2].pts, 0) << "no such regions";
        const int32_t nw = row.feed[1].nw;
        EXPECT_GE(nw, last_nw);
        last_nw = nw;
        if (nw < 1040) continue;
        ++checked;
        EXPECT_EQ(row.feed[0].nw, 100);
        EXPECT_EQ(row.feed[2].nw, 1);
        EXPECT_EQ(row.feed[1].seq, nw - 2);
        EXPECT_EQ(row.feed[1].pts, nw * 16667ll);
        EXPECT_EQ(row.display_type, nw % 3);
        EXPECT_EQ(row.motion_flags, nw % 2);
    }
    EXPECT_GE(checked, 6);
    EXPECT_GT(last_time, 0.0);
    EXPECT_LT(last_time, 600000.0);
}

TEST_F(FrameLog, SwitchedOnDuringARunItReplacesAnOldFileAndSwitchedOffItGoesOn) {
    installation_write(installation, "frame_log.csv", "left by an earlier run\r\n");
    start_with({"debug_frame_log=0"});
    Sleep(1500);
    EXPECT_EQ(installation_read(installation, "frame_log.csv"), "left by an earlier run\r\n");
    reload({"debug_frame_log=1"});
    ASSERT_TRUE(rows_come(1));
    reload({"debug_frame_log=0"});
    const size_t so_far = rows().size();
    EXPECT_TRUE(rows_come(so_far + 1));
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(FrameLog, AFileThatCannotBeOpenedIsNoNewsAndTakenAsSoonAsItCan) {
    const std::string place = installation_path(installation, "frame_log.csv");
    ASSERT_TRUE(CreateDirectoryA(place.c_str(), nullptr));
    start_with({"debug_frame_log=1"});
    open_shared();
    Sleep(1500);
    const size_t before = log_length(installation);
    for (int32_t i = 0; i < 10; ++i) {
        SetEvent(shared.event[kEventNewFrame]);
        Sleep(50);
    }
    EXPECT_EQ(log_length(installation), before);
    ASSERT_TRUE(RemoveDirectoryA(place.c_str()));
    EXPECT_TRUE(rows_come(0));
}

TEST_F(FrameLogOnTheRig, APracticeRunLeavesTheNumberOfEveryFrameShown) {
    start_with({"feed_count=1", "debug_frame_log=1"});
    press_on(kTabPreview, 701);
    ASSERT_TRUE(status_becomes(console, "Practice: all processes running, viewer launched", 60000));
    const auto frames_seen = [&] {
        int32_t seen = 0;
        for (const Row& row : rows()) seen += row.feed[1].seq > 0 ? 1 : 0;
        return seen;
    };
    ASSERT_TRUE(wait_until([&] { return frames_seen() >= 200; }, 60000)) << frames_seen();
    ASSERT_EQ(console_close(&console), 0);
    long long last_seq = 0;
    long long last_pts = 0;
    for (const Row& row : rows()) {
        if (row.feed[1].seq == 0) continue;
        EXPECT_EQ(row.feed[1].seq, row.feed[1].nw - 2) << "the frame in the slot is the one that belongs there";
        EXPECT_GE(row.feed[1].seq, last_seq);
        EXPECT_GE(row.feed[1].pts, last_pts);
        last_seq = row.feed[1].seq;
        last_pts = row.feed[1].pts;
    }
}
