// What the File Capture panel looks like and says: everything about it that is decided without a window.
#pragma once

#include <cstdint>

inline constexpr int32_t kCapturePanelToggle = 1100;
inline constexpr int32_t kCapturePanelExit = 1101;

inline constexpr int32_t kCapturePanelWidth = 300;
inline constexpr int32_t kCapturePanelHeight = 140;

struct CapturePanelPlace {
    int32_t x, y, width, height;  // in the panel's client area
};
inline constexpr CapturePanelPlace kCaptureTogglePlace = {10, 10, 264, 50};
inline constexpr CapturePanelPlace kCaptureExitPlace = {10, 68, 264, 26};

struct CaptureColour {
    uint8_t red, green, blue;
    bool operator==(const CaptureColour&) const = default;
};

struct CaptureButtonState {
    bool capturing, pressed, focused;
};

struct CaptureButtonLook {
    CaptureColour fill;
    CaptureColour text_colour;
    const char* text;     // ASCII
    int32_t focus_inset;  // of the focus rectangle from the button's edges; 0: none is drawn
};

// The toggle says what is going on and what a click would do.
CaptureButtonLook capture_button_look(const CaptureButtonState& state);

// The panel's saved corner from its two texts. False, `x` and `y` untouched, unless both are whole numbers: half a
// position is none.
bool capture_panel_position(const char* x_text, const char* y_text, int32_t* x, int32_t* y);
