// Every kind of rows equals the plain formula byte for byte and keeps within its buffers.
#include "preview/frame_convert_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/guarded_buffer.h"

namespace {

struct Planes {
    std::vector<uint8_t> y, u, v;
    int32_t height;

    explicit Planes(int32_t rows, uint32_t seed)
        : y(size_t{1920} * rows), u(size_t{960} * (rows / 2)), v(u.size()), height(rows) {
        for (auto* plane : {&y, &u, &v}) {
            for (auto& sample : *plane) sample = static_cast<uint8_t>((seed = seed * 1664525u + 1013904223u) >> 24);
        }
    }
    SlotPicture picture() const {
        return {y.data(), u.data(), v.data(), height};
    }
};

class Rows : public testing::TestWithParam<RowsKind> {
protected:
    void SetUp() override {
        if (!rows_supported(GetParam())) GTEST_SKIP() << "this machine lacks the instructions";
    }
};

}  // namespace

static std::string kind_name(const testing::TestParamInfo<RowsKind>& info) {
    return info.param == RowsKind::avx2 ? "Avx2" : info.param == RowsKind::sse41 ? "Sse41" : "Plain";
}

INSTANTIATE_TEST_SUITE_P(FrameConvert, Rows, testing::Values(RowsKind::plain, RowsKind::sse41, RowsKind::avx2),
                         kind_name);

static uint8_t limit(int32_t n) {
    return static_cast<uint8_t>(n < 0 ? 0 : n > 255 ? 255 : n);
}

// Largest whole number not above n / 256, written without a shift.
static int32_t floor_256(int32_t n) {
    return n >= 0 ? n / 256 : -((-n + 255) / 256);
}

// What the chroma of a pixel adds to its luma in B, G and R, by the book.
struct Tint {
    int32_t b, g, r;
};

static Tint tint(int32_t u, int32_t v) {
    return {floor_256(454 * (u - 128)), -floor_256(88 * (u - 128) + 183 * (v - 128)), floor_256(359 * (v - 128))};
}

// The whole bitmap by the formula, padding included; `bottom` null: one picture.
static std::vector<uint8_t> expected_bitmap(const SlotPicture& top, const SlotPicture* bottom, int32_t width,
                                            int32_t height) {
    const int32_t stride = (width * 3 + 3) / 4 * 4, rows = bottom ? 1080 : top.height;
    std::vector<uint8_t> pixels(size_t(stride) * height, 0);
    for (int32_t y = 0; y < height; ++y) {
        const int32_t sy = y * rows / height;
        const SlotPicture& picture = bottom && sy >= 540 ? *bottom : top;
        const int32_t row = bottom ? sy % 540 : sy;
        uint8_t* bgr = pixels.data() + size_t(height - 1 - y) * stride;
        for (int32_t x = 0; x < width; ++x, bgr += 3) {
            const int32_t sx = x * 1920 / width;
            const int32_t luma = picture.y[row * 1920 + sx];
            const Tint t = tint(picture.u[row / 2 * 960 + sx / 2], picture.v[row / 2 * 960 + sx / 2]);
            bgr[0] = limit(luma + t.b);
            bgr[1] = limit(luma + t.g);
            bgr[2] = limit(luma + t.r);
        }
    }
    return pixels;
}

// Converts into a buffer before a guard page and compares every byte; `bottom` null: one picture.
static void expect_conversion(RowsKind kind, const SlotPicture& top, const SlotPicture* bottom, int32_t width,
                              int32_t height) {
    const std::vector<uint8_t> expected = expected_bitmap(top, bottom, width, height);
    const GuardedBuffer pixels(expected.size());
    ASSERT_TRUE(pixels.data);
    std::memset(pixels.data, 0xA5, pixels.size);
    if (bottom) {
        convert_stacked_by(kind, top, *bottom, {width, height, pixels.data});
    } else {
        convert_slot_by(kind, top, {width, height, pixels.data});
    }
    const auto differing = std::mismatch(expected.begin(), expected.end(), pixels.data);
    ASSERT_TRUE(differing.first == expected.end())
        << width << " x " << height << ": byte " << differing.first - expected.begin() << " is "
        << int32_t{*differing.second} << ", not " << int32_t{*differing.first};
}

TEST_P(Rows, AllLumaAndChromaValuesConvertByTheFormula) {
    // One Y and one U per row, and all V along it: 640 pixels sample chroma at 3 x / 2, so no two share a V.
    constexpr int32_t kWidth = 640, kPerRow = 256;
    std::vector<uint8_t> y(1920), u(960), v(960), row(size_t{kWidth} * 3);
    ColumnPlan plan;
    column_plan_init(&plan, kWidth, true);
    for (int32_t x = 0; x < kWidth; ++x) v[x * 3 / 2] = static_cast<uint8_t>(x % kPerRow);
    const SourceRow source = {y.data(), u.data(), v.data()};
    const ConvertRow convert = GetParam() == RowsKind::avx2    ? convert_row_avx2
                               : GetParam() == RowsKind::sse41 ? convert_row_sse41
                                                               : convert_row_plain;
    for (int32_t cb = 0; cb < 256; ++cb) {
        std::fill(u.begin(), u.end(), static_cast<uint8_t>(cb));
        Tint tints[kPerRow];
        for (int32_t cr = 0; cr < kPerRow; ++cr) tints[cr] = tint(cb, cr);
        for (int32_t luma = 0; luma < 256; ++luma) {
            std::fill(y.begin(), y.end(), static_cast<uint8_t>(luma));
            convert(source, source, plan, row.data());
            for (int32_t cr = 0; cr < kPerRow; ++cr) {
                const uint8_t* bgr = row.data() + ptrdiff_t{cr} * 3;
                const Tint& t = tints[cr];
                const bool equal =
                    bgr[0] == limit(luma + t.b) && bgr[1] == limit(luma + t.g) && bgr[2] == limit(luma + t.r);
                ASSERT_TRUE(equal) << "Y " << luma << " U " << cb << " V " << cr;
            }
        }
    }
}

TEST_P(Rows, EveryWidthEqualsTheFormulaForFeedOutputAndStackedPictures) {
    const Planes feed(540, 1), other(540, 2), output(1080, 3);
    const SlotPicture bottom = other.picture();
    for (int32_t width = 1; width <= 640; ++width) {
        const int32_t height = 18 + width % 7;
        expect_conversion(GetParam(), feed.picture(), nullptr, width, height);
        expect_conversion(GetParam(), output.picture(), nullptr, width, height);
        expect_conversion(GetParam(), feed.picture(), &bottom, width, height);
        if (HasFatalFailure()) return;
    }
}

TEST_P(Rows, PaneSizesOfAllHeightsEqualTheFormula) {
    const Planes feed(540, 4), other(540, 5), output(1080, 6);
    const SlotPicture bottom = other.picture();
    for (int32_t height = 18; height <= 360; ++height) {
        const int32_t width = 32 + height * 37 % 609;
        expect_conversion(GetParam(), feed.picture(), nullptr, width, height);
        expect_conversion(GetParam(), output.picture(), nullptr, width, height);
        expect_conversion(GetParam(), feed.picture(), &bottom, width, height);
        if (HasFatalFailure()) return;
    }
    expect_conversion(GetParam(), output.picture(), nullptr, 640, 360);
    expect_conversion(GetParam(), feed.picture(), &bottom, 640, 360);
    expect_conversion(GetParam(), feed.picture(), nullptr, 640, 180);
}

// The planes end at a page's end with the last byte that the pane samples.
TEST_P(Rows, NothingBehindTheLastSampleIsRead) {
    const Planes planes(540, 7);
    for (int32_t width = 1; width <= 640; ++width) {
        const int32_t height = 2 + width % 17, sy = (height - 1) * 540 / height, sx = (width - 1) * 1920 / width;
        const GuardedBuffer y(size_t{1920} * sy + sx + 1), u(size_t{960} * (sy / 2) + sx / 2 + 1), v(u.size);
        ASSERT_TRUE(y.data && u.data && v.data);
        std::memcpy(y.data, planes.y.data(), y.size);
        std::memcpy(u.data, planes.u.data(), u.size);
        std::memcpy(v.data, planes.v.data(), v.size);
        expect_conversion(GetParam(), {y.data, u.data, v.data, 540}, nullptr, width, height);
        if (HasFatalFailure()) return;
    }
}

TEST(ColumnPlan, LoadsLieWithinTheSampledPartOfARow) {
    for (int32_t width = 1; width <= 640; ++width) {
        ColumnPlan plan;
        column_plan_init(&plan, width, true);
        const int32_t last = (width - 1) * 1920 / width;
        for (int32_t i = 0; i < plan.block_count; ++i) {
            for (int32_t half = 0; half < 2; ++half) {
                // As unsigned words: a start before the row would lie far behind it.
                ASSERT_LE(plan.blocks[i].luma[half] + plan.luma_loads * kShuffleBytes, last + 1) << width;
                ASSERT_LE(plan.blocks[i].chroma[half] + plan.chroma_loads * kShuffleBytes, last / 2 + 1) << width;
            }
        }
    }
}

TEST(ColumnPlan, ColumnsAreTheQuotientsOfTheFormula) {
    for (int32_t width = 1; width <= 640; ++width) {
        ColumnPlan plan;
        column_plan_init(&plan, width, false);
        for (int32_t x = 0; x < width; ++x) ASSERT_EQ(int32_t{plan.column[x]}, x * 1920 / width) << width;
    }
}

TEST(FrameConvert, TheFastestSupportedKindAnswersForConvertSlot) {
    const Planes feed(540, 9), other(540, 10);
    std::vector<uint8_t> fast(kPaneMaxBytes), plain(kPaneMaxBytes);
    convert_slot(feed.picture(), {333, 97, fast.data()});
    convert_slot_by(RowsKind::plain, feed.picture(), {333, 97, plain.data()});
    EXPECT_EQ(fast, plain);
    convert_stacked(feed.picture(), other.picture(), {500, 281, fast.data()});
    convert_stacked_by(RowsKind::plain, feed.picture(), other.picture(), {500, 281, plain.data()});
    EXPECT_EQ(fast, plain);
}
