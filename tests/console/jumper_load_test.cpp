// Where the jumper panel's list comes from: the file beside the settings, a file of the operator's choice, or whoever
// made the region first; and what happens when there is no region or no file.
#include <cstring>
#include <string>

#include "tests/console/jumper_fixture.h"

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

TEST_F(Jumpers, TheOperatorLoadsAListOfHisChoice) {
    installation_write(installation, "other.txt", "8\tAnna\tIF\n9\tBea\tSK\tNOR\n");
    start_with_list(kFourJumpers);
    press_on(kTabPreview, kUp);
    EXPECT_TRUE(round_becomes("Round: 1"));
    click(2);
    EXPECT_TRUE(current_becomes(2, 2));
    press_on(kTabPreview, kLoad);
    ASSERT_TRUE(box_becomes("Load Jumper File"));
    choose_file(installation.folder + "\\other.txt");
    ASSERT_TRUE(box_becomes("Load Jumpers"));
    EXPECT_NE(message_box_text(message_box(console)).find("Loaded 3 jumpers."), std::string::npos);
    press_in_box(IDOK);
    EXPECT_TRUE(list_becomes("►|0|FORERUNNER||||\n|8|Anna|IF|||\n|9|Bea|SK|||\n"));
    EXPECT_TRUE(current_becomes(0, 0));
    EXPECT_EQ(shared_load(region->round), 1) << "the round is kept";
    EXPECT_TRUE(
        log_shows(installation, "jumper_panel: loaded 3 jumpers from " + installation.folder + "\\other.txt"));
    EXPECT_EQ(log_count(installation, "auto-loaded *"), 1);
}

TEST_F(Jumpers, AnEmptyFileOfTheOperatorsChoiceLoadsOneJumper) {
    installation_write(installation, "other.txt", "");
    start_with_list(kFourJumpers);
    press_on(kTabPreview, kLoad);
    ASSERT_TRUE(box_becomes("Load Jumper File"));
    choose_file(installation.folder + "\\other.txt");
    ASSERT_TRUE(box_becomes("Load Jumpers"));
    EXPECT_NE(message_box_text(message_box(console)).find("Loaded 1 jumpers."), std::string::npos);
    press_in_box(IDOK);
    EXPECT_TRUE(list_becomes("►|0|FORERUNNER||||\n"));
}

TEST_F(Jumpers, ThinkingBetterOfItChangesNothing) {
    start_with_list("5\tAnna\tIF\n");
    press_on(kTabPreview, kLoad);
    ASSERT_TRUE(box_becomes("Load Jumper File"));
    press_in_box(IDCANCEL);
    EXPECT_TRUE(box_becomes(""));
    EXPECT_TRUE(list_becomes("►|0|FORERUNNER||||\n|5|Anna|IF|||\n"));
    EXPECT_EQ(log_count(installation, "jumper_panel: loaded *"), 1);
}

TEST_F(Jumpers, AFileThatCannotBeOpenedLeavesTheListAlone) {
    installation_write(installation, "other.txt", "8\tAnna\tIF\n");
    const std::string path = installation.folder + "\\other.txt";
    start_with_list("5\tAnna\tIF\n");
    press_on(kTabPreview, kLoad);
    ASSERT_TRUE(box_becomes("Load Jumper File"));
    HANDLE locked = CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(locked, INVALID_HANDLE_VALUE);
    choose_file(path);
    EXPECT_TRUE(box_becomes("Load Jumpers"));
    EXPECT_NE(message_box_text(message_box(console)).find("Cannot open file:\n" + path), std::string::npos);
    press_in_box(IDOK);
    EXPECT_TRUE(box_becomes(""));
    CloseHandle(locked);
    EXPECT_TRUE(list_becomes("►|0|FORERUNNER||||\n|5|Anna|IF|||\n"));
}

TEST_F(Jumpers, ClosingTheWindowBehindTheDialogEndsTheProgram) {
    start_with_list(kFourJumpers);
    press_on(kTabPreview, kLoad);
    ASSERT_TRUE(box_becomes("Load Jumper File"));
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(Jumpers, WithoutTheRegionThePanelSaysSoWhenAsked) {
    mapping = CreateEventA(nullptr, FALSE, FALSE, kJumperRegionName);  // the name is taken
    ASSERT_NE(mapping, nullptr);
    expect_no_region();
}

TEST_F(Jumpers, ARegionThatIsTooSmallIsNotTouched) {
    mapping = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, kJumperRegionName);
    ASSERT_NE(mapping, nullptr);
    expect_no_region();
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
