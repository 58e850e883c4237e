#include "preview/preview_decisions.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <memory>

#include "settings/settings.h"

static std::unique_ptr<Settings> zero_settings() {
    return std::make_unique<Settings>();
}

static void expect_rect(const RegionRect& rect, int32_t x0, int32_t y0, int32_t x1, int32_t y1, bool valid) {
    EXPECT_EQ(rect.x0, x0);
    EXPECT_EQ(rect.y0, y0);
    EXPECT_EQ(rect.x1, x1);
    EXPECT_EQ(rect.y1, y1);
    EXPECT_EQ(rect.valid, valid);
}

TEST(RegionsFromSettings, TakesTheOverlayOffsetOffTheRowsOnly) {
    auto settings = zero_settings();
    settings->motion_start_x[2] = 100, settings->motion_start_y[2] = 200;
    settings->motion_end_x[2] = 1800, settings->motion_end_y[2] = 500;
    settings->ignore_start_x[2] = 300, settings->ignore_start_y[2] = 250;
    settings->ignore_end_x[2] = 400, settings->ignore_end_y[2] = 260;
    settings->overlay_frame_offsets[2] = 40;
    const FeedRegions regions = regions_from_settings(settings.get(), 2);
    expect_rect(regions.motion, 100, 160, 1800, 460, true);
    expect_rect(regions.ignore, 300, 210, 400, 220, true);
    EXPECT_EQ(regions.offset, 40);
}

TEST(RegionsFromSettings, AnySingleValueMakesARegionValid) {
    for (int32_t which = 0; which < 8; ++which) {
        auto settings = zero_settings();
        int32_t* const fields[8] = {&settings->motion_start_x[1], &settings->motion_start_y[1],
                                    &settings->motion_end_x[1],   &settings->motion_end_y[1],
                                    &settings->ignore_start_x[1], &settings->ignore_start_y[1],
                                    &settings->ignore_end_x[1],   &settings->ignore_end_y[1]};
        *fields[which] = which % 2 ? 1 : -1;
        const FeedRegions regions = regions_from_settings(settings.get(), 1);
        EXPECT_EQ(regions.motion.valid, which < 4) << which;
        EXPECT_EQ(regions.ignore.valid, which >= 4) << which;
    }
}

TEST(RegionsFromSettings, AllZeroIsNoRegionWhateverTheOffset) {
    auto settings = zero_settings();
    settings->overlay_frame_offsets[0] = 120;
    settings->motion_end_x[3] = 1919;  // the global entry belongs to no feed
    const FeedRegions regions = regions_from_settings(settings.get(), 0);
    EXPECT_FALSE(regions.motion.valid);
    EXPECT_FALSE(regions.ignore.valid);
    EXPECT_EQ(regions.offset, 120);
}

TEST(RegionsFromSettings, ExtremeNumbersDoNotOverflow) {
    auto settings = zero_settings();
    settings->motion_start_y[0] = INT_MIN, settings->motion_end_y[0] = INT_MAX;
    settings->overlay_frame_offsets[0] = 540;
    EXPECT_EQ(regions_from_settings(settings.get(), 0).motion.y0, INT_MIN);
    EXPECT_EQ(regions_from_settings(settings.get(), 0).motion.y1, INT_MAX - 540);
    settings->overlay_frame_offsets[0] = -540;
    EXPECT_EQ(regions_from_settings(settings.get(), 0).motion.y0, INT_MIN + 540);
    EXPECT_EQ(regions_from_settings(settings.get(), 0).motion.y1, INT_MAX);
}

TEST(MarksMotion, NeedsHighlightARegionAndEitherSign) {
    const RegionRect region = {1, 1, 2, 2, true}, none = {};
    EXPECT_TRUE(marks_motion(true, 1, 0, region));
    EXPECT_TRUE(marks_motion(true, 0, 1, region));
    EXPECT_TRUE(marks_motion(true, 0, 0xFFFFFFFFu, region));
    EXPECT_TRUE(marks_motion(true, 7, 0, region));
    EXPECT_FALSE(marks_motion(true, 0, 0, region));
    EXPECT_FALSE(marks_motion(true, 0, 0xFFFFFFFEu, region)) << "only bit 0 means motion";
    EXPECT_FALSE(marks_motion(false, 1, 1, region));
    EXPECT_FALSE(marks_motion(true, 1, 1, none));
}

TEST(OutputToShow, IsTheOneNotBeingWritten) {
    EXPECT_EQ(output_to_show(0), 1);
    EXPECT_EQ(output_to_show(1), 0);
    EXPECT_EQ(output_to_show(0xFFFFFFFFu), 0) << "an impossible value still names a region";
}

TEST(CombinedSource, FollowsTheInputsInOrder) {
    const struct {
        const char* name;
        CombinedInputs in;
        CombinedKind kind;
        uint32_t slot;
        int32_t bottom;
    } cases[] = {
        {"output frame", {true, 17, {true, true, true}, 0}, CombinedKind::output, 17, 0},
        {"first output slot", {true, 0, {false, false, false}, 0}, CombinedKind::output, 0, 0},
        {"last output slot", {true, 519, {true, true, true}, 0}, CombinedKind::output, 519, 0},
        {"index clamped", {true, 520, {true, true, true}, 0}, CombinedKind::output, 519, 0},
        {"index clamped far", {true, INT_MAX, {true, true, true}, 0}, CombinedKind::output, 519, 0},
        {"negative index falls back", {true, -1, {true, true, true}, 0}, CombinedKind::stacked, 0, 0},
        {"negative index shows nothing of it", {true, -1, {false, false, false}, 0}, CombinedKind::nothing, 0, 0},
        {"most negative index", {true, INT_MIN, {false, true, false}, 2}, CombinedKind::nothing, 0, 0},
        {"no output mapped", {false, 17, {true, true, false}, 0}, CombinedKind::stacked, 0, 0},
        {"display type 2 pairs with feed 2", {false, -1, {true, true, true}, 2}, CombinedKind::stacked, 0, 2},
        {"display type 1 pairs with feed 0", {false, -1, {true, true, true}, 1}, CombinedKind::stacked, 0, 0},
        {"display type 3 pairs with feed 0", {false, -1, {true, true, true}, 3}, CombinedKind::stacked, 0, 0},
        {"partner 2 missing", {false, -1, {true, true, false}, 2}, CombinedKind::nothing, 0, 0},
        {"partner 0 missing", {false, -1, {false, true, true}, 0}, CombinedKind::nothing, 0, 0},
        {"feed 1 missing", {false, -1, {true, false, true}, 0}, CombinedKind::nothing, 0, 0},
    };
    for (const auto& c : cases) {
        const CombinedSource source = combined_source(c.in);
        EXPECT_EQ(source.kind, c.kind) << c.name;
        EXPECT_EQ(source.slot, c.slot) << c.name;
        EXPECT_EQ(source.bottom_feed, c.bottom) << c.name;
    }
}

TEST(ToggleTexts, HighlightAndShadowShowTheStateLogAndCirclesTheNextClick) {
    EXPECT_STREQ(highlight_button_text(true), "Highlight ON");
    EXPECT_STREQ(highlight_button_text(false), "Highlight OFF");
    EXPECT_STREQ(log_button_text(true), "Log Off");
    EXPECT_STREQ(log_button_text(false), "Log On");
    EXPECT_STREQ(circles_button_text(true), "Circles Off");
    EXPECT_STREQ(circles_button_text(false), "Circles On");
    EXPECT_STREQ(shadow_button_text(true), "motion shadow remove currently on");
    EXPECT_STREQ(shadow_button_text(false), "motion shadow remove currently off");
}

TEST(NeedsDrawing, WhateverChangesThePictureDoes) {
    const int ring = 0, other_ring = 0;
    const RegionRect motion = {10, 20, 30, 40, true}, ignore = {1, 2, 3, 4, true};
    const PaneContent drawn = {
        {&ring, 5, 1, 1000, 70}, {&ring, 6, 0, 2000, 80}, 640, 180, true, 0x55, motion, ignore};
    EXPECT_FALSE(needs_drawing(true, drawn, drawn));
    EXPECT_TRUE(needs_drawing(false, drawn, drawn)) << "nothing in the bitmap yet";

    const struct {
        const char* name;
        void (*change)(PaneContent*, const void* other);
    } cases[] = {
        {"ring", [](PaneContent* c, const void* other) { c->frame.view = other; }},
        {"slot", [](PaneContent* c, const void*) { ++c->frame.slot; }},
        {"sequence number", [](PaneContent* c, const void*) { c->frame.seq += 520; }},
        {"time stamp", [](PaneContent* c, const void*) { ++c->frame.pts; }},
        {"flags of the frame", [](PaneContent* c, const void*) { c->frame.motion_flags ^= 2; }},
        {"ring below", [](PaneContent* c, const void* other) { c->below.view = other; }},
        {"nothing below", [](PaneContent* c, const void*) { c->below = {}; }},
        {"slot below", [](PaneContent* c, const void*) { ++c->below.slot; }},
        {"sequence number below", [](PaneContent* c, const void*) { --c->below.seq; }},
        {"width", [](PaneContent* c, const void*) { c->width = 639; }},
        {"height", [](PaneContent* c, const void*) { c->height = 181; }},
        {"no mark", [](PaneContent* c, const void*) { c->marked = false; }},
        {"another mark", [](PaneContent* c, const void*) { c->mark = 0x54; }},
        {"motion region", [](PaneContent* c, const void*) { ++c->motion.x1; }},
        {"motion region given up", [](PaneContent* c, const void*) { c->motion.valid = false; }},
        {"ignore region", [](PaneContent* c, const void*) { --c->ignore.y0; }},
    };
    for (const auto& c : cases) {
        PaneContent wanted = drawn;
        c.change(&wanted, &other_ring);
        EXPECT_TRUE(needs_drawing(true, drawn, wanted)) << c.name;
    }
}
