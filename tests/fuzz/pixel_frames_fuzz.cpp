// Any text as pixel_frames.txt: the reader must take from it what the plain reader takes, agree with itself about the
// flags, and read back what is written from the tables, which must be what the plain writer writes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "settings/pixel_frames_file.h"
#include "settings/settings_values.h"
#include "tests/support/plain_settings.h"

static void require(bool condition) {
    if (!condition) abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const auto first = std::make_unique<Settings>();
    static const auto second = std::make_unique<Settings>();
    settings_init_defaults(first.get());
    const int32_t accepted = pixel_frames_parse(first.get(), reinterpret_cast<const char*>(data), size);
    settings_init_defaults(second.get());
    require(plain_pixel_frames_parse(second.get(), {reinterpret_cast<const char*>(data), size}) == accepted);
    require(memcmp(first.get(), second.get(), sizeof *first) == 0);
    bool any = false;
    for (const int32_t flag : first->pixel_frames_populated) {
        require(flag == 0 || flag == 1);
        any = any || flag == 1;
    }
    require(any == (accepted > 0));
    // The whole file has 5,760 lines; writing it for texts that changed nothing would only cost time.
    if (accepted == 0) return 0;
    std::string written;
    pixel_frames_format(first.get(), &written);
    require(written == plain_pixel_frames_format(first.get()));
    settings_init_defaults(second.get());
    require(pixel_frames_parse(second.get(), written.data(), written.size()) == 3 * kPixelColumns);
    require(memcmp(first->pixel_to_start, second->pixel_to_start, sizeof first->pixel_to_start) == 0);
    require(memcmp(first->pixel_to_scene, second->pixel_to_scene, sizeof first->pixel_to_scene) == 0);
    require(memcmp(first->pixel_to_end, second->pixel_to_end, sizeof first->pixel_to_end) == 0);
    return 0;
}
