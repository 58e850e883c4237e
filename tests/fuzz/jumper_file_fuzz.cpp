// Any file as a start list: what is taken fits its fields, does not depend on the chunks, and reads back the same.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "jumpers/jumper_file.h"
#include "jumpers/jumper_list.h"

static void require(bool condition) {
    if (!condition) abort();
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
    require(whole->count == pieces->count && whole->count <= 199);

    std::string text;
    for (int32_t i = 0; i < whole->count; ++i) {
        const JumperEntry& entry = whole->entry[i];
        require(memcmp(&entry, &pieces->entry[i], sizeof entry) == 0);
        require(entry.bib > 0);
        require(strnlen(entry.name, 32) < 32 && strnlen(entry.club, 32) < 32 && strnlen(entry.extra, 12) < 12);
        require(strpbrk(entry.name, "\t\n") == nullptr && strpbrk(entry.club, "\t\n") == nullptr);
        text += std::to_string(entry.bib) + "\t" + entry.name + "\t" + entry.club + "\t" + entry.extra + "\n";
    }
    const auto again = std::make_unique<JumperFileReader>();
    read(again.get(), text.data(), text.size(), 4096);
    require(again->count == whole->count);
    for (int32_t i = 0; i < whole->count; ++i) require_same(again->entry[i], whole->entry[i]);

    const auto region = std::make_unique<JumperRegion>();
    require(jumper_list_fill(region.get(), whole->entry, whole->count) == 1 + whole->count);
    for (int32_t i = 0; i < whole->count; ++i) {
        JumperRow row;
        jumper_list_row(region.get(), 1 + i, &row);
        require(row.bib == whole->entry[i].bib && strcmp(row.name, whole->entry[i].name) == 0);
        require(strcmp(row.club, whole->entry[i].club) == 0);
    }
    return 0;
}
