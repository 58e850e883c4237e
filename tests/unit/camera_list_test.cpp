// The camera chooser without its window.
#include "settings/camera_list.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

static CameraList parse(const std::string& bytes) {
    const auto reader = std::make_unique<CameraListReader>();
    camera_list_feed(reader.get(), bytes.data(), bytes.size());
    camera_list_finish(reader.get());
    return reader->list;
}

static std::vector<std::string> names(const CameraList& list) {
    std::vector<std::string> names;
    for (int32_t i = 0; i < list.count; ++i) names.emplace_back(list.device[i].name);
    return names;
}

static std::string item(const char* name, const char* path) {
    CameraDevice device = {};
    snprintf(device.name, sizeof device.name, "%s", name);
    snprintf(device.path, sizeof device.path, "%s", path);
    char text[kCameraItemSize];
    camera_item_text(&device, text);
    return text;
}

using Names = std::vector<std::string>;
using Three = std::array<std::string, 3>;

TEST(CameraListing, NameAndPathStandBetweenTheTabs) {
    const CameraList list = parse("0\tTop camera\t\\\\?\\usb#a\r\n1\tMiddle\tpath 1\n");
    ASSERT_EQ(list.count, 2);
    EXPECT_STREQ(list.device[0].name, "Top camera");
    EXPECT_STREQ(list.device[0].path, "\\\\?\\usb#a");
    EXPECT_STREQ(list.device[1].name, "Middle");
    EXPECT_STREQ(list.device[1].path, "path 1");
}

TEST(CameraListing, FirstColumnIsIgnored) {
    EXPECT_EQ(names(parse("anything at all\tA\ta\n\tB\tb\n")), (Names{"A", "B"}));
}

TEST(CameraListing, PathEndsAtTheNextTab) {
    EXPECT_STREQ(parse("0\tA\tpath\tmore\n").device[0].path, "path");
}

TEST(CameraListing, LineWithOnlyOneTabIsIgnored) {
    EXPECT_EQ(names(parse("0\tA\n1\tB\tb\nno tab\n")), Names{"B"});
}

TEST(CameraListing, EmptyLinesAndCommentsAreIgnored) {
    EXPECT_EQ(names(parse("\n\r\n\r0\tX\tx\n# 0\tY\ty\n0\tA\ta\n")), Names{"A"});
}

TEST(CameraListing, LastLineMayLackItsEnd) {
    EXPECT_EQ(names(parse("0\tA\ta\n1\tB\tb")), (Names{"A", "B"}));
}

TEST(CameraListing, ColumnsMayBeEmpty) {
    const CameraList list = parse("\t\t\n");
    ASSERT_EQ(list.count, 1);
    EXPECT_STREQ(list.device[0].name, "");
    EXPECT_STREQ(list.device[0].path, "");
}

TEST(CameraListing, SeventeenthDeviceIsIgnored) {
    const auto reader = std::make_unique<CameraListReader>();
    for (int32_t i = 0; i < 2000; ++i) {
        const std::string line = "0\tcamera " + std::to_string(i) + "\tpath\n";
        EXPECT_EQ(camera_list_feed(reader.get(), line.data(), line.size()), i < kMaxCameras - 1) << i;
    }
    camera_list_finish(reader.get());
    EXPECT_EQ(reader->list.count, 16);
    EXPECT_STREQ(reader->list.device[15].name, "camera 15");
}

TEST(CameraListing, SeventeenthDeviceWithoutLineEndIsIgnored) {
    std::string bytes;
    for (int32_t i = 0; i < 16; ++i) bytes += "0\tA\ta\n";
    EXPECT_EQ(parse(bytes + "0\tB\tb").count, 16);
}

TEST(CameraListing, TwoThousandLinesWithoutADeviceGiveNone) {
    std::string bytes;
    for (int32_t i = 0; i < 2000; ++i) bytes += "warning: the driver says something\n";
    EXPECT_EQ(parse(bytes).count, 0);
}

TEST(CameraListing, ArrivesInAnyPieces) {
    const std::string bytes = "# list\n0\tTop\tpath 0\n1\tMiddle\tpath 1\n";
    for (size_t cut = 0; cut <= bytes.size(); ++cut) {
        const auto reader = std::make_unique<CameraListReader>();
        camera_list_feed(reader.get(), bytes.data(), cut);
        camera_list_feed(reader.get(), bytes.data() + cut, bytes.size() - cut);
        camera_list_finish(reader.get());
        EXPECT_EQ(names(reader->list), (Names{"Top", "Middle"})) << cut;
    }
}

TEST(CameraListing, LineOf1023CharactersIsOneLine) {
    const std::string start = "0\tA\t";
    EXPECT_EQ(parse(start + std::string(1022 - start.size(), 'x') + "\n").count, 1);
    // One more, and the line end is a line of its own.
    EXPECT_EQ(parse(start + std::string(1023 - start.size(), 'x') + "\n").count, 1);
}

TEST(CameraListing, LongerLineCountsAsSeveral) {
    // The second piece begins where the first 1,023 characters end.
    EXPECT_EQ(names(parse(std::string(1023, 'x') + "0\tB\tb\n")), Names{"B"});
    EXPECT_EQ(names(parse(std::string(1022, 'x') + "0\tB\tb\n")), Names{"B"});  // its first column is cut off
    EXPECT_EQ(parse(std::string(1021, 'x') + "0\tB\tb\n").count, 0);            // and here a TAB with it
}

TEST(CameraListing, LongFieldsKeep255Characters) {
    const CameraList list = parse("0\t" + std::string(300, 'n') + "\t" + std::string(400, 'p') + "\n");
    ASSERT_EQ(list.count, 1);
    EXPECT_EQ(list.device[0].name, std::string(255, 'n'));
    EXPECT_EQ(list.device[0].path, std::string(255, 'p'));
}

TEST(CameraListing, LongFieldIsCutBetweenTwoCharacters) {
    // 254 letters and a character of two bytes: it does not fit.
    EXPECT_EQ(parse("0\t" + std::string(254, 'n') + "\u00e5\tp\n").device[0].name, std::string(254, 'n'));
    EXPECT_EQ(parse("0\t" + std::string(253, 'n') + "\u00e5\u00e5\tp\n").device[0].name,
              std::string(253, 'n') + "\u00e5");
}

TEST(CameraListing, NulHidesTheRestOfItsLine) {
    using namespace std::string_literals;
    EXPECT_EQ(names(parse("0\tA\0\ta\n0\tB\tb\0c\n"s)), Names{"B"});
    EXPECT_STREQ(parse("0\tB\tb\0c\n"s).device[0].path, "b");
}

TEST(CameraListing, BinaryOutputGivesNoDeviceAndNoHarm) {
    std::string bytes;
    for (int32_t i = 0; i < 100'000; ++i) bytes += static_cast<char>(i * 37 % 251 | 0x80);
    EXPECT_EQ(parse(bytes).count, 0);
}

TEST(CameraItem, ShowsThePartBetweenTheSecondAndThirdNumberSign) {
    EXPECT_EQ(item("Cam", "\\\\?\\usb#vid_1&pid_2#7&abc#{guid}\\global"), "Cam  [7&abc]");
}

TEST(CameraItem, WithoutThreeNumberSignsTheWholePathIsShown) {
    EXPECT_EQ(item("Cam", "usb#vid#7&abc"), "Cam  [usb#vid#7&abc]");
    EXPECT_EQ(item("Cam", "plain"), "Cam  [plain]");
    EXPECT_EQ(item("Cam", ""), "Cam  []");
}

TEST(CameraItem, EmptyPartShowsTheWholePath) {
    EXPECT_EQ(item("Cam", "usb#vid##{guid}"), "Cam  [usb#vid##{guid}]");
}

TEST(CameraItem, LongestTextsFit) {
    const std::string full(255, 'x');
    EXPECT_EQ(item(full.c_str(), full.c_str()), full + "  [" + full + "]");
}

namespace {

class CameraChoosing : public testing::Test {
protected:
    void SetUp() override {
        refill("0\tA\tpath-a\n1\tB\tpath-b\n2\tC\tpath-c\n3\tD\tpath-d\n");
    }
    void seed(const char* path0, const char* path1, const char* path2) {
        snprintf(choice->path[0], kSettingTextSize, "%s", path0);
        snprintf(choice->path[1], kSettingTextSize, "%s", path1);
        snprintf(choice->path[2], kSettingTextSize, "%s", path2);
        const CameraList list = choice->list;
        camera_choice_refill(choice.get(), &list);
    }
    void refill(const char* bytes) {
        const CameraList list = parse(bytes);
        camera_choice_refill(choice.get(), &list);
    }
    Three results() const {
        return {camera_choice_result(choice.get(), 0), camera_choice_result(choice.get(), 1),
                camera_choice_result(choice.get(), 2)};
    }
    std::array<int32_t, 3> shown() const {
        return {choice->shown[0], choice->shown[1], choice->shown[2]};
    }
    using Items = std::array<int32_t, 3>;
    std::unique_ptr<CameraChoice> choice = std::make_unique<CameraChoice>();
};

}  // namespace

TEST_F(CameraChoosing, FeedShowsItsCameraWhateverTheCase) {
    seed("PATH-C", "", "path-A");
    EXPECT_EQ(shown(), (Items{3, 0, 1}));
    EXPECT_EQ(results(), (Three{"path-c", "", "path-a"}));
}

TEST_F(CameraChoosing, CameraThatIsNotListedShowsAsUnused) {
    seed("path-x", "path-a2", "path-");
    EXPECT_EQ(shown(), (Items{0, 0, 0}));
    EXPECT_EQ(results(), (Three{"", "", ""}));
}

TEST_F(CameraChoosing, FeedWithoutCameraIsUnusedThoughADeviceHasNoPath) {
    refill("0\tNameless\t\n");
    EXPECT_EQ(shown(), (Items{0, 0, 0}));
}

TEST_F(CameraChoosing, CameraThatComesBackIsShownAgain) {
    seed("path-a", "path-b", "");
    refill("0\tB\tpath-b\n");
    EXPECT_EQ(shown(), (Items{0, 1, 0}));
    refill("0\tB\tpath-b\n1\tA\tpath-a\n");
    EXPECT_EQ(shown(), (Items{2, 1, 0}));
}

TEST_F(CameraChoosing, PickGivesTheFeedTheDevice) {
    EXPECT_EQ(camera_choice_pick(choice.get(), 1, 4), -1);
    EXPECT_EQ(results(), (Three{"", "path-d", ""}));
}

TEST_F(CameraChoosing, PickOfUnusedEmptiesTheFeed) {
    seed("path-a", "path-b", "");
    EXPECT_EQ(camera_choice_pick(choice.get(), 0, 0), -1);
    EXPECT_EQ(results(), (Three{"", "path-b", ""}));
    EXPECT_STREQ(choice->path[0], "");
}

TEST_F(CameraChoosing, ItemThatIsNoneCountsAsUnused) {
    seed("path-a", "path-b", "");
    EXPECT_EQ(camera_choice_pick(choice.get(), 0, -1), -1);
    EXPECT_EQ(camera_choice_pick(choice.get(), 1, 5), -1);
    EXPECT_EQ(results(), (Three{"", "", ""}));
}

TEST_F(CameraChoosing, PickingAnotherFeedsCameraMovesThisOnesThere) {
    seed("path-a", "path-b", "");
    EXPECT_EQ(camera_choice_pick(choice.get(), 1, 1), 0);
    EXPECT_EQ(results(), (Three{"path-b", "path-a", ""}));
    EXPECT_EQ(shown(), (Items{2, 1, 0}));
}

TEST_F(CameraChoosing, PickingAnotherFeedsCameraForAnEmptyFeedEmptiesTheOther) {
    seed("path-a", "path-b", "");
    EXPECT_EQ(camera_choice_pick(choice.get(), 2, 2), 1);
    EXPECT_EQ(results(), (Three{"path-a", "", "path-b"}));
}

TEST_F(CameraChoosing, CameraThatIsNoLongerListedMovesAlongAndShowsAsUnused) {
    seed("path-x", "path-b", "");
    EXPECT_EQ(camera_choice_pick(choice.get(), 0, 2), 1);
    EXPECT_EQ(results(), (Three{"path-b", "", ""}));
    EXPECT_STREQ(choice->path[1], "path-x");
    refill("0\tX\tpath-x\n1\tB\tpath-b\n");
    EXPECT_EQ(results(), (Three{"path-b", "path-x", ""}));
}

TEST_F(CameraChoosing, SamePathInOtherLettersIsADuplicate) {
    refill("0\tA\tpath-a\n1\tA again\tPATH-A\n");
    camera_choice_pick(choice.get(), 0, 1);
    EXPECT_EQ(camera_choice_pick(choice.get(), 2, 2), 0);
    EXPECT_EQ(results(), (Three{"", "", "PATH-A"}));
}

TEST_F(CameraChoosing, FirstFeedThatShowsTheCameraGivesItUp) {
    seed("path-a", "path-a", "path-c");
    EXPECT_EQ(camera_choice_pick(choice.get(), 2, 1), 0);
    EXPECT_EQ(results(), (Three{"path-c", "path-a", "path-a"}));
}

TEST_F(CameraChoosing, PickingWhatIsShownChangesNothing) {
    seed("path-a", "path-b", "path-c");
    EXPECT_EQ(camera_choice_pick(choice.get(), 1, 2), -1);
    EXPECT_EQ(results(), (Three{"path-a", "path-b", "path-c"}));
}

TEST_F(CameraChoosing, NoTwoFeedsHoldOneCameraAfterAnyPicks) {
    uint32_t random = 1;
    for (int32_t step = 0; step < 5000; ++step) {
        random = random * 1664525u + 1013904223u;
        camera_choice_pick(choice.get(), static_cast<int32_t>(random >> 8) % 3,
                           static_cast<int32_t>(random >> 20) % 5);
        const Three now = results();
        for (size_t a = 0; a < 3; ++a)
            for (size_t b = a + 1; b < 3; ++b) ASSERT_TRUE(now[a].empty() || now[a] != now[b]) << step;
    }
}

TEST_F(CameraChoosing, SwapExchangesPathsAndSelections) {
    seed("path-a", "path-b", "path-x");
    camera_choice_swap(choice.get(), 0, 2);
    EXPECT_EQ(shown(), (Items{0, 2, 1}));
    EXPECT_STREQ(choice->path[0], "path-x");
    EXPECT_STREQ(choice->path[2], "path-a");
    EXPECT_EQ(results(), (Three{"", "path-b", "path-a"}));
}

static std::string message(CameraSearch search, int32_t count) {
    char text[kCameraMessageSize];
    camera_search_message(search, count, text);
    return text;
}

TEST(CameraSearchMessage, SaysHowTheSearchStands) {
    EXPECT_EQ(message(CameraSearch::running, 0), "Looking for cameras...");
    EXPECT_EQ(message(CameraSearch::complete, 0), "0 cameras found.");
    EXPECT_EQ(message(CameraSearch::complete, 1), "1 camera found.");
    EXPECT_EQ(message(CameraSearch::complete, 16), "16 cameras found.");
    EXPECT_EQ(message(CameraSearch::not_started, 0),
              "capture.exe could not be started. Cancel keeps the cameras as they are.");
    EXPECT_EQ(message(CameraSearch::ended_late, 2), "capture.exe did not finish and was ended. 2 cameras found.");
}

TEST(CameraPosition, FileHasTwoLines) {
    char text[kCameraPositionSize];
    camera_position_text(-120, 45, text);
    EXPECT_STREQ(text, "x=-120\ny=45\n");
    camera_position_text(INT32_MIN, INT32_MIN, text);
    EXPECT_STREQ(text, "x=-2147483648\ny=-2147483648\n");
}
