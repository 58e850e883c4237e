// What the code under test wrote to the log. The holder opens the log on a temporary file and closes it at its end;
// one at a time, since the log is one per process.
#pragma once

#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Every line so far without time and prefix: "INF text", "WRN text", "ERR text".
    std::vector<std::string> lines() const;

    // The lines since the last call of take().
    std::vector<std::string> take();

    int count(const std::string& line) const;
    bool has(const std::string& line) const {
        return count(line) > 0;
    }

private:
    TempDir dir_;
    size_t taken_ = 0;
};
