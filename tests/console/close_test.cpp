// Closing at awkward moments: with commands still on their way, and with a box open that nobody answers.
#include <string>

#include "tests/console/console_test.h"

namespace {
class Close : public ConsoleTest {};
}  // namespace

TEST_F(Close, ACommandPostedBehindItStartsNothing) {
    start_with({"feed_count=3"});
    ASSERT_TRUE(PostMessageW(console.window, WM_CLOSE, 0, 0));
    for (const WPARAM id : {201, 701, 702, 230}) ASSERT_TRUE(PostMessageW(console.window, WM_COMMAND, id, 0)) << id;
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
    EXPECT_TRUE(log_shows(installation, "controller exiting"));
    EXPECT_EQ(log_count(installation, "launched *"), 0);
    EXPECT_EQ(log_count(installation, "START_ALL: *"), 0);
    EXPECT_EQ(log_count(installation, "motion: paused for *"), 0);
}

TEST_F(Close, ASecondOneDoesNothingMore) {
    start_with({});
    ASSERT_TRUE(PostMessageW(console.window, WM_CLOSE, 0, 0));
    ASSERT_TRUE(PostMessageW(console.window, WM_CLOSE, 0, 0));
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
    EXPECT_EQ(log_count(installation, "process manager shutting down"), 1);
    EXPECT_EQ(log_count(installation, "settings: saved to *"), 1);
    EXPECT_EQ(log_count(installation, "controller exiting"), 1);
}

TEST_F(Close, AnOpenBoxDoesNotHoldUpTheEndOfAnUnattendedRun) {
    order_workers({"practice_player ready", "motion ready", "videogen ready", "viewer ready"});
    start_with({"feed_count=1"}, "--practice-test --max-frames 100");
    open_shared();
    ASSERT_TRUE(log_shows(installation, "practice: all processes ready, viewer launched, playing"))
        << "the timers run on below";
    send_command(console, 502);
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }));
    shared_store(shared.block->feed_frame_count[1], 150u);
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
    EXPECT_TRUE(log_shows_in_order(installation,
                                   {"CLI practice-test: frame limit reached (150 >= 100) — shutting down",
                                    "process manager shutting down", "CLI mode: exit code 0", "controller exiting"}));
}
