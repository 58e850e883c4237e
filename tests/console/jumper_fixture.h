// What the tests of the jumper panel share: reading the list, clicking and typing in it, and the region behind it.
#pragma once

#include <windows.h>  // before commctrl.h, which needs it

#include <commctrl.h>

#include <string>
#include <utility>

#include "ipc/jumper_region.h"
#include "ipc/shared_access.h"
#include "tests/console/console_test.h"
#include "tests/console/remote.h"
#include "tests/console/screenshot.h"

inline constexpr int32_t kList = 600, kBib = 601, kRound = 602, kDown = 603, kUp = 604, kLoad = 605;
inline constexpr COLORREF kHighlight = RGB(0, 0x66, 0xCC);
inline constexpr char kFourJumpers[] =
    "Bib\tName\tClub\r\n"
    "1\tŽiga Čop\tSSK Ilirija\tSLO\r\n"
    "2\tMatti Ahonen\tLahden HS\tFIN\r\n"
    "12\tJörg Müller\tSC Hinterzarten\r\n"
    "7,a,b\r\n"
    "33\tEva Berg\tIF Nord\r\n";

class Jumpers : public ConsoleTest {
protected:
    void TearDown() override {
        if (region != nullptr) UnmapViewOfFile(region);
        if (mapping != nullptr) CloseHandle(mapping);
        ConsoleTest::TearDown();
    }
    void start_with_list(const std::string& list, const std::string& arguments = "") {
        installation_write(installation, "jumpers.csv", list);
        start_with({}, arguments);
        open_region();
    }
    void open_region() {
        mapping = OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, kJumperRegionName);
        ASSERT_NE(mapping, nullptr);
        region = static_cast<JumperRegion*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, kJumperRegionSize));
        ASSERT_NE(region, nullptr);
    }
    HWND list() const {
        return control(console, kList);
    }
    std::string cell(int32_t row, int32_t column) const {
        LVITEMW item = {};
        item.iSubItem = column;
        item.pszText = static_cast<wchar_t*>(remote_text_place(console));
        item.cchTextMax = 256;
        const LRESULT length =
            send_with_data(console, list(), LVM_GETITEMTEXTW, static_cast<WPARAM>(row), &item, sizeof item);
        return remote_text(console, static_cast<size_t>(length));
    }
    std::string row_text(int32_t row) const {
        std::string text;
        for (int32_t column = 0; column < 7; ++column) text += (column == 0 ? "" : "|") + cell(row, column);
        return text;
    }
    int32_t rows() const {
        DWORD_PTR count = 0;
        SendMessageTimeoutW(list(), LVM_GETITEMCOUNT, 0, 0, SMTO_NORMAL, kPatienceMs, &count);
        return static_cast<int32_t>(count);
    }
    std::string whole_list() const {
        std::string text;
        for (int32_t row = 0; row < rows(); ++row) text += row_text(row) + "\n";
        return text;
    }
    RECT row_place(int32_t row) const {
        RECT place = {LVIR_BOUNDS, 0, 0, 0};
        send_with_data(console, list(), LVM_GETITEMRECT, static_cast<WPARAM>(row), &place, sizeof place);
        return place;
    }
    void click(int32_t row, bool twice = false) const {
        const RECT place = row_place(row);
        const LPARAM point = MAKELPARAM(60, (place.top + place.bottom) / 2);
        PostMessageW(list(), WM_LBUTTONDOWN, MK_LBUTTON, point);
        PostMessageW(list(), WM_LBUTTONUP, 0, point);
        if (!twice) return;
        PostMessageW(list(), WM_LBUTTONDBLCLK, MK_LBUTTON, point);
        PostMessageW(list(), WM_LBUTTONUP, 0, point);
    }
    void enter_bib(const char* text) const {
        DWORD_PTR ignored = 0;
        for (const char* at = text; *at != '\0'; ++at) {
            SendMessageTimeoutW(control(console, kBib), WM_CHAR, static_cast<WPARAM>(*at), 1, SMTO_NORMAL,
                                kPatienceMs, &ignored);
        }
        PostMessageW(control(console, kBib), WM_KEYDOWN, VK_RETURN, 1);
        PostMessageW(control(console, kBib), WM_CHAR, '\r', 1);
    }
    testing::AssertionResult list_becomes(const std::string& expected) const {
        return becomes(
            "jumper list", [&] { return whole_list(); }, expected);
    }
    testing::AssertionResult current_becomes(int32_t index, int32_t bib) const {
        using Pair = std::pair<int32_t, int32_t>;
        return becomes(
            "current index and bib",
            [&] { return Pair(shared_load(region->current_index), shared_load(region->current_bib)); },
            Pair(index, bib));
    }
    testing::AssertionResult round_becomes(const std::string& text) const {
        return becomes(
            "round label", [&] { return window_text(control(console, kRound)); }, text);
    }
    // Starts the program, which cannot have its region.
    void expect_no_region() {
        installation_write(installation, "jumpers.csv", kFourJumpers);
        start_with({});
        EXPECT_TRUE(log_shows(installation, "WRN jumper panel: shared memory not available"));
        EXPECT_EQ(message_box(console), nullptr) << "loading at start-up is silent";
        EXPECT_EQ(rows(), 0);
        press_on(kTabPreview, kUp);
        enter_bib("1");
        press_on(kTabPreview, kLoad);
        ASSERT_TRUE(box_becomes("Load Jumpers"));
        EXPECT_NE(message_box_text(message_box(console)).find("Jumper shared memory not available."),
                  std::string::npos);
        press_in_box(IDOK);
        EXPECT_TRUE(box_becomes(""));
        EXPECT_EQ(rows(), 0);
        EXPECT_EQ(console_close(&console), 0);
    }
    // The title of the dialog or message box on the screen; empty for none.
    testing::AssertionResult box_becomes(const std::string& title) const {
        return becomes(
            "dialog",
            [&] {
                HWND box = message_box(console);
                return box != nullptr ? window_text(box) : std::string();
            },
            title);
    }
    void press_in_box(int32_t id) const {
        PostMessageW(message_box(console), WM_COMMAND, static_cast<WPARAM>(id), 0);
    }
    void choose_file(const std::string& path) const {
        constexpr int32_t kFileName = 1148;  // the Open dialog's combo box
        const std::wstring wide(path.begin(), path.end());
        DWORD_PTR ignored = 0;
        SendMessageTimeoutW(GetDlgItem(message_box(console), kFileName), WM_SETTEXT, 0,
                            reinterpret_cast<LPARAM>(wide.c_str()), SMTO_NORMAL, kPatienceMs, &ignored);
        press_in_box(IDOK);
    }
    testing::AssertionResult row_becomes(int32_t row, const std::string& expected) const {
        return becomes(
            "row", [&] { return row_text(row); }, expected);
    }
    // Runs the rig's measuring program to its end; its exit code.
    int32_t measure(const std::string& arguments) const {
        HANDLE process = installation_start(installation, "measure.exe", arguments, nullptr, nullptr);
        if (process == nullptr) return -1;
        DWORD code = 0;
        const bool ended = WaitForSingleObject(process, kPatienceMs) == WAIT_OBJECT_0;
        const bool known = ended && GetExitCodeProcess(process, &code) != FALSE;
        CloseHandle(process);
        return known ? static_cast<int32_t>(code) : -1;
    }
    // How many pixels of a row have this colour.
    int32_t pixels_of(int32_t row, COLORREF colour) const {
        const Picture picture = picture_of(list(), row_place(row));
        int32_t count = 0;
        for (int32_t y = 0; y < picture.height; ++y)
            for (int32_t x = 0; x < picture.width; ++x) count += pixel(picture, x, y) == colour ? 1 : 0;
        return count;
    }

    HANDLE mapping = nullptr;
    JumperRegion* region = nullptr;
};
