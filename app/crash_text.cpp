#include "app/crash_text.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "app/exception_words.h"

namespace {

constexpr size_t kStampLength = 15;  // YYYYMMDD_HHMMSS
constexpr char kNameStart[] = "crash_";

// Text in a buffer that never overflows and is always terminated.
struct Writer {
    char* out;
    size_t size;
    size_t length;
};

}  // namespace

static void put(Writer* writer, std::string_view text) {
    if (writer->size == 0) return;
    const size_t room = writer->size - 1 - writer->length;
    const size_t taken = std::min(room, text.size());
    memcpy(writer->out + writer->length, text.data(), taken);
    writer->length += taken;
    writer->out[writer->length] = '\0';
}

static void put_digits(Writer* writer, uint64_t value, uint32_t base, size_t least) {
    char digits[20];
    size_t at = sizeof digits;
    do {
        digits[--at] = "0123456789ABCDEF"[value % base];
        value /= base;
    } while (at > 0 && (value > 0 || sizeof digits - at < least));
    put(writer, {digits + at, sizeof digits - at});
}

static void put_number(Writer* writer, int64_t value, size_t least = 1) {
    if (value < 0) put(writer, "-");
    put_digits(writer, value < 0 ? uint64_t{0} - static_cast<uint64_t>(value) : static_cast<uint64_t>(value), 10,
               least);
}

static void put_hex(Writer* writer, uint64_t value, size_t least) {
    put(writer, "0x");
    put_digits(writer, value, 16, least);
}

// Fills up to `width` columns counted from `start`.
static void pad_to(Writer* writer, size_t start, size_t width) {
    do put(writer, " ");
    while (writer->length + 1 < writer->size && writer->length - start < width);
}

static void put_label(Writer* writer, const char* label) {
    const size_t start = writer->length;
    put(writer, label);
    pad_to(writer, start, 12);
}

static void put_date(Writer* writer, const CrashTime& time, const char* in_date, const char* between,
                     const char* in_time) {
    put_number(writer, time.year, 4);
    put(writer, in_date);
    put_number(writer, time.month, 2);
    put(writer, in_date);
    put_number(writer, time.day, 2);
    put(writer, between);
    put_number(writer, time.hour, 2);
    put(writer, in_time);
    put_number(writer, time.minute, 2);
    put(writer, in_time);
    put_number(writer, time.second, 2);
}

static const char* access_words(CrashAccess access) {
    switch (access) {
        case CrashAccess::read:
            return ", reading address ";
        case CrashAccess::write:
            return ", writing to address ";
        case CrashAccess::execute:
            return ", executing at address ";
        default:
            return nullptr;
    }
}

static void put_exception(Writer* writer, const CrashFacts& facts) {
    put_label(writer, "Exception:");
    const char* const words = exception_words(facts.code);
    put(writer, words ? words : "unknown");
    put(writer, " (");
    put_hex(writer, facts.code, 8);
    put(writer, ")");
    if (const char* access = access_words(facts.access)) {
        put(writer, access);
        put_hex(writer, facts.access_address, 16);
    }
    put(writer, "\n");
}

static void put_address(Writer* writer, const CrashFacts& facts) {
    put_label(writer, "Address:");
    put_hex(writer, facts.address, 16);
    if (facts.module) {
        put(writer, " = ");
        put(writer, facts.module);
        put(writer, "+");
        put_hex(writer, facts.offset, 1);
    } else {
        put(writer, ", in no module");
    }
    put(writer, "\n");
}

static void put_head(Writer* writer, const CrashFacts& facts) {
    put(writer, "Orvek.exe crashed\n\n");
    put_label(writer, "Version:");
    put(writer, facts.version);
    put(writer, "\n");
    put_label(writer, "Time:");
    put_date(writer, facts.time, "-", " ", ":");
    put(writer, "\n");
    put_exception(writer, facts);
    put_address(writer, facts);
    put_label(writer, "Process:");
    put_number(writer, facts.process);
    put(writer, ", thread ");
    put_number(writer, facts.thread);
    put(writer, facts.main_thread ? " (the main thread)\n" : "\n");
    put_label(writer, "Dump:");
    put(writer, facts.dump ? facts.dump : "none");
    put(writer, "\n");
}

// The manager may be what was damaged: its text need not be terminated.
static void put_worker(Writer* writer, int32_t number, const ProcessSlot& slot) {
    const size_t start = writer->length;
    put(writer, number < 10 ? "   " : "  ");
    put_number(writer, number);
    pad_to(writer, start, 6);
    put(writer, {slot.name, strnlen(slot.name, sizeof slot.name)});
    pad_to(writer, start, 24);
    put(writer, "PID ");
    put_number(writer, slot.pid);
    pad_to(writer, start, 36);
    put(writer, procmgr_state_name(slot.state));
    pad_to(writer, start, 46);
    put(writer, "restarts ");
    put_number(writer, slot.restarts);
    if (slot.state != kSlotRunning) {
        put(writer, "   exit code ");
        put_hex(writer, slot.exit_code, 8);
    }
    put(writer, "\n");
}

static void put_workers(Writer* writer, const ProcessManager* processes) {
    put(writer, "\nWorkers:\n");
    int32_t listed = 0;
    for (int32_t i = 0; processes && i < kProcessSlots; ++i) {
        if (processes->slots[i].state == kSlotEmpty) continue;
        put_worker(writer, i, processes->slots[i]);
        ++listed;
    }
    if (listed == 0) put(writer, "   none\n");
}

// Where the last `lines` lines begin.
static size_t last_lines(std::string_view text, bool is_whole, int32_t lines) {
    size_t at = text.size();
    if (at > 0 && text[at - 1] == '\n') --at;
    for (; lines > 0; --lines) {
        const size_t newline = at > 0 ? text.rfind('\n', at - 1) : std::string_view::npos;
        if (newline == std::string_view::npos) {
            if (is_whole) return 0;
            const size_t first_whole = text.find('\n');
            return first_whole == std::string_view::npos ? 0 : first_whole + 1;
        }
        at = newline;
    }
    return at + 1;
}

static void put_log(Writer* writer, const CrashFacts& facts) {
    put(writer, "\nThe log's last lines:\n");
    if (!facts.log || facts.log_length == 0) return put(writer, "   none could be read\n");
    const std::string_view log(facts.log, facts.log_length);
    for (const char c : log.substr(last_lines(log, facts.log_is_whole, kCrashLogLines)))
        if (c != '\r') put(writer, {&c, 1});
    if (writer->length > 0 && writer->out[writer->length - 1] != '\n') put(writer, "\n");
}

size_t crash_text(const CrashFacts& facts, char* out, size_t size) {
    Writer writer = {nullptr, size, 0};
    writer.out = out;
    put(&writer, "");
    put_head(&writer, facts);
    put_workers(&writer, facts.processes);
    put_log(&writer, facts);
    return writer.length;
}

void crash_file_name(const CrashTime& time, const char* extension, char out[kCrashFileNameSize]) {
    Writer writer = {nullptr, kCrashFileNameSize, 0};
    writer.out = out;
    put(&writer, kNameStart);
    put_date(&writer, time, "", "_", "");
    put(&writer, ".");
    put(&writer, extension);
}

static bool is_stamp(std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i)
        if (i == 8 ? text[i] != '_' : text[i] < '0' || text[i] > '9') return false;
    return text.size() == kStampLength;
}

bool is_crash_file(std::string_view name, std::string_view extension) {
    constexpr size_t kStart = sizeof kNameStart - 1;
    return name.size() == kStart + kStampLength + 1 + extension.size() && name.size() < kCrashFileNameSize &&
           name.starts_with(kNameStart) && is_stamp(name.substr(kStart, kStampLength)) &&
           name[kStart + kStampLength] == '.' && name.ends_with(extension);
}

bool crash_files_offer(CrashFiles* files, const char* name, const char* extension, const char* written,
                       char removed[kCrashFileNameSize]) {
    if (!is_crash_file(name, extension) || strcmp(name, written) == 0) return false;
    int32_t place = 0;
    while (place < files->count && strcmp(files->names[place], name) < 0) ++place;
    if (files->count < kCrashFilesKept - 1) {
        memmove(files->names[place + 1], files->names[place],
                static_cast<size_t>(files->count - place) * kCrashFileNameSize);
        memcpy(files->names[place], name, strlen(name) + 1);
        ++files->count;
        return false;
    }
    if (place == 0) {
        memcpy(removed, name, strlen(name) + 1);
        return true;
    }
    memcpy(removed, files->names[0], kCrashFileNameSize);
    memmove(files->names[0], files->names[1], static_cast<size_t>(place - 1) * kCrashFileNameSize);
    memcpy(files->names[place - 1], name, strlen(name) + 1);
    return true;
}
