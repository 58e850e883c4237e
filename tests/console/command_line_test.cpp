// What the command line makes of a run: help, usage errors, and which settings file is taken.
#include <string>

#include "tests/console/console_test.h"

namespace {
class CommandLine : public ConsoleTest {};
}  // namespace

TEST_F(CommandLine, HelpPrintsTheUsageEndsWithZeroAndStartsNothing) {
    std::string output;
    EXPECT_EQ(console_run(installation, "-h", &output), 0);
    for (const char* expected : {"Orvek.exe",
                                 "Orvekline Controller",
                                 "Usage:",
                                 "Orvek.exe [settings_file]",
                                 "Interactive UI",
                                 "Orvek.exe --help | -h",
                                 "Show this help",
                                 "Orvek.exe --auto-setup [LIMITS]",
                                 "Run Auto Setup, save, exit",
                                 "Orvek.exe --practice-test [LIMITS]",
                                 "Practice run with log+circles",
                                 "Orvek.exe --capture-test [CAP_OPTS]",
                                 "Limit options (apply to both --auto-setup and --practice-test):",
                                 "--max-movies N",
                                 "Exit after N movies produced",
                                 "--max-frames M",
                                 "Exit after M feed-1 frames processed",
                                 "Capture-test options (--capture-test only):",
                                 "--source {practice|usb}",
                                 "practice: spawn practice_player",
                                 "usb: assume capture.exe is running",
                                 "--duration SECS",
                                 "Record this long in seconds (default 30)",
                                 "--pause-before-start SECS",
                                 "Delay Start click after panel open (default 0)",
                                 "practice_max_jumpers",
                                 "auto_setup_max_frames"})
        EXPECT_NE(output.find(expected), std::string::npos) << "missing: " << expected << "\nin:\n" << output;
    EXPECT_EQ(output.find("--practice-dir"), std::string::npos) << "accepted but not advertised";
    EXPECT_FALSE(installation_has(installation, "controller_debug.log"));
}

TEST_F(CommandLine, MistakesEndWithOneAndHelpFirstWins) {
    struct Case {
        const char* arguments;
        int32_t code;
    };
    constexpr Case kCases[] = {
        {"--auto-setup --practice-test", 1},
        {"--bogus -h", 1},
        {"-h --bogus", 0},
        {"--help", 0},
        {"--duration 0", 1},
        {"--max-movies 0", 1},
        {"one two", 1},
        {"--source", 1},
        {"--source elsewhere", 1},
    };
    for (const Case& one : kCases) {
        std::string output;
        EXPECT_EQ(console_run(installation, one.arguments, &output), one.code) << one.arguments;
        EXPECT_NE(output.find("Usage:"), std::string::npos) << one.arguments;
    }
    EXPECT_FALSE(installation_has(installation, "controller_debug.log"));
}

TEST_F(CommandLine, ASettingsFileBesideTheProgramBeatsTheOneNamed) {
    installation_write(installation, "named.txt", "feed_count=1\r\n");
    start_with({"feed_count=2"}, "named.txt");
    EXPECT_TRUE(log_shows(installation, "starting controller, settings: " + installation.folder + "\\settings.txt"));
}

TEST_F(CommandLine, ASettingsFileFourFoldersAboveTheProgramIsFound) {
    installation_settings(installation, {"feed_count=2"});
    installation_write(installation, "named.txt", "feed_count=1\r\n");
    ASSERT_TRUE(installation_nest(installation, "a\\b\\c\\d"));
    ASSERT_TRUE(console_start(installation, "named.txt", &console, "a\\b\\c\\d\\Orvek.exe"));
    EXPECT_TRUE(log_shows(installation, "starting controller, settings: " + installation.folder + "\\settings.txt"));
}

TEST_F(CommandLine, FiveFoldersAboveIsTooFarSoTheNamedFileIsTaken) {
    installation_settings(installation, {"feed_count=2"});
    installation_write(installation, "named.txt", "feed_count=1\r\n");
    ASSERT_TRUE(installation_nest(installation, "a\\b\\c\\d\\e"));
    ASSERT_TRUE(console_start(installation, "named.txt", &console, "a\\b\\c\\d\\e\\Orvek.exe"));
    EXPECT_TRUE(log_shows_in_order(installation, {"starting controller, settings: named.txt",
                                                  "settings: loaded from 'named.txt' (pixel_frames populated: *)"}));
}

TEST_F(CommandLine, WithNoFileAtAllTheDefaultsServe) {
    start();
    EXPECT_TRUE(log_shows_in_order(installation, {"starting controller, settings: settings.txt",
                                                  "ERR settings: cannot open 'settings.txt' for reading"}));
    open_shared();
    EXPECT_EQ(shared_load(shared.block->num_feeds), 3u);
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_TRUE(installation_has(installation, "settings.txt"));
}
