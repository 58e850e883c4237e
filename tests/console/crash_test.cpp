// A program that crashes says so, to the operator and in the log, and ends; without an operator it ends by itself.
#include <string>

#include "tests/console/console_test.h"
#include "tests/console/remote.h"

namespace {
class Crash : public ConsoleTest {};
}  // namespace

TEST_F(Crash, IsShownToTheOperatorWithCodeAndAddress) {
    start_with({});
    remote_crash(console);
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }));
    HWND box = message_box(console);
    EXPECT_TRUE(wait_until([&] {
        return message_box_text(box).find("Orvek.exe crashed!\nException code: 0xC0000005\nAddress: 0x") !=
               std::string::npos;
    })) << message_box_text(box);
    EXPECT_TRUE(message_box_text(box).starts_with("Controller Crash"));
    PostMessageW(box, WM_CLOSE, 0, 0);
    EXPECT_NE(console_wait_for_exit(&console, kPatienceMs), 0);
}

TEST_F(Crash, OfAnUnattendedRunWaitsForNobody) {
    start_with({"feed_count=1"}, "--practice-test");
    remote_crash(console);
    const int32_t code = console_wait_for_exit(&console, kPatienceMs);
    EXPECT_NE(code, -1) << "still running, with a message box perhaps";
    EXPECT_NE(code, 0);
}

TEST_F(Crash, LeavesWorkersThatTheNextStartEnds) {
    order_workers({"motion pid_slot 0"});
    start_with({"feed_count=1"}, "--practice-test");
    open_shared();
    ASSERT_TRUE(becomes(
        "a listed worker", [&] { return shared_load(shared.block->pid_slot[0]) != 0; }, true));
    const uint32_t motion = shared_load(shared.block->pid_slot[0]);
    remote_crash(console);
    ASSERT_NE(console_wait_for_exit(&console, kPatienceMs), -1);
    EXPECT_TRUE(is_running(motion));
    start();
    EXPECT_FALSE(is_running(motion));
}
