// The Settings tab as windows of this process, where tooltips and messages can be read directly.
#include "settings/settings_tab.h"

#include <gtest/gtest.h>

#include <commctrl.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "app/utf16.h"
#include "settings/settings_file.h"
#include "settings/settings_tab_internal.h"
#include "settings/settings_values.h"
#include "tests/support/log_capture.h"
#include "tests/support/process_resources.h"

namespace {

class SettingsTabWindow : public testing::Test {
protected:
    void SetUp() override {
        const INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_BAR_CLASSES};
        InitCommonControlsEx(&controls);
        WNDCLASSA parent_class = {};
        parent_class.lpfnWndProc = [](HWND window, UINT message, WPARAM wp, LPARAM lp) -> LRESULT {
            auto* seen = reinterpret_cast<std::vector<int32_t>*>(GetWindowLongPtrA(window, GWLP_USERDATA));
            if (message == WM_COMMAND && seen) seen->push_back(LOWORD(wp));
            return DefWindowProcA(window, message, wp, lp);
        };
        parent_class.hInstance = GetModuleHandleA(nullptr);
        parent_class.lpszClassName = "SettingsTabTestParent";
        RegisterClassA(&parent_class);
        parent = CreateWindowExA(0, "SettingsTabTestParent", "settings test", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                                 20, 20, 1300, 700, nullptr, nullptr, parent_class.hInstance, nullptr);
        ASSERT_NE(parent, nullptr);
        SetWindowLongPtrA(parent, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&commands));
        ShowWindow(parent, SW_SHOWNOACTIVATE);
        settings_init_defaults(settings.get());
        log.take();
        ASSERT_EQ(settings_tab_create(tab.get(), parent, parent_class.hInstance, settings.get(), path.c_str(),
                                      dir.path().c_str()),
                  0);
        settings_tab_layout(tab.get(), {0, 0, 1200, 600});
        settings_tab_show(tab.get(), true);
    }
    void TearDown() override {
        settings_tab_destroy(tab.get());
        DestroyWindow(parent);
    }

    bool press(int32_t id) {
        return settings_tab_command(tab.get(), id, false);
    }
    HWND box(const char* key) const {
        return tab->box[settings_info_find(key)];
    }
    std::string text(const char* key) const {
        return settings_box_text(box(key));
    }
    void type(const char* key, const std::string& typed) const {
        settings_box_set_text(box(key), typed);
    }
    std::string status() const {
        return settings_box_text(tab->status);
    }
    std::string saved_line(const std::string& key) const {
        const std::string file = "\n" + read_whole_file(path);
        const size_t start = file.find("\n" + key + "=");
        if (start == std::string::npos) return "";
        const size_t end = file.find_first_of("\r\n", start + 1);
        return file.substr(start + 1, end - start - 1);
    }
    RECT place(HWND child, HWND relative_to) const {
        RECT rect = {};
        GetWindowRect(child, &rect);
        MapWindowPoints(nullptr, relative_to, reinterpret_cast<POINT*>(&rect), 2);
        return rect;
    }
    int32_t box_y(int32_t row) const {
        return place(tab->box[row], tab->window).top;
    }
    std::string tooltip_of(HWND control) const {
        wchar_t text[2048] = L"";
        TTTOOLINFOW tool = {};
        tool.cbSize = sizeof tool;
        tool.hwnd = tab->window;
        tool.uId = reinterpret_cast<UINT_PTR>(control);
        tool.lpszText = text;
        SendMessageW(tab->tooltip, TTM_GETTEXTW, 2048, reinterpret_cast<LPARAM>(&tool));
        return utf8_from(text);
    }

    LogCapture log;
    TempDir dir;
    const std::string path = dir.file("settings.txt");
    std::unique_ptr<Settings> settings = std::make_unique<Settings>();
    std::unique_ptr<SettingsTab> tab = std::make_unique<SettingsTab>();
    std::vector<int32_t> commands;
    HWND parent = nullptr;
};

}  // namespace

static testing::AssertionResult is_place(const RECT& rect, int32_t x, int32_t y, int32_t width, int32_t height) {
    if (rect.left == x && rect.top == y && rect.right - rect.left == width && rect.bottom - rect.top == height)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << rect.left << "," << rect.top << " " << rect.right - rect.left << "x"
                                       << rect.bottom - rect.top;
}

TEST_F(SettingsTabWindow, TheTopRowLiesWhereItIsLookedFor) {
    struct Expected {
        int32_t id;
        const char* text;
        int32_t x, y, width, height;
    };
    constexpr Expected kExpected[] = {
        {801, "Save (Ctrl+S)", 10, 30, 120, 26},
        {802, "Load (Ctrl+L)", 140, 30, 120, 26},
        {803, "Loaded", 270, 34, 100, 20},
        {804, "33%", 468, 30, 56, 26},
        {805, "50%", 528, 30, 56, 26},
        {806, "100%", 588, 30, 60, 26},
        {807, "Select GPU...", 660, 30, 120, 26},
        {808, "Select Feed Files...", 790, 30, 150, 26},
    };
    settings_tab_layout(tab.get(), {7, 11, 1007, 611});
    for (const Expected& expected : kExpected) {
        HWND control = GetDlgItem(parent, expected.id);
        ASSERT_NE(control, nullptr) << expected.id;
        EXPECT_EQ(settings_box_text(control), expected.text);
        EXPECT_TRUE(
            is_place(place(control, parent), 7 + expected.x, 11 + expected.y, expected.width, expected.height))
            << expected.text;
    }
    EXPECT_EQ(settings_box_text(tab->top[3]), "Motion X max:");
    EXPECT_TRUE(is_place(place(tab->top[3], parent), 7 + 380, 11 + 34, 86, 20));
    EXPECT_EQ(GetDlgItem(parent, 800), tab->window);
    EXPECT_TRUE(is_place(place(tab->window, parent), 7, 11 + 64, 1000, 600 - 64));
    char name[64] = "";
    GetClassNameA(tab->window, name, sizeof name);
    EXPECT_STREQ(name, "SkiJumpSettingsScroll");
    EXPECT_NE(GetWindowLongA(tab->window, GWL_EXSTYLE) & WS_EX_CLIENTEDGE, 0);
}

TEST_F(SettingsTabWindow, EveryRowHasItsLabelItsTextAndItsTooltip) {
    ASSERT_EQ(tab->rows.count, kSettingInfoCount);
    for (int32_t i = 0; i < tab->rows.count; ++i) {
        const SettingInfo* info = settings_info_at(i);
        EXPECT_EQ(GetDlgItem(tab->window, 1000 + i), tab->box[i]);
        EXPECT_EQ(settings_box_text(tab->label[i]), info->key);
        EXPECT_EQ(settings_box_text(tab->box[i]), editor_value_text(settings.get(), i)) << info->key;
        EXPECT_EQ(tooltip_of(tab->label[i]), info->description) << info->key;
        EXPECT_EQ(tooltip_of(tab->box[i]), info->description) << info->key;
        const EditorRow& row = tab->rows.row[i];
        EXPECT_TRUE(is_place(place(tab->label[i], tab->window), row.label.x, row.label.y, 260, 18)) << info->key;
        EXPECT_TRUE(is_place(place(tab->box[i], tab->window), row.box.x, row.box.y, row.box.width, 20)) << info->key;
    }
    EXPECT_EQ(SendMessageA(tab->tooltip, TTM_GETMAXTIPWIDTH, 0, 0), 400);
    EXPECT_EQ(SendMessageA(tab->tooltip, TTM_GETDELAYTIME, TTDT_AUTOPOP, 0), 30'000);
    EXPECT_EQ(GetDlgItem(tab->window, 809), tab->folder_button);
    EXPECT_EQ(settings_box_text(tab->folder_button), "Browse...");
}

TEST_F(SettingsTabWindow, SaveWritesOneOfEachKind) {
    type("big_window_height", "letters");
    type("mouse_position_speed", "0.35");
    type("*archive_dir", "C:\\Sprünge");
    type("@far[1][ 3]", "640,360");
    EXPECT_EQ(status(), "Loaded") << "typing is not followed";
    EXPECT_TRUE(press(801));
    EXPECT_EQ(status(), "Saved");
    EXPECT_EQ(settings->big_window_height, 0);
    EXPECT_EQ(settings->mouse_position_speed, 0.35f);
    EXPECT_STREQ(settings->archive_dir, "C:\\Sprünge");
    EXPECT_EQ(settings->far_lines[1][3].x, 640);
    EXPECT_EQ(saved_line("mouse_position_speed"), "mouse_position_speed=0.350000");
    EXPECT_EQ(saved_line("*archive_dir"), "*archive_dir=C:\\Sprünge");
    EXPECT_EQ(saved_line("@far[1][ 3]"), "@far[1][ 3]=640,360");
    EXPECT_TRUE(log.has("INF settings saved to " + path));
}

TEST_F(SettingsTabWindow, SavingRecomputesTheMetreValues) {
    type("meter_line_count[0]", "2");
    type("meter_line_start[0]", "100");
    type("meter_line_increment[0]", "7");
    press(801);
    EXPECT_EQ(settings->meter_values[0][1], 107);
}

TEST_F(SettingsTabWindow, ASaveOverwritesWhatChangedSinceTheLastRefill) {
    settings->movie_pad = 17;
    press(801);
    EXPECT_EQ(settings->movie_pad, 0) << "the box still said 0";
    settings->movie_pad = 17;
    settings_tab_refill(tab.get());
    EXPECT_EQ(text("movie_pad"), "17");
    press(801);
    EXPECT_EQ(settings->movie_pad, 17);
}

TEST_F(SettingsTabWindow, AFailedSaveLeavesTheStatus) {
    snprintf(tab->settings_path, sizeof tab->settings_path, "%s", dir.file("missing\\settings.txt").c_str());
    EXPECT_EQ(settings_tab_save(tab.get()), -1);
    EXPECT_EQ(status(), "Loaded");
    EXPECT_TRUE(log.has(std::string("ERR failed to save settings to ") + tab->settings_path));
    EXPECT_FALSE(log.has(std::string("INF settings saved to ") + tab->settings_path));
}

TEST_F(SettingsTabWindow, LoadTakesDefaultsForWhatTheFileDoesNotName) {
    write_whole_file(path, "movie_pad=3\n");
    settings->big_window_width = 1;
    type("*archive_dir", "typed");
    press(801);
    write_whole_file(path, "movie_pad=3\n");
    press(802);
    EXPECT_EQ(text("movie_pad"), "3");
    EXPECT_EQ(text("big_window_width"), "2880");
    EXPECT_EQ(text("*archive_dir"), "output_videos");
    EXPECT_EQ(status(), "Loaded");
    EXPECT_TRUE(log.has("INF settings loaded from " + path));
}

TEST_F(SettingsTabWindow, LoadWithoutAFileShowsTheDefaults) {
    settings->movie_pad = 5;
    settings_tab_refill(tab.get());
    press(802);
    EXPECT_EQ(text("movie_pad"), "0");
    EXPECT_EQ(settings->movie_pad, 0);
    EXPECT_EQ(status(), "Loaded");
}

TEST_F(SettingsTabWindow, MotionXSetsThreeFeedsAndSavesAtOnce) {
    struct Expected {
        int32_t id, percent, end;
    };
    for (const Expected& expected : {Expected{804, 33, 633}, Expected{805, 50, 960}, Expected{806, 100, 1919}}) {
        settings->motion_start_x[1] = 40;
        settings->motion_start_x[3] = 41;
        settings->motion_end_x[3] = 42;
        settings_tab_refill(tab.get());
        press(expected.id);
        for (int32_t feed = 0; feed < 3; ++feed) {
            EXPECT_EQ(settings->motion_start_x[feed], 0);
            EXPECT_EQ(settings->motion_end_x[feed], expected.end);
        }
        EXPECT_EQ(settings->motion_start_x[3], 41);
        EXPECT_EQ(settings->motion_end_x[3], 42);
        EXPECT_EQ(text("motion_end_x[2]"), std::to_string(expected.end));
        EXPECT_EQ(saved_line("motion_end_x[0]"), "motion_end_x[0]=" + std::to_string(expected.end));
        EXPECT_EQ(status(), "Saved");
        char line[128];
        snprintf(line, sizeof line, "INF settings: motion X set to 0..%d (%d%% of 1920) for all feeds", expected.end,
                 expected.percent);
        EXPECT_TRUE(log.has(line)) << line;
    }
}

TEST_F(SettingsTabWindow, ScrollingMovesTheChildrenByLinesPagesThumbAndWheel) {
    RECT client = {};
    GetClientRect(tab->window, &client);
    const int32_t page = client.bottom;
    const int32_t last = tab->rows.content_height - page + 1;
    const auto scrolled = [&] { return 28 - box_y(0); };
    const auto scroll = [&](int32_t code, int32_t position = 0) {
        SendMessageA(tab->window, WM_VSCROLL, MAKEWPARAM(code, position), 0);
        return scrolled();
    };
    const auto wheel = [&](int32_t delta) {
        SendMessageA(tab->window, WM_MOUSEWHEEL, MAKEWPARAM(0, delta), 0);
        return scrolled();
    };
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = SIF_ALL;
    ASSERT_TRUE(GetScrollInfo(tab->window, SB_VERT, &info));
    EXPECT_EQ(info.nMin, 0);
    EXPECT_EQ(info.nMax, tab->rows.content_height);
    EXPECT_EQ(static_cast<int32_t>(info.nPage), page);

    EXPECT_EQ(scroll(SB_LINEDOWN), 20);
    EXPECT_EQ(scroll(SB_LINEDOWN), 40);
    EXPECT_EQ(scroll(SB_LINEUP), 20);
    EXPECT_EQ(scroll(SB_PAGEDOWN), 20 + page);
    EXPECT_EQ(scroll(SB_PAGEUP), 20);
    EXPECT_EQ(scroll(SB_PAGEUP), 0);
    EXPECT_EQ(scroll(SB_THUMBTRACK, 1234), 1234);
    EXPECT_EQ(wheel(-120), 1254);
    EXPECT_EQ(wheel(240), 1214);
    EXPECT_EQ(wheel(-60), 1214);
    EXPECT_EQ(wheel(-60), 1234);
    EXPECT_EQ(scroll(SB_BOTTOM), last);
    EXPECT_EQ(scroll(SB_LINEDOWN), last);
    GetScrollInfo(tab->window, SB_VERT, &info);
    EXPECT_EQ(info.nPos, last);

    settings_tab_layout(tab.get(), {0, 0, 1200, 900});  // a higher list has no later content to show
    EXPECT_EQ(scrolled(), last - 300);
    EXPECT_EQ(scroll(SB_TOP), 0);
}

TEST_F(SettingsTabWindow, OnlyTheFolderButtonIsPassedOn) {
    SetWindowTextA(box("movie_pad"), "4");
    SendMessageA(tab->window, WM_COMMAND, MAKEWPARAM(1001, EN_CHANGE), reinterpret_cast<LPARAM>(tab->box[1]));
    SendMessageA(tab->window, WM_COMMAND, MAKEWPARAM(1001, 0), reinterpret_cast<LPARAM>(tab->box[1]));
    EXPECT_TRUE(commands.empty()) << "the box of row 1 has the number of Ctrl+S";
    SendMessageA(tab->folder_button, BM_CLICK, 0, 0);
    EXPECT_EQ(commands, std::vector<int32_t>{809});
    tab->refilling = true;
    SendMessageA(tab->folder_button, BM_CLICK, 0, 0);
    EXPECT_EQ(commands.size(), 1u) << "not during a refill";
}

TEST_F(SettingsTabWindow, ABoxIsSetByItsKeyAlone) {
    settings_tab_set_int(tab.get(), "movie_pad", -12);
    settings_tab_set_int(tab.get(), "no_such_key", 5);
    EXPECT_EQ(text("movie_pad"), "-12");
    EXPECT_EQ(settings->movie_pad, 0);
}

TEST_F(SettingsTabWindow, CommandsOfOthersAreNotClaimed) {
    EXPECT_FALSE(press(800));
    EXPECT_FALSE(press(810));
    EXPECT_FALSE(press(1000));
    EXPECT_TRUE(press(807)) << "claimed, though nobody is there to choose";
    EXPECT_TRUE(press(808));
    EXPECT_TRUE(press(809));
    EXPECT_EQ(status(), "Loaded");
}

TEST_F(SettingsTabWindow, ShowingRefills) {
    settings_tab_show(tab.get(), false);
    EXPECT_FALSE(IsWindowVisible(tab->window));
    EXPECT_FALSE(IsWindowVisible(tab->top[0]));
    settings->movie_pad = 9;
    settings_tab_show(tab.get(), true);
    EXPECT_EQ(text("movie_pad"), "9");
    EXPECT_TRUE(IsWindowVisible(tab->window));
}

TEST_F(SettingsTabWindow, DestroyingReturnsWhatWasTaken) {
    settings_tab_destroy(tab.get());
    EXPECT_EQ(GetDlgItem(parent, 800), nullptr);
    EXPECT_EQ(GetDlgItem(parent, 801), nullptr);
    const uint32_t before = count_gdi_objects(GetCurrentProcess());
    ASSERT_GT(before, 0u);
    for (int32_t i = 0; i < 3; ++i) {
        ASSERT_EQ(settings_tab_create(tab.get(), parent, GetModuleHandleA(nullptr), settings.get(), path.c_str(), ""),
                  0);
        settings_tab_destroy(tab.get());
    }
    EXPECT_LE(count_gdi_objects(GetCurrentProcess()), before + 1);
    settings_tab_destroy(tab.get());
}

// Some eight hundred windows: made anew at every show they would be felt.
TEST_F(SettingsTabWindow, TheSameWindowsServeEveryShowRefillLayoutAndScroll) {
    const auto windows = [&] {
        std::vector<HWND> seen;
        const auto note = [](HWND window, LPARAM list) -> BOOL {
            reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
            return TRUE;
        };
        EnumChildWindows(parent, note, reinterpret_cast<LPARAM>(&seen));
        std::sort(seen.begin(), seen.end());
        return seen;
    };
    const std::vector<HWND> made = windows();
    EXPECT_GE(made.size(), size_t{kSettingInfoCount} * 2) << "a label and a box for each";
    settings_tab_show(tab.get(), false);
    settings_tab_show(tab.get(), true);
    settings_tab_refill(tab.get());
    settings_tab_layout(tab.get(), {0, 0, 1000, 500});
    settings_tab_wheel(tab.get(), -1200);
    EXPECT_LT(box_y(0), 0);
    EXPECT_EQ(windows(), made);
}
