#include "procs/capture_panel_view.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Case {
    CaptureButtonState state;
    CaptureColour fill, text_colour;
    const char* text;
    int32_t focus_inset;
};

constexpr CaptureColour kWhite = {255, 255, 255}, kDark = {30, 30, 30};
constexpr char kCapturing[] = "Capturing... Click to Pause", kPaused[] = "Paused... Click to Capture";

}  // namespace

TEST(CaptureButton, IsRedWhileCapturingGreyWhilePausedAndDarkerWhilePressed) {
    constexpr Case kCases[] = {
        {{true, false, false}, {200, 40, 40}, kWhite, kCapturing, 0},
        {{true, true, false}, {160, 32, 32}, kWhite, kCapturing, 0},
        {{true, false, true}, {200, 40, 40}, kWhite, kCapturing, 3},
        {{true, true, true}, {160, 32, 32}, kWhite, kCapturing, 3},
        {{false, false, false}, {180, 180, 180}, kDark, kPaused, 0},
        {{false, true, false}, {144, 144, 144}, kDark, kPaused, 0},
        {{false, false, true}, {180, 180, 180}, kDark, kPaused, 3},
        {{false, true, true}, {144, 144, 144}, kDark, kPaused, 3},
    };
    for (const Case& each : kCases) {
        const CaptureButtonLook look = capture_button_look(each.state);
        const std::string name = std::string(each.state.capturing ? "capturing" : "paused") +
                                 (each.state.pressed ? " pressed" : "") + (each.state.focused ? " focused" : "");
        EXPECT_TRUE(look.fill == each.fill) << name;
        EXPECT_TRUE(look.text_colour == each.text_colour) << name;
        EXPECT_STREQ(look.text, each.text) << name;
        EXPECT_EQ(look.focus_inset, each.focus_inset) << name;
    }
}

TEST(CapturePanelPosition, IsKnownOnlyWhenBothNumbersAre) {
    int32_t x = -1;
    int32_t y = -1;
    for (const auto& [x_text, y_text] :
         {std::pair{"", ""}, {"12", ""}, {"", "12"}, {"12", "left"}, {"1.5", "12"}, {"99999999999", "1"}}) {
        EXPECT_FALSE(capture_panel_position(x_text, y_text, &x, &y)) << x_text << "," << y_text;
        EXPECT_EQ(x, -1);
        EXPECT_EQ(y, -1);
    }
    EXPECT_TRUE(capture_panel_position("-1200", "0", &x, &y));
    EXPECT_EQ(x, -1200);
    EXPECT_EQ(y, 0);
}
