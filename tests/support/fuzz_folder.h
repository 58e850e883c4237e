// What the fuzz targets over files need: a folder of their own in memory, and a log that costs no terminal.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

class FuzzFolder {
public:
    FuzzFolder() {
        char path[] = "/dev/shm/orvek_fuzz_XXXXXX";
        if (!mkdtemp(path)) abort();
        path_ = path;
    }
    ~FuzzFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    FuzzFolder(const FuzzFolder&) = delete;
    FuzzFolder& operator=(const FuzzFolder&) = delete;
    const std::string& path() const {
        return path_;
    }

private:
    std::string path_;
};

// The folder's path; it lives as long as the program.
inline const std::string& fuzz_folder() {
    static const FuzzFolder folder;
    return folder.path();
}

inline void fuzz_write_motion_log(int feed, std::string_view bytes) {
    const std::string path = fuzz_folder() + "/motion_debug_" + std::to_string(feed) + ".log";
    FILE* file = fopen(path.c_str(), "wb");
    if (!file || fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) abort();
    fclose(file);
}

// The diagnostic log's lines go nowhere; the fuzzer's own reports and the sanitizers' do not pass through this
// stream.
inline void fuzz_mute_log() {
    FILE* nowhere = fopen("/dev/null", "w");
    if (nowhere) stderr = nowhere;
}

inline void fuzz_require(bool condition) {
    if (!condition) abort();
}
