// Who asks for the practice files and the cameras, and what becomes of the answer: the button on the Settings tab
// saves by way of the boxes, the Tools menu stores at once and shows the boxes anew.
#include <string>

#include "settings/select_cameras.h"
#include "settings/select_practice_files.h"
#include "settings/settings_values.h"
#include "tests/console/console_test.h"

namespace {

constexpr int32_t kList = 800, kSave = 801, kStatus = 803, kPracticeButton = 808;
constexpr int32_t kPracticeMenu = 520, kCameraMenu = 521;

class ChooserCommands : public ConsoleTest {
protected:
    explicit ChooserCommands(bool simulated_rig = false) : ConsoleTest(simulated_rig) {}

    void await_chooser(const char* window_class) {
        ASSERT_TRUE(wait_until([&] {
            chooser = FindWindowA(window_class, nullptr);
            return chooser != nullptr && IsWindowVisible(chooser);
        })) << window_class;
        EXPECT_EQ(GetWindow(chooser, GW_OWNER), console.window);
        EXPECT_FALSE(IsWindowEnabled(console.window));
    }
    void set_path(int32_t feed, const wchar_t* path) const {
        DWORD_PTR done = 0;
        SendMessageTimeoutW(GetDlgItem(chooser, kPracticePathId + feed), WM_SETTEXT, 0,
                            reinterpret_cast<LPARAM>(path), SMTO_NORMAL, kPatienceMs, &done);
    }
    void click(int32_t id) const {
        PostMessageW(GetDlgItem(chooser, id), BM_CLICK, 0, 0);
    }
    testing::AssertionResult the_window_answers_again() const {
        return becomes(
            "main window", [&] { return !IsWindow(chooser) && IsWindowEnabled(console.window); }, true);
    }
    std::string shown(const char* key) const {
        return window_text(GetDlgItem(control(console, kList), 1000 + settings_info_find(key)));
    }
    std::string in_file(const char* key) const {
        return installation_setting(installation, key);
    }

    HWND chooser = nullptr;
};

class ChooserCommandsOnTheRig : public ChooserCommands {
protected:
    ChooserCommandsOnTheRig() : ChooserCommands(true) {}
};

constexpr char kPracticeUpdated[] =
    "settings: practice_video_path updated — feed0=\"C:\\a.mp4\" feed1=\"\" feed2=\"C:\\Läufe\\c.mp4\"";

}  // namespace

TEST_F(ChooserCommands, TheButtonPutsThePracticeFilesIntoTheBoxesAndSaves) {
    start_with({"*practice_video_path[1]=C:\\old.mp4", "movie_pad=4"});
    press_on(kTabSettings, kPracticeButton);
    await_chooser("SkiJumpSelectPracticeFiles");
    EXPECT_EQ(window_text(GetDlgItem(chooser, kPracticePathId + 1)), "C:\\old.mp4");
    set_path(0, L"C:\\a.mp4");
    click(kPracticeClearId + 1);
    set_path(2, L"C:\\Läufe\\c.mp4");
    click(kPracticeOkId);
    EXPECT_TRUE(log_shows(installation, "settings saved to *"));
    EXPECT_TRUE(log_shows_in_order(installation, {kPracticeUpdated, "settings saved to *"}));
    EXPECT_TRUE(the_window_answers_again());
    EXPECT_EQ(shown("*practice_video_path[0]"), "C:\\a.mp4");
    EXPECT_EQ(shown("*practice_video_path[1]"), "");
    EXPECT_EQ(in_file("*practice_video_path[2]"), "C:\\Läufe\\c.mp4");
    EXPECT_EQ(button_text(console, kStatus), "Saved");
}

TEST_F(ChooserCommands, CancellingTheButtonsChooserChangesNothing) {
    start_with({"*practice_video_path[1]=C:\\old.mp4"});
    const std::string before = installation_read(installation, "settings.txt");
    press_on(kTabSettings, kPracticeButton);
    await_chooser("SkiJumpSelectPracticeFiles");
    set_path(1, L"C:\\new.mp4");
    click(kPracticeCancelId);
    EXPECT_TRUE(log_shows(installation, "settings: Select Practice Files cancelled — no change"));
    EXPECT_TRUE(the_window_answers_again());
    EXPECT_EQ(shown("*practice_video_path[1]"), "C:\\old.mp4");
    EXPECT_EQ(button_text(console, kStatus), "Loaded");
    EXPECT_EQ(installation_read(installation, "settings.txt"), before);
}

TEST_F(ChooserCommands, TheMenuStoresThePracticeFilesAndShowsTheBoxesAnew) {
    start_with({});
    ASSERT_TRUE(select_tab(console, kTabSettings));
    send_command(console, kPracticeMenu);
    await_chooser("SkiJumpSelectPracticeFiles");
    send_command(console, kPracticeMenu);  // a second one does not open over it
    send_command(console, kPracticeButton);
    send_command(console, kCameraMenu);
    set_path(0, L"C:\\a.mp4");
    set_path(2, L"C:\\Läufe\\c.mp4");
    click(kPracticeOkId);
    EXPECT_TRUE(log_shows(installation, kPracticeUpdated));
    EXPECT_TRUE(the_window_answers_again());
    EXPECT_EQ(FindWindowA("SkiJumpSelectPracticeFiles", nullptr), nullptr);
    EXPECT_EQ(in_file("*practice_video_path[0]"), "C:\\a.mp4");
    EXPECT_EQ(shown("*practice_video_path[2]"), "C:\\Läufe\\c.mp4");
    EXPECT_EQ(log_count(installation, kPracticeUpdated), 1);
    ASSERT_TRUE(press(console, kSave));
    EXPECT_TRUE(log_shows(installation, "settings saved to *"));
    EXPECT_EQ(in_file("*practice_video_path[0]"), "C:\\a.mp4") << "the boxes agree";
}

TEST_F(ChooserCommandsOnTheRig, TheMenuStoresTheCamerasReloadsTheTabAndStartsTheirCaptures) {
    start_with({"movie_pad=4"});
    ASSERT_TRUE(select_tab(console, kTabSettings));
    send_command(console, kCameraMenu);
    await_chooser("SkiJumpSelectCameras");
    HWND first = GetDlgItem(chooser, kCameraListId);
    ASSERT_TRUE(wait_until([&] { return SendMessageW(first, CB_GETCOUNT, 0, 0) > 1; })) << "cameras";
    SendMessageW(first, CB_SETCURSEL, 1, 0);
    PostMessageW(chooser, WM_COMMAND, MAKEWPARAM(kCameraListId, CBN_SELCHANGE), reinterpret_cast<LPARAM>(first));
    click(IDOK);
    EXPECT_TRUE(log_shows(installation, "settings: camera_device_path updated — feed0=\"*\" feed1=\"\" feed2=\"\""));
    EXPECT_TRUE(the_window_answers_again());
    const std::string path = in_file("*camera_device_path[0]");
    EXPECT_FALSE(path.empty());
    EXPECT_EQ(shown("*camera_device_path[0]"), path);
    EXPECT_EQ(shown("movie_pad"), "4");
    EXPECT_TRUE(log_shows_in_order(
        installation, {"settings loaded from *", "settings: camera_device_path updated *", "sync_captures: *"}));
}
