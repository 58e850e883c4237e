// A log is read while its writer goes on, whatever that writer keeps open.
#include "autosetup/log_file.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "tests/support/temp_dir.h"

static std::string read_all(intptr_t file) {
    char bytes[64];
    return {bytes, log_file_read(file, bytes, sizeof bytes)};
}

TEST(LogFile, AWriterMayWriteRenameAndDeleteWhileItIsRead) {
    const TempDir dir;
    const std::string path = dir.file("motion_debug_1.log");
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    HANDLE const writer = CreateFileA(path.c_str(), GENERIC_WRITE | DELETE, kShareAll, nullptr, CREATE_ALWAYS,
                                      FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(writer, "one\n", 4, &written, nullptr));
    const intptr_t log = log_file_open(path.c_str());
    ASSERT_NE(log, kNoLogFile);
    EXPECT_EQ(read_all(log), "one\n");
    EXPECT_EQ(read_all(log), "");
    EXPECT_TRUE(WriteFile(writer, "two\n", 4, &written, nullptr));
    EXPECT_EQ(read_all(log), "two\n");
    log_file_close(log);
    CloseHandle(writer);
}

TEST(LogFile, AMissingFileAndADirectoryAreNotOpened) {
    const TempDir dir;
    EXPECT_EQ(log_file_open(dir.file("none.log").c_str()), kNoLogFile);
    EXPECT_EQ(log_file_open(dir.path().c_str()), kNoLogFile);
}
