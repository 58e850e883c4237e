// The Settings tab of the running program: what an operator types, saves, loads and reads there.
#include <windows.h>

#include <commctrl.h>

#include <cstdio>
#include <string>
#include <vector>

#include "settings/editor_rows.h"
#include "settings/settings_values.h"
#include "tests/console/console_test.h"
#include "tests/console/mouse.h"
#include "tests/console/remote.h"

namespace {

constexpr int32_t kList = 800, kSave = 801, kLoad = 802, kStatus = 803, kMotionThird = 804;

class SettingsEditor : public ConsoleTest {
protected:
    void open(std::initializer_list<const char*> lines) {
        start_with(lines);
        ASSERT_TRUE(select_tab(console, kTabSettings));
        ASSERT_TRUE(wait_until([&] { return is_shown(console, kList); }));
    }
    HWND list() const {
        return control(console, kList);
    }
    HWND box(const char* key) const {
        return GetDlgItem(list(), 1000 + settings_info_find(key));
    }
    void type(const char* key, const wchar_t* text) const {
        ASSERT_NE(box(key), nullptr) << key;
        DWORD_PTR done = 0;
        SendMessageTimeoutW(box(key), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text), SMTO_NORMAL, kPatienceMs, &done);
    }
    std::string shown(const char* key) const {
        return window_text(box(key));
    }
    testing::AssertionResult state_becomes(const char* text) const {
        return becomes(
            "status label", [&] { return button_text(console, kStatus); }, std::string(text));
    }
    std::string in_file(const char* key) const {
        return installation_setting(installation, key);
    }
    // What `orvekctl settings list` prints: key, type, default, category, help; one line each.
    std::vector<std::vector<std::string>> listing() {
        std::vector<std::vector<std::string>> rows;
        if (!installation_bring(installation, "orvekctl.exe")) return rows;
        const std::string path = installation_path(installation, "list.txt");
        SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
        HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                  CREATE_ALWAYS, 0, nullptr);
        uint32_t pid = 0;
        HANDLE process = installation_start(installation, "orvekctl.exe", "settings list", file, &pid);
        CloseHandle(file);
        WaitForSingleObject(process, kPatienceMs);
        CloseHandle(process);
        std::vector<std::string> row(1);
        for (const char c : installation_read(installation, "list.txt")) {
            if (c == '\t') row.emplace_back();
            if (c == '\n') rows.push_back(std::exchange(row, std::vector<std::string>(1)));
            if (c != '\t' && c != '\n' && c != '\r') row.back().push_back(c);
        }
        return rows;
    }
    // The tooltip window that serves the rows.
    HWND tooltip() const {
        HWND found = nullptr;
        while ((found = FindWindowExA(nullptr, found, TOOLTIPS_CLASSA, nullptr)) != nullptr) {
            DWORD pid = 0;
            GetWindowThreadProcessId(found, &pid);
            if (pid == console.pid && SendMessageW(found, TTM_GETTOOLCOUNT, 0, 0) > kSettingInfoCount) return found;
        }
        return nullptr;
    }
    std::string tooltip_text(HWND tip, HWND of) const {
        TTTOOLINFOW tool = {};
        tool.cbSize = sizeof tool;
        tool.hwnd = GetParent(of);
        tool.uId = reinterpret_cast<UINT_PTR>(of);
        tool.lpszText = static_cast<wchar_t*>(remote_text_place(console));
        send_with_data(console, tip, TTM_GETTEXTW, 1024, &tool, sizeof tool);
        const std::string text = remote_text(console, 1024);
        return text.substr(0, text.find('\0'));
    }
};

}  // namespace

// As the listing prints it.
static std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '\r') {
            out += "\\r";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else {
            out.push_back(c);
        }
    }
    return out;
}

TEST_F(SettingsEditor, OneKeyOfEachKindGoesToTheFileAndComesBack) {
    open({});
    type("movie_pad", L"12");
    type("mouse_position_speed", L"0.35");
    type("*archive_dir", L"C:\\Sprünge\\heute");
    type("@far[1][ 3]", L"640,360");
    EXPECT_TRUE(state_becomes("Loaded")) << "typing does not change the status";
    ASSERT_TRUE(press(console, kSave));
    EXPECT_TRUE(state_becomes("Saved"));
    EXPECT_TRUE(log_shows(installation, "settings saved to " + installation.folder + "\\settings.txt"));
    EXPECT_EQ(in_file("movie_pad"), "12");
    EXPECT_EQ(in_file("mouse_position_speed"), "0.350000");
    EXPECT_EQ(in_file("*archive_dir"), "C:\\Sprünge\\heute");
    EXPECT_EQ(in_file("@far[1][ 3]"), "640,360");

    for (const char* key : {"movie_pad", "mouse_position_speed", "*archive_dir", "@far[1][ 3]"}) type(key, L"gone");
    ASSERT_TRUE(press(console, kLoad));
    EXPECT_TRUE(state_becomes("Loaded"));
    EXPECT_TRUE(log_shows(installation, "settings loaded from " + installation.folder + "\\settings.txt"));
    EXPECT_EQ(shown("movie_pad"), "12");
    EXPECT_EQ(shown("mouse_position_speed"), "0.350000");
    EXPECT_EQ(shown("*archive_dir"), "C:\\Sprünge\\heute");
    EXPECT_EQ(shown("@far[1][ 3]"), "640,360");
}

TEST_F(SettingsEditor, LoadingWithoutAFileShowsEveryDefaultAndEveryRowAgreesWithTheListing) {
    open({});
    DeleteFileA(installation_path(installation, "settings.txt").c_str());
    ASSERT_TRUE(press(console, kLoad));  // no file: the defaults, which the listing names
    EXPECT_TRUE(log_shows(installation, "settings loaded from *"));
    const auto rows = listing();
    ASSERT_EQ(rows.size(), static_cast<size_t>(kSettingInfoCount));
    HWND tip = tooltip();
    ASSERT_NE(tip, nullptr);
    std::string heading;
    HWND child = GetWindow(list(), GW_CHILD);  // in the order they were made: heading, label, box
    for (size_t i = 0; i < rows.size(); ++i) {
        ASSERT_EQ(rows[i].size(), 5u) << i;
        if (rows[i][3] != heading) {
            heading = rows[i][3];
            EXPECT_EQ(window_text(child), heading);
            child = GetWindow(child, GW_HWNDNEXT);
        }
        const HWND label = child;
        const HWND value = GetWindow(label, GW_HWNDNEXT);
        EXPECT_EQ(GetDlgCtrlID(value), 1000 + static_cast<int32_t>(i));
        EXPECT_EQ(window_text(label), rows[i][0]);
        EXPECT_EQ(escaped(window_text(value)), rows[i][2]) << rows[i][0];
        EXPECT_EQ(escaped(tooltip_text(tip, label)), rows[i][4]) << rows[i][0];
        EXPECT_EQ(escaped(tooltip_text(tip, value)), rows[i][4]) << rows[i][0];
        child = GetWindow(value, GW_HWNDNEXT);
        if (rows[i][0] == kEditorFolderKey) child = GetWindow(child, GW_HWNDNEXT);
    }
}

TEST_F(SettingsEditor, TheListBeginsWithItsHeadingAt6AndItsFirstRowAt28) {
    open({});
    HWND heading = GetWindow(list(), GW_CHILD);
    EXPECT_EQ(window_text(heading), "Display / UI");
    RECT place = {};
    GetWindowRect(heading, &place);
    MapWindowPoints(nullptr, list(), reinterpret_cast<POINT*>(&place), 2);
    EXPECT_EQ(place.top, 6);
    GetWindowRect(box("frame_position_bar_height"), &place);
    MapWindowPoints(nullptr, list(), reinterpret_cast<POINT*>(&place), 2);
    EXPECT_EQ(place.top, 28);
    const RECT area = tab_display_area(console);
    const RECT list_place = client_place(console, list());
    EXPECT_EQ(list_place.top, area.top + 64);
    EXPECT_EQ(list_place.bottom, area.bottom);
    EXPECT_EQ(list_place.right - list_place.left, area.right - area.left);
}

TEST_F(SettingsEditor, LettersInAnIntegerBoxStore0) {
    open({"movie_pad=7"});
    EXPECT_EQ(shown("movie_pad"), "7");
    type("movie_pad", L"seven");
    ASSERT_TRUE(press(console, kSave));
    EXPECT_TRUE(state_becomes("Saved"));
    EXPECT_EQ(in_file("movie_pad"), "0");
    EXPECT_EQ(shown("movie_pad"), "seven") << "only a refill changes what was typed";
}

TEST_F(SettingsEditor, TheMotionButtonsSetAllFeedsAndSaveAtOnce) {
    open({"motion_start_x[1]=300", "motion_end_x[3]=77"});
    constexpr const char* kEnds[] = {"633", "960", "1919"};
    for (int32_t i = 0; i < 3; ++i) {
        ASSERT_TRUE(press(console, kMotionThird + i));
        EXPECT_TRUE(log_shows(installation, std::string("settings: motion X set to 0..") + kEnds[i] + " (*"));
        EXPECT_TRUE(log_shows(installation, "settings saved to *", i + 1));
        for (const char* key : {"motion_end_x[0]", "motion_end_x[1]", "motion_end_x[2]"}) {
            EXPECT_EQ(shown(key), kEnds[i]);
            EXPECT_EQ(in_file(key), kEnds[i]);
        }
        for (const char* key : {"motion_start_x[0]", "motion_start_x[1]", "motion_start_x[2]"})
            EXPECT_EQ(in_file(key), "0");
        EXPECT_EQ(in_file("motion_end_x[3]"), "77");
    }
    EXPECT_TRUE(state_becomes("Saved"));
}

TEST_F(SettingsEditor, CtrlSElsewhereSavesNothingThatWasTyped) {
    open({"movie_pad=7"});
    type("movie_pad", L"8");
    ASSERT_TRUE(select_tab(console, kTabFeeds));
    EXPECT_FALSE(is_shown(console, kList));
    EXPECT_FALSE(is_shown(console, kSave));
    press_key(console, 'S', true);
    EXPECT_EQ(log_count(installation, "settings saved to *"), 0);
    EXPECT_EQ(in_file("movie_pad"), "7");
    ASSERT_TRUE(select_tab(console, kTabSettings));
    EXPECT_TRUE(becomes(
        "movie_pad", [&] { return shown("movie_pad"); }, std::string("7")))
        << "entering shows the record";
    type("movie_pad", L"9");
    press_key(console, 'S', true);
    EXPECT_TRUE(status_becomes(console, "Settings saved"));
    EXPECT_EQ(in_file("movie_pad"), "9");
    type("movie_pad", L"10");
    press_key(console, 'L', true);
    EXPECT_TRUE(status_becomes(console, "Settings loaded"));
    EXPECT_EQ(shown("movie_pad"), "9");
}

TEST_F(SettingsEditor, TypingInABoxIsNeverTakenForACommand) {
    open({});
    // Row 1 has the number of Ctrl+S, row 2 that of Ctrl+L.
    for (const char* key : {"mouse_position_speed", "big_window_height"}) {
        ASSERT_TRUE(click_at(box(key), 5, 5));
        PostMessageW(box(key), WM_CHAR, L'7', 0);
        EXPECT_TRUE(wait_until([&] { return shown(key).find('7') != std::string::npos; }));
    }
    EXPECT_EQ(status_text(console), "Ready");
    EXPECT_EQ(log_count(installation, "settings saved to *"), 0);
    EXPECT_EQ(log_count(installation, "settings loaded from *"), 0);
    EXPECT_EQ(button_text(console, kStatus), "Loaded");
}

TEST_F(SettingsEditor, TheWheelScrollsOverABoxAndOverTheGround) {
    open({});
    const auto top_of_first = [&] {
        RECT place = {};
        GetWindowRect(box("frame_position_bar_height"), &place);
        MapWindowPoints(nullptr, list(), reinterpret_cast<POINT*>(&place), 2);
        return place.top;
    };
    ASSERT_TRUE(turn_wheel_at(list(), 1100, 200, -120));
    EXPECT_TRUE(becomes("first row", top_of_first, LONG{8}));
    ASSERT_TRUE(click_at(box("big_window_width"), 5, 5));
    ASSERT_TRUE(turn_wheel_at(box("big_window_width"), 5, 5, 120));
    EXPECT_TRUE(becomes("first row", top_of_first, LONG{28}));
    ASSERT_TRUE(turn_wheel_at(list(), 1100, 200, -360));
    EXPECT_TRUE(becomes("first row", top_of_first, LONG{-32}));
}

TEST_F(SettingsEditor, BrowseShowsTheFolderPickerAndCancelChangesNothing) {
    open({});
    ASSERT_TRUE(PostMessageW(GetDlgItem(list(), 809), BM_CLICK, 0, 0));
    EXPECT_TRUE(log_shows(installation, "settings: Browse capfile_output_dir empty, seeding dialog with cwd '" +
                                            installation.folder + "'"));
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }));
    HWND picker = message_box(console);
    EXPECT_NE(
        message_box_text(picker).find("Select capfile output directory (cap_F_TIMESTAMP.mp4 files will land here)"),
        std::string::npos);
    EXPECT_EQ(GetWindow(picker, GW_OWNER), console.window);
    PostMessageW(picker, WM_COMMAND, IDCANCEL, 0);
    EXPECT_TRUE(log_shows(installation, "settings: Browse capfile_output_dir cancelled"));
    EXPECT_EQ(shown("*capfile_output_dir"), "");
    EXPECT_EQ(button_text(console, kStatus), "Loaded");
}

TEST_F(SettingsEditor, AChosenFolderIsModifiedUntilSave) {
    open({});
    type("*capfile_output_dir", L"C:\\windows");
    ASSERT_TRUE(PostMessageW(GetDlgItem(list(), 809), BM_CLICK, 0, 0));
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }));
    HWND picker = message_box(console);
    EXPECT_TRUE(wait_until([&] { return message_box_text(picker).find("windows") != std::string::npos; }))
        << "the folder in the box is the one it begins with";
    type("*capfile_output_dir", L"");  // so that what stands there afterwards is the choice
    PostMessageW(picker, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(
        log_shows(installation, "settings: capfile_output_dir (edit field) -> C:\\windows (click Save to persist)"));
    EXPECT_TRUE(state_becomes("Modified"));
    EXPECT_EQ(shown("*capfile_output_dir"), "C:\\windows");
    EXPECT_EQ(in_file("*capfile_output_dir"), "");
    EXPECT_EQ(log_count(installation, "settings: Browse capfile_output_dir empty*"), 0);
    ASSERT_TRUE(press(console, kSave));
    EXPECT_TRUE(state_becomes("Saved"));
    EXPECT_EQ(in_file("*capfile_output_dir"), "C:\\windows");
}

TEST_F(SettingsEditor, TheGridPanelsSaveShowsTheRecordAgain) {
    open({"movie_pad=7"});
    type("movie_pad", L"8");
    send_command(console, 500);
    EXPECT_TRUE(log_shows(installation, "grid line setup panel created"));
    HWND panel = FindWindowA("GridLineSetupClass", nullptr);
    ASSERT_NE(panel, nullptr);
    PostMessageW(GetDlgItem(panel, 1000), BM_CLICK, 0, 0);
    EXPECT_TRUE(becomes(
        "movie_pad", [&] { return shown("movie_pad"); }, std::string("7")));
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }));
    PostMessageW(message_box(console), WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(log_shows(installation, "grid line settings saved to *"));
    EXPECT_EQ(button_text(console, kStatus), "Loaded");
}

TEST_F(SettingsEditor, ClosingSavesTheRecordNotWhatWasTyped) {
    open({"movie_pad=7"});
    type("movie_pad", L"8");
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_EQ(in_file("movie_pad"), "7");
}

TEST_F(SettingsEditor, AnUnattendedRunOpensNoChooser) {
    start_with({}, "--practice-test --max-movies 1");
    for (const int32_t id : {520, 521, 807, 808, 809}) send_command(console, id);
    EXPECT_TRUE(console_answers(console, kPatienceMs));
    Sleep(500);
    EXPECT_EQ(message_box(console), nullptr);
    EXPECT_TRUE(IsWindowEnabled(console.window));
}
