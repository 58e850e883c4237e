#include "app/command_line.h"

#include <gtest/gtest.h>

#include <string>

static CommandLine parsed_ok(const std::string& line) {
    CommandLine parsed;
    EXPECT_EQ(parse_command_line(line.c_str(), &parsed), 0) << line;
    return parsed;
}

static void expect_defaults(const CommandLine& parsed) {
    EXPECT_EQ(parsed.mode, kModeInteractive);
    EXPECT_EQ(parsed.max_movies, 10);
    EXPECT_EQ(parsed.max_frames, 30000);
    EXPECT_FALSE(parsed.max_movies_given);
    EXPECT_FALSE(parsed.max_frames_given);
    EXPECT_FALSE(parsed.help);
    EXPECT_STREQ(parsed.settings_file, "");
    EXPECT_STREQ(parsed.practice_dir, "");
    EXPECT_EQ(parsed.source, kSourceNone);
    EXPECT_EQ(parsed.duration, 30);
    EXPECT_EQ(parsed.pause_before_start, 0);
}

TEST(ParseCommandLine, AMissingOrEmptyLineGivesTheDefaults) {
    CommandLine parsed;
    EXPECT_EQ(parse_command_line(nullptr, &parsed), 0);
    expect_defaults(parsed);
    for (const char* line : {"", " ", "\t", " \t  \t "}) {
        EXPECT_EQ(parse_command_line(line, &parsed), 0);
        expect_defaults(parsed);
    }
}

TEST(ParseCommandLine, ASuccessLeavesNothingOfAnEarlierParse) {
    CommandLine parsed;
    ASSERT_EQ(parse_command_line("--practice-test --max-movies 3 --practice-dir d s.txt", &parsed), 0);
    ASSERT_EQ(parse_command_line("", &parsed), 0);
    expect_defaults(parsed);
}

TEST(ParseCommandLine, EveryOptionIsTakenInAnyMode) {
    const CommandLine parsed = parsed_ok(
        "--source usb --duration 7 --pause-before-start 2 --max-movies 4\t--max-frames 500 "
        "--practice-dir D:\\practice C:\\rig\\settings.txt");
    EXPECT_EQ(parsed.mode, kModeInteractive);
    EXPECT_EQ(parsed.source, kSourceUsb);
    EXPECT_EQ(parsed.duration, 7);
    EXPECT_EQ(parsed.pause_before_start, 2);
    EXPECT_EQ(parsed.max_movies, 4);
    EXPECT_TRUE(parsed.max_movies_given);
    EXPECT_EQ(parsed.max_frames, 500);
    EXPECT_TRUE(parsed.max_frames_given);
    EXPECT_STREQ(parsed.practice_dir, "D:\\practice");
    EXPECT_STREQ(parsed.settings_file, "C:\\rig\\settings.txt");
}

TEST(ParseCommandLine, EachModeHasItsOption) {
    EXPECT_EQ(parsed_ok("--auto-setup").mode, kModeAutoSetup);
    EXPECT_EQ(parsed_ok("--practice-test").mode, kModePracticeTest);
    EXPECT_EQ(parsed_ok("--capture-test --source practice").mode, kModeCaptureTest);
}

TEST(ParseCommandLine, TheRulesDecideBetweenSuccessHelpAndUsageError) {
    const struct {
        const char* line;
        int32_t expected;
    } cases[] = {
        {"--help", 1},
        {"-h", 1},
        {"-h --no-such-option", 1},
        {"--no-such-option -h", -1},
        {"s.txt -h second.txt", 1},
        {"--auto-setup -h --practice-test", 1},
        {"--auto-setup --practice-test", -1},
        {"--auto-setup --auto-setup", -1},
        {"--capture-test --practice-test", -1},
        {"--duration 0", -1},
        {"--duration 1", 0},
        {"--duration -5", -1},
        {"--duration abc", -1},
        {"--max-movies 0", -1},
        {"--max-movies 1", 0},
        {"--max-frames 0", -1},
        {"--max-frames 1", 0},
        {"--pause-before-start 0", 0},
        {"--pause-before-start -1", -1},
        {"--pause-before-start abc", 0},
        {"--source practice", 0},
        {"--source usb", 0},
        {"--source USB", -1},
        {"--source --help", -1},
        {"--source", -1},
        {"--duration", -1},
        {"--pause-before-start", -1},
        {"--max-movies", -1},
        {"--max-frames", -1},
        {"--practice-dir", -1},
        {"--practice-dir --help", 0},
        {"-", -1},
        {"--AUTO-SETUP", -1},
        {"--auto-setup=1", -1},
        {"a b", -1},
        {"\"C:\\my rig\\settings.txt\"", -1},
        {"\"settings.txt\"", 0},
    };
    for (const auto& c : cases) {
        CommandLine parsed;
        EXPECT_EQ(parse_command_line(c.line, &parsed), c.expected) << c.line;
        EXPECT_EQ(parsed.help, c.expected == 1) << c.line;
    }
}

TEST(ParseCommandLine, AUsageErrorLeavesTheRecordAlone) {
    CommandLine parsed;
    parsed.duration = 77;
    EXPECT_EQ(parse_command_line("--duration 5 --bogus", &parsed), -1);
    EXPECT_EQ(parsed.duration, 77);
}

TEST(ParseCommandLine, QuotesArePartOfTheToken) {
    EXPECT_STREQ(parsed_ok("\"settings.txt\"").settings_file, "\"settings.txt\"");
}

TEST(ParseCommandLine, NumbersAreReadAsFarAsTheyGo) {
    EXPECT_EQ(parsed_ok("--duration 12s").duration, 12);
    EXPECT_EQ(parsed_ok("--duration +12").duration, 12);
    EXPECT_EQ(parsed_ok("--max-movies 99999999999999999999").max_movies, INT32_MAX);
    CommandLine parsed;
    EXPECT_EQ(parse_command_line("--max-movies -99999999999999999999", &parsed), -1);
}

TEST(ParseCommandLine, TheLastOfARepeatedOptionCounts) {
    EXPECT_EQ(parsed_ok("--duration 5 --duration 6").duration, 6);
    EXPECT_EQ(parsed_ok("--source usb --source practice").source, kSourcePractice);
}

TEST(ParseCommandLine, OnlyThirtyTwoTokensAreLookedAt) {
    std::string line;
    for (int i = 0; i < 15; ++i) line += "--duration 5 ";
    EXPECT_EQ(parsed_ok(line + "--duration 8 --bogus --help").duration, 8);
    CommandLine parsed;
    EXPECT_EQ(parse_command_line((line + "s.txt --duration 8").c_str(), &parsed), -1) << "its value is token 33";
    EXPECT_EQ(parse_command_line((line + "s.txt --help").c_str(), &parsed), 1) << "token 32 still counts";
}

TEST(ParseCommandLine, OnlyTheFirst1023BytesAreLookedAt) {
    EXPECT_EQ(parsed_ok(std::string(1023, ' ') + "--bogus").mode, kModeInteractive);
    CommandLine parsed;
    EXPECT_EQ(parse_command_line((std::string(1016, ' ') + "--bogus").c_str(), &parsed), -1);
    const std::string longest(1023, 'a');
    EXPECT_EQ(parsed_ok(longest + "b").settings_file, longest);
}

TEST(ParseCommandLine, APracticeDirectoryIsCutAt259Characters) {
    const std::string dir(300, 'd');
    EXPECT_EQ(parsed_ok("--practice-dir " + dir).practice_dir, dir.substr(0, 259));
}

TEST(UsageText, NamesEveryListedOptionAndKeepsQuietAboutThePracticeDirectory) {
    const std::string usage = usage_text();
    for (const char* part : {"Orvekline Controller\n",
                             "Usage:\n",
                             "Orvek.exe [settings_file] ",
                             "Interactive UI",
                             "Orvek.exe --help | -h ",
                             "Show this help",
                             "Orvek.exe --auto-setup [LIMITS] ",
                             "Run Auto Setup, save, exit",
                             "Orvek.exe --practice-test [LIMITS] ",
                             "Practice run with log+circles",
                             "Orvek.exe --capture-test [CAP_OPTS] ",
                             "File Capture panel headless, exit after duration",
                             "Limit options (apply to both --auto-setup and --practice-test):\n",
                             "--max-movies N   Exit after N movies produced\n",
                             "--max-frames M   Exit after M feed-1 frames processed\n",
                             "Capture-test options (--capture-test only):\n",
                             "--source {practice|usb} ",
                             "practice: spawn practice_player\n",
                             "usb: assume capture.exe is running\n",
                             "--duration SECS ",
                             "Record this long in seconds (default 30)\n",
                             "--pause-before-start SECS ",
                             "Delay Start click after panel open (default 0)\n",
                             "auto_setup_max_jumpers",
                             "auto_setup_max_frames",
                             "practice_max_jumpers",
                             "practice_max_frames",
                             "10 / 30000",
                             "Preview tab"})
        EXPECT_NE(usage.find(part), std::string::npos) << part;
    EXPECT_EQ(usage.find("--practice-dir"), std::string::npos);
    EXPECT_TRUE(usage.ends_with(".\n"));
}

TEST(RunNames, UnknownNumbersHaveANameToo) {
    EXPECT_STREQ(run_mode_name(kModeAutoSetup), "auto-setup");
    EXPECT_STREQ(run_mode_name(kModePracticeTest), "practice-test");
    EXPECT_STREQ(run_mode_name(kModeCaptureTest), "capture-test");
    EXPECT_STREQ(run_mode_name(4), "unknown");
    EXPECT_STREQ(capture_source_name(kSourceNone), "none");
    EXPECT_STREQ(capture_source_name(kSourcePractice), "practice");
    EXPECT_STREQ(capture_source_name(kSourceUsb), "usb");
}

TEST(ResolveLimits, TheCommandLineWinsOverTheSettingsAndTheseOverTheDefaults) {
    const LimitSettings settings = {.auto_setup_max_jumpers = 7,
                                    .auto_setup_max_frames = 700,
                                    .practice_max_jumpers = 9,
                                    .practice_max_frames = 900};
    const LimitSettings unset = {0, 0, -1, -1};
    const struct {
        const char* line;
        const LimitSettings& settings;
        int32_t movies, frames;
    } cases[] = {
        {"--auto-setup --max-movies 3", settings, 3, 700},
        {"--auto-setup", settings, 7, 700},
        {"--auto-setup", unset, 10, 30000},
        {"--auto-setup --max-frames 5", settings, 7, 5},
        {"", settings, 7, 700},
        {"", unset, 10, 30000},
        {"--practice-test", settings, 9, 900},
        {"--practice-test", unset, 10, 30000},
        {"--practice-test --max-movies 10 --max-frames 30000", settings, 10, 30000},
        {"--capture-test", settings, 10, 30000},
        {"--capture-test --max-movies 2", settings, 2, 30000},
    };
    for (const auto& c : cases) {
        const RunLimits limits = resolve_limits(parsed_ok(c.line), c.settings);
        EXPECT_EQ(limits.max_movies, c.movies) << c.line;
        EXPECT_EQ(limits.max_frames, c.frames) << c.line;
    }
}
