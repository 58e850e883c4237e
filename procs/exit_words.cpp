#include "procs/exit_words.h"

#include <cstdio>

#include "app/exception_words.h"

// What the C runtime's abort() leaves with.
static constexpr uint32_t kAbortCode = 3;
// From here on a code is a system status rather than a number that a program chose.
static constexpr uint32_t kFirstStatus = 0x40000000;
// The last few are what a program means by a small negative number.
static constexpr uint32_t kFirstNegative = 0xFFFF0000;

static std::string code_words(uint32_t code) {
    if (code == 0) return "ended normally";
    if (code == kAbortCode) return "aborted (code 3)";
    if (const char* words = exception_words(code)) return words;
    char text[32];
    if (code >= kFirstNegative) {
        snprintf(text, sizeof text, "code %d", static_cast<int32_t>(code));
    } else if (code >= kFirstStatus) {
        snprintf(text, sizeof text, "code 0x%08X", code);
    } else {
        snprintf(text, sizeof text, "code %u", code);
    }
    return text;
}

std::string exit_words(const ProcessSlot& slot) {
    switch (slot.ending) {
        case kEndingNone:
            return "";
        case kEndingByConsole:
            return "ended by console";
        case kEndingGivenUp:
            return "did not end when told";
        case kEndingNotStarted:
            return "could not be started";
        default:
            return code_words(slot.exit_code);
    }
}

std::string duration_words(uint64_t duration_ms) {
    const uint64_t seconds = duration_ms / 1000;
    const auto hours = static_cast<unsigned long long>(seconds / 3600);
    const auto minute = static_cast<uint32_t>(seconds / 60 % 60);
    const auto second = static_cast<uint32_t>(seconds % 60);
    char text[48];
    if (hours > 0) {
        snprintf(text, sizeof text, "%llu:%02u:%02u", hours, minute, second);
    } else {
        snprintf(text, sizeof text, "%u:%02u", minute, second);
    }
    return text;
}

std::string age_words(const ProcessSlot& slot, uint64_t now_ms) {
    const bool ended = slot.ending != kEndingNone;
    const uint64_t since_ms = ended ? slot.ended_ms : slot.launched_ms;
    const std::string age = duration_words(now_ms > since_ms ? now_ms - since_ms : 0);
    return ended ? age + " ago" : age;
}
