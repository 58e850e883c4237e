#include "autosetup/log_lines.h"

#include <algorithm>
#include <cstring>

#include "autosetup/log_file.h"

int32_t log_lines_open(LogLines* lines, const char* path, const ByteScan& scan) {
    lines->file = log_file_open(path);
    lines->scan = &scan;
    memset(lines->block, 0, kReadableBeyond);
    lines->at = lines->end = 0;
    lines->at_end = false;
    return lines->file == kNoLogFile ? -1 : 0;
}

void log_lines_close(LogLines* lines) {
    log_file_close(lines->file);
    lines->file = kNoLogFile;
}

// Brings what is left to the front of the block and reads behind it.
static void refill(LogLines* lines) {
    const size_t left = lines->end - lines->at;
    memmove(lines->block, lines->block + lines->at, left);
    const size_t got = log_file_read(lines->file, lines->block + left, kLogBlock - left);
    lines->at = 0;
    lines->end = left + got;
    lines->at_end = got == 0;
    memset(lines->block + lines->end, 0, kReadableBeyond);
}

static const char* find_char(const char* text, size_t size, char c) {
    return static_cast<const char*>(memchr(text, c, size));
}

bool log_lines_next(LogLines* lines, size_t buffer_size, std::string_view* piece) {
    const size_t limit = buffer_size - 1;
    // One byte more than the piece can have characters, because a CR LF may be the last of them.
    while (lines->end - lines->at <= limit && !lines->at_end) {
        if (find_char(lines->block + lines->at, lines->end - lines->at, '\n')) break;
        refill(lines);
    }
    const char* const text = lines->block + lines->at;
    const size_t size = std::min(lines->end - lines->at, limit + 1);
    if (size == 0) return false;
    size_t length = std::min(size, limit);
    size_t used = length;
    if (const char* line_end = find_char(text, size, '\n')) {
        const auto before = static_cast<size_t>(line_end - text);
        const bool has_return = before > 0 && text[before - 1] == '\r';
        const size_t characters = has_return ? before - 1 : before;
        if (characters < limit) {
            length = characters;
            used = before + 1;
        }
    }
    lines->at += used;
    if (const char* nul = find_char(text, length, '\0')) length = static_cast<size_t>(nul - text);
    *piece = {text, length};
    return true;
}

// Passes over what cannot hold the text: `clear` bytes from here on do not. A piece that reaches beyond them stays.
static void skip_clear(LogLines* lines, size_t clear, size_t limit) {
    const std::string_view passed(lines->block + lines->at, clear);
    const size_t line_end = lines->scan->find_last_byte(passed, '\n');
    size_t skipped = line_end == std::string_view::npos ? 0 : line_end + 1;
    while (clear - skipped > limit) skipped += limit;
    lines->at += skipped;
}

bool log_lines_seek(LogLines* lines, size_t buffer_size, std::string_view text) {
    for (;;) {
        const std::string_view rest = log_lines_ahead(*lines);
        const size_t place = lines->scan->find_text(rest, text);
        if (place != std::string_view::npos) {
            skip_clear(lines, place, buffer_size - 1);
            return true;
        }
        if (lines->at_end) return false;
        // The text may have begun with the last bytes.
        skip_clear(lines, rest.size(), buffer_size - 1);
        refill(lines);
    }
}

std::string_view log_lines_ahead(const LogLines& lines) {
    return {lines.block + lines.at, lines.end - lines.at};
}

void log_lines_pass(LogLines* lines, size_t size) {
    lines->at += size;
}
