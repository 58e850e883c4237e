// Saving where nothing can be saved: the operator is told, the old file stays whole, the console lives on and closes.
// Two of the places are file systems that the test runner makes (a small one to fill, one mounted read-only) and
// names in the environment; without them their tests are skipped.
#include <windows.h>

#include <cstdlib>
#include <string>

#include "settings/settings_values.h"
#include "tests/console/console_test.h"

namespace {

constexpr int32_t kList = 800, kEditorStatus = 803;
constexpr char kRefused[] = "Settings could not be saved, see controller_debug.log";

class SaveFailure : public ConsoleTest {
protected:
    // Opens the Settings tab of a console whose settings lie in `folder` (empty: the installation itself).
    void open(const std::string& folder);
    void type(const char* key, const wchar_t* text) const {
        HWND box = GetDlgItem(control(console, kList), 1000 + settings_info_find(key));
        ASSERT_NE(box, nullptr) << key;
        DWORD_PTR done = 0;
        SendMessageTimeoutW(box, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text), SMTO_NORMAL, kPatienceMs, &done);
    }
    std::string file() const {
        return installation_read(place, "settings.txt");
    }
    void expect_refused_save(const std::string& reason);
    void expect_refused_close(const std::string& reason);
    void expect_saved();

    Installation place = {};  // where the settings are; only its folder counts
    std::string path;         // of settings.txt
    std::string old_text;     // what must stay in it
};

}  // namespace

void SaveFailure::open(const std::string& folder) {
    place.folder = folder.empty() ? installation.folder : folder;
    path = installation_path(place, "settings.txt");
    old_text = file();
    ASSERT_FALSE(old_text.empty()) << path;
    start(folder.empty() ? "" : path);
    if (HasFatalFailure()) return;
    EXPECT_TRUE(log_shows(installation, "starting controller, settings: " + path));
    ASSERT_TRUE(select_tab(console, kTabSettings));
    ASSERT_TRUE(wait_until([&] { return is_shown(console, kList); }));
    type("movie_pad", L"4711");
}

void SaveFailure::expect_refused_save(const std::string& reason) {
    const size_t before = log_length(installation);
    press_key(console, 'S', true);
    EXPECT_TRUE(status_becomes(console, kRefused));
    EXPECT_TRUE(
        log_shows_in_order_from(installation, before, {"ERR " + reason, "ERR failed to save settings to " + path}));
    EXPECT_EQ(button_text(console, kEditorStatus), "Loaded") << "nothing was saved";
    EXPECT_EQ(file(), old_text);
    EXPECT_TRUE(console_answers(console, kPatienceMs));
    EXPECT_EQ(message_box(console), nullptr);
}

void SaveFailure::expect_refused_close(const std::string& reason) {
    const size_t before = log_length(installation);
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_TRUE(log_shows_in_order_from(installation, before,
                                        {"ERR " + reason, "process manager shutting down", "controller exiting"}));
    EXPECT_EQ(file(), old_text);
}

void SaveFailure::expect_saved() {
    press_key(console, 'S', true);
    EXPECT_TRUE(status_becomes(console, "Settings saved"));
    EXPECT_EQ(installation_setting(place, "movie_pad"), "4711") << "what was typed is still there";
    old_text = file();
}

TEST_F(SaveFailure, NoPlaceForTheTemporaryFileLeavesTheOldFileAndTheConsole) {
    installation_settings(installation, {"feed_count=2"});
    open("");
    if (HasFatalFailure()) return;
    ASSERT_TRUE(CreateDirectoryA((path + ".tmp").c_str(), nullptr));
    const std::string reason = "settings: cannot open '" + path + ".tmp' for writing";
    expect_refused_save(reason);
    expect_refused_close(reason);
    EXPECT_EQ(log_count(installation, "settings: saved *"), 0);
    RemoveDirectoryA((path + ".tmp").c_str());
}

TEST_F(SaveFailure, AFileHeldByAnotherProgramIsLeftAndSavedOnceItIsLetGo) {
    installation_settings(installation, {"feed_count=2"});
    open("");
    if (HasFatalFailure()) return;
    HANDLE held = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                              0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    const std::string reason = "settings: rename '" + path + ".tmp' -> '" + path + "' failed (error=*)";
    expect_refused_save(reason);
    EXPECT_FALSE(installation_has(installation, "settings.txt.tmp"));
    CloseHandle(held);
    expect_saved();
    held = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                       nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    expect_refused_close(reason);
    EXPECT_FALSE(installation_has(installation, "settings.txt.tmp"));
    CloseHandle(held);
}

// Takes every byte that is left.
static bool fill_disk(const std::string& filler) {
    HANDLE file = CreateFileA(filler.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    const std::string piece(4096, 'x');
    DWORD written = 0;
    bool full = false;
    for (int32_t pieces = 0; !full && pieces < 16 * 1024; ++pieces)
        full = !WriteFile(file, piece.data(), static_cast<DWORD>(piece.size()), &written, nullptr);
    CloseHandle(file);
    return full;
}

TEST_F(SaveFailure, AFullDiskLeavesTheOldFileAndIsSavedToOnceThereIsRoom) {
    const char* const disk = getenv("ORVEK_SMALL_DISK");
    if (!disk) GTEST_SKIP() << "ORVEK_SMALL_DISK names no file system to fill";
    const std::string filler = std::string(disk) + "\\filler";
    DeleteFileA(filler.c_str());
    installation_settings({disk, nullptr}, {"feed_count=2"});
    open(disk);
    if (HasFatalFailure()) return;
    const std::string reason = "settings: fflush failed for '" + path + ".tmp'";
    ASSERT_TRUE(fill_disk(filler));
    expect_refused_save(reason);
    EXPECT_FALSE(installation_has(place, "settings.txt.tmp"));
    ASSERT_TRUE(DeleteFileA(filler.c_str()));
    expect_saved();
    ASSERT_TRUE(fill_disk(filler));
    expect_refused_close(reason);
    EXPECT_FALSE(installation_has(place, "settings.txt.tmp"));
    DeleteFileA(filler.c_str());
}

TEST_F(SaveFailure, AReadOnlyFolderLeavesTheOldFileAndTheConsole) {
    const char* const disk = getenv("ORVEK_READ_ONLY_DISK");
    if (!disk) GTEST_SKIP() << "ORVEK_READ_ONLY_DISK names no read-only file system with a settings.txt";
    open(disk);
    if (HasFatalFailure()) return;
    const std::string reason = "settings: cannot open '" + path + ".tmp' for writing";
    expect_refused_save(reason);
    expect_refused_close(reason);
}
