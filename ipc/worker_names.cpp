#include "ipc/worker_names.h"

#include <algorithm>

#include "ipc/control_block.h"

namespace {

constexpr std::string_view kWorkerImages[] = {
    "capture.exe",    "motion.exe",     "videogen.exe",        "viewer.exe",
    "fileviewer.exe", "fileplayer.exe", "practice_player.exe",
};

}  // namespace

// Our names are ASCII; the locale has no say in what may be ended.
static char ascii_lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

static bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return ascii_lower(x) == ascii_lower(y); });
}

std::string_view image_base_name(std::string_view path) {
    const size_t backslash = path.rfind('\\');
    return backslash == std::string_view::npos ? path : path.substr(backslash + 1);
}

bool is_worker_image(std::string_view path) {
    const std::string_view name = image_base_name(path);
    return std::any_of(std::begin(kWorkerImages), std::end(kWorkerImages),
                       [name](std::string_view ours) { return equal_ignoring_case(name, ours); });
}

bool pid_slot_is_empty(uint32_t pid) {
    return pid == 0 || pid == kPidSlotEmpty;
}
