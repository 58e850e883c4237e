#include "rig/camera.h"

#include <cstring>

#include "rig/common/scene.h"

namespace {

constexpr SimulatedCamera kCameras[kSimulatedCameras] = {
    {"Simulated camera, top of the hill", "\\\\?\\usb#vid_0000&pid_0001#sim-top#{simulated}\\global"},
    {"Simulated camera, middle of the hill", "\\\\?\\usb#vid_0000&pid_0002#sim-middle#{simulated}\\global"},
    {"Simulated camera, bottom of the hill", "\\\\?\\usb#vid_0000&pid_0003#sim-bottom#{simulated}\\global"},
};

constexpr int32_t kDigitColumns = 5, kDigitRows = 7;
constexpr uint8_t kDigits[kSimulatedCameras][kDigitRows] = {
    // a row's leftmost column is bit 4
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E},
    {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F},
};
constexpr int32_t kDot = 8;    // pixels of the picture per dot of a digit
constexpr int32_t kFrame = 8;  // plate around the digit
constexpr int32_t kMargin = 16;
constexpr int32_t kPlateWidth = kDigitColumns * kDot + 2 * kFrame;
constexpr int32_t kPlateHeight = kDigitRows * kDot + 2 * kFrame;
constexpr uint8_t kDigitLuma = 235;
struct PlateColour {
    uint8_t y, u, v;
};
constexpr PlateColour kPlates[kSimulatedCameras] = {
    {70, 100, 200}, {70, 90, 70}, {60, 200, 110}};  // red, green, blue

}  // namespace

const SimulatedCamera& simulated_camera(int32_t camera) {
    return kCameras[camera];
}

std::string camera_listing() {
    std::string text = "# number\tname\tdevice path\n";
    for (int32_t i = 0; i < kSimulatedCameras; ++i)
        text += std::to_string(i) + "\t" + kCameras[i].name + "\t" + kCameras[i].path + "\n";
    return text;
}

static char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

static bool same_path(const char* a, const char* b) {
    while (*a != '\0' && lower(*a) == lower(*b)) {
        ++a;
        ++b;
    }
    return *a == '\0' && *b == '\0';
}

int32_t camera_of_path(const char* device_path, int32_t feed) {
    if (device_path == nullptr) return feed;
    for (int32_t i = 0; i < kSimulatedCameras; ++i)
        if (same_path(device_path, kCameras[i].path)) return i;
    return -1;
}

static bool digit_covers(int32_t camera, int32_t column, int32_t row) {
    const int32_t x = column - kFrame;
    const int32_t y = row - kFrame;
    if (x < 0 || x >= kDigitColumns * kDot || y < 0 || y >= kDigitRows * kDot) return false;
    return (kDigits[camera][y / kDot] >> (kDigitColumns - 1 - x / kDot) & 1) != 0;
}

void draw_camera_number(int32_t camera, int32_t rows, uint8_t* y, uint8_t* u, uint8_t* v) {
    const PlateColour& plate = kPlates[camera];
    const int32_t top = rows - kMargin - kPlateHeight;
    for (int32_t row = 0; row < kPlateHeight; ++row) {
        uint8_t* const line = y + static_cast<size_t>(top + row) * kSceneWidth + kMargin;
        for (int32_t column = 0; column < kPlateWidth; ++column)
            line[column] = digit_covers(camera, column, row) ? kDigitLuma : plate.y;
    }
    for (int32_t row = 0; row < kPlateHeight / 2; ++row) {
        const size_t at = static_cast<size_t>(top / 2 + row) * (kSceneWidth / 2) + kMargin / 2;
        memset(u + at, plate.u, kPlateWidth / 2);
        memset(v + at, plate.v, kPlateWidth / 2);
    }
}
