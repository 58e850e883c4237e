// A directory of its own for a test that writes files; gone with everything in it when the holder goes.
#pragma once

#include <string>
#include <string_view>

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const {
        return path_;
    }
    // path() + separator + name, ready for fopen.
    std::string file(std::string_view name) const;

private:
    std::string path_;
};

// The file's bytes, "" when it cannot be read.
std::string read_whole_file(const std::string& path);

// Creates or replaces the file. A failure fails the running test.
void write_whole_file(const std::string& path, std::string_view bytes);

bool file_exists(const std::string& path);
