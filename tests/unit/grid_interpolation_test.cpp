// The table of metres by column, on grids whose values can be worked out on paper, and the arithmetic to the last
// bit.
#include "autosetup/grid_interpolation.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <initializer_list>
#include <random>

#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"

namespace {

struct Anchors {
    int32_t far_x, far_y, near_x, near_y;
};

class GridInterpolation : public testing::Test {
protected:
    LogCapture log;
    WorkspacePtr workspace = make_workspace();
    std::unique_ptr<Settings> settings = default_settings();

    GridInterpolation() {
        for (int32_t feed = 0; feed < 3; ++feed) lines(feed, 0, 0, {});
    }

    void lines(int32_t feed, int32_t start, int32_t increment, std::initializer_list<Anchors> anchors) {
        settings->meter_line_count[feed] = static_cast<int32_t>(anchors.size());
        settings->meter_line_start[feed] = start;
        settings->meter_line_increment[feed] = increment;
        int32_t line = 0;
        for (const Anchors& anchor : anchors) place(feed, line++, anchor);
    }

    void place(int32_t feed, int32_t line, const Anchors& anchor) {
        settings->far_lines[feed][line].x = anchor.far_x;
        settings->far_lines[feed][line].y = anchor.far_y;
        settings->near_lines[feed][line].x = anchor.near_x;
        settings->near_lines[feed][line].y = anchor.near_y;
    }

    int32_t run() {
        return auto_setup_interpolate(workspace.get(), settings.get());
    }

    const float* table(int32_t feed) const {
        return workspace->meters_at_x[feed];
    }

    void expect_invalid(int32_t feed) const {
        EXPECT_EQ(workspace->grid_valid[feed], 0U) << feed;
        for (int32_t x = 0; x < kPixelColumns; ++x) ASSERT_EQ(table(feed)[x], 0.0f) << feed << " " << x;
    }
};

// A line upright in column x.
Anchors upright(int32_t x) {
    return {x, 100, x, 500};
}

bool same_bits(float a, float b) {
    return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

}  // namespace

TEST_F(GridInterpolation, WithOneLineTheFeedIsInvalidAndItsTableZero) {
    std::fill_n(workspace->meters_at_x[1], kPixelColumns, 7.0f);
    workspace->grid_valid[1] = 1;
    lines(1, 100, 5, {upright(400)});
    EXPECT_EQ(run(), -1);
    expect_invalid(1);
}

TEST_F(GridInterpolation, WithoutLinesTheTableIsZeroedAndTheFailureTold) {
    std::fill_n(workspace->meters_at_x[2], kPixelColumns, 7.0f);
    settings->meter_line_count[0] = -3;
    EXPECT_EQ(run(), -1);
    for (int32_t feed = 0; feed < 3; ++feed) expect_invalid(feed);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"ERR auto_setup_interpolate: no feeds have valid grid lines"});
}

TEST_F(GridInterpolation, AnUnsetLineUsesUpItsNumber) {
    lines(1, 100, 5, {upright(400), {0, 0, 0, 0}, upright(1400)});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(table(1)[400], 100.0f);
    EXPECT_EQ(table(1)[1400], 110.0f);
    EXPECT_TRUE(log.has("INF feed 1: 2 grid lines, meter range 96.0..115.2"));
}

TEST_F(GridInterpolation, ALineIsUnsetOnlyWhenAllFourCoordinatesAreZero) {
    // Columns 0, 0, 0, 5 and 5 (one of the four set each), then 805.
    lines(1, 10, 1, {{0, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 0, 1}, {10, 0, 0, 0}, {0, 0, 10, 0}, upright(805)});
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(log.lines().front().starts_with("INF feed 1: 5 grid lines,")) << log.lines().front();
}

TEST_F(GridInterpolation, ColumnsBetweenAndBeyondTheLinesFollowThem) {
    lines(1, 100, 10, {upright(400), upright(1400)});
    EXPECT_EQ(run(), 0);
    EXPECT_FLOAT_EQ(table(1)[0], 96.0f);       // 100 - 400 columns of 0.01 m
    EXPECT_FLOAT_EQ(table(1)[900], 105.0f);    // half-way
    EXPECT_FLOAT_EQ(table(1)[1919], 115.19f);  // 110 + 519 columns of 0.01 m
    EXPECT_TRUE(log.has("INF feed 1: 2 grid lines, meter range 96.0..115.2"));
}

TEST_F(GridInterpolation, EachSideIsExtrapolatedAlongItsOwnTwoLines) {
    // 0.1 m a column, then 0.02, then 0.05; 10 m each.
    lines(1, 0, 10, {upright(100), upright(200), upright(700), upright(900)});
    EXPECT_EQ(run(), 0);
    EXPECT_FLOAT_EQ(table(1)[0], -10.0f);
    EXPECT_FLOAT_EQ(table(1)[450], 15.0f);
    EXPECT_FLOAT_EQ(table(1)[1900], 80.0f);
}

TEST_F(GridInterpolation, ALineStandsHalfWayBetweenItsAnchorsRoundedTowardZero) {
    // (301 + 0) / 2 = 150; (-3 + 0) / 2 = -1, not -2.
    lines(1, 0, 151, {{301, 100, 0, 500}, {-3, 100, 0, 500}});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(table(1)[150], 0.0f);  // line 0
    // From -1 (151 m) to 150 (0 m) it falls a metre a column.
    EXPECT_FLOAT_EQ(table(1)[0], 150.0f);
}

TEST_F(GridInterpolation, OnlyTheReferenceFeedHasLines) {
    lines(1, 100, 10, {upright(400), upright(1400)});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(workspace->grid_valid[1], 1U);
    expect_invalid(0);
    expect_invalid(2);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(GridInterpolation, LinesInAnyOrderGiveTheSameTable) {
    lines(0, 100, 5, {upright(300), upright(900), upright(1500)});
    lines(2, 110, -5, {upright(1500), upright(900), upright(300)});
    EXPECT_EQ(run(), 0);
    for (int32_t x = 0; x < kPixelColumns; ++x) ASSERT_EQ(table(0)[x], table(2)[x]) << x;
}

TEST_F(GridInterpolation, MetresMayFallAlongThePicture) {
    lines(1, 110, -10, {upright(400), upright(1400)});
    EXPECT_EQ(run(), 0);
    EXPECT_FLOAT_EQ(table(1)[0], 114.0f);
    EXPECT_FLOAT_EQ(table(1)[900], 105.0f);
    EXPECT_FLOAT_EQ(table(1)[1919], 94.81f);
}

TEST_F(GridInterpolation, ColumnsOnALineBelongToTheSegmentOnItsLeft) {
    // 1/3 m a column up to 703, then 1/7: at 703 the left segment gives (303 / 303) * 101 + 100 = 201 exactly.
    lines(1, 100, 101, {upright(400), upright(703), upright(1410)});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(table(1)[400], 100.0f);
    EXPECT_EQ(table(1)[703], 201.0f);
    EXPECT_EQ(table(1)[1410], 302.0f);
}

TEST_F(GridInterpolation, EveryOperationRoundsToSinglePrecision) {
    lines(1, 87, 7, {upright(130), upright(467), upright(1009), upright(1801)});
    EXPECT_EQ(run(), 0);
    const int32_t px[] = {130, 467, 1009, 1801};
    for (int32_t x = 0; x < kPixelColumns; ++x) {
        const int32_t k = x <= 467 ? 0 : x <= 1009 ? 1 : 2;
        // Each step in its own volatile, so that nothing can be kept wider or fused.
        volatile float run_length = static_cast<float>(px[k + 1] - px[k]);
        volatile float base = static_cast<float>(87 + 7 * k);
        if (x <= 130 || x >= 1801) {
            volatile float slope = 7.0f / run_length;
            volatile float rise = slope * static_cast<float>(x - (x <= 130 ? 130 : 1801));
            volatile float m = rise + (x <= 130 ? 87.0f : 108.0f);
            ASSERT_TRUE(same_bits(table(1)[x], m)) << x;
        } else {
            volatile float share = static_cast<float>(x - px[k]) / run_length;
            volatile float rise = share * 7.0f;
            volatile float m = rise + base;
            ASSERT_TRUE(same_bits(table(1)[x], m)) << x;
        }
    }
}

TEST_F(GridInterpolation, EqualColumnsAtTheLeftEndLeaveInfinitiesAndNothingElse) {
    lines(1, 100, 10, {upright(400), upright(400), upright(1400)});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(workspace->grid_valid[1], 1U);
    EXPECT_TRUE(std::isinf(table(1)[0]) && table(1)[0] < 0);  // 10 / 0 * -400
    EXPECT_TRUE(std::isnan(table(1)[400]));                   // infinity * 0
    EXPECT_FLOAT_EQ(table(1)[900], 115.0f);                   // between the second (110 m) and the third (120 m)
    EXPECT_FLOAT_EQ(table(1)[1400], 120.0f);
}

TEST_F(GridInterpolation, EqualColumnsInTheMiddleKeepLineOrder) {
    // The first line there ends the left segment, the second begins the right one.
    lines(1, 0, 10, {upright(100), upright(600), upright(600), upright(1100)});
    EXPECT_EQ(run(), 0);
    EXPECT_FLOAT_EQ(table(1)[350], 5.0f);
    EXPECT_FLOAT_EQ(table(1)[600], 10.0f);
    EXPECT_FLOAT_EQ(table(1)[850], 25.0f);
}

TEST_F(GridInterpolation, AllLinesInOneColumnAndAtOneMetreGiveNoNumbers) {
    lines(1, 100, 0, {upright(960), upright(960)});
    EXPECT_EQ(run(), 0);
    for (const int32_t x : {0, 960, 1919}) EXPECT_TRUE(std::isnan(table(1)[x])) << x;  // 0 / 0
}

TEST_F(GridInterpolation, OnlyThirtyLinesCountHoweverManyAreAskedFor) {
    for (int32_t line = 0; line < kGridLinesPerFeed; ++line) place(1, line, upright(10 + 60 * line));
    settings->meter_line_start[1] = 60;
    settings->meter_line_increment[1] = 6;  // 0.1 m a column
    settings->meter_line_count[1] = 2'000'000'000;
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(log.has("INF feed 1: 30 grid lines, meter range 59.0..250.9"));
}

TEST_F(GridInterpolation, NonsenseInTheSettingsIsComputedWithoutHarm) {
    std::mt19937 random(20260110);
    std::uniform_int_distribution<int32_t> any(INT32_MIN, INT32_MAX);
    for (int round = 0; round < 200; ++round) {
        for (int32_t feed = 0; feed < 3; ++feed) {
            settings->meter_line_count[feed] = any(random) % 40;
            settings->meter_line_start[feed] = any(random);
            settings->meter_line_increment[feed] = any(random);
            for (int32_t line = 0; line < kGridLinesPerFeed; ++line)
                place(feed, line, {any(random), any(random), any(random), any(random)});
        }
        int32_t valid = 0;
        const int32_t result = run();
        for (int32_t feed = 0; feed < 3; ++feed) {
            EXPECT_EQ(workspace->grid_valid[feed], settings->meter_line_count[feed] >= 2 ? 1U : 0U);
            valid += static_cast<int32_t>(workspace->grid_valid[feed]);
        }
        EXPECT_EQ(result, valid > 0 ? 0 : -1);
    }
}
