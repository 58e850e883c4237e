// What a refresh does not do: draw what is drawn already, and ask for memory.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "app/commands.h"
#include "ipc/frame_ring.h"
#include "tests/windows/allocation_count.h"
#include "tests/windows/preview_rig.h"

// The first byte of the pane's lowest row. Tests scribble over it to see whether the pane is filled again.
static uint8_t& corner(PreviewRig& rig, int32_t pane) {
    return rig.panel->pane[pane].pixels[0];
}

static FrameSlotHeader* header(const WorkerRegion& feed, uint32_t slot) {
    return reinterpret_cast<FrameSlotHeader*>(feed.bytes() + feed_slot_offset(slot));
}

static constexpr uint8_t kScribble = 3;

// Whether a refresh fills the pane again.
static bool draws(PreviewRig& rig, int32_t pane) {
    corner(rig, pane) = kScribble;
    preview_refresh(rig.panel.get());
    return corner(rig, pane) != kScribble;
}

TEST(PreviewSteady, AFeedsPaneIsDrawnOncePerFrameAndOverlay) {
    const auto feed1 = make_feed(1, 0), feed1_channel1 = make_feed(1, 1);
    for (uint32_t slot = 0; slot < 4; ++slot) paint_feed_slot(*feed1, slot, 50);
    paint_feed_slot(*feed1_channel1, 1, 60);
    PreviewRig rig;
    rig.settings->motion_end_x[1] = 1000;
    rig.settings->motion_end_y[1] = 300;
    rig.settings->mark_motion_Y = 0x55;
    rig.create();
    for (auto& feed : rig.control()->feed) feed[0].nw = feed[1].nw = 2;
    preview_set_active(rig.panel.get(), true);
    EXPECT_TRUE(draws(rig, 1));
    EXPECT_FALSE(draws(rig, 1)) << "the same frame";

    rig.control()->feed[1][0].nw = 3;
    EXPECT_TRUE(draws(rig, 1)) << "another slot";
    EXPECT_FALSE(draws(rig, 1));
    header(*feed1, 1)->seq += 520;
    EXPECT_TRUE(draws(rig, 1)) << "another frame in the same slot";
    EXPECT_FALSE(draws(rig, 1));
    header(*feed1, 1)->motion_flags = 1;
    EXPECT_TRUE(draws(rig, 1)) << "motion found in it since";
    EXPECT_FALSE(draws(rig, 1));
    rig.control()->motion_active[1] = 1;
    EXPECT_FALSE(draws(rig, 1)) << "marked already";
    preview_command(rig.panel.get(), kCmdHighlight);
    EXPECT_TRUE(draws(rig, 1)) << "highlight off";
    EXPECT_FALSE(draws(rig, 1));
    preview_command(rig.panel.get(), kCmdHighlight);
    EXPECT_TRUE(draws(rig, 1));
    rig.settings->mark_motion_Y = 0x54;
    EXPECT_TRUE(draws(rig, 1)) << "another mark";
    rig.panel->pane[1].ignore_rect = {1, 1, 20, 20, true};
    EXPECT_TRUE(draws(rig, 1)) << "an ignore region";
    EXPECT_FALSE(draws(rig, 1));
    rig.control()->channel = 1;
    EXPECT_TRUE(draws(rig, 1)) << "another ring";
    EXPECT_FALSE(draws(rig, 1));
    preview_set_divider(rig.panel.get(), 500);
    EXPECT_EQ(rig.panel->pane[1].drawn.width, 500) << "drawn at once in its new size";
    EXPECT_FALSE(draws(rig, 1));
}

TEST(PreviewSteady, TheCombinedPaneIsDrawnOncePerFrame) {
    const auto feed0 = make_feed(0, 0), feed1 = make_feed(1, 0), feed2 = make_feed(2, 0);
    const auto output0 = make_output(0), output1 = make_output(1);
    for (const auto* feed : {feed0.get(), feed1.get(), feed2.get()}) {
        for (uint32_t slot = 0; slot < 4; ++slot) paint_feed_slot(*feed, slot, 50);
    }
    for (const auto* output : {output0.get(), output1.get()}) {
        for (uint32_t slot = 0; slot < 2; ++slot) paint_output_slot(*output, slot, 90);
    }
    PreviewRig rig;
    rig.create();
    for (auto& feed : rig.control()->feed) feed[0].nw = 2;
    rig.control()->output_frame_idx = -1;
    preview_set_active(rig.panel.get(), true);
    EXPECT_TRUE(draws(rig, kCombinedPane)) << "stacked";
    EXPECT_FALSE(draws(rig, kCombinedPane));
    for (int32_t feed = 0; feed < 2; ++feed) {
        rig.control()->feed[feed][0].nw = 3;
        EXPECT_TRUE(draws(rig, kCombinedPane)) << "a new frame of feed " << feed;
        EXPECT_FALSE(draws(rig, kCombinedPane));
    }
    rig.control()->feed[2][0].nw = 3;
    EXPECT_FALSE(draws(rig, kCombinedPane)) << "feed 2 is not in it";
    header(*feed1, 1)->display_type = 2;
    EXPECT_TRUE(draws(rig, kCombinedPane)) << "but now it is";

    rig.control()->output_frame_idx = 0;
    EXPECT_TRUE(draws(rig, kCombinedPane)) << "an output frame";
    EXPECT_FALSE(draws(rig, kCombinedPane));
    rig.control()->feed[1][0].nw = 2;
    EXPECT_FALSE(draws(rig, kCombinedPane)) << "the feeds are not in it";
    rig.control()->output_frame_idx = 1;
    EXPECT_TRUE(draws(rig, kCombinedPane)) << "the next one";
    rig.control()->output_active = 1;
    EXPECT_TRUE(draws(rig, kCombinedPane)) << "the other region's";
    reinterpret_cast<FrameSlotHeader*>(output0->bytes() + output_slot_offset(1))->seq = 7;
    EXPECT_TRUE(draws(rig, kCombinedPane)) << "another movie's";
    EXPECT_FALSE(draws(rig, kCombinedPane));
    rig.control()->output_frame_idx = -1;
    EXPECT_TRUE(draws(rig, kCombinedPane)) << "back to the feeds";
}

TEST(PreviewSteady, CountingSeesEveryWayToAskForMemory) {
    const AllocationCount allocations;
    int64_t before = allocations.calls();
    const auto expect_seen = [&](const char* way) {
        EXPECT_GT(allocations.calls(), before) << way;
        before = allocations.calls();
    };
    const auto number = std::make_unique<int32_t>(1);
    expect_seen("operator new");
    const std::string text(static_cast<size_t>(*number) * 1000, 'x');
    expect_seen("string");
    void* block = malloc(text.size());
    expect_seen("malloc");
    block = realloc(block, 2 * text.size());
    expect_seen("realloc");
    free(block);
    block = calloc(text.size(), 2);
    ASSERT_EQ(*static_cast<volatile char*>(block), 0);
    expect_seen("calloc");
    free(block);
    EXPECT_EQ(allocations.calls(), before);
}

TEST(PreviewSteady, AThousandRefreshesWithNewFramesAllocateNothing) {
    const auto feed0 = make_feed(0, 0), feed1 = make_feed(1, 0), feed2 = make_feed(2, 0);
    const auto output0 = make_output(0), output1 = make_output(1);
    PreviewRig rig;
    for (int32_t feed = 0; feed < 3; ++feed) {
        rig.settings->motion_end_x[feed] = 1000;
        rig.settings->motion_end_y[feed] = 500;
        rig.settings->ignore_end_x[feed] = 300;
        rig.settings->ignore_end_y[feed] = 300;
    }
    rig.create();
    for (auto& feed : rig.control()->feed) feed[0].nw = 2;
    rig.control()->motion_active[1] = 1;
    rig.panel->current_jumper = [](void*, int32_t* bib, const char** name, const char** club) {
        *bib = 7, *name = "Jörg Überlinger-Østby", *club = "Skiklubben Oslo og Omegn";
        return true;
    };
    rig.show();
    preview_set_active(rig.panel.get(), true);
    preview_layout(rig.panel.get(), {0, 0, 700, 400});  // small, so that the display does not set the pace
    uint32_t frames = 0;
    const auto refresh = [&] {
        ++frames;
        for (auto& feed : rig.control()->feed) feed[0].nw = 2 + frames % 4;
        rig.control()->output_frame_idx = static_cast<int32_t>(frames / 8 % 2) - 1;  // stacked feeds now and then
        preview_refresh(rig.panel.get());
    };
    for (int32_t i = 0; i < 32; ++i) refresh();
    ASSERT_NE(rig.panel->back_dc, nullptr) << "it paints";
    const AllocationCount allocations;
    for (int32_t i = 0; i < 1000; ++i) refresh();
    EXPECT_EQ(allocations.calls(), 0);
    EXPECT_EQ(rig.panel->pane[0].drawn.frame.slot, frames % 4);
}
