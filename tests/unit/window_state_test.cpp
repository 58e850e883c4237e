#include "app/window_state.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

static WindowState parsed(const std::string& text) {
    WindowState state;
    window_state_parse(text.data(), text.size(), &state);
    return state;
}

TEST(WindowState, AMissingFileLeavesTheDefaultsNotLoaded) {
    const TempDir dir;
    WindowState state = {.x = 5, .width = 1, .loaded = true};
    EXPECT_EQ(window_state_load(dir.file("none.ini").c_str(), &state), -1);
    EXPECT_FALSE(state.loaded);
    EXPECT_EQ(state.x, 0);
    EXPECT_EQ(state.y, 0);
    EXPECT_EQ(state.width, 1600);
    EXPECT_EQ(state.height, 900);
    EXPECT_EQ(state.maximized, 0);
    EXPECT_EQ(state.preview_panel_width, 700);
    EXPECT_EQ(state.jumper_panel_width, 280);
}

TEST(WindowState, AnEmptyFileCountsAsLoaded) {
    const TempDir dir;
    write_whole_file(dir.file("w.ini"), "");
    WindowState state;
    EXPECT_EQ(window_state_load(dir.file("w.ini").c_str(), &state), 0);
    EXPECT_TRUE(state.loaded);
    EXPECT_EQ(state.width, 1600);
}

TEST(WindowState, ATooSmallSizeBecomesTheDefaultAndTheBoundItselfStays) {
    const struct {
        const char* key;
        int32_t WindowState::*field;
        int32_t bound, fallback;
    } cases[] = {{"width", &WindowState::width, 400, 1600},
                 {"height", &WindowState::height, 300, 900},
                 {"preview_panel_width", &WindowState::preview_panel_width, 200, 700},
                 {"jumper_panel_width", &WindowState::jumper_panel_width, 100, 280}};
    for (const auto& c : cases) {
        const std::string key = c.key;
        EXPECT_EQ(parsed(key + "=" + std::to_string(c.bound) + "\n").*c.field, c.bound) << key;
        EXPECT_EQ(parsed(key + "=" + std::to_string(c.bound - 1) + "\n").*c.field, c.fallback) << key;
        EXPECT_EQ(parsed(key + "=-1\n").*c.field, c.fallback) << key;
    }
    EXPECT_EQ(parsed("width=300\n").width, 1600);
    EXPECT_EQ(parsed("jumper_panel_width=50\n").jumper_panel_width, 280);
}

TEST(WindowState, PositionAndMaximizedHaveNoBound) {
    const WindowState state = parsed("x=-3000\ny=-20\nmaximized=-1\n");
    EXPECT_EQ(state.x, -3000);
    EXPECT_EQ(state.y, -20);
    EXPECT_EQ(state.maximized, -1);
}

TEST(WindowState, LinesThatMeanNothingAreSkipped) {
    const WindowState state = parsed(
        "# x=1\n\n\r\n=4\nx\nx =2\n x=3\nX=4\ny=\ny=abc\nunknown=7\nwidth=  640abc\nheight=+480\n"
        "maximized=1");
    EXPECT_EQ(state.x, 0);
    EXPECT_EQ(state.y, 0);
    EXPECT_EQ(state.width, 640);
    EXPECT_EQ(state.height, 480);
    EXPECT_EQ(state.maximized, 1);
}

TEST(WindowState, LineEndsOfEitherSystemAreRead) {
    const WindowState state = parsed("x=1\r\ny=2\r\nwidth=500\r\n");
    EXPECT_EQ(state.x, 1);
    EXPECT_EQ(state.y, 2);
    EXPECT_EQ(state.width, 500);
}

TEST(WindowState, TheLastOfARepeatedKeyCounts) {
    EXPECT_EQ(parsed("x=1\nx=2\n").x, 2);
    EXPECT_EQ(parsed("width=500\nwidth=10\n").width, 1600) << "bounds come after the last line";
}

TEST(WindowState, ANumberBeyondTheTypeStaysAtItsEnd) {
    EXPECT_EQ(parsed("x=99999999999999999999\n").x, INT32_MAX);
    EXPECT_EQ(parsed("x=-2147483649\n").x, INT32_MIN);
}

TEST(WindowState, TheRestOfAnOverlongLineCountsAsALine) {
    EXPECT_EQ(parsed("#" + std::string(126, '-') + "x=5\n").x, 5);
    EXPECT_EQ(parsed("#" + std::string(125, '-') + "x=5\n").x, 0) << "the piece starts inside the key";
    EXPECT_EQ(parsed(std::string(64, 'k') + "=1\nx=6\n").x, 6);
}

TEST(WindowState, ANulEndsItsLine) {
    EXPECT_EQ(parsed(std::string("x=1\0x=2\ny=3\n", 12)).x, 1);
    EXPECT_EQ(parsed(std::string("x=1\0x=2\ny=3\n", 12)).y, 3);
}

TEST(WindowState, TheFileIsAHeaderAndSevenKeysInOrder) {
    const WindowState state = {-8, 20, 1280, 720, 1, 640, 280, false};
    std::string text;
    window_state_format(&state, &text);
    EXPECT_EQ(text,
              "# Orvekline controller window state\nx=-8\ny=20\nwidth=1280\nheight=720\nmaximized=1\n"
              "preview_panel_width=640\njumper_panel_width=280\n");
}

TEST(WindowState, WhatWasSavedIsLoaded) {
    const TempDir dir;
    const std::string path = dir.file("controller_window.ini");
    const WindowState saved = {-8, 20, 1280, 720, 1, 640, 281, false};
    for (int round = 1; round <= 2; ++round) ASSERT_EQ(window_state_save(path.c_str(), &saved), 0) << round;
    EXPECT_FALSE(file_exists(path + ".tmp"));
    WindowState state;
    ASSERT_EQ(window_state_load(path.c_str(), &state), 0);
    EXPECT_TRUE(state.loaded);
    EXPECT_EQ(state.x, -8);
    EXPECT_EQ(state.y, 20);
    EXPECT_EQ(state.width, 1280);
    EXPECT_EQ(state.height, 720);
    EXPECT_EQ(state.maximized, 1);
    EXPECT_EQ(state.preview_panel_width, 640);
    EXPECT_EQ(state.jumper_panel_width, 281);
}

TEST(WindowState, ASaveThatFailsSaysSoInOneLine) {
    const TempDir dir;
    LogCapture log;
    const WindowState state;
    EXPECT_EQ(window_state_save(dir.file("no such folder/w.ini").c_str(), &state), -1);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find("window state: "), std::string::npos) << log.lines()[0];
}
