#include "app/settings_location.h"

#include <cstdio>
#include <string>
#include <string_view>

static constexpr char kFileName[] = "settings.txt";

void resolve_settings_path(const char* exe_path, const char* positional, FileExists exists, void* context,
                           char out[kSettingsPathSize]) {
    std::string directory = exe_path ? exe_path : "";
    for (int32_t level = 0; level < kSettingsSearchDirectories; ++level) {
        const size_t cut = directory.rfind('\\');
        if (cut == std::string::npos) break;
        directory.resize(cut);
        const std::string candidate = directory + "\\" + kFileName;
        if (candidate.size() >= kSettingsPathSize || !exists(context, candidate.c_str())) continue;
        snprintf(out, kSettingsPathSize, "%s", candidate.c_str());
        return;
    }
    snprintf(out, kSettingsPathSize, "%s", positional && positional[0] != '\0' ? positional : kFileName);
}

int32_t settings_directory(const char* settings_path, char out[kSettingsPathSize]) {
    const std::string_view path(settings_path);
    const size_t cut = path.rfind('\\');
    if (cut == std::string_view::npos) return -1;
    const bool is_root = cut == 0 || path[cut - 1] == ':';
    snprintf(out, kSettingsPathSize, "%.*s", static_cast<int>(is_root ? cut + 1 : cut), settings_path);
    return 0;
}
