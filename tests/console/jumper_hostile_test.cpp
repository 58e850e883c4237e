// Files that are no start list, chosen all the same: what is valid in them is loaded, and neither the window nor a
// program that waits for the list's mutex is kept waiting for the rest.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/console/jumper_fixture.h"

static constexpr int32_t kHundred = 100;  // megabytes

// 100 MB of `piece` and then `end`.
static bool write_large(const std::string& path, const std::vector<char>& piece, const std::string& end) {
    FILE* file = fopen(path.c_str(), "wb");
    if (file == nullptr) return false;
    bool written = true;
    for (int32_t i = 0; i < kHundred; ++i)
        written = fwrite(piece.data(), 1, piece.size(), file) == piece.size() && written;
    written = fwrite(end.data(), 1, end.size(), file) == end.size() && written;
    return fclose(file) == 0 && written;
}

static std::vector<char> noise() {
    std::vector<char> bytes(1 << 20);
    uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

class HostileJumpers : public Jumpers {
protected:
    // Loads the file through the dialog, taking the list's mutex in turns with the program all the while.
    void load_and_watch(const std::string& path, const std::string& told) {
        press_on(kTabPreview, kLoad);
        ASSERT_TRUE(box_becomes("Load Jumper File"));
        HWND dialog = message_box(console);
        choose_file(path);
        uint64_t longest_wait = 0;
        const bool loaded = wait_until([&] {
            const uint64_t asked = GetTickCount64();
            const DWORD answer = WaitForSingleObject(shared.mutex[kMutexJumpers], kPatienceMs);
            EXPECT_EQ(answer, WAIT_OBJECT_0);
            longest_wait = std::max<uint64_t>(longest_wait, GetTickCount64() - asked);
            ReleaseMutex(shared.mutex[kMutexJumpers]);
            HWND box = message_box(console);
            return box != nullptr && box != dialog && window_text(box) == "Load Jumpers";
        });
        ASSERT_TRUE(loaded);
        RecordProperty("mutex_wait_ms", static_cast<int>(longest_wait));
        EXPECT_LT(longest_wait, kLockTimeoutMs) << "somebody would have gone ahead without the mutex";
        EXPECT_NE(message_box_text(message_box(console)).find(told), std::string::npos);
        press_in_box(IDOK);
        EXPECT_TRUE(box_becomes(""));
        EXPECT_TRUE(console_answers(console, kPatienceMs));
    }
    std::string start_beside(const char* name) {
        start_with_list("5\tAnna\tIF\n");
        open_shared();
        return installation.folder + "\\" + name;
    }
};

TEST_F(HostileJumpers, AfterAHundredMegabytesOfOneLineTheJumpersBehindItAreLoaded) {
    const std::string path = start_beside("line.txt");
    ASSERT_TRUE(write_large(path, std::vector<char>(1 << 20, 'x'), "\n8\tBea\tSK\n"));
    load_and_watch(path, "Loaded 2 jumpers.");
    EXPECT_TRUE(list_becomes("►|0|FORERUNNER||||\n|8|Bea|SK|||\n"));
}

TEST_F(HostileJumpers, AHundredMegabytesOfZerosHoldNobody) {
    const std::string path = start_beside("zeros.bin");
    ASSERT_TRUE(write_large(path, std::vector<char>(1 << 20, '\0'), ""));
    load_and_watch(path, "Loaded 1 jumpers.");
    EXPECT_TRUE(list_becomes("►|0|FORERUNNER||||\n"));
}

TEST_F(HostileJumpers, AHundredMegabytesOfNoiseHarmNothing) {
    const std::string path = start_beside("noise.bin");
    ASSERT_TRUE(write_large(path, noise(), ""));
    load_and_watch(path, "Loaded ");
    const int32_t count = shared_load(region->count);
    EXPECT_GE(count, 1);
    EXPECT_LE(count, 200);
    EXPECT_EQ(rows(), count);
    for (int32_t i = 1; i < count; ++i) EXPECT_GT(region->records[i].bib, 0);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(HostileJumpers, AListThatIsFullIsNotReadFurther) {
    std::string full;
    for (int32_t i = 1; i <= 250; ++i) full += std::to_string(i) + "\tname\tclub\n";
    std::vector<char> piece(full.begin(), full.end());
    const std::string path = start_beside("full.txt");
    piece.resize(1 << 20, 'x');
    ASSERT_TRUE(write_large(path, piece, ""));
    load_and_watch(path, "Loaded 200 jumpers.");
    EXPECT_EQ(row_text(199), "|199|name|club|||");
}

TEST_F(HostileJumpers, TextsAreCutBetweenTwoCharactersInTheListAsWell) {
    start_with_list("5\t" + std::string(30, 'x') + "é\t" + std::string(29, 'y') + "€€\t\n");
    EXPECT_TRUE(
        list_becomes("►|0|FORERUNNER||||\n|5|" + std::string(30, 'x') + "|" + std::string(29, 'y') + "|||\n"));
}
