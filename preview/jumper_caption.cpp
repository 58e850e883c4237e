#include "preview/jumper_caption.h"

#include <cstdio>

// Upper case of a two-byte character (U+0080..U+07FF) whose upper case also takes two bytes.
static uint32_t upper_case(uint32_t character) {
    if (character >= 0xE0 && character <= 0xFE && character != 0xF7) return character - 0x20;
    if (character == 0xFF) return 0x178;  // y with diaeresis: its capital lives elsewhere
    // Latin Extended-A comes in pairs: capitals even, but odd from U+0139 to U+0148 and from U+0179 on. The dotted
    // and dotless i, kra, the old n and the long s have no pair.
    if (character < 0x100 || character > 0x17E) return character;
    if (character == 0x131 || character == 0x138 || character == 0x149) return character;
    const bool odd_capitals = (character >= 0x139 && character <= 0x148) || character >= 0x179;
    const bool is_small = odd_capitals ? character % 2 == 0 : character % 2 == 1;
    return is_small ? character - 1 : character;
}

static bool is_continuation(char byte) {
    return (static_cast<uint8_t>(byte) & 0xC0) == 0x80;
}

void format_jumper_caption(char (&caption)[kJumperCaptionSize], int32_t bib, const char* name, const char* club) {
    const int32_t length = snprintf(caption, sizeof caption, "%03d  %s - %s", bib, name, club);
    if (length >= kJumperCaptionSize) {
        // Cut the character that did not fit: its lead byte and what follows it, if its bytes are not all there.
        size_t end = kJumperCaptionSize - 1;
        size_t lead = end;
        while (lead > 0 && end - lead < 3 && is_continuation(caption[lead - 1])) --lead;
        if (lead > 0 && static_cast<uint8_t>(caption[lead - 1]) >= 0xC0) {
            const auto first = static_cast<uint8_t>(caption[lead - 1]);
            const size_t needed = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
            if (end - (lead - 1) < needed) caption[lead - 1] = '\0';
        }
    }
    for (char* at = caption; *at != '\0'; ++at) {
        const auto byte = static_cast<uint8_t>(*at);
        if (byte >= 'a' && byte <= 'z') {
            *at = static_cast<char>(byte - 'a' + 'A');
        } else if (byte >= 0xC2 && byte <= 0xDF && is_continuation(at[1])) {
            const uint32_t upper = upper_case((byte & 0x1Fu) << 6 | (static_cast<uint8_t>(at[1]) & 0x3Fu));
            at[0] = static_cast<char>(0xC0 | upper >> 6);
            at[1] = static_cast<char>(0x80 | (upper & 0x3F));
            ++at;
        }
    }
}
