// A process that saves without pause is terminated at random moments. The native build has the same test with a fork.
#include <cstdio>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>
#include <windows.h>

#include "tests/support/child_role.h"
#include "tests/support/settings_marker.h"
#include "tests/support/temp_dir.h"

// Arguments: path of settings.txt, first marker. Its log lines would drown everything else.
static int save_for_ever(int, char** argv) {
    freopen("NUL", "w", stderr);
    child_announce_ready();
    save_markers_for_ever(argv[0], atoi(argv[1]));
}
static const RegisterChildRole kSaveForEver("save settings for ever", save_for_ever);

TEST(TerminatedWhileSaving, BothFilesAreWholeAfterEveryOneOf100Terminations) {
    TempDir dir;
    const std::string path = dir.file("settings.txt");
    save_marker(path.c_str(), 0);
    std::mt19937 random(2024);
    int32_t last = 0;
    int32_t saved_something = 0;
    for (int32_t number = 0; number < 100; ++number) {
        ChildProcess child("save settings for ever", {path, std::to_string(last + 1)});
        ASSERT_TRUE(child.wait_ready());
        Sleep(static_cast<DWORD>(random() % 30));
        ASSERT_TRUE(child.running());
        child.end(1);
        std::string problem;
        const int32_t marker = whole_marker(path, &problem);
        ASSERT_GE(marker, 0) << problem << " after termination " << number;
        saved_something += marker > last ? 1 : 0;
        last = marker;
    }
    EXPECT_GT(saved_something, 50) << "most terminations must hit a child that has got as far as saving";
}
