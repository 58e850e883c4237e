#include "app/log.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <chrono>
#include <mutex>

namespace {

constexpr int32_t kLevelInfo = 1, kLevelWarning = 2, kLevelError = 3;

struct LogState {
    bool opened = false;
    char prefix[96] = "";
    FILE* file = nullptr;
    std::mutex lock;
    int32_t threshold = kLevelInfo;
};
LogState g_log;

}  // namespace

// Keeps one earlier run: path becomes path.old, whatever was there goes.
static void rotate(const char* path) {
    char old_path[512];
    snprintf(old_path, sizeof old_path, "%s.old", path);
    remove(old_path);
    rename(path, old_path);
}

void log_open(const char* component, int32_t index, const char* path) {
    if (g_log.opened) return;
    if (index >= 0) {
        snprintf(g_log.prefix, sizeof g_log.prefix, "[%s:%d]", component ? component : "?", index);
    } else if (component) {
        snprintf(g_log.prefix, sizeof g_log.prefix, "[%s]", component);
    } else {
        g_log.prefix[0] = '\0';
    }
    if (path) {
        rotate(path);
        g_log.file = fopen(path, "w");
    }
    g_log.opened = true;
}
