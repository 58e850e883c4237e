// Any file as a start list: what is taken fits its fields, does not depend on the chunks, reads back the same, and is
// made of whole characters when the file is.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "jumpers/jumper_file.h"
#include "jumpers/jumper_list.h"

static void require(bool condition) {
    if (!condition) abort();
}

// Written apart from the program's own cutting, and stricter: no overlong forms, no surrogates.
static bool is_utf8(std::string_view text) {
    for (size_t at = 0; at < text.size();) {
        const auto first = static_cast<uint8_t>(text[at]);
        const size_t length = first < 0x80   ? 1
                              : first < 0xC2 ? 0
                              : first < 0xE0 ? 2
                              : first < 0xF0 ? 3
                              : first < 0xF5 ? 4
                                             : 0;
        if (length == 0 || at + length > text.size()) return false;
        uint32_t character = length == 1 ? first : first & (0x7Fu >> length);
        for (size_t i = 1; i < length; ++i) {
            const auto next = static_cast<uint8_t>(text[at + i]);
            if ((next & 0xC0) != 0x80) return false;
            character = character << 6 | (next & 0x3Fu);
        }
        constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
        if (character < kLeast[length] || character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF))
            return false;
        at += length;
    }
    return true;
}

// Terminated, zeros to its end, and whole characters if the file has nothing else.
template <size_t Size>
static void require_text(const char (&field)[Size], bool whole_characters) {
    const size_t length = strnlen(field, Size);
    require(length < Size);
    for (size_t i = length; i < Size; ++i) require(field[i] == '\0');
    if (whole_characters) require(is_utf8({field, length}));
}

static void read(JumperFileReader* reader, const char* bytes, size_t size, size_t chunk) {
    for (size_t at = 0; at < size; at += chunk) {
        if (!jumper_file_feed(reader, bytes + at, size - at < chunk ? size - at : chunk)) break;
    }
    jumper_file_finish(reader);
}

static void require_same(const JumperEntry& a, const JumperEntry& b) {
    require(a.bib == b.bib && strcmp(a.name, b.name) == 0 && strcmp(a.club, b.club) == 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto* bytes = reinterpret_cast<const char*>(data);
    const auto whole = std::make_unique<JumperFileReader>();
    read(whole.get(), bytes, size, size + 1);
    const auto pieces = std::make_unique<JumperFileReader>();
    read(pieces.get(), bytes, size, size > 0 ? 1 + data[0] : 1);
    require(whole->count == pieces->count && whole->count >= 0 && whole->count <= 199);
    const bool whole_characters = is_utf8({bytes, size});

    std::string text;
    for (int32_t i = 0; i < whole->count; ++i) {
        const JumperEntry& entry = whole->entry[i];
        require(memcmp(&entry, &pieces->entry[i], sizeof entry) == 0);
        require(entry.bib > 0);
        require_text(entry.name, whole_characters);
        require_text(entry.club, whole_characters);
        require_text(entry.extra, whole_characters);
        require(strpbrk(entry.name, "\t\n") == nullptr && strpbrk(entry.club, "\t\n") == nullptr);
        text += std::to_string(entry.bib) + "\t" + entry.name + "\t" + entry.club + "\t" + entry.extra + "\n";
    }
    const auto again = std::make_unique<JumperFileReader>();
    read(again.get(), text.data(), text.size(), 4096);
    require(again->count == whole->count);
    for (int32_t i = 0; i < whole->count; ++i) require_same(again->entry[i], whole->entry[i]);

    const auto region = std::make_unique<JumperRegion>();
    require(jumper_list_fill(region.get(), whole->entry, whole->count) == 1 + whole->count);
    require(region->count == 1 + whole->count && region->current_index == 0 && region->current_bib == 0);
    for (int32_t i = 0; i < whole->count; ++i) {
        JumperRow row;
        jumper_list_row(region.get(), 1 + i, &row);
        require(row.bib == whole->entry[i].bib && strcmp(row.name, whole->entry[i].name) == 0);
        require(strcmp(row.club, whole->entry[i].club) == 0);
    }
    return 0;
}
