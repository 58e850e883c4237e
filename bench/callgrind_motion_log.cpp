// Reading a motion log of 2 MB, for callgrind: the instructions spent inside counted_work. Without an argument the
// names of its rows, with one of them that row.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "autosetup/motion_log.h"
#include "bench/motion_log_text.h"
#include "settings/settings_values.h"

static constexpr int64_t kLogBytes = 2'000'000;
static constexpr int32_t kFeed = 1;
static constexpr int32_t kPercents[] = {10, 40, 100};

extern "C" __attribute__((noinline)) int32_t counted_work(AutoSetupWorkspace* workspace, const Settings* settings) {
    return parse_motion_logs(workspace, settings, {});
}

static bool read_log(const std::string& folder) {
    Settings settings;
    settings_init_defaults(&settings);
    AutoSetupWorkspace* workspace = workspace_create(&settings);
    if (!workspace) return false;
    workspace->feed_count = 1;
    workspace->log_dir = folder.c_str();
    const bool good = counted_work(workspace, &settings) == 0 && workspace->blob_count[kFeed] > 1000;
    workspace_destroy(workspace);
    return good;
}

int main(int argc, char** argv) {
    const std::string wanted = argc > 1 ? argv[1] : "";
    bool good = wanted.empty();
    for (const int32_t percent : kPercents) {
        const std::string name = "motion_log_" + std::to_string(percent) + "/ours";
        if (wanted.empty()) puts(name.c_str());
        if (wanted != name) continue;
        std::string folder = (std::filesystem::temp_directory_path() / "motion_log_XXXXXX").string();
        if (!mkdtemp(folder.data())) return 1;
        good = write_motion_log(folder + "/motion_debug_1.log", kFeed, kLogBytes, percent) && read_log(folder);
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    return good ? 0 : 1;
}
