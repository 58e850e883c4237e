// Everything together: the program, the simulated workers and gigabytes of frames.
#include <string>

#include "tests/console/console_test.h"
#include "tests/console/screenshot.h"

namespace {
class OnTheRig : public ConsoleTest {
protected:
    OnTheRig() : ConsoleTest(true) {}
};
}  // namespace

// What a new user gets: the simulated rig with the packaged settings, which among others leave out the waving flag.
TEST_F(OnTheRig, TwoMoviesOfAPracticeRunEndItWithZero) {
    const std::string sample = std::string(ORVEK_TEST_DATA) + "/../../packaging/sample/settings.txt";
    ASSERT_TRUE(CopyFileA(sample.c_str(), installation_path(installation, "settings.txt").c_str(), FALSE)) << sample;
    start("--practice-test --max-movies 2 --max-frames 100000");
    ASSERT_EQ(console_wait_for_exit(&console, 150000), 0);
    EXPECT_TRUE(log_shows_in_order(
        installation, {"CLI: practice-test mode starting (max_movies=2, max_frames=100000)", "CLI: enabling Log On",
                       "CLI: enabling Blob Circles", "CLI: launching practice",
                       "PRACTICE: feed_count=3 active=3, spawned 3 motion(s), kept 0 running",
                       "practice: all processes ready, viewer launched, playing", "CLI practice-test: movie #*",
                       "CLI practice-test: movie limit reached (* >= 2) — shutting down",
                       "process manager shutting down", "CLI mode: exit code 0", "controller exiting"}));
    for (int32_t feed = 0; feed < kFeedCount; ++feed)
        EXPECT_EQ(log_count(installation, "preview: reconnected feed " + std::to_string(feed) + " (*"), 1);
    EXPECT_EQ(log_count(installation, "ERR *"), 0);
    EXPECT_EQ(log_count(installation, "restarting *"), 0);
}

TEST_F(OnTheRig, ALiveCameraFillsItsPaneAndTheTitleUntilStopAll) {
    start_with({"feed_count=1"});
    open_shared();
    press_on(kTabProcesses, 201);
    ASSERT_TRUE(running_children_become(console, "capture[1] motion[1] videogen"));
    ASSERT_TRUE(select_tab(console, kTabPreview));
    ASSERT_TRUE(log_shows(installation, "preview: reconnected feed 1 (attempt *"));
    const auto middle_of_feed_1 = [&] {
        const int32_t width = 700;
        const int32_t top = width * 540 / 1920 + 5;
        const Picture picture = picture_of(control(console, 110), {0, top, width, top + width * 540 / 1920});
        return pixel(picture, width / 2, picture.height / 2);
    };
    EXPECT_TRUE(wait_until([&] { return middle_of_feed_1() != RGB(32, 32, 32); })) << "still a placeholder";
    const auto written = [&] { return shared_load(shared.block->feed[1][0].nw); };
    ASSERT_TRUE(wait_until([&] { return written() > 30; }));
    const std::string title = console_title(console);
    EXPECT_TRUE(title.starts_with("[CH 0]  0(000,")) << title;
    EXPECT_TRUE(wait_until([&] { return console_title(console) != title; })) << "the title stands still";

    press_on(kTabProcesses, 202);
    EXPECT_TRUE(status_becomes(console, "All processes stopped"));
    EXPECT_EQ(running_children(console), "");
    const uint32_t last = written();
    Sleep(300);
    EXPECT_EQ(written(), last) << "somebody still films";
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_EQ(log_count(installation, "ERR *"), 0);
}
