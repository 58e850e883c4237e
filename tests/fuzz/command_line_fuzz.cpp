// Any command line: the parser keeps its promises about limits, and what it took reads back the same.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "app/command_line.h"

static void require(bool condition) {
    if (!condition) abort();
}

// The record as a command line again.
static std::string spelled(const CommandLine& parsed) {
    std::string line;
    if (parsed.mode != kModeInteractive) line += std::string("--") + run_mode_name(parsed.mode);
    if (parsed.source != kSourceNone) line += std::string(" --source ") + capture_source_name(parsed.source);
    line += " --duration " + std::to_string(parsed.duration);
    line += " --pause-before-start " + std::to_string(parsed.pause_before_start);
    if (parsed.max_movies_given) line += " --max-movies " + std::to_string(parsed.max_movies);
    if (parsed.max_frames_given) line += " --max-frames " + std::to_string(parsed.max_frames);
    if (parsed.practice_dir[0] != '\0') line += std::string(" --practice-dir ") + parsed.practice_dir;
    if (parsed.settings_file[0] != '\0') line += std::string(" ") + parsed.settings_file;
    return line;
}

static void require_promises(const CommandLine& parsed) {
    require(parsed.mode <= kModeCaptureTest && parsed.source <= kSourceUsb);
    require(parsed.max_movies >= 1 && parsed.max_frames >= 1 && parsed.duration >= 1);
    require(parsed.pause_before_start >= 0);
    require(parsed.max_movies_given || parsed.max_movies == kDefaultMaxMovies);
    require(parsed.max_frames_given || parsed.max_frames == kDefaultMaxFrames);
    require(memchr(parsed.settings_file, '\0', sizeof parsed.settings_file) != nullptr);
    require(memchr(parsed.practice_dir, '\0', sizeof parsed.practice_dir) != nullptr);
    require(parsed.settings_file[0] != '-' && strpbrk(parsed.settings_file, " \t") == nullptr);
    require(strpbrk(parsed.practice_dir, " \t") == nullptr);
    const RunLimits limits = resolve_limits(parsed, {0, -1, 0, -1});
    require(limits.max_movies == parsed.max_movies && limits.max_frames == parsed.max_frames);
}

static void require_reads_back(const CommandLine& parsed) {
    const std::string line = spelled(parsed);
    if (line.size() >= kCommandLineSize) return;
    CommandLine again;
    require(parse_command_line(line.c_str(), &again) == 0);
    require(again.mode == parsed.mode && again.source == parsed.source && again.duration == parsed.duration);
    require(again.pause_before_start == parsed.pause_before_start);
    require(again.max_movies == parsed.max_movies && again.max_movies_given == parsed.max_movies_given);
    require(again.max_frames == parsed.max_frames && again.max_frames_given == parsed.max_frames_given);
    require(strcmp(again.settings_file, parsed.settings_file) == 0);
    require(strcmp(again.practice_dir, parsed.practice_dir) == 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string line(reinterpret_cast<const char*>(data), size);
    CommandLine parsed;
    parsed.duration = 12345;
    const int32_t status = parse_command_line(line.c_str(), &parsed);
    require(status >= -1 && status <= 1);
    if (status == -1) require(parsed.duration == 12345);
    if (status == 1) require(parsed.help);
    if (status == 0) {
        require(!parsed.help);
        require_promises(parsed);
        require_reads_back(parsed);
    }
    return 0;
}
