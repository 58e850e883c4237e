// The keys that work without a button: help, and saving and loading on the Settings tab.
#include <string>

#include "tests/console/console_test.h"

namespace {
class Keys : public ConsoleTest {};
}  // namespace

TEST_F(Keys, F1AsksForTheSettingsPageOnTheSettingsTabAndForTheIndexElsewhere) {
    start_with({});  // a folder without help pages: the log names the page that was looked for
    press_key(console, VK_F1, false);
    EXPECT_TRUE(log_shows(installation, "WRN help: no page \"index.html\" below " + installation.folder));
    ASSERT_TRUE(select_tab(console, kTabSettings));
    press_key(console, VK_F1, false);
    EXPECT_TRUE(log_shows(installation, "WRN help: no page \"settings.html\" below " + installation.folder));
    ASSERT_TRUE(select_tab(console, kTabFeeds));
    send_command(console, 501);
    EXPECT_TRUE(log_shows(installation, "WRN help: no page \"index.html\" below " + installation.folder, 2));
    EXPECT_EQ(log_count(installation, "WRN help: *"), 3);
}

TEST_F(Keys, CtrlSSavesOnTheSettingsTabOnly) {
    start_with({"practice_max_jumpers=4711"});
    ASSERT_TRUE(log_shows(installation, "jumper highlight: index=0"));  // the last line of a start
    const size_t before = log_length(installation);
    for (int32_t tab : {kTabPreview, kTabProcesses, kTabFeeds}) {
        ASSERT_TRUE(select_tab(console, tab));
        press_key(console, 'S', true);
        press_key(console, 'L', true);
    }
    EXPECT_EQ(status_text(console), "Ready");
    EXPECT_EQ(log_length(installation), before);
    EXPECT_FALSE(installation_has(installation, "pixel_frames.txt"));

    ASSERT_TRUE(select_tab(console, kTabSettings));
    press_key(console, 'S', false);
    EXPECT_EQ(status_text(console), "Ready") << "without Ctrl it is a letter";
    press_key(console, 'S', true);
    EXPECT_TRUE(status_becomes(console, "Settings saved"));
    EXPECT_TRUE(log_shows(installation, "settings: saved to '" + installation.folder + "\\settings.txt'"));
    EXPECT_TRUE(installation_has(installation, "pixel_frames.txt"));
    EXPECT_NE(installation_read(installation, "settings.txt").find("4711"), std::string::npos);
}

TEST_F(Keys, CtrlLTakesTheFileAsItIsNow) {
    start_with({"feed_count=3", "feed_motion_on[2]=0"});
    EXPECT_EQ(button_text(console, 302), "Feed 2: motion OFF");
    installation_settings(installation, {"feed_count=1"});
    ASSERT_TRUE(select_tab(console, kTabSettings));
    press_key(console, 'L', true);
    EXPECT_TRUE(status_becomes(console, "Settings loaded"));
    EXPECT_TRUE(button_becomes(console, 302, "Feed 2: motion ON")) << "what the file does not name has its default";
    press_on(kTabProcesses, 201);
    EXPECT_TRUE(running_children_become(console, "capture[1] motion[1] videogen"));
}
