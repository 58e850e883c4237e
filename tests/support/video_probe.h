// What a test asks of a recorded video: is the file whole, how many pictures are in it and how long do they last, and
// what is on them. ffprobe.exe and ffmpeg.exe answer, which setup fetches; they are looked for beside the test
// program, then where setup puts them, then on the PATH.
#pragma once

#ifdef _WIN32

#include <cstdint>
#include <string>
#include <vector>

// Full path of "ffprobe.exe" or "ffmpeg.exe", empty when there is none. A test without its tool skips, saying so.
std::string find_video_tool(const char* name);

struct VideoFacts {
    bool whole;              // every picture could be decoded, none is missing, and ffprobe had nothing to say
    std::string complaints;  // what ffprobe said, or why it could not be asked
    std::string codec;       // "h264"
    std::string rate;        // "60/1"; the average over the file, so that one odd gap shows
    int32_t width, height;
    int64_t frames;  // decoded, one by one
    double seconds;  // duration the file claims
};

VideoFacts probe_video(const std::string& path);

// Every picture's brightness, averaged over `columns` x `rows` equal fields, row by row: enough to read a pattern
// back that the compression has blurred. Empty when the file cannot be decoded.
std::vector<std::vector<uint8_t>> video_brightness(const std::string& path, int32_t columns, int32_t rows);

// The names in `folder` (no separator at its end) that end in `ending`, as full paths in alphabetical order.
std::vector<std::string> files_in_folder(const std::string& folder, const std::string& ending);

#endif
