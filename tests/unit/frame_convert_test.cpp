#include "preview/frame_convert.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "ipc/frame_ring.h"

namespace {

constexpr uint8_t kUntouched = 0xA5;

// Planes of their own, so that every one of them ends where its allocation ends.
struct Planes {
    std::vector<uint8_t> y, u, v;
    int32_t height;

    SlotPicture picture() const {
        return {y.data(), u.data(), v.data(), height};
    }
};

struct Bitmap {
    int32_t width, height;
    std::vector<uint8_t> pixels;

    Bitmap(int32_t w, int32_t h) : width(w), height(h), pixels(static_cast<size_t>(stride()) * h, kUntouched) {}
    int32_t stride() const {
        return (width * 3 + 3) / 4 * 4;
    }
    PaneBitmap view() {
        return {width, height, pixels.data()};
    }
};

struct Bgr {
    int32_t b, g, r;
};

}  // namespace

static uint8_t noise(uint32_t* state) {
    *state = *state * 1664525u + 1013904223u;
    return static_cast<uint8_t>(*state >> 24);
}

static Planes noisy_planes(int32_t height, uint32_t seed) {
    Planes planes = {std::vector<uint8_t>(size_t{1920} * height), std::vector<uint8_t>(size_t{960} * (height / 2)),
                     std::vector<uint8_t>(size_t{960} * (height / 2)), height};
    for (auto* plane : {&planes.y, &planes.u, &planes.v}) {
        for (auto& sample : *plane) sample = noise(&seed);
    }
    return planes;
}

static Planes flat_planes(uint8_t y, uint8_t u, uint8_t v) {
    return {std::vector<uint8_t>(1920 * 540, y), std::vector<uint8_t>(960 * 270, u),
            std::vector<uint8_t>(960 * 270, v), 540};
}

// Largest whole number not above n / 256, written without a shift.
static int32_t floor_256(int32_t n) {
    return n >= 0 ? n / 256 : -((-n + 255) / 256);
}

static int32_t limit(int32_t n) {
    return n < 0 ? 0 : n > 255 ? 255 : n;
}

// One pixel by the book, every factor in its own place.
static Bgr expected_pixel(const Planes& planes, int32_t sx, int32_t sy) {
    const int32_t y = planes.y[size_t{1920} * sy + sx];
    const int32_t u = planes.u[size_t{960} * (sy / 2) + sx / 2] - 128;
    const int32_t v = planes.v[size_t{960} * (sy / 2) + sx / 2] - 128;
    return {limit(y + floor_256(454 * u)), limit(y - floor_256(88 * u + 183 * v)), limit(y + floor_256(359 * v))};
}

// Compares the whole bitmap, padding included; `bottom` null: one picture.
static void expect_equals_formula(const Planes& top, const Planes* bottom, const Bitmap& bitmap) {
    const int32_t source_height = bottom ? 1080 : top.height;
    for (int32_t y = 0; y < bitmap.height; ++y) {
        const uint8_t* row = bitmap.pixels.data() + size_t(bitmap.height - 1 - y) * bitmap.stride();
        const int32_t sy = y * source_height / bitmap.height;
        const Planes& planes = bottom && sy >= 540 ? *bottom : top;
        for (int32_t x = 0; x < bitmap.width; ++x) {
            const Bgr want = expected_pixel(planes, x * 1920 / bitmap.width, bottom ? sy % 540 : sy);
            ASSERT_TRUE(row[3 * x] == want.b && row[3 * x + 1] == want.g && row[3 * x + 2] == want.r)
                << bitmap.width << " x " << bitmap.height << " at " << x << ", " << y << ": got " << int{row[3 * x]}
                << " " << int{row[3 * x + 1]} << " " << int{row[3 * x + 2]} << ", want " << want.b << " " << want.g
                << " " << want.r;
        }
        for (int32_t pad = bitmap.width * 3; pad < bitmap.stride(); ++pad) {
            ASSERT_EQ(row[pad], 0) << "padding of row " << y << " at width " << bitmap.width;
        }
    }
}

TEST(FrameConvert, EveryPaneWidthEqualsThePerPixelFormula) {
    const Planes planes = noisy_planes(540, 1);
    for (int32_t width = 32; width <= 640; ++width) {
        Bitmap bitmap(width, 18 + width % 7);
        convert_slot(planes.picture(), bitmap.view());
        expect_equals_formula(planes, nullptr, bitmap);
        if (HasFatalFailure()) return;
    }
}

TEST(FrameConvert, EveryPaneHeightEqualsThePerPixelFormula) {
    const Planes feed = noisy_planes(540, 2), output = noisy_planes(1080, 3);
    for (int32_t height = 18; height <= 360; ++height) {
        Bitmap bitmap(33, height);
        convert_slot(feed.picture(), bitmap.view());
        expect_equals_formula(feed, nullptr, bitmap);
        convert_slot(output.picture(), bitmap.view());
        expect_equals_formula(output, nullptr, bitmap);
        if (HasFatalFailure()) return;
    }
}

TEST(FrameConvert, LargestPaneOfAnOutputFrameEqualsThePerPixelFormula) {
    const Planes planes = noisy_planes(1080, 4);
    Bitmap bitmap(640, 360);
    convert_slot(planes.picture(), bitmap.view());
    expect_equals_formula(planes, nullptr, bitmap);
}

TEST(FrameConvert, StackedPairReadsAsOnePictureOfDoubleHeight) {
    const Planes top = noisy_planes(540, 5), bottom = noisy_planes(540, 6);
    for (const auto& [width, height] : {std::pair{640, 360}, {33, 19}, {127, 71}, {400, 225}, {32, 18}}) {
        Bitmap bitmap(width, height);
        convert_stacked(top.picture(), bottom.picture(), bitmap.view());
        expect_equals_formula(top, &bottom, bitmap);
        if (HasFatalFailure()) return;
    }
}

TEST(FrameConvert, NeutralChromaGivesThreeTimesTheLuma) {
    for (const int32_t luma : {0, 1, 127, 128, 254, 255}) {
        const Planes planes = flat_planes(static_cast<uint8_t>(luma), 128, 128);
        Bitmap bitmap(32, 18);
        convert_slot(planes.picture(), bitmap.view());
        for (const uint8_t byte : bitmap.pixels) ASSERT_EQ(byte, luma);
    }
}

TEST(FrameConvert, ExtremeChromaIsClampedNotWrapped) {
    const struct {
        uint8_t y, u, v;
        Bgr want;
    } cases[] = {
        {0, 0, 0, {0, 136, 0}},           {255, 0, 0, {28, 255, 75}}, {0, 255, 255, {225, 0, 178}},
        {255, 255, 255, {255, 121, 255}}, {0, 0, 255, {0, 0, 178}},   {0, 255, 0, {225, 48, 0}},
    };
    for (const auto& c : cases) {
        const Planes planes = flat_planes(c.y, c.u, c.v);
        Bitmap bitmap(32, 18);
        convert_slot(planes.picture(), bitmap.view());
        EXPECT_EQ(int32_t{bitmap.pixels[0]}, c.want.b) << int{c.y} << " " << int{c.u} << " " << int{c.v};
        EXPECT_EQ(int32_t{bitmap.pixels[1]}, c.want.g) << int{c.y} << " " << int{c.u} << " " << int{c.v};
        EXPECT_EQ(int32_t{bitmap.pixels[2]}, c.want.r) << int{c.y} << " " << int{c.u} << " " << int{c.v};
    }
}

TEST(FrameConvert, RowsEndWithWidthAnd3ZeroBytesAndNothingBehindTheBitmapIsTouched) {
    const Planes planes = flat_planes(200, 128, 128);
    for (int32_t width = 32; width <= 39; ++width) {
        EXPECT_EQ(pane_stride(width) % 4, 0);
        EXPECT_EQ(pane_stride(width) - 3 * width, width & 3);
        Bitmap bitmap(width, 18);
        bitmap.pixels.resize(bitmap.pixels.size() + 16, kUntouched);
        convert_slot(planes.picture(), bitmap.view());
        for (int32_t y = 0; y < 18; ++y) {
            const uint8_t* row = bitmap.pixels.data() + y * pane_stride(width);
            ASSERT_EQ(row[3 * width - 1], 200);
            for (int32_t pad = 0; pad < (width & 3); ++pad) ASSERT_EQ(row[3 * width + pad], 0);
        }
        for (size_t i = bitmap.pixels.size() - 16; i < bitmap.pixels.size(); ++i)
            ASSERT_EQ(bitmap.pixels[i], kUntouched);
    }
}

TEST(FrameConvert, LowestPictureRowComesFirstInMemory) {
    Planes planes = flat_planes(0, 128, 128);
    std::memset(planes.y.data(), 250, 1920);  // the topmost source row only
    Bitmap bitmap(32, 18);
    convert_slot(planes.picture(), bitmap.view());
    EXPECT_EQ(bitmap.pixels[0], 0);
    EXPECT_EQ(bitmap.pixels[size_t{17} * bitmap.stride()], 250);
}

// The sanitizer's red zones begin behind the last sample each plane needs.
TEST(FrameConvert, ReadsNothingBehindTheLastSampledByte) {
    for (const auto& [width, height] : {std::pair{640, 180}, {32, 18}, {33, 19}, {321, 97}, {639, 360}}) {
        const int32_t sy = (height - 1) * 540 / height, sx = (width - 1) * 1920 / width;
        const Planes planes = {std::vector<uint8_t>(size_t{1920} * sy + sx + 1, 90),
                               std::vector<uint8_t>(size_t{960} * (sy / 2) + sx / 2 + 1, 128),
                               std::vector<uint8_t>(size_t{960} * (sy / 2) + sx / 2 + 1, 128), 540};
        Bitmap bitmap(width, height);
        convert_slot(planes.picture(), bitmap.view());
        EXPECT_EQ(bitmap.pixels[size_t{3} * (width - 1)], 90);

        const int32_t stacked_sy = (height - 1) * 1080 / height - 540;
        const Planes bottom = {std::vector<uint8_t>(size_t{1920} * stacked_sy + sx + 1, 91),
                               std::vector<uint8_t>(size_t{960} * (stacked_sy / 2) + sx / 2 + 1, 128),
                               std::vector<uint8_t>(size_t{960} * (stacked_sy / 2) + sx / 2 + 1, 128), 540};
        const Planes top = flat_planes(90, 128, 128);
        convert_stacked(top.picture(), bottom.picture(), bitmap.view());
        EXPECT_EQ(bitmap.pixels[size_t{3} * (width - 1)], 91);
    }
}

TEST(FrameConvert, SlotsLieWhereTheRingsPutThem) {
    // Addresses only; nothing of the ring is read.
    const auto* ring = reinterpret_cast<const uint8_t*>(uintptr_t{0x100000000});
    const SlotPicture feed = feed_slot_picture(ring, 519);
    EXPECT_EQ(feed.y, ring + uint64_t{519} * 1555456 + 224);
    EXPECT_EQ(feed.u, ring + uint64_t{519} * 1555456 + 1037024);
    EXPECT_EQ(feed.v, ring + uint64_t{519} * 1555456 + 1296224);
    EXPECT_EQ(feed.height, 540);
    const SlotPicture output = output_slot_picture(ring, 519);
    EXPECT_EQ(output.y, ring + 2112 + uint64_t{519} * 3110656 + 224);
    EXPECT_EQ(output.u, ring + 2112 + uint64_t{519} * 3110656 + 2073824);
    EXPECT_EQ(output.v, ring + 2112 + uint64_t{519} * 3110656 + 2592224);
    EXPECT_EQ(output.height, 1080);
}

TEST(FrameConvert, SlotIndexOf520OrMoreMeansSlot0) {
    const auto* ring = reinterpret_cast<const uint8_t*>(uintptr_t{0x100000000});
    for (const uint32_t slot : {520u, 521u, 1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(feed_slot_picture(ring, slot).y, ring + 224) << slot;
        EXPECT_EQ(output_slot_picture(ring, slot).y, ring + 2112 + 224) << slot;
    }
}

TEST(NewestSlot, LiesTwoBehindTheWriteCounter) {
    EXPECT_EQ(newest_slot(0), 518u);
    EXPECT_EQ(newest_slot(1), 519u);
    EXPECT_EQ(newest_slot(2), 0u);
    EXPECT_EQ(newest_slot(521), 519u);
    EXPECT_EQ(newest_slot(522), 0u);
    EXPECT_EQ(newest_slot(1042), 0u);
}
