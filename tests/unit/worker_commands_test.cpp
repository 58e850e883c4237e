#include "procs/worker_commands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/log_capture.h"

static std::vector<int32_t> feeds_in_use(int32_t feed_count) {
    const FeedSlots slots = active_feed_slots(feed_count);
    return {slots.feed, slots.feed + slots.count};
}

static std::string command(uint32_t kind, int32_t feed, const char* argument) {
    char out[kCommandTextSize] = "";
    EXPECT_EQ(worker_command_line(kind, "C:\\rig", feed, argument, out), 0);
    return out;
}

static std::string display_name(uint32_t kind, uint32_t index, int32_t slot) {
    char out[kWorkerNameSize] = "";
    worker_display_name(kind, index, slot, out);
    return out;
}

TEST(ActiveFeedSlots, OneCameraIsFeedOneTwoAreOneAndTwoAndAnythingElseIsThree) {
    EXPECT_EQ(feeds_in_use(1), (std::vector<int32_t>{1}));
    EXPECT_EQ(feeds_in_use(2), (std::vector<int32_t>{1, 2}));
    for (const int32_t feed_count : {3, 0, -1, 4, INT32_MIN, INT32_MAX})
        EXPECT_EQ(feeds_in_use(feed_count), (std::vector<int32_t>{0, 1, 2})) << feed_count;
}

TEST(ActiveFeedSlots, TheQuestionForOneFeedAgrees) {
    for (int32_t feed_count = -1; feed_count <= 5; ++feed_count) {
        const std::vector<int32_t> in_use = feeds_in_use(feed_count);
        for (int32_t feed = -1; feed <= 3; ++feed) {
            EXPECT_EQ(feed_is_active(feed_count, feed), std::count(in_use.begin(), in_use.end(), feed) == 1)
                << feed_count << " " << feed;
        }
    }
}

TEST(WorkerCommandLine, EveryKindHasItsForm) {
    EXPECT_EQ(command(kKindCapture, 1, "\\\\?\\usb#vid_1"),
              "\"C:\\rig\\capture.exe\" 1 --device-path \"\\\\?\\usb#vid_1\"");
    EXPECT_EQ(command(kKindCapture, 2, ""), "\"C:\\rig\\capture.exe\" 2");
    EXPECT_EQ(command(kKindCapture, 0, nullptr), "\"C:\\rig\\capture.exe\" 0");
    EXPECT_EQ(command(kKindMotion, 2, "C:\\my rig\\settings.txt"),
              "\"C:\\rig\\motion.exe\" 2 \"C:\\my rig\\settings.txt\"");
    EXPECT_EQ(command(kKindVideogen, 0, "s.txt"), "\"C:\\rig\\videogen.exe\" \"s.txt\"");
    EXPECT_EQ(command(kKindViewer, 0, "s.txt"), "\"C:\\rig\\viewer.exe\" \"s.txt\"");
    EXPECT_EQ(command(kKindFileplayer, 0, "D:\\videos"), "\"C:\\rig\\practice_player.exe\" \"D:\\videos\"");
    EXPECT_EQ(command(kKindCapfile, 2, nullptr), "\"C:\\rig\\capfile.exe\" 2");
    EXPECT_EQ(command(kKindFileplayer, 0, ""), "\"C:\\rig\\practice_player.exe\"");
}

TEST(WorkerCommandLine, OnlyMotionAndTheMovieBuilderComeBackByThemselves) {
    EXPECT_EQ(worker_kind(kKindCapture)->auto_restart, 0u);
    EXPECT_EQ(worker_kind(kKindMotion)->auto_restart, 1u);
    EXPECT_EQ(worker_kind(kKindVideogen)->auto_restart, 1u);
    EXPECT_EQ(worker_kind(kKindViewer)->auto_restart, 0u);
    EXPECT_EQ(worker_kind(kKindFileplayer)->auto_restart, 0u);
    EXPECT_EQ(worker_kind(kKindCapfile)->auto_restart, 0u);
    EXPECT_EQ(worker_kind(99), nullptr);
}

TEST(WorkerCommandLine, CaptureMotionAndCapfileSlotsCarryTheFeedAndTheOthersNoIndex) {
    EXPECT_EQ(worker_slot_index(kKindCapture, 2), 2u);
    EXPECT_EQ(worker_slot_index(kKindMotion, 0), 0u);
    EXPECT_EQ(worker_slot_index(kKindCapfile, 1), 1u);
    EXPECT_EQ(worker_slot_index(kKindVideogen, 1), kNoIndex);
    EXPECT_EQ(worker_slot_index(kKindViewer, 1), kNoIndex);
    EXPECT_EQ(worker_slot_index(kKindFileplayer, 1), kNoIndex);
}

TEST(WorkerCommandLine, TheLongestTextThatFitsIsTakenAndOneMoreIsRefused) {
    LogCapture log;
    const std::string around = "\"C:\\rig\\viewer.exe\" \"\"";
    char out[kCommandTextSize] = "before";
    const std::string longest(kCommandTextSize - 1 - around.size(), 's');
    EXPECT_EQ(worker_command_line(kKindViewer, "C:\\rig", 0, (longest + "s").c_str(), out), -1);
    EXPECT_STREQ(out, "before");
    EXPECT_EQ(log.take(),
              std::vector<std::string>{"ERR worker command: viewer.exe with 1024 characters is too long"});
    EXPECT_EQ(worker_command_line(kKindViewer, "C:\\rig", 0, longest.c_str(), out), 0);
    EXPECT_EQ(std::string(out).size(), kCommandTextSize - 1);
}

TEST(WorkerCommandLine, AKindWithoutARowIsRefused) {
    LogCapture log;
    char out[kCommandTextSize] = "before";
    EXPECT_EQ(worker_command_line(99, "C:\\rig", 0, "x", out), -1);
    EXPECT_STREQ(out, "before");
    EXPECT_EQ(log.take().size(), 1u);
}

TEST(WorkerDisplayName, EveryKindIsNamed) {
    EXPECT_EQ(display_name(kKindCapture, 0, 9), "capture[0]");
    EXPECT_EQ(display_name(kKindMotion, 2, 9), "motion[2]");
    EXPECT_EQ(display_name(kKindVideogen, kNoIndex, 9), "videogen");
    EXPECT_EQ(display_name(kKindViewer, kNoIndex, 9), "viewer");
    EXPECT_EQ(display_name(kKindFileplayer, kNoIndex, 9), "fileplayer[-1]");
    EXPECT_EQ(display_name(kKindCapfile, 1, 9), "capfile[1]");
    EXPECT_EQ(display_name(6, 1, 9), "proc[9]");
    EXPECT_EQ(display_name(0xFFFFFFFFu, 1, 0), "proc[0]");
}
