#include "app/command_line.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr char kUsage[] =
    "Orvekline Controller\n"
    "\n"
    "Usage:\n"
    "  Orvek.exe [settings_file]            Interactive UI\n"
    "  Orvek.exe --help | -h                Show this help\n"
    "  Orvek.exe --auto-setup [LIMITS]      Run Auto Setup, save, exit\n"
    "  Orvek.exe --practice-test [LIMITS]   Practice run with log+circles\n"
    "  Orvek.exe --capture-test [CAP_OPTS]  File Capture panel headless, exit after duration\n"
    "\n"
    "Limit options (apply to both --auto-setup and --practice-test):\n"
    "  --max-movies N   Exit after N movies produced\n"
    "  --max-frames M   Exit after M feed-1 frames processed\n"
    "\n"
    "Capture-test options (--capture-test only):\n"
    "  --source {practice|usb}    practice: spawn practice_player\n"
    "                             usb: assume capture.exe is running\n"
    "  --duration SECS            Record this long in seconds (default 30)\n"
    "  --pause-before-start SECS  Delay Start click after panel open (default 0)\n"
    "\n"
    "Without explicit limits the monitor uses auto_setup_max_jumpers /\n"
    "auto_setup_max_frames for --auto-setup and practice_max_jumpers /\n"
    "practice_max_frames for --practice-test. Explicit CLI arguments always\n"
    "override settings.txt. Falls back to 10 / 30000 if neither the command line\n"
    "nor the settings provide a value.\n"
    "\n"
    "Practice mode launched from the Preview tab enforces no limit and runs until\n"
    "Stop or end of the practice video. CLI modes reuse the operator's\n"
    "button-press chain and, on completion, terminate child processes and flush\n"
    "logs before exiting.\n";

struct Tokens {
    char text[kCommandLineSize];  // the line, cut into tokens by NULs
    const char* token[kCommandLineTokens];
    int32_t count;
};

struct ModeOption {
    const char* option;
    RunMode mode;
    const char* name;
};
constexpr ModeOption kModes[] = {{"--auto-setup", kModeAutoSetup, "auto-setup"},
                                 {"--practice-test", kModePracticeTest, "practice-test"},
                                 {"--capture-test", kModeCaptureTest, "capture-test"}};

struct NumberOption {
    const char* option;
    int32_t least;
    int32_t CommandLine::*value;
    bool CommandLine::*given;  // null where nobody asks
};
constexpr NumberOption kNumbers[] = {
    {"--duration", 1, &CommandLine::duration, nullptr},
    {"--pause-before-start", 0, &CommandLine::pause_before_start, nullptr},
    {"--max-movies", 1, &CommandLine::max_movies, &CommandLine::max_movies_given},
    {"--max-frames", 1, &CommandLine::max_frames, &CommandLine::max_frames_given},
};

}  // namespace

static void split(const char* line, Tokens* tokens) {
    snprintf(tokens->text, sizeof tokens->text, "%s", line);
    tokens->count = 0;
    for (char* at = tokens->text; tokens->count < kCommandLineTokens;) {
        at += strspn(at, " \t");
        if (*at == '\0') return;
        tokens->token[tokens->count++] = at;
        at += strcspn(at, " \t");
        if (*at == '\0') return;
        *at++ = '\0';
    }
}

// As atoi, but a number beyond the type stays at its end instead of becoming another one.
static int32_t leading_number(const char* text) {
    const long long value = strtoll(text, nullptr, 10);
    if (value > INT32_MAX) return INT32_MAX;
    return value < INT32_MIN ? INT32_MIN : static_cast<int32_t>(value);
}

static bool set_mode(const ModeOption& option, CommandLine* parsed) {
    if (parsed->mode != kModeInteractive) return false;  // two modes never combine
    parsed->mode = option.mode;
    return true;
}

static bool set_source(std::string_view value, CommandLine* parsed) {
    if (value == "practice") {
        parsed->source = kSourcePractice;
    } else if (value == "usb") {
        parsed->source = kSourceUsb;
    } else {
        return false;
    }
    return true;
}

static bool set_number(const NumberOption& option, const char* value, CommandLine* parsed) {
    const int32_t number = leading_number(value);
    if (number < option.least) return false;
    parsed->*option.value = number;
    if (option.given) parsed->*option.given = true;
    return true;
}

static bool set_positional(const char* token, CommandLine* parsed) {
    if (token[0] == '-' || parsed->settings_file[0] != '\0') return false;
    snprintf(parsed->settings_file, sizeof parsed->settings_file, "%s", token);
    return true;
}

// Takes the token, and with it `value` (null when the token stands last) if it is an option with one. Returns how
// many tokens were taken, 0 for a usage error. An option that lacks its value falls through to the positional rule,
// which refuses it for its dash.
static int32_t take_option(const char* token, const char* value, CommandLine* parsed) {
    const std::string_view option(token);
    for (const ModeOption& mode : kModes)
        if (option == mode.option) return set_mode(mode, parsed) ? 1 : 0;
    if (value) {
        if (option == "--source") return set_source(value, parsed) ? 2 : 0;
        for (const NumberOption& number : kNumbers)
            if (option == number.option) return set_number(number, value, parsed) ? 2 : 0;
        if (option == "--practice-dir") {
            snprintf(parsed->practice_dir, sizeof parsed->practice_dir, "%s", value);
            return 2;
        }
    }
    return set_positional(token, parsed) ? 1 : 0;
}

int32_t parse_command_line(const char* line, CommandLine* parsed) {
    CommandLine result;
    Tokens tokens = {};
    split(line ? line : "", &tokens);
    for (int32_t i = 0; i < tokens.count;) {
        const std::string_view token(tokens.token[i]);
        if (token == "--help" || token == "-h") {
            result.help = true;
            *parsed = result;
            return 1;
        }
        const char* const value = i + 1 < tokens.count ? tokens.token[i + 1] : nullptr;
        const int32_t taken = take_option(tokens.token[i], value, &result);
        if (taken == 0) return -1;
        i += taken;
    }
    *parsed = result;
    return 0;
}

const char* usage_text() {
    return kUsage;
}

const char* run_mode_name(uint32_t mode) {
    for (const ModeOption& entry : kModes)
        if (mode == entry.mode) return entry.name;
    return "unknown";
}

const char* capture_source_name(uint32_t source) {
    if (source == kSourcePractice) return "practice";
    return source == kSourceUsb ? "usb" : "none";
}

static int32_t resolve_limit(uint32_t mode, bool given, int32_t value, int32_t auto_setup, int32_t practice) {
    if (given) return value;
    if ((mode == kModeInteractive || mode == kModeAutoSetup) && auto_setup > 0) return auto_setup;
    if (mode == kModePracticeTest && practice > 0) return practice;
    return value;
}

RunLimits resolve_limits(const CommandLine& parsed, const LimitSettings& settings) {
    return {resolve_limit(parsed.mode, parsed.max_movies_given, parsed.max_movies, settings.auto_setup_max_jumpers,
                          settings.practice_max_jumpers),
            resolve_limit(parsed.mode, parsed.max_frames_given, parsed.max_frames, settings.auto_setup_max_frames,
                          settings.practice_max_frames)};
}
