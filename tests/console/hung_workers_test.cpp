// Workers that keep a mutex for ever, or die with one, must not take the console with them.
#include <string>

#include "tests/console/console_test.h"

namespace {
class HungWorkers : public ConsoleTest {
protected:
    // Starts motion[0] and waits until it has done what it was ordered to.
    void start_motion_and_wait_for(const std::string& report) {
        press_on(kTabProcesses, 220);
        wait_for_workers({("motion[0] " + report).c_str()});
    }
    // Shows the preview, so that refreshes come, and measures the longest silence of the message loop over a while.
    uint64_t longest_silence(uint64_t watch_ms, uint32_t patience_ms) {
        PostMessageW(console.window, kRefreshMessage, 0, 0);
        uint64_t longest = 0;
        const uint64_t end = GetTickCount64() + watch_ms;
        while (GetTickCount64() < end) {
            const uint64_t asked_at = GetTickCount64();
            if (!console_answers(console, patience_ms)) return patience_ms;
            const uint64_t took = GetTickCount64() - asked_at;
            longest = took > longest ? took : longest;
            Sleep(kGlanceMs);
        }
        return longest;
    }
};
}  // namespace

// A lock waits one second at most and callers go ahead. A sent question waits for one message handler at most: one
// refresh and the title rewritten after it. Each of the two reads every counter once, so n held mutexes cost it 2 n
// seconds; the rest is slack for the machine.
static uint32_t allowed_silence_ms(uint32_t held_mutexes) {
    return 2 * held_mutexes * kLockTimeoutMs + 3000;
}

TEST_F(HungWorkers, AWorkerThatKeepsTheWriteCountersSlowsTheWindowButNeverFreezesIt) {
    order_workers({"motion hold 3 4 5"});
    start_with({"feed_count=3"});
    start_motion_and_wait_for("holding");
    ASSERT_TRUE(select_tab(console, kTabPreview));
    const uint64_t silence = longest_silence(8000, allowed_silence_ms(3));
    EXPECT_LT(silence, allowed_silence_ms(3));
    EXPECT_GE(silence, uint64_t{kLockTimeoutMs}) << "nobody waited: the refresh does not take the counters' mutexes";
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(HungWorkers, AWorkerThatKeepsTheChannelAndOutputMutexesDoesNotFreezeItEither) {
    order_workers({"motion hold 2 9"});
    start_with({"feed_count=3"});
    start_motion_and_wait_for("holding");
    ASSERT_TRUE(select_tab(console, kTabPreview));
    EXPECT_LT(longest_silence(5000, allowed_silence_ms(2)), allowed_silence_ms(2));
    press_on(kTabPreview, 716);
    EXPECT_TRUE(button_becomes(console, 716, "Highlight OFF")) << "and the buttons still work";
}

TEST_F(HungWorkers, AWorkerThatDiesWithAMutexCostsNoTime) {
    order_workers({"motion die_holding 4"});
    start_with({"feed_count=3"});
    start_motion_and_wait_for("dies holding");
    ASSERT_TRUE(log_shows(installation, "ERR motion[0] exited with code 5"));
    ASSERT_TRUE(select_tab(console, kTabPreview));
    EXPECT_LT(longest_silence(3000, allowed_silence_ms(1)), uint64_t{kLockTimeoutMs})
        << "an abandoned mutex must be taken at once";
}

TEST_F(HungWorkers, AWorkerThatIgnoresEverythingIsEndedAllTheSame) {
    start_with({"feed_count=1"});
    press_on(kTabProcesses, 201);
    ASSERT_TRUE(running_children_become(console, "capture[1] motion[1] videogen"));
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_EQ(log_count(installation, "ERR timeout waiting for *"), 0);
}
