#include "tests/soak/silence_meter.h"

#include <cstdlib>

#include "tests/support/wait.h"

static constexpr char kLog[] = "controller_debug.log";
static constexpr uint32_t kAskEveryMs = 50;
static constexpr uint32_t kGiveUpMs = 60000;
static constexpr uint32_t kWorthReadingMs = 500;  // shorter ones are over before the log could say why

// How long the program's main thread has been ready without a processor, in all; the second number of schedstat.
static uint64_t starved_ns(const SilenceMeter& meter) {
    if (meter.host_pid == 0) return 0;
    const std::string text = installation_read({"Z:\\proc\\" + std::to_string(meter.host_pid), nullptr}, "schedstat");
    const size_t blank = text.find(' ');
    return blank == std::string::npos ? 0 : strtoull(text.c_str() + blank, nullptr, 10);
}

static uint64_t size_of_log(const SilenceMeter& meter) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExA(installation_path(meter.installation, kLog).c_str(), GetFileExInfoStandard, &data))
        return 0;
    return (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

// What the log has gained since it was `size` bytes long.
static std::string logged_since(const SilenceMeter& meter, uint64_t size) {
    const std::string text = installation_read(meter.installation, kLog);
    return size < text.size() ? text.substr(size) : "";
}

static bool tells_of_pinning(const std::string& logged) {
    return logged.find("shmem: locked '") != std::string::npos ||
           logged.find("shmem: VirtualLock failed for '") != std::string::npos;
}

// The most patient of the periods that the silence touches: an action that is over may still be at work.
static Silence judge(const SilenceMeter& meter, uint64_t from, uint64_t to) {
    Silence silence = {static_cast<uint32_t>(to - from), 0, 0, "", ""};
    for (size_t i = 0; i < meter.periods.size(); ++i) {
        const SilencePeriod& period = meter.periods[i];
        const uint64_t ends = i + 1 < meter.periods.size() ? meter.periods[i + 1].from_ms : UINT64_MAX;
        if (period.from_ms > to || ends < from || period.allowed_ms < silence.allowed_ms) continue;
        silence.allowed_ms = period.allowed_ms;
        silence.because = period.because;
    }
    return silence;
}

// A ring may appear in any period, so the pinning of one is known by what the log says after it.
static void explain(const SilenceMeter& meter, uint64_t log_before, Silence* silence) {
    if (silence->lasted_ms <= kWorthReadingMs) return;
    silence->logged = logged_since(meter, log_before);
    if (silence->allowed_ms >= kPinningAllowedMs || !tells_of_pinning(silence->logged)) return;
    silence->allowed_ms = kPinningAllowedMs;
    silence->because = "a fresh ring, while: " + silence->because;
}

static void note(SilenceMeter* meter, const Silence& silence) {
    if (silence.lasted_ms > silence.allowed_ms + silence.starved_ms) meter->too_long.push_back(silence);
    for (Silence& longest : meter->notable) {
        if (longest.because != silence.because) continue;
        if (silence.lasted_ms > longest.lasted_ms) longest = silence;
        return;
    }
    meter->notable.push_back(silence);
}

static void ask_again_and_again(SilenceMeter* meter) {
    for (;;) {
        const uint64_t starved_before = starved_ns(*meter);
        const uint64_t log_before = size_of_log(*meter);
        const uint64_t from = GetTickCount64();
        DWORD_PTR answer = 0;
        const bool answered = SendMessageTimeoutW(meter->window, WM_NULL, 0, 0, SMTO_NORMAL, kGiveUpMs, &answer) != 0;
        const uint64_t to = GetTickCount64();
        const uint64_t starved_after = starved_ns(*meter);
        {
            const std::lock_guard guard(meter->lock);
            if (meter->stop || !IsWindow(meter->window)) return;
            ++meter->asked;
            if (!answered && to - from < kGiveUpMs) continue;
            Silence silence = judge(*meter, from, to);
            if (starved_after > starved_before)
                silence.starved_ms = static_cast<uint32_t>((starved_after - starved_before) / 1000000);
            explain(*meter, log_before, &silence);
            note(meter, silence);
        }
        pause_ms(kAskEveryMs);
    }
}

void silence_meter_start(SilenceMeter* meter, HWND window, uint32_t host_pid, const Installation& installation) {
    meter->window = window;
    meter->host_pid = host_pid;
    meter->installation = installation;
    meter->stop = false;
    meter->thread = std::thread(ask_again_and_again, meter);
}

void silence_meter_stop(SilenceMeter* meter) {
    {
        const std::lock_guard guard(meter->lock);
        meter->stop = true;
    }
    if (meter->thread.joinable()) meter->thread.join();
    meter->periods.clear();
}

void silence_meter_expect(SilenceMeter* meter, uint32_t allowed_ms, const std::string& because) {
    const std::lock_guard guard(meter->lock);
    if (!meter->periods.empty() && meter->periods.back().because == because &&
        meter->periods.back().allowed_ms == allowed_ms)
        return;
    meter->periods.push_back({GetTickCount64(), allowed_ms, because});
}
