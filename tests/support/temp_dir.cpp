#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <random>

TempDir::TempDir() {
    const auto base = std::filesystem::temp_directory_path();
    std::random_device random;
    std::error_code error;
    for (int attempt = 0; attempt < 16; ++attempt) {
        const auto candidate = base / ("orvek_test_" + std::to_string(random()) + std::to_string(random()));
        if (!std::filesystem::create_directory(candidate, error)) continue;
        path_ = candidate.string();
        return;
    }
    ADD_FAILURE() << "no temporary directory below " << base.string() << ": " << error.message();
}

TempDir::~TempDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::file(std::string_view name) const {
    return (std::filesystem::path(path_) / name).string();
}

std::string read_whole_file(const std::string& path) {
    std::string bytes;
    FILE* file = fopen(path.c_str(), "rb");
    if (!file) return bytes;
    char chunk[4096];
    for (size_t got = fread(chunk, 1, sizeof chunk, file); got > 0; got = fread(chunk, 1, sizeof chunk, file))
        bytes.append(chunk, got);
    fclose(file);
    return bytes;
}

void write_whole_file(const std::string& path, std::string_view bytes) {
    FILE* file = fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr) << path;
    const size_t written = fwrite(bytes.data(), 1, bytes.size(), file);
    EXPECT_EQ(fclose(file), 0) << path;
    EXPECT_EQ(written, bytes.size()) << path;
}

bool file_exists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}
