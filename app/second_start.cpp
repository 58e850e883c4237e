#include "app/second_start.h"

#include <algorithm>
#include <string_view>

bool start_waits(StartWait* wait, const RunningController& seen, uint32_t slice_ms) {
    if (seen.pid == 0) {
        wait->unknown_ms += slice_ms;
        return wait->unknown_ms <= kIntroductionMs;
    }
    wait->unknown_ms = 0;
    if (seen.state != kControllerClosing) return false;
    wait->closing_ms += slice_ms;
    return wait->closing_ms <= kClosingPatienceMs;
}

bool start_may_end_orphans(ControllerClaim claim) {
    return claim == ControllerClaim::ours;
}

// Windows' file names differ in more than the case of ASCII letters; a wrong "no" costs one superfluous sentence.
static bool same_folder(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

static std::string who_and_where(const RunningController& running) {
    if (running.pid == 0) return "Another controller is already running in this session.";
    return "Orvek.exe is already running (process " + std::to_string(running.pid) + ") in\n" + running.folder;
}

static const char* what_helps(const RunningController& running) {
    switch (running.state) {
        case kControllerClosing:
            return "It is about to close. Start again when it is gone.";
        case kControllerCrashed:
            return "It has crashed and ends when its message box is closed. Start again then.";
        default:
            return "This one ends, and the running one comes to the front.";
    }
}

std::string second_start_text(const RunningController& running, const char* own_folder) {
    std::string text = who_and_where(running);
    text +=
        "\n\nOnly one controller can run at a time: a second one would take its shared memory and end its workers.";
    if (running.pid != 0 && !same_folder(running.folder, own_folder))
        text += " That holds for controllers in different folders, too; this one was started for\n" +
                std::string(own_folder);
    return text + "\n\n" + what_helps(running);
}

std::string second_start_log_text(const RunningController& running) {
    static constexpr char kEnd[] = " — this start ends";
    if (running.pid == 0) return std::string("second start: another controller already runs") + kEnd;
    const char* const state = running.state == kControllerClosing   ? "is still closing"
                              : running.state == kControllerCrashed ? "has crashed and waits for its message box"
                                                                    : "already runs";
    return "second start: Orvek.exe (PID " + std::to_string(running.pid) + ") " + state + " in " + running.folder +
           kEnd;
}
