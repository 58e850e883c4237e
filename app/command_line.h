// What the operator, or a script, asked for on the command line. The program receives one string rather than an
// argument vector and splits it at blanks and tabs; quotes mean nothing, as it has always been.
#pragma once

#include <cstdint>

inline constexpr int32_t kDefaultMaxMovies = 10;
inline constexpr int32_t kDefaultMaxFrames = 30000;
inline constexpr int32_t kCommandLineSize = 1024;  // bytes looked at, the terminating NUL included
inline constexpr int32_t kCommandLineTokens = 32;  // tokens looked at

enum RunMode : uint32_t { kModeInteractive = 0, kModeAutoSetup = 1, kModePracticeTest = 2, kModeCaptureTest = 3 };
enum CaptureSource : uint32_t { kSourceNone = 0, kSourcePractice = 1, kSourceUsb = 2 };

struct CommandLine {
    uint32_t mode = kModeInteractive;  // RunMode
    int32_t max_movies = kDefaultMaxMovies;
    int32_t max_frames = kDefaultMaxFrames;
    bool max_movies_given = false;  // given here: settings.txt has no say
    bool max_frames_given = false;
    bool help = false;
    char settings_file[kCommandLineSize] = "";  // the one argument that is no option; empty when none
    char practice_dir[260] = "";
    uint32_t source = kSourceNone;   // CaptureSource
    int32_t duration = 30;           // seconds a capture test records
    int32_t pause_before_start = 0;  // seconds a capture test waits before its Start click
};

// Returns 1 when help was asked for before anything wrong was met (only `help` and what stood before it are set), 0
// for success, -1 for a usage error (`*parsed` untouched). A null or empty line is a success with the defaults.
int32_t parse_command_line(const char* line, CommandLine* parsed);

// The text shown for help and for usage errors, lines joined by \n, the last one ended.
const char* usage_text();

// "auto-setup", "practice-test", "capture-test", else "unknown".
const char* run_mode_name(uint32_t mode);

// "practice", "usb", else "none".
const char* capture_source_name(uint32_t source);

// What settings.txt says about the limits of unattended runs; 0 or less: nothing.
struct LimitSettings {
    int32_t auto_setup_max_jumpers, auto_setup_max_frames;
    int32_t practice_max_jumpers, practice_max_frames;
};

struct RunLimits {
    int32_t max_movies, max_frames;
};

// The limits of this run: the command line before the settings before the defaults. The settings' pair for Auto Setup
// also serves the interactive program, whose Auto Setup button needs limits too.
RunLimits resolve_limits(const CommandLine& parsed, const LimitSettings& settings);
