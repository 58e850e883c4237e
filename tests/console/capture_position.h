// Where the File Capture panel keeps its position: in the system's place for profile files, which all tests share.
#pragma once

#include <windows.h>

#include <string>

inline constexpr char kCapturePositionFile[] = "capture_panel.ini";

inline void forget_capture_position() {
    WritePrivateProfileStringA("window", nullptr, nullptr, kCapturePositionFile);
    WritePrivateProfileStringA(nullptr, nullptr, nullptr, kCapturePositionFile);  // and out of the system's cache
}

// "x" or "y"; empty when nothing is kept.
inline std::string capture_position(const char* key) {
    char text[32] = "";
    WritePrivateProfileStringA(nullptr, nullptr, nullptr, kCapturePositionFile);  // read the file anew
    GetPrivateProfileStringA("window", key, "", text, sizeof text, kCapturePositionFile);
    return text;
}

// Null leaves a key out.
inline void write_capture_position(const char* x, const char* y) {
    if (x) WritePrivateProfileStringA("window", "x", x, kCapturePositionFile);
    if (y) WritePrivateProfileStringA("window", "y", y, kCapturePositionFile);
    WritePrivateProfileStringA(nullptr, nullptr, nullptr, kCapturePositionFile);
}
