// One whole refresh of the preview, three feed panes of 640 x 180 and the combined pane of 640 x 360, for callgrind:
// the instructions spent inside counted_work. They depend on the compiler and the processor's instruction sets, but
// not on who else uses the machine.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "ipc/frame_ring.h"
#include "preview/frame_convert.h"

namespace {

struct Frames {
    std::vector<uint8_t> feed[3];
    std::vector<uint8_t> output;
    std::vector<uint8_t> pixels;
};

}  // namespace

static void fill(std::vector<uint8_t>* bytes, size_t size) {
    static uint32_t state = 1;
    bytes->resize(size);
    for (auto& byte : *bytes) byte = static_cast<uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
}

extern "C" __attribute__((noinline)) void counted_work(Frames* frames) {
    for (const auto& feed : frames->feed)
        convert_slot(feed_slot_picture(feed.data(), 0), {640, 180, frames->pixels.data()});
    convert_slot(output_slot_picture(frames->output.data(), 0), {640, 360, frames->pixels.data()});
}

int main(int argc, char** argv) {
    if (argc < 2) {
        puts("refresh/ours");
        return 0;
    }
    if (strcmp(argv[1], "refresh/ours") != 0) return 1;
    Frames frames;
    for (auto& feed : frames.feed) fill(&feed, kFeedSlotStride);
    fill(&frames.output, kOutputHeaderSize + kOutputSlotStride);
    frames.pixels.resize(kPaneMaxBytes);
    counted_work(&frames);
    return 0;
}
