#include "app/log.h"

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

namespace {

constexpr int32_t kLevelInfo = 1, kLevelWarning = 2, kLevelError = 3;
constexpr int32_t kThresholdEverything = -1;

struct LogState {
    std::mutex lock;  // one line at a time, and never a line while the file opens or closes
    bool opened = false;
    std::string prefix;
    FILE* file = nullptr;
    std::atomic<int32_t> threshold = kLevelInfo;
};
LogState g_log;

struct WallTime {
    int32_t hour, minute, second, millisecond;
};

}  // namespace

static WallTime local_wall_time() {
    using namespace std::chrono;  // mingw's runtime has no timespec_get
    const int64_t now_ms = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const time_t seconds = static_cast<time_t>(now_ms / 1000);
    tm local = {};
#if defined(_WIN32)
    localtime_s(&local, &seconds);
#else
    localtime_r(&seconds, &local);
#endif
    return {local.tm_hour, local.tm_min, local.tm_sec, static_cast<int32_t>(now_ms % 1000)};
}

// Keeps exactly one earlier run. A missing predecessor is the normal first start, so nothing here can fail loudly.
static void rotate(const char* path) {
    char old_path[512];
    snprintf(old_path, sizeof old_path, "%s.old", path);
    remove(old_path);
    (void)rename(path, old_path);
}

static std::string make_prefix(const char* component, int32_t index) {
    if (index >= 0) return "[" + std::string(component ? component : "?") + ":" + std::to_string(index) + "]";
    return component ? "[" + std::string(component) + "]" : std::string();
}

static std::string format_text(const char* format, va_list args) {
    va_list measured;
    va_copy(measured, args);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_copy has just filled it
    const int length = vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length <= 0) return {};
    std::string text(static_cast<size_t>(length), '\0');
    vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

// A line goes out in one piece: standard error is unbuffered and often shared with other processes.
static void write_line(int32_t level, const char* tag, const char* format, va_list args) {
    if (level < g_log.threshold) return;
    const std::string text = format_text(format, args);

    const std::scoped_lock held(g_log.lock);
    const WallTime now = local_wall_time();
    char time_text[64];
    snprintf(time_text, sizeof time_text, "%02d:%02d:%02d.%03d", now.hour, now.minute, now.second, now.millisecond);
    const std::string line = std::string(time_text) + " " + tag + " " + g_log.prefix + " " + text + "\n";
    for (FILE* stream : {stderr, g_log.file}) {
        if (!stream) continue;
        fwrite(line.data(), 1, line.size(), stream);
        fflush(stream);
    }
}

void log_open(const char* component, int32_t index, const char* path) {
    {
        const std::scoped_lock held(g_log.lock);
        if (g_log.opened) return;
        g_log.prefix = make_prefix(component, index);
        if (path) {
            rotate(path);
            g_log.file = fopen(path, "w");
        }
        g_log.opened = true;
        if (!path || g_log.file) return;
    }
    log_warn("log: cannot create %s", path);
}

void log_info(const char* format, ...) {
    va_list args;
    va_start(args, format);
    write_line(kLevelInfo, "INF", format, args);
    va_end(args);
}

void log_warn(const char* format, ...) {
    va_list args;
    va_start(args, format);
    write_line(kLevelWarning, "WRN", format, args);
    va_end(args);
}

void log_error(const char* format, ...) {
    va_list args;
    va_start(args, format);
    write_line(kLevelError, "ERR", format, args);
    va_end(args);
}

void log_set_verbose(bool on) {
    g_log.threshold = on ? kThresholdEverything : kLevelInfo;
}

void log_close() {
    const std::scoped_lock held(g_log.lock);
    if (!g_log.opened) return;
    if (g_log.file) fclose(g_log.file);
    g_log.file = nullptr;
    g_log.opened = false;
}
