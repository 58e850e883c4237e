// Any output of a camera listing, arriving in any pieces: at most sixteen devices, every text terminated and free of
// what separates, and picks and swaps that never lose a terminator.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "settings/camera_list.h"
#include "tests/support/fuzz_folder.h"

static void parse(const char* bytes, size_t size, size_t step, CameraListReader* reader) {
    for (size_t at = 0; at < size; at += step)
        if (!camera_list_feed(reader, bytes + at, std::min(step, size - at))) break;
    camera_list_finish(reader);
}

template <size_t Size>
static std::string_view terminated(const char (&text)[Size]) {
    const void* const nul = memchr(text, '\0', Size);
    fuzz_require(nul != nullptr);
    return text;
}

static void check_list(const CameraList& list) {
    fuzz_require(list.count >= 0 && list.count <= kMaxCameras);
    for (int32_t i = 0; i < list.count; ++i) {
        const std::string_view name = terminated(list.device[i].name);
        const std::string_view path = terminated(list.device[i].path);
        fuzz_require(name.find('\t') == std::string_view::npos && path.find_first_of("\t\r\n") == path.npos);
        char item[kCameraItemSize];
        camera_item_text(&list.device[i], item);
        fuzz_require(terminated(item).substr(0, name.size()) == name && terminated(item).back() == ']');
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto* const bytes = reinterpret_cast<const char*>(data);
    const auto whole = std::make_unique<CameraListReader>();
    const auto pieces = std::make_unique<CameraListReader>();
    parse(bytes, size, size + 1, whole.get());
    parse(bytes, size, size > 0 ? data[0] % 7 + 1u : 1u, pieces.get());
    fuzz_require(memcmp(&whole->list, &pieces->list, sizeof whole->list) == 0);
    check_list(whole->list);

    const auto choice = std::make_unique<CameraChoice>();
    camera_choice_refill(choice.get(), &whole->list);
    for (size_t i = 0; i < std::min<size_t>(size, 64); ++i) {
        const int32_t feed = data[i] % kSettingsFeeds;
        if (data[i] & 0x80) {
            camera_choice_swap(choice.get(), feed, (feed + 1) % kSettingsFeeds);
        } else {
            fuzz_require(camera_choice_pick(choice.get(), feed, data[i] / 3 % (kMaxCameras + 2) - 1) != feed);
        }
        for (const auto& path : choice->path) terminated(path);
        for (int32_t shown : choice->shown) fuzz_require(shown >= 0 && shown <= whole->list.count);
    }
    return 0;
}
