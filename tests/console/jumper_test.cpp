// The jumper panel of the running program: what it shows, what clicking and typing do, and how it follows the region
// that other programs write.
#include <cstring>
#include <string>

#include "tests/console/jumper_fixture.h"

TEST_F(Jumpers, TheControlsStandRightOfTheDividerAndGoWithTheTab) {
    start_with_list(kFourJumpers);
    const RECT picture = client_place(console, control(console, 110));
    const RECT place = client_place(console, list());
    const int32_t left = picture.left + 700 + 6;
    EXPECT_EQ(place.left, left);
    EXPECT_EQ(place.right, picture.right);
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

TEST_F(Jumpers, TheListFollowsTheDividerAndStaysInTheWindow) {
    start_with_list(kFourJumpers);
    HWND pictures = control(console, 110);
    const RECT area = client_place(console, pictures);
    const auto drag = [&](int32_t from, int32_t to) {
        PostMessageW(pictures, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(from, 100));
        PostMessageW(pictures, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(to, 100));
        PostMessageW(pictures, WM_LBUTTONUP, 0, MAKELPARAM(to, 100));
    };
    const auto left = [&] { return client_place(console, list()).left; };
    const auto load_left = [&] { return client_place(console, control(console, kLoad)).left; };
    drag(702, 500);
    EXPECT_TRUE(becomes("left edge", left, area.left + 506));
    EXPECT_TRUE(becomes("Load", load_left, area.left + 506 + 70));  // the controls move one after the other
    EXPECT_EQ(client_place(console, list()).right, area.right);
    drag(502, 3000);
    EXPECT_TRUE(becomes("left edge", left, area.right - 180));
    EXPECT_EQ(client_place(console, list()).right, area.right);
}

TEST_F(Jumpers, AllColumnsAreInSightInANewWindow) {
    std::string full;  // more rows than fit, so that the scroll bar takes its share
    for (int32_t i = 1; i <= 199; ++i) full += std::to_string(i) + "\tname\tclub\n";
    start_with_list(full);
    const RECT row = row_place(0);
    EXPECT_EQ(row.right - row.left, 36 + 45 + 100 + 80 + 3 * 55);
    EXPECT_GE(row.left, 0);
    RECT client;
    ASSERT_TRUE(GetClientRect(list(), &client));
    EXPECT_LE(row.right, client.right);
    EXPECT_EQ(GetWindowLongW(list(), GWL_STYLE) & WS_HSCROLL, 0);
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

TEST_F(Jumpers, AMeasuringProgramsDistancesAppearWithoutATouchOfTheWindow) {
    start_with_list(kFourJumpers);
    ASSERT_TRUE(installation_bring(installation, "measure.exe"));
    EXPECT_EQ(measure("12 0 101.26"), 0);
    EXPECT_TRUE(row_becomes(3, "|12|Jörg Müller|SC Hinterzarten|101.3||"));
    EXPECT_EQ(measure("--index 3 2 79.94"), 0);
    EXPECT_EQ(measure("0 1 66"), 0);
    EXPECT_TRUE(row_becomes(3, "|12|Jörg Müller|SC Hinterzarten|101.3||79.9"));
    EXPECT_TRUE(row_becomes(0, "►|0|FORERUNNER|||66.0|"));
    EXPECT_EQ(rows(), 5) << "measuring appends nobody";
    EXPECT_EQ(shared_load(region->count), 5);
    EXPECT_EQ(shared_load(region->current_index), 0);
    EXPECT_EQ(log_count(installation, "jumper highlight: *"), 1) << "loading alone moved it";
}

TEST_F(Jumpers, ADistanceWhoseFlagIsClearLeavesItsCellEmpty) {
    start_with_list(kFourJumpers);
    ASSERT_TRUE(installation_bring(installation, "measure.exe"));
    EXPECT_EQ(measure("12 1 88.0 --invalid"), 0);
    EXPECT_EQ(measure("12 2 79.9"), 0);
    EXPECT_TRUE(row_becomes(3, "|12|Jörg Müller|SC Hinterzarten|||79.9"));
    EXPECT_EQ(shared_load(region->records[3].result[1].distance), 88.0f);
    EXPECT_EQ(measure("12 2 80.5 --invalid"), 0);
    EXPECT_TRUE(row_becomes(3, "|12|Jörg Müller|SC Hinterzarten|||"));
}

TEST_F(Jumpers, AMeasuringProgramRefusesWhomTheListDoesNotHave) {
    installation_write(installation, "jumpers.csv", kFourJumpers);
    ASSERT_TRUE(installation_bring(installation, "measure.exe"));
    EXPECT_EQ(measure("12 0 90"), 1) << "no console, no list";
    start_with({});
    open_region();
    const JumperRegion before = *region;
    EXPECT_EQ(measure("7 0 90"), 1);
    EXPECT_EQ(measure("--index 5 0 90"), 1);
    EXPECT_EQ(measure("12 3 90"), 2);
    EXPECT_EQ(measure(""), 2);
    EXPECT_EQ(memcmp(region, &before, sizeof before), 0);
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

TEST_F(Jumpers, AProgramThatHoldsTheMutexDoesNotStopTheOperator) {
    start_with_list(kFourJumpers);
    open_shared();
    ASSERT_EQ(WaitForSingleObject(shared.mutex[kMutexJumpers], kPatienceMs), WAIT_OBJECT_0);
    press_on(kTabPreview, kUp);
    EXPECT_TRUE(round_becomes("Round: 1"));
    ReleaseMutex(shared.mutex[kMutexJumpers]);
}

TEST_F(Jumpers, TheCaptionOverTheCombinedPictureNamesTheCurrentJumper) {
    installation_write(installation, "controller_window.ini", "x=20\ny=20\nwidth=1500\nheight=1140\n");
    start_with_list("5\tAnna\tIF\n");
    const auto blue_pixels = [&] {
        const int32_t feed_height = 700 * 540 / 1920;
        const int32_t top = 3 * (feed_height + 5);
        const Picture picture = picture_of(control(console, 110), {0, top, 690, top + 40});
        int32_t count = 0;
        for (int32_t y = 0; y < picture.height; ++y)
            for (int32_t x = 0; x < picture.width; ++x) count += pixel(picture, x, y) == RGB(0, 0, 128) ? 1 : 0;
        return count;
    };
    EXPECT_TRUE(wait_until([&] { return blue_pixels() > 500; })) << blue_pixels();
    shared_store(region->count, 0);
    EXPECT_TRUE(becomes("blue pixels without a jumper", blue_pixels, 0));
}
