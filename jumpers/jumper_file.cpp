#include "jumpers/jumper_file.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "settings/text_pieces.h"

namespace {

constexpr char kAutoLoadName[] = "jumpers.csv";
constexpr size_t kAutoLoadFolderMax = 243;

}  // namespace

static bool is_continuation(char byte) {
    return (static_cast<uint8_t>(byte) & 0xC0) == 0x80;
}

// How much of a text remains when a character that was cut off at its end goes, too.
static size_t whole_length(std::string_view text) {
    size_t lead = text.size();
    while (lead > 0 && text.size() - lead < 3 && is_continuation(text[lead - 1])) --lead;
    if (lead == 0) return text.size();
    const auto first = static_cast<uint8_t>(text[lead - 1]);
    const size_t needed = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 1;
    return text.size() - (lead - 1) < needed ? lead - 1 : text.size();
}

template <size_t Size>
static void copy_text(char (&field)[Size], std::string_view text) {
    const size_t length = text_cut(text, Size - 1);
    memcpy(field, text.data(), length);
    memset(field + length, 0, Size - length);
}

static std::string_view take_column(std::string_view* rest) {
    const size_t tab = rest->find('\t');
    const std::string_view column = rest->substr(0, tab);
    rest->remove_prefix(tab == std::string_view::npos ? rest->size() : tab + 1);
    return column;
}

static bool parse_line(std::string_view line, JumperEntry* entry) {
    line = line.substr(0, line.find('\0'));
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.remove_suffix(1);
    const size_t first_tab = line.find('\t');
    if (first_tab == std::string_view::npos || line.find('\t', first_tab + 1) == std::string_view::npos) return false;
    const std::string_view bib = take_column(&line);
    entry->bib = jumper_number(bib.data(), bib.size());
    if (entry->bib <= 0) return false;
    copy_text(entry->name, take_column(&line));
    copy_text(entry->club, take_column(&line));
    copy_text(entry->extra, line);
    return true;
}

static void end_piece(JumperFileReader* reader) {
    std::string_view line(reader->piece, static_cast<size_t>(reader->piece_length));
    const bool is_cut = reader->piece_length == kJumperLineSize - 1 && line.back() != '\n';
    if (is_cut) line = line.substr(0, whole_length(line));
    JumperEntry entry;
    if (reader->count < kJumperFileCapacity && parse_line(line, &entry)) reader->entry[reader->count++] = entry;
    reader->piece_length = 0;
}

bool jumper_file_feed(JumperFileReader* reader, const char* bytes, size_t size) {
    while (size > 0 && reader->count < kJumperFileCapacity && reader->bytes < kJumperFileMaxBytes) {
        const auto room = static_cast<size_t>(kJumperLineSize - 1 - reader->piece_length);
        const size_t look = std::min(room, size);
        const void* end = memchr(bytes, '\n', look);
        const size_t taken = end ? static_cast<size_t>(static_cast<const char*>(end) - bytes) + 1 : look;
        memcpy(reader->piece + reader->piece_length, bytes, taken);
        reader->piece_length += static_cast<int32_t>(taken);
        reader->bytes += taken;
        bytes += taken;
        size -= taken;
        if (end || reader->piece_length == kJumperLineSize - 1) end_piece(reader);
    }
    return reader->count < kJumperFileCapacity && reader->bytes < kJumperFileMaxBytes;
}

void jumper_file_finish(JumperFileReader* reader) {
    if (reader->piece_length > 0) end_piece(reader);
}

int32_t jumper_number(const char* text, size_t length) {
    size_t at = 0;
    while (at < length && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r'))) ++at;
    const bool negative = at < length && text[at] == '-';
    if (at < length && (text[at] == '-' || text[at] == '+')) ++at;
    int64_t value = 0;
    for (; at < length && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = std::min<int64_t>(value * 10 + (text[at] - '0'), int64_t{INT32_MAX} + 1);
    }
    return static_cast<int32_t>(negative ? -value : std::min<int64_t>(value, INT32_MAX));
}

bool jumper_auto_load_path(const char* settings_path, char (&path)[kJumperPathSize]) {
    const char* cut = strrchr(settings_path, '\\');
    if (!cut) cut = strrchr(settings_path, '/');
    if (!cut || static_cast<size_t>(cut - settings_path) > kAutoLoadFolderMax) return false;
    const auto folder_and_separator = static_cast<int>(cut - settings_path) + 1;
    snprintf(path, sizeof path, "%.*s%s", folder_and_separator, settings_path, kAutoLoadName);
    return true;
}
