// The measuring program's command line, and what it writes into the start list.
#include "rig/measurement.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

static bool parse(const std::vector<const char*>& arguments, Measurement* measurement) {
    return measurement_parse(static_cast<int>(arguments.size()), arguments.data(), measurement);
}

TEST(RigMeasurement, TheCommandLineNamesJumperRoundAndDistance) {
    Measurement m = {};
    ASSERT_TRUE(parse({"12", "1", "98.5"}, &m));
    EXPECT_FALSE(m.by_index);
    EXPECT_EQ(m.jumper, 12);
    EXPECT_EQ(m.round, 1);
    EXPECT_EQ(m.metres, 98.5f);
    EXPECT_TRUE(m.valid);
    ASSERT_TRUE(parse({"--index", "0", "2", "77", "--invalid"}, &m));
    EXPECT_TRUE(m.by_index);
    EXPECT_EQ(m.jumper, 0);
    EXPECT_EQ(m.round, 2);
    EXPECT_FALSE(m.valid);
}

TEST(RigMeasurement, AnythingElseIsRefused) {
    const std::vector<std::vector<const char*>> wrong = {{},
                                                         {"12"},
                                                         {"12", "1"},
                                                         {"12", "3", "9"},
                                                         {"12", "-1", "9"},
                                                         {"-1", "0", "9"},
                                                         {"x", "0", "9"},
                                                         {"12", "0", "far"},
                                                         {"12", "0", "9m"},
                                                         {"12", "0", "nan"},
                                                         {"12", "0", "9", "9"},
                                                         {"--index"},
                                                         {"--invalid"},
                                                         {"", "0", "9"}};
    for (const auto& arguments : wrong) {
        Measurement m = {};
        m.jumper = 4711;
        EXPECT_FALSE(parse(arguments, &m)) << testing::PrintToString(arguments);
        EXPECT_EQ(m.jumper, 4711);
    }
}

TEST(RigMeasurement, WritesDistanceAndFlagOfOneResultAndNothingElse) {
    const auto region = std::make_unique<JumperRegion>();
    region->count = 3;
    region->records[1].bib = 7;
    region->records[2].bib = 12;
    auto expected = std::make_unique<JumperRegion>(*region);
    EXPECT_EQ(measurement_write(region.get(), {false, 12, 1, 98.5f, true}), 2);
    expected->records[2].result[1].distance = 98.5f;
    expected->records[2].result[1].valid = 1;
    EXPECT_EQ(memcmp(region.get(), expected.get(), sizeof *region), 0);
    EXPECT_EQ(measurement_write(region.get(), {true, 2, 1, 99.0f, false}), 2);
    expected->records[2].result[1].distance = 99.0f;
    expected->records[2].result[1].valid = 0;
    EXPECT_EQ(memcmp(region.get(), expected.get(), sizeof *region), 0);
}

TEST(RigMeasurement, WhomTheListDoesNotHaveIsNotMeasured) {
    const auto region = std::make_unique<JumperRegion>();
    region->count = 2;
    region->records[1].bib = 7;
    region->records[2].bib = 8;  // left over behind the list's end
    const auto untouched = std::make_unique<JumperRegion>(*region);
    EXPECT_EQ(measurement_write(region.get(), {false, 8, 0, 90.0f, true}), -1);
    EXPECT_EQ(measurement_write(region.get(), {true, 2, 0, 90.0f, true}), -1);
    EXPECT_EQ(memcmp(region.get(), untouched.get(), sizeof *region), 0);
    region->count = INT32_MAX;
    EXPECT_EQ(measurement_write(region.get(), {true, 200, 0, 90.0f, true}), -1);
    EXPECT_EQ(measurement_write(region.get(), {true, 199, 0, 90.0f, true}), 199);
    region->count = -1;
    EXPECT_EQ(measurement_write(region.get(), {true, 0, 0, 90.0f, true}), -1);
}
