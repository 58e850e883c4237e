// A process that saves without pause is killed at random moments, some hundred times. The windows build has the same
// test with a process of its own, in tests/windows.
#ifndef _WIN32

#include <csignal>
#include <random>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/settings_marker.h"
#include "tests/support/temp_dir.h"

// The child says nothing: its log lines would drown everything else.
static pid_t start_saving(const char* path, int32_t first) {
    const pid_t child = fork();
    if (child != 0) return child;
    const int null_device = open("/dev/null", O_WRONLY);
    dup2(null_device, STDERR_FILENO);
    save_markers_for_ever(path, first);
}

TEST(KilledWhileSaving, BothFilesAreWholeAfterEveryOneOf300Kills) {
    TempDir dir;
    const std::string path = dir.file("settings.txt");
    save_marker(path.c_str(), 0);
    std::mt19937 random(2024);
    int32_t last = 0;
    int32_t saved_something = 0;
    for (int32_t kill_number = 0; kill_number < 300; ++kill_number) {
        const pid_t child = start_saving(path.c_str(), last + 1);
        ASSERT_GT(child, 0);
        usleep(static_cast<useconds_t>(random() % 20000));
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the child must die while saving, not end";
        std::string problem;
        const int32_t marker = whole_marker(path, &problem);
        ASSERT_GE(marker, 0) << problem << " after kill " << kill_number;
        saved_something += marker > last ? 1 : 0;
        last = marker;
    }
    EXPECT_GT(saved_something, 100) << "most kills must hit a child that has got as far as saving";
}

#endif
