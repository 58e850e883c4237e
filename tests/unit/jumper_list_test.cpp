// The shared start list: the layout it shares with the measuring programs, loading, selecting, rounds and distances.
#include "jumpers/jumper_list.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

namespace {
class JumperList : public testing::Test {
protected:
    void SetUp() override {
        memset(region.get(), 0xA5, sizeof *region);
        jumper_list_init(region.get());
    }
    int32_t load(std::initializer_list<int32_t> bibs) {
        JumperEntry entry[8] = {};
        int32_t count = 0;
        for (int32_t bib : bibs) {
            entry[count].bib = bib;
            snprintf(entry[count].name, sizeof entry[count].name, "name %d", bib);
            snprintf(entry[count].club, sizeof entry[count].club, "club %d", bib);
            snprintf(entry[count].extra, sizeof entry[count].extra, "x%d", bib);
            ++count;
        }
        return jumper_list_fill(region.get(), entry, count);
    }
    std::string text_of(int32_t row, int32_t round) const {
        char text[kDistanceTextSize];
        jumper_distance_text(jumper_list_distance(region.get(), row, round), text);
        return text;
    }
    // The region as another program's bytes.
    template <class T>
    T at(size_t offset) const {
        T value;
        memcpy(&value, reinterpret_cast<const uint8_t*>(region.get()) + offset, sizeof value);
        return value;
    }
    template <class T>
    void put(size_t offset, T value) {
        memcpy(reinterpret_cast<uint8_t*>(region.get()) + offset, &value, sizeof value);
    }
    std::unique_ptr<JumperRegion> region = std::make_unique<JumperRegion>();
};
constexpr size_t kFirst = 56, kRecord = 512;
}  // namespace

TEST_F(JumperList, ANewRegionIsZeroButForItsMark) {
    for (size_t i = 0; i < 102464; ++i) {
        if (i != 28) {
            ASSERT_EQ(at<uint8_t>(i), 0) << i;
        }
    }
    EXPECT_EQ(at<int32_t>(28), 1);
}

TEST_F(JumperList, LoadingWritesTheForerunnerAndTheJumpersAtTheirPlaces) {
    put<int32_t>(4, 2);
    put<int32_t>(8, 77);
    put<int32_t>(12, 5);
    put<int32_t>(16, 4711);
    put<int32_t>(kFirst + 7 * kRecord, 99);
    put<float>(kFirst + 84, 80.5f);
    put<int32_t>(kFirst + 84 + 108, 1);
    EXPECT_EQ(load({31, 32}), 3);

    EXPECT_EQ(at<int32_t>(0), 3);
    EXPECT_EQ(at<int32_t>(4), 2) << "the round is kept";
    EXPECT_EQ(at<int32_t>(8), 0);
    EXPECT_EQ(at<int32_t>(12), 0);
    EXPECT_EQ(at<int32_t>(16), 4711) << "not ours";
    EXPECT_EQ(at<int32_t>(24), 1);
    EXPECT_EQ(at<int32_t>(28), 1);
    const auto* bytes = reinterpret_cast<const char*>(region.get());
    EXPECT_EQ(at<int32_t>(kFirst), 0);
    EXPECT_STREQ(bytes + kFirst + 4, "FORERUNNER");
    EXPECT_STREQ(bytes + kFirst + 36, "");
    EXPECT_STREQ(bytes + kFirst + 68, "");
    EXPECT_EQ(at<int32_t>(kFirst + 84 + 108), 0) << "an old result must not become the new list's";
    EXPECT_EQ(at<int32_t>(kFirst + 2 * kRecord), 32);
    EXPECT_STREQ(bytes + kFirst + 2 * kRecord + 4, "name 32");
    EXPECT_STREQ(bytes + kFirst + 2 * kRecord + 36, "club 32");
    EXPECT_STREQ(bytes + kFirst + 2 * kRecord + 68, "x32");
    EXPECT_EQ(at<int32_t>(kFirst + 7 * kRecord), 0);
}

TEST_F(JumperList, AnEmptyFileLeavesTheForerunnerAlone) {
    EXPECT_EQ(load({}), 1);
    EXPECT_EQ(jumper_list_count(region.get()), 1);
    EXPECT_EQ(jumper_list_current(region.get()), 0);
}

TEST_F(JumperList, AFullFileFillsTheLastRecord) {
    const auto entries = std::make_unique<JumperEntry[]>(250);
    for (int32_t i = 0; i < 250; ++i) entries[i].bib = i + 1;
    EXPECT_EQ(jumper_list_fill(region.get(), entries.get(), 250), 200);
    EXPECT_EQ(at<int32_t>(kFirst + 199 * kRecord), 199);
    EXPECT_EQ(at<int64_t>(102456), 0) << "behind the last record";
}

TEST_F(JumperList, ATextCutToItsFieldEndsWithAWholeCharacterInTheRegion) {
    const std::string line = "5\t" + std::string(30, 'x') + "é\t" + std::string(29, 'y') + "€\t123456789😀\n";
    const auto reader = std::make_unique<JumperFileReader>();
    jumper_file_feed(reader.get(), line.data(), line.size());
    jumper_file_finish(reader.get());
    ASSERT_EQ(jumper_list_fill(region.get(), reader->entry, reader->count), 2);
    const auto* record = reinterpret_cast<const char*>(region.get()) + kFirst + kRecord;
    EXPECT_EQ(std::string(record + 4), std::string(30, 'x'));
    EXPECT_EQ(std::string(record + 36), std::string(29, 'y'));
    EXPECT_EQ(std::string(record + 68), "123456789");
    for (size_t end : {36u, 68u, 80u}) EXPECT_EQ(record[end - 1], '\0') << end;
}

TEST_F(JumperList, ATextThatAnotherProgramLeftUnterminatedIsReadUpToItsLastWholeCharacter) {
    load({5});
    auto* record = reinterpret_cast<char*>(region.get()) + kFirst + kRecord;
    constexpr char kName[] = "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxé";
    constexpr char kClub[] = "yyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyy";
    static_assert(sizeof kName == 33 && sizeof kClub == 33);
    memcpy(record + 4, kName, 32);
    memcpy(record + 36, kClub, 32);
    JumperRow row;
    jumper_list_row(region.get(), 1, &row);
    EXPECT_EQ(std::string(row.name), std::string(30, 'x'));
    EXPECT_EQ(std::string(row.club), std::string(31, 'y'));
}

TEST_F(JumperList, RoundsStayWithinZeroAndTwo) {
    jumper_round_down(region.get());
    EXPECT_EQ(region->round, 0);
    for (int32_t i = 0; i < 3; ++i) jumper_round_up(region.get());
    EXPECT_EQ(region->round, 2);
    jumper_round_down(region.get());
    EXPECT_EQ(region->round, 1);
}

TEST_F(JumperList, SelectingABibFindsTheFirstWithIt) {
    load({5, 9, 9});
    EXPECT_EQ(jumper_list_select_bib(region.get(), 9), 2);
    EXPECT_EQ(region->current_index, 2);
    EXPECT_EQ(region->current_bib, 9);
    EXPECT_EQ(jumper_list_select_bib(region.get(), 0), 0) << "the forerunner";
}

TEST_F(JumperList, ABibThatIsNotInTheListChangesNothing) {
    load({5, 9});
    jumper_list_select_bib(region.get(), 5);
    EXPECT_EQ(jumper_list_select_bib(region.get(), 6), -1);
    EXPECT_EQ(region->current_index, 1);
    EXPECT_EQ(region->current_bib, 5);
}

TEST_F(JumperList, OnlyRowsOfTheListCanBeSelected) {
    load({5, 9});
    EXPECT_TRUE(jumper_list_select_row(region.get(), 2));
    EXPECT_EQ(region->current_bib, 9);
    for (int32_t row : {-1, 3, 200, INT32_MAX, INT32_MIN}) EXPECT_FALSE(jumper_list_select_row(region.get(), row));
    EXPECT_EQ(region->current_index, 2);
}

TEST_F(JumperList, ADistanceIsShownWhenItsFlagIsSet) {
    load({5});
    put<float>(kFirst + kRecord + 84, 101.25f);
    put<float>(kFirst + kRecord + 220, 88.96f);
    put<float>(kFirst + kRecord + 356, 77.7f);
    EXPECT_EQ(text_of(1, 0), "") << "a distance without its flag is none";
    put<int32_t>(kFirst + kRecord + 220 + 108, -1);
    put<int32_t>(kFirst + kRecord + 356 + 108, 1);
    EXPECT_EQ(text_of(1, 0), "");
    EXPECT_EQ(text_of(1, 1), "89.0");
    EXPECT_EQ(text_of(1, 2), "77.7");
}

TEST_F(JumperList, WhateverOtherProgramsWriteIsReadWithinBounds) {
    memset(region.get(), 0xFF, sizeof *region);
    EXPECT_EQ(jumper_list_count(region.get()), 0) << "a negative count is none";
    EXPECT_EQ(jumper_list_current(region.get()), -1);
    region->count = INT32_MAX;
    region->current_index = 200;
    EXPECT_EQ(jumper_list_count(region.get()), 200);
    EXPECT_EQ(jumper_list_current(region.get()), -1);
    JumperRow row;
    jumper_list_row(region.get(), 199, &row);
    EXPECT_EQ(strlen(row.name), 31u);
    EXPECT_EQ(strlen(row.club), 31u);
    for (int32_t bad : {-1, 200}) {
        jumper_list_row(region.get(), bad, &row);
        EXPECT_STREQ(row.name, "");
        EXPECT_FALSE(jumper_list_distance(region.get(), bad, 0).measured);
        EXPECT_FALSE(jumper_list_distance(region.get(), 0, bad == -1 ? -1 : 3).measured);
    }
    for (float value : {std::numeric_limits<float>::lowest(), std::nanf(""), INFINITY}) {
        put<float>(kFirst + 84, value);
        const std::string text = text_of(0, 0);
        EXPECT_GT(text.size(), 0u);
        EXPECT_LT(text.size(), size_t{kDistanceTextSize});
    }
}
