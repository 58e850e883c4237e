// The jumper panel of the running program: what it shows, what clicking and typing do, and how it follows the region
// that other programs write.
#include <windows.h>  // before commctrl.h, which needs it

#include <commctrl.h>

#include <memory>
#include <string>
#include <vector>

#include "ipc/jumper_region.h"
#include "ipc/shared_access.h"
#include "tests/console/console_test.h"
#include "tests/console/remote.h"
#include "tests/console/screenshot.h"

namespace {

constexpr int32_t kList = 600, kBib = 601, kRound = 602, kDown = 603, kUp = 604, kLoad = 605;
constexpr COLORREF kHighlight = RGB(0, 0x66, 0xCC);
constexpr char kFourJumpers[] =
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

}  // namespace

TEST_F(Jumpers, AStartListBesideTheSettingsIsThereAtStartUp) {
    start_with_list(kFourJumpers);
    EXPECT_TRUE(
        list_becomes("►|0|FORERUNNER||||\n"
                     "|1|Žiga Čop|SSK Ilirija|||\n"
                     "|2|Matti Ahonen|Lahden HS|||\n"
                     "|12|Jörg Müller|SC Hinterzarten|||\n"
                     "|33|Eva Berg|IF Nord|||\n"));
    const std::string path = installation.folder + "\\jumpers.csv";
    EXPECT_TRUE(log_shows_in_order(
        installation, {"jumper panel: shared memory mapped (0 jumpers)", "jumper highlight: index=0",
                       "jumper_panel: loaded 5 jumpers from " + path, "auto-loaded 5 jumpers from " + path}));
    EXPECT_EQ(region->count, 5);
    EXPECT_EQ(region->list_loaded, 1);
    EXPECT_EQ(region->initialised, 1);
    EXPECT_EQ(message_box(console), nullptr);
}

TEST_F(Jumpers, WithoutAStartListThePanelIsEmptyAndSaysNothing) {
    start_with({});
    open_region();
    EXPECT_EQ(rows(), 0);
    EXPECT_EQ(region->list_loaded, 0);
    EXPECT_EQ(region->initialised, 1);
    EXPECT_EQ(log_count(installation, "*loaded*jumpers*"), 0);
}

TEST_F(Jumpers, AnEmptyStartListLeavesTheForerunner) {
    start_with_list("");
    EXPECT_TRUE(list_becomes("►|0|FORERUNNER||||\n"));
    EXPECT_TRUE(log_shows(installation, "auto-loaded 1 jumpers from *"));
}

TEST_F(Jumpers, OfALongStartList199JumpersAreShown) {
    std::string text;
    for (int32_t i = 1; i <= 250; ++i) text += std::to_string(i) + "\tname\tclub\n";
    start_with_list(text);
    EXPECT_EQ(rows(), 200);
    EXPECT_EQ(row_text(199), "|199|name|club|||");
    EXPECT_TRUE(log_shows(installation, "auto-loaded 200 jumpers from *"));
}

TEST_F(Jumpers, AnUnattendedRunLoadsItsListToo) {
    start_with_list(kFourJumpers, "--practice-test");
    EXPECT_TRUE(log_shows(installation, "auto-loaded 5 jumpers from *"));
    send_command(console, kLoad);
    ASSERT_TRUE(console_answers(console, kPatienceMs));
    Sleep(500);
    EXPECT_EQ(message_box(console), nullptr) << "nobody is there to answer a dialog";
}

TEST_F(Jumpers, TheControlsStandRightOfTheDividerAndGoWithTheTab) {
    start_with_list(kFourJumpers);
    const RECT picture = client_place(console, control(console, 110));
    const RECT place = client_place(console, list());
    const int32_t left = picture.left + 700 + 6;
    EXPECT_EQ(place.left, left);
    EXPECT_EQ(place.right - place.left, 280);
    EXPECT_EQ(place.top, picture.top + 60);
    EXPECT_EQ(place.bottom, picture.bottom);
    const struct {
        int32_t id;
        int32_t x, y, width, height;
    } expected[] = {{kRound, 5, 5, 80, 20},
                    {kDown, 90, 3, 24, 22},
                    {kUp, 118, 3, 24, 22},
                    {kBib, 5, 30, 60, 22},
                    {kLoad, 70, 30, 60, 22}};
    for (const auto& row : expected) {
        const RECT got = client_place(console, control(console, row.id));
        EXPECT_EQ(got.left - left, row.x) << row.id;
        EXPECT_EQ(got.top - picture.top, row.y) << row.id;
        EXPECT_EQ(got.right - got.left, row.width) << row.id;
        EXPECT_EQ(got.bottom - got.top, row.height) << row.id;
        EXPECT_TRUE(is_shown(console, row.id));
    }
    EXPECT_EQ(button_text(console, kDown), "-");
    EXPECT_EQ(button_text(console, kUp), "+");
    EXPECT_EQ(button_text(console, kLoad), "Load...");
    ASSERT_TRUE(select_tab(console, kTabFeeds));
    for (int32_t id = kList; id <= kLoad; ++id) EXPECT_FALSE(is_shown(console, id)) << id;
    ASSERT_TRUE(select_tab(console, kTabPreview));
    for (int32_t id = kList; id <= kLoad; ++id) EXPECT_TRUE(is_shown(console, id)) << id;
}

TEST_F(Jumpers, TheColumnsHaveTheirTitlesWidthsAndSides) {
    start_with_list(kFourJumpers);
    const struct {
        const char* title;
        int32_t width;
        int32_t side;
    } expected[] = {{"", 36, LVCFMT_CENTER},   {"#", 45, LVCFMT_RIGHT},     {"Name", 100, LVCFMT_LEFT},
                    {"Club", 80, LVCFMT_LEFT}, {"Pract", 55, LVCFMT_RIGHT}, {"Rd 1", 55, LVCFMT_RIGHT},
                    {"Rd 2", 55, LVCFMT_RIGHT}};
    int32_t index = 0;
    for (const auto& row : expected) {
        LVCOLUMNW column = {};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
        column.pszText = static_cast<wchar_t*>(remote_text_place(console));
        column.cchTextMax = 64;
        ASSERT_TRUE(
            send_with_data(console, list(), LVM_GETCOLUMNW, static_cast<WPARAM>(index), &column, sizeof column));
        const std::string title = remote_text(console, 64);
        EXPECT_EQ(title.substr(0, title.find('\0')), row.title);
        EXPECT_EQ(column.cx, row.width) << row.title;
        EXPECT_EQ(column.fmt & LVCFMT_JUSTIFYMASK, row.side) << row.title;
        ++index;
    }
}

TEST_F(Jumpers, AClickMakesARowTheCurrentJumper) {
    start_with_list(kFourJumpers);
    click(2);
    EXPECT_TRUE(current_becomes(2, 2));
    EXPECT_TRUE(log_shows(installation, "jumper highlight: index=2"));
    EXPECT_EQ(row_text(2), "►|2|Matti Ahonen|Lahden HS|||");
    EXPECT_EQ(row_text(0), "|0|FORERUNNER||||");
    click(4, true);
    EXPECT_TRUE(current_becomes(4, 33));
    EXPECT_TRUE(log_shows(installation, "jumper highlight: index=4"));
    EXPECT_EQ(log_count(installation, "jumper highlight: index=4"), 1);
    EXPECT_EQ(cell(2, 0), "");
    EXPECT_EQ(cell(4, 0), "►");
}

TEST_F(Jumpers, AClickBelowTheListChangesNothing) {
    start_with_list(kFourJumpers);
    click(2);
    EXPECT_TRUE(current_becomes(2, 2));
    const LPARAM point = MAKELPARAM(60, row_place(4).bottom + 30);
    PostMessageW(list(), WM_LBUTTONDOWN, MK_LBUTTON, point);
    PostMessageW(list(), WM_LBUTTONUP, 0, point);
    ASSERT_TRUE(console_answers(console, kPatienceMs));
    Sleep(1500);
    EXPECT_TRUE(current_becomes(2, 2));
    EXPECT_EQ(cell(2, 0), "►");
}

TEST_F(Jumpers, ABibAndReturnSelectTheJumperAndEmptyTheEntry) {
    start_with_list(kFourJumpers);
    enter_bib("12");
    EXPECT_TRUE(current_becomes(3, 12));
    EXPECT_TRUE(log_shows_in_order(installation,
                                   {"jumper_panel: selected jumper #12 (index 3)", "jumper highlight: index=3"}));
    EXPECT_EQ(window_text(control(console, kBib)), "");
    EXPECT_EQ(cell(3, 0), "►");
}

TEST_F(Jumpers, ABibThatIsNotInTheListChangesNothing) {
    start_with_list(kFourJumpers);
    enter_bib("2");
    EXPECT_TRUE(current_becomes(2, 2));
    enter_bib("7");
    EXPECT_TRUE(becomes(
        "bib entry", [&] { return window_text(control(console, kBib)); }, std::string()));
    EXPECT_TRUE(current_becomes(2, 2));
    enter_bib("");
    ASSERT_TRUE(console_answers(console, kPatienceMs));
    EXPECT_TRUE(current_becomes(2, 2));
    EXPECT_EQ(log_count(installation, "jumper_panel: selected jumper *"), 1);
}

TEST_F(Jumpers, TheRoundGoesFromZeroToTwoAndBack) {
    start_with_list(kFourJumpers);
    EXPECT_TRUE(round_becomes("Round: 0"));
    press_on(kTabPreview, kDown);
    EXPECT_TRUE(round_becomes("Round: 0"));
    for (int32_t i = 0; i < 3; ++i) press_on(kTabPreview, kUp);
    EXPECT_TRUE(round_becomes("Round: 2"));
    ASSERT_TRUE(console_answers(console, kPatienceMs));
    EXPECT_EQ(shared_load(region->round), 2);
    press_on(kTabPreview, kDown);
    EXPECT_TRUE(round_becomes("Round: 1"));
    EXPECT_EQ(shared_load(region->round), 1);
}

TEST_F(Jumpers, DistancesThatAnotherProgramMeasuresAppearByThemselves) {
    start_with_list(kFourJumpers);
    JumperRecord& record = region->records[3];
    shared_store(record.result[0].distance, 101.26f);
    shared_store(record.result[0].valid, 1);
    shared_store(record.result[1].distance, 88.0f);
    shared_store(record.result[2].distance, 79.94f);
    shared_store(record.result[2].valid, 7);
    EXPECT_TRUE(becomes(
        "row", [&] { return row_text(3); }, std::string("|12|Jörg Müller|SC Hinterzarten|101.3||79.9")))
        << "round 1 has a distance but no flag";
    shared_store(record.result[0].valid, 0);
    EXPECT_TRUE(becomes(
        "row", [&] { return row_text(3); }, std::string("|12|Jörg Müller|SC Hinterzarten|||79.9")));
}

TEST_F(Jumpers, AJumperThatAnotherProgramAppendsAppearsByHimself) {
    start_with_list("5\tAnna\tIF\n");
    EXPECT_TRUE(list_becomes("►|0|FORERUNNER||||\n|5|Anna|IF|||\n"));
    JumperRecord& record = region->records[2];
    record.bib = 6;
    memcpy(record.name, "Boris", 6);
    record.result[0].distance = 70.0f;
    record.result[0].valid = 1;
    shared_store(region->count, 3);
    shared_store(region->current_index, 2);
    EXPECT_TRUE(list_becomes("|0|FORERUNNER||||\n|5|Anna|IF|||\n►|6|Boris||70.0||\n"));
}

TEST_F(Jumpers, WhateverAnotherProgramWritesTheWindowLives) {
    start_with_list(kFourJumpers);
    memset(region, 0xFF, sizeof *region);
    EXPECT_TRUE(becomes(
        "rows", [&] { return rows(); }, 0));
    shared_store(region->count, INT32_MAX);
    shared_store(region->current_index, INT32_MAX);
    EXPECT_TRUE(becomes(
        "rows", [&] { return rows(); }, 200));
    EXPECT_TRUE(round_becomes("Round: -1"));
    EXPECT_TRUE(console_answers(console, kPatienceMs));
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(Jumpers, TheCurrentRowIsWhiteOnBlueAndTheOthersBlackOnWhite) {
    start_with_list(kFourJumpers);
    click(2);
    EXPECT_TRUE(log_shows(installation, "jumper highlight: index=2"));
    EXPECT_TRUE(becomes(
        "blue pixels in the old row", [&] { return pixels_of(0, kHighlight); }, 0));
    EXPECT_TRUE(wait_until([&] { return pixels_of(2, kHighlight) > 1000; })) << pixels_of(2, kHighlight);
    EXPECT_GT(pixels_of(2, RGB(255, 255, 255)), 20) << "its text";
    for (int32_t row : {0, 1, 3, 4}) {
        EXPECT_EQ(pixels_of(row, kHighlight), 0) << row;
        EXPECT_GT(pixels_of(row, RGB(255, 255, 255)), 1000) << row;
        EXPECT_GT(pixels_of(row, RGB(0, 0, 0)), 20) << row;
    }
}

TEST_F(Jumpers, ARunningRigsListIsTakenOverAsItIs) {
    mapping =
        CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kJumperRegionSize, kJumperRegionName);
    region = static_cast<JumperRegion*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, kJumperRegionSize));
    ASSERT_NE(region, nullptr);
    memset(region, 0, sizeof *region);
    region->count = 2;
    region->round = 1;
    region->current_index = 1;
    region->records[1].bib = 44;
    memcpy(region->records[1].name, "Nadja", 6);
    start_with({});
    EXPECT_TRUE(log_shows(installation, "jumper panel: shared memory mapped (2 jumpers)"));
    EXPECT_TRUE(list_becomes("|0|||||\n►|44|Nadja||||\n"));
    EXPECT_TRUE(round_becomes("Round: 1"));
    EXPECT_EQ(shared_load(region->initialised), 0);
}
