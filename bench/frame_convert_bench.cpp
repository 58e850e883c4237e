// What one refresh of the preview costs: three feed panes of W x 180 and the combined pane of W x 360, beside the
// plain formula with its divisions per pixel, libyuv, swscale, and a loop that only touches the cache lines that hold
// samples. "cached" converts the same slots again and again, "streaming" walks through rings larger than any cache,
// as live frames do. Read the ratios between the rows of one run, not the times.
#include <benchmark/benchmark.h>
#ifdef ORVEK_HAVE_LIBYUV
#include <libyuv.h>
#endif
#ifdef ORVEK_HAVE_SWSCALE
extern "C" {
#include <libswscale/swscale.h>
}
#endif

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "ipc/frame_ring.h"
#include "preview/frame_convert.h"

namespace {

constexpr uint32_t kStreamingSlots = 48;  // per feed: 75 MB

struct Rings {
    uint32_t slots;
    std::vector<uint8_t> feed[3];
    std::vector<uint8_t> output;
};

using ConvertPicture = void (*)(const SlotPicture&, const PaneBitmap&);

}  // namespace

// The noise of a ring repeats: converting costs the same whatever the samples are.
static void fill(std::vector<uint8_t>* bytes, size_t size) {
    static uint32_t state = 1;
    bytes->resize(size);
    for (size_t i = 0; i < size; ++i) {
        (*bytes)[i] = i < kOutputSlotStride ? static_cast<uint8_t>((state = state * 1664525u + 1013904223u) >> 24)
                                            : (*bytes)[i - kOutputSlotStride];
    }
}

// One ring per feed and output for all benchmarks, so that they differ in nothing but their work.
static const Rings& rings() {
    static const Rings rings = [] {
        Rings made = {kStreamingSlots, {}, {}};
        for (auto& feed : made.feed) fill(&feed, size_t{made.slots} * kFeedSlotStride);
        fill(&made.output, kOutputHeaderSize + size_t{made.slots} * kOutputSlotStride);
        return made;
    }();
    return rings;
}

// The yardstick: the formula, pixel by pixel.
static void convert_by_formula(const SlotPicture& picture, const PaneBitmap& bitmap) {
    const auto clamp = [](int32_t value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); };
    for (int32_t y = bitmap.height - 1; y >= 0; --y) {
        uint8_t* row = pane_row(bitmap, y);
        for (int32_t x = 0; x < bitmap.width; ++x) {
            const int32_t sy = y * picture.height / bitmap.height, sx = x * kFrameWidth / bitmap.width;
            const int32_t luma = picture.y[sy * kFrameWidth + sx];
            const int32_t u = picture.u[sy / 2 * (kFrameWidth / 2) + sx / 2];
            const int32_t v = picture.v[sy / 2 * (kFrameWidth / 2) + sx / 2];
            row[3 * x] = clamp(luma + (((u - 128) * 454) >> 8));
            row[3 * x + 1] = clamp(luma - ((u * 88 - 34688 + v * 183) >> 8));
            row[3 * x + 2] = clamp(luma + (((v - 128) * 359) >> 8));
        }
        for (int32_t pad = bitmap.width * 3; pad < pane_stride(bitmap.width); ++pad) row[pad] = 0;
    }
}

#ifdef ORVEK_HAVE_LIBYUV
// Nearest neighbour, then to BGR bottom up. Its formula rounds differently; the work is the same.
static void convert_by_libyuv(const SlotPicture& picture, const PaneBitmap& bitmap) {
    static std::vector<uint8_t> scaled(size_t{kPaneMaxWidth} * kPaneMaxHeight * 2);
    const int width = bitmap.width, height = bitmap.height, half = (width + 1) / 2;
    uint8_t* const u = scaled.data() + ptrdiff_t{width} * height;
    uint8_t* const v = u + ptrdiff_t{half} * ((height + 1) / 2);
    libyuv::I420Scale(picture.y, kFrameWidth, picture.u, kFrameWidth / 2, picture.v, kFrameWidth / 2, kFrameWidth,
                      picture.height, scaled.data(), width, u, half, v, half, width, height, libyuv::kFilterNone);
    libyuv::I420ToRGB24(scaled.data(), width, u, half, v, half, bitmap.pixels, pane_stride(width), width, -height);
}
#endif

#ifdef ORVEK_HAVE_SWSCALE
static void convert_by_swscale(const SlotPicture& picture, const PaneBitmap& bitmap) {
    static SwsContext* context[2] = {};
    SwsContext*& scaler = context[picture.height == kOutputHeight];
    scaler = sws_getCachedContext(scaler, kFrameWidth, picture.height, AV_PIX_FMT_YUV420P, bitmap.width,
                                  bitmap.height, AV_PIX_FMT_BGR24, SWS_POINT, nullptr, nullptr, nullptr);
    const uint8_t* const planes[] = {picture.y, picture.u, picture.v};
    const int strides[] = {kFrameWidth, kFrameWidth / 2, kFrameWidth / 2};
    uint8_t* const target[] = {pane_row(bitmap, 0)};
    const int target_stride[] = {-pane_stride(bitmap.width)};
    sws_scale(scaler, planes, strides, 0, picture.height, target, target_stride);
}
#endif

// What the memory allows: one byte of every cache line that holds a sample, in the
// order in which they lie, and nothing written.
static void touch_lines(const SlotPicture& picture, const PaneBitmap& bitmap) {
    constexpr uintptr_t kLine = 64;
    uint32_t sum = 0;
    const auto touch = [&sum](const uint8_t* row, int32_t last) {
        const uint8_t* const end = row + last;
        for (const uint8_t* at = row; at <= end; at += kLine - reinterpret_cast<uintptr_t>(at) % kLine) sum += *at;
    };
    for (int32_t y = 0; y < bitmap.height; ++y) {
        const int32_t sy = y * picture.height / bitmap.height;
        const int32_t last = (bitmap.width - 1) * kFrameWidth / bitmap.width;
        touch(picture.y + ptrdiff_t{sy} * kFrameWidth, last);
        touch(picture.u + ptrdiff_t{sy / 2} * (kFrameWidth / 2), last / 2);
        touch(picture.v + ptrdiff_t{sy / 2} * (kFrameWidth / 2), last / 2);
    }
    benchmark::DoNotOptimize(sum);
}

static void refresh(benchmark::State& state, ConvertPicture convert, int32_t width, uint32_t slots) {
    const Rings& frames = rings();
    std::vector<uint8_t> pixels(kPaneMaxBytes);
    uint32_t slot = 0;
    for (auto _ : state) {
        for (const auto& feed : frames.feed) {
            convert(feed_slot_picture(feed.data(), slot), {width, 180, pixels.data()});
            benchmark::DoNotOptimize(pixels.data());
        }
        convert(output_slot_picture(frames.output.data(), slot), {width, 360, pixels.data()});
        benchmark::DoNotOptimize(pixels.data());
        benchmark::ClobberMemory();
        slot = (slot + 1) % slots;
    }
}

// One feed pane of the height that belongs to its width.
static void pane(benchmark::State& state, ConvertPicture convert, int32_t width, uint32_t slots) {
    const Rings& frames = rings();
    std::vector<uint8_t> pixels(kPaneMaxBytes);
    const int32_t height = std::max(kPaneMinHeight, width * 180 / 640);
    uint32_t slot = 0;
    for (auto _ : state) {
        convert(feed_slot_picture(frames.feed[0].data(), slot), {width, height, pixels.data()});
        benchmark::DoNotOptimize(pixels.data());
        benchmark::ClobberMemory();
        slot = (slot + 1) % slots;
    }
}

template <typename Work>
static void add(Work work, const std::string& name, const char* who, ConvertPicture convert, int32_t width,
                bool streaming) {
    benchmark::RegisterBenchmark((name + "/" + who).c_str(), work, convert, width, streaming ? kStreamingSlots : 1)
        ->Unit(benchmark::kMicrosecond);
}

static void add_rows(bool streaming) {
    const std::string name = streaming ? "refresh_streaming_" : "refresh_cached_";
    for (const int32_t width : {640, 500}) {
        add(refresh, name + std::to_string(width), "ours", convert_slot, width, streaming);
        add(refresh, name + std::to_string(width), "plain", convert_by_formula, width, streaming);
    }
#ifdef ORVEK_HAVE_LIBYUV
    add(refresh, name + "640", "libyuv", convert_by_libyuv, 640, streaming);
#endif
#ifdef ORVEK_HAVE_SWSCALE
    add(refresh, name + "640", "swscale", convert_by_swscale, 640, streaming);
#endif
    if (streaming) add(refresh, name + "640", "lines", touch_lines, 640, streaming);
    // The bounds, odd widths, and both sides of where the rows change their way.
    const std::string pane_name = streaming ? "pane_live_width_" : "pane_width_";
    for (const int32_t width : {32, 33, 47, 64, 79, 80, 100, 127, 128, 213, 333, 500, 639, 640}) {
        add(pane, pane_name + std::to_string(width), "ours", convert_slot, width, streaming);
        add(pane, pane_name + std::to_string(width), "plain", convert_by_formula, width, streaming);
    }
}

int main(int argc, char** argv) {
    add_rows(true);
    add_rows(false);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
