#include "tests/support/log_capture.h"

#include <algorithm>
#include <sstream>

#include "app/log.h"

static constexpr char kFileName[] = "captured.log";
static constexpr char kPrefix[] = " [test]";

LogCapture::LogCapture() {
    log_close();
    log_open("test", -1, dir_.file(kFileName).c_str());
}

LogCapture::~LogCapture() {
    log_close();  // before the directory goes: Windows deletes no open file
}

// "14:03:07.123 INF [test] text" becomes "INF text".
static std::string without_time_and_prefix(std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const size_t tag = line.find(' ');
    const size_t prefix = line.find(kPrefix);
    if (tag == std::string::npos || prefix == std::string::npos) return line;
    line.erase(prefix, sizeof kPrefix - 1);
    return line.substr(tag + 1);
}

std::vector<std::string> LogCapture::lines() const {
    std::vector<std::string> result;
    std::istringstream stream(read_whole_file(dir_.file(kFileName)));
    for (std::string line; std::getline(stream, line);) result.push_back(without_time_and_prefix(line));
    return result;
}

std::vector<std::string> LogCapture::take() {
    std::vector<std::string> all = lines();
    all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(std::min(taken_, all.size())));
    taken_ += all.size();
    return all;
}

int LogCapture::count(const std::string& line) const {
    const std::vector<std::string> all = lines();
    return static_cast<int>(std::count(all.begin(), all.end(), line));
}
