// The practice-file and the camera chooser as the operator meets them: from the Tools menu, and from the button on
// the Settings tab, to the settings file.
#include <string>

#include "app/commands.h"
#include "settings/editor_rows.h"
#include "settings/select_cameras.h"
#include "settings/select_practice_files.h"
#include "tests/console/console_test.h"

namespace {

constexpr int32_t kSelectFeedFiles = 808, kList = 800, kFirstBox = 1000;
constexpr char kPracticeClass[] = "SkiJumpSelectPracticeFiles";
constexpr char kCamerasClass[] = "SkiJumpSelectCameras";
constexpr char kTwoCameras[] = "0\tCam A\tpath-a\n1\tCam B\tpath-b\n";

class Choosers : public ConsoleTest {
protected:
    void open_chooser(const char* class_name, int32_t command) {
        send_command(console, command);
        find_chooser(class_name);
    }
    void find_chooser(const char* class_name) {
        ASSERT_TRUE(wait_until([&] {
            chooser = FindWindowA(class_name, nullptr);
            return chooser && IsWindowVisible(chooser);
        })) << class_name;
        ASSERT_FALSE(IsWindowEnabled(console.window));
    }
    void open_cameras() {
        open_chooser(kCamerasClass, kCmdSelectCameras);
        ASSERT_TRUE(wait_until([&] { return IsWindowEnabled(GetDlgItem(chooser, IDOK)) != FALSE; }));
    }
    void click(int32_t id) const {
        PostMessageW(GetDlgItem(chooser, id), BM_CLICK, 0, 0);
    }
    void type(int32_t id, const char* text) const {
        SendMessageA(GetDlgItem(chooser, id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
    }
    testing::AssertionResult chooser_is_gone() const {
        if (!wait_until([&] { return !IsWindow(chooser); })) return testing::AssertionFailure() << "still open";
        if (!wait_until([&] { return IsWindowEnabled(console.window) != FALSE; }))
            return testing::AssertionFailure() << "the main window stayed disabled";
        return testing::AssertionSuccess();
    }
    std::string box_text(const std::string& key) const {
        HWND scrolled = control(console, kList);
        for (int32_t index = 0; index < settings_info_count(); ++index)
            if (key == settings_info_at(index)->key) return window_text(GetDlgItem(scrolled, kFirstBox + index));
        return "no such row";
    }
    // In the file, and in the tab's boxes.
    void expect_everywhere(const std::string& key, const std::string& path0, const std::string& path1,
                           const std::string& path2) const {
        const std::string paths[] = {path0, path1, path2};
        for (int32_t feed = 0; feed < 3; ++feed) {
            const std::string indexed = key + "[" + std::to_string(feed) + "]";
            EXPECT_EQ(installation_setting(installation, indexed), paths[feed]) << indexed;
            EXPECT_EQ(box_text(indexed), paths[feed]) << indexed;
        }
    }

    HWND chooser = nullptr;
};

}  // namespace

TEST_F(Choosers, PracticeFilesOfTheMenuAreStoredSavedAndShown) {
    start_with({"*practice_video_path[0]=old0.mp4", "*practice_video_path[2]=old2.mp4"});
    open_chooser(kPracticeClass, kCmdSelectPracticeFiles);
    EXPECT_EQ(window_text(GetDlgItem(chooser, kPracticePathId)), "old0.mp4");
    type(kPracticePathId + 1, "new1.mp4");
    click(kPracticeClearId + 2);
    click(kPracticeOkId);
    ASSERT_TRUE(chooser_is_gone());
    EXPECT_TRUE(log_shows(
        installation, "settings: practice_video_path updated — feed0=\"old0.mp4\" feed1=\"new1.mp4\" feed2=\"\""));
    expect_everywhere("*practice_video_path", "old0.mp4", "new1.mp4", "");
}

TEST_F(Choosers, PracticeFilesOfTheTabAreStoredSavedAndShown) {
    start_with({"*practice_video_path[0]=old0.mp4"});
    press_on(kTabSettings, kSelectFeedFiles);
    find_chooser(kPracticeClass);
    type(kPracticePathId + 1, "new1.mp4");
    click(kPracticeOkId);
    ASSERT_TRUE(chooser_is_gone());
    EXPECT_TRUE(log_shows(installation, "settings: practice_video_path updated — *"));
    EXPECT_TRUE(log_shows(installation, "settings saved to *"));
    expect_everywhere("*practice_video_path", "old0.mp4", "new1.mp4", "");
}

TEST_F(Choosers, CancelledPracticeFilesOfTheTabChangeNothing) {
    start_with({"*practice_video_path[0]=old0.mp4"});
    press_on(kTabSettings, kSelectFeedFiles);
    find_chooser(kPracticeClass);
    type(kPracticePathId, "new0.mp4");
    click(kPracticeCancelId);
    ASSERT_TRUE(chooser_is_gone());
    EXPECT_TRUE(log_shows(installation, "settings: Select Practice Files cancelled — no change"));
    EXPECT_EQ(log_count(installation, "settings saved to *"), 0);
    expect_everywhere("*practice_video_path", "old0.mp4", "", "");
}

TEST_F(Choosers, CancelledPracticeFilesOfTheMenuChangeNothing) {
    start_with({"*practice_video_path[0]=old0.mp4"});
    open_chooser(kPracticeClass, kCmdSelectPracticeFiles);
    type(kPracticePathId, "new0.mp4");
    click(kPracticeCancelId);
    ASSERT_TRUE(chooser_is_gone());
    EXPECT_EQ(log_count(installation, "settings: practice_video_path updated*"), 0);
    expect_everywhere("*practice_video_path", "old0.mp4", "", "");
}

TEST_F(Choosers, CamerasAreStoredSavedAndShown) {
    start_with({"*camera_device_path[0]=path-a", "*camera_device_path[1]=path-b"});
    installation_write(installation, "cameras.txt", kTwoCameras);
    open_cameras();
    EXPECT_TRUE(log_shows(installation, "Select Cameras: enumerated 2 USB capture device(s) via capture.exe --list"));
    EXPECT_EQ(window_text(GetDlgItem(chooser, kCameraListId)), "Cam A  [path-a]");
    click(kCameraSwapId);
    click(IDOK);
    ASSERT_TRUE(chooser_is_gone());
    ASSERT_TRUE(log_shows(installation, "settings: camera_device_path updated*"));
    EXPECT_TRUE(log_shows_in_order(
        installation, {"Select Cameras: swapped feed 0 <-> feed 1", "settings loaded from *",
                       "settings: camera_device_path updated — feed0=\"path-b\" feed1=\"path-a\" feed2=\"\""}));
    expect_everywhere("*camera_device_path", "path-b", "path-a", "");
    EXPECT_TRUE(installation_has(installation, "select_cameras_window.ini"));
}

TEST_F(Choosers, CancelledCamerasChangeNothing) {
    start_with({"*camera_device_path[0]=path-a", "*camera_device_path[1]=path-b"});
    installation_write(installation, "cameras.txt", kTwoCameras);
    open_cameras();
    click(kCameraSwapId);
    click(IDCANCEL);
    ASSERT_TRUE(chooser_is_gone());
    EXPECT_EQ(log_count(installation, "settings: camera_device_path updated*"), 0);
    EXPECT_EQ(log_count(installation, "settings loaded from *"), 0);
    expect_everywhere("*camera_device_path", "path-a", "path-b", "");
}

TEST_F(Choosers, ConsoleAnswersWhileCaptureHangs) {
    start();
    installation_write(installation, "cameras_hang.txt", "");
    open_chooser(kCamerasClass, kCmdSelectCameras);
    for (int32_t i = 0; i < 20; ++i) ASSERT_TRUE(console_answers(console, 2'000));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(chooser, IDOK)));
    click(IDCANCEL);
    ASSERT_TRUE(chooser_is_gone());
}

TEST_F(Choosers, ProgramCanBeClosedWhileAChooserStands) {
    start();
    open_chooser(kPracticeClass, kCmdSelectPracticeFiles);
    EXPECT_EQ(console_close(&console), 0);
}
