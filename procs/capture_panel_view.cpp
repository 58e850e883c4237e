#include "procs/capture_panel_view.h"

#include "settings/text_numbers.h"

namespace {

constexpr int32_t kFocusInset = 3;

// Pressed, a button darkens to four fifths.
constexpr CaptureColour kRed = {200, 40, 40};
constexpr CaptureColour kRedPressed = {160, 32, 32};
constexpr CaptureColour kGrey = {180, 180, 180};
constexpr CaptureColour kGreyPressed = {144, 144, 144};
constexpr CaptureColour kWhite = {255, 255, 255};
constexpr CaptureColour kDarkGrey = {30, 30, 30};

}  // namespace

CaptureButtonLook capture_button_look(const CaptureButtonState& state) {
    const int32_t inset = state.focused ? kFocusInset : 0;
    if (state.capturing) return {state.pressed ? kRedPressed : kRed, kWhite, "Capturing... Click to Pause", inset};
    return {state.pressed ? kGreyPressed : kGrey, kDarkGrey, "Paused... Click to Capture", inset};
}

bool capture_panel_position(const char* x_text, const char* y_text, int32_t* x, int32_t* y) {
    if (!text_is_int(x_text) || !text_is_int(y_text)) return false;
    *x = text_to_int(x_text);
    *y = text_to_int(y_text);
    return true;
}
