#include "autosetup/log_lines.h"

#include <algorithm>
#include <cstring>

#include "autosetup/log_file.h"

#ifdef __SSE2__
#include <emmintrin.h>

#include <bit>
#endif

int32_t log_lines_open(LogLines* lines, const char* path) {
    lines->file = log_file_open(path);
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

// As string_view::find, at sixteen places at once where the processor can: at a place where the text stands, both its
// first and its last character do, which in a log is rare enough.
static size_t find_text(std::string_view in, std::string_view text) {
    size_t from = 0;
#ifdef __SSE2__
    const size_t last = text.size() - 1;
    const __m128i first_char = _mm_set1_epi8(text.front());
    const __m128i last_char = _mm_set1_epi8(text.back());
    for (; from + last + 16 <= in.size(); from += 16) {
        const char* const here = in.data() + from;
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(here));
        const __m128i other = _mm_loadu_si128(reinterpret_cast<const __m128i*>(here + last));
        const __m128i both = _mm_and_si128(_mm_cmpeq_epi8(first, first_char), _mm_cmpeq_epi8(other, last_char));
        auto places = static_cast<uint32_t>(_mm_movemask_epi8(both));
        for (; places != 0; places &= places - 1) {
            const auto place = static_cast<size_t>(std::countr_zero(places));
            if (memcmp(here + place, text.data(), text.size()) == 0) return from + place;
        }
    }
#endif
    return in.find(text, from);
}

// Passes over what cannot hold the text: `clear` bytes from here on do not. A piece that reaches beyond them stays.
static void skip_clear(LogLines* lines, size_t clear, size_t limit) {
    const std::string_view passed(lines->block + lines->at, clear);
    const size_t line_end = passed.rfind('\n');
    size_t skipped = line_end == std::string_view::npos ? 0 : line_end + 1;
    while (clear - skipped > limit) skipped += limit;
    lines->at += skipped;
}

bool log_lines_next_with(LogLines* lines, size_t buffer_size, std::string_view text, std::string_view* piece) {
    for (;;) {
        const std::string_view rest(lines->block + lines->at, lines->end - lines->at);
        const size_t place = find_text(rest, text);
        if (place != std::string_view::npos) {
            skip_clear(lines, place, buffer_size - 1);
            if (!log_lines_next(lines, buffer_size, piece)) return false;
            if (piece->find(text) != std::string_view::npos) return true;
        } else {
            if (lines->at_end) return false;
            skip_clear(lines, rest.size(), buffer_size - 1);
            refill(lines);
        }
    }
}
