// What one refresh of the preview costs: three feed panes of 640 x 180 and the combined pane of 640 x 360, beside the
// plain formula with its divisions per pixel. "cached" converts the same slots again and again, "streaming" walks
// through rings larger than any cache, as live frames do. Read the ratio of the two rows of one run, not the times.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
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

static Rings make_rings(uint32_t slots) {
    Rings rings = {slots, {}, {}};
    uint32_t state = 1;
    const auto fill = [&state](std::vector<uint8_t>* bytes, size_t size) {
        bytes->resize(size);
        for (auto& byte : *bytes) byte = static_cast<uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
    };
    for (auto& feed : rings.feed) fill(&feed, size_t{slots} * kFeedSlotStride);
    fill(&rings.output, kOutputHeaderSize + size_t{slots} * kOutputSlotStride);
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

static void refresh(benchmark::State& state, ConvertPicture convert, uint32_t slots) {
    const Rings rings = make_rings(slots);
    std::vector<uint8_t> pixels(kPaneMaxBytes);
    uint32_t slot = 0;
    for (auto _ : state) {
        for (const auto& feed : rings.feed) {
            convert(feed_slot_picture(feed.data(), slot), {640, 180, pixels.data()});
            benchmark::DoNotOptimize(pixels.data());
        }
        convert(output_slot_picture(rings.output.data(), slot), {640, 360, pixels.data()});
        benchmark::DoNotOptimize(pixels.data());
        benchmark::ClobberMemory();
        slot = (slot + 1) % slots;
    }
}

int main(int argc, char** argv) {
    const auto add = [](const char* name, ConvertPicture convert, uint32_t slots) {
        benchmark::RegisterBenchmark(name, refresh, convert, slots)->Unit(benchmark::kMicrosecond);
    };
    add("refresh_cached_640/plain", convert_by_formula, 1);
    add("refresh_cached_640/ours", convert_slot, 1);
    add("refresh_streaming_640/plain", convert_by_formula, kStreamingSlots);
    add("refresh_streaming_640/ours", convert_slot, kStreamingSlots);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
