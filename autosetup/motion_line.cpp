#include "autosetup/motion_line.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

#include "settings/text_numbers.h"

// ------------------------------------------------------------------------------------------------- the usual line

// Of a usual number. So many cannot be too large for their type.
static constexpr ptrdiff_t kMostDigits = 9;
static constexpr ptrdiff_t kMostDigits64 = 18;
// 13 keys of at most 15 characters, 20 numbers with a sign and what stands behind them, CR LF.
static constexpr ptrdiff_t kLongestUsualLine =
    ptrdiff_t{13} * 15 + 18 * (kMostDigits + 2) + 2 * (kMostDigits64 + 2) + 2;
static_assert(kLongestUsualLine < ptrdiff_t{kMotionLineBuffer} - 1);

// All that walks is inlined: the position then stays in a register, and each number of a line has branches of its
// own, which the processor learns, for line after line is alike.
#define ORVEK_WALK [[gnu::always_inline]] static inline

// The first and the last bytes of a text, in two words that may overlap.
template <class Word>
ORVEK_WALK bool same_words(const char* a, const char* b, size_t size) {
    Word words[4];
    memcpy(&words[0], a, sizeof(Word));
    memcpy(&words[1], b, sizeof(Word));
    memcpy(&words[2], a + size - sizeof(Word), sizeof(Word));
    memcpy(&words[3], b + size - sizeof(Word), sizeof(Word));
    return words[0] == words[1] && words[2] == words[3];
}

// memcmp would be called for some sizes.
template <size_t kSize>
ORVEK_WALK bool walk_text(const char** at, const char (&text)[kSize]) {
    constexpr size_t kLength = kSize - 1;
    static_assert(kLength <= kReadableBeyond);
    using Word = std::conditional_t<
        (kLength >= 8), uint64_t,
        std::conditional_t<(kLength >= 4), uint32_t, std::conditional_t<(kLength >= 2), uint16_t, uint8_t>>>;
    if (!same_words<Word>(*at, text, kLength)) return false;
    *at += kLength;
    return true;
}

static uint32_t digit_at(const char* at) {
    return static_cast<uint32_t>(static_cast<uint8_t>(*at)) - '0';  // beyond 9: no digit
}

// A number as long as it may be. Returns where it ends, null when it is longer or none.
template <ptrdiff_t kMost, class Number>
[[gnu::noinline, gnu::cold]] static const char* any_number(const char* at, Number* value) {
    const bool negative = *at == '-';
    const char* const first = at + negative;
    Number sum = 0;
    for (at = first; digit_at(at) <= 9; ++at) {
        if (at - first == kMost) return nullptr;
        sum = sum * 10 + static_cast<Number>(digit_at(at));
    }
    *value = negative ? -sum : sum;
    return at != first ? at : nullptr;
}

// Most numbers have no sign and few digits, of which each then costs a comparison and little more.
ORVEK_WALK bool walk_int(const char** at, int32_t* value) {
    const char* const first = *at;
    uint32_t sum = digit_at(first);
    if (sum <= 9) [[likely]] {
#pragma GCC unroll 4
        for (int32_t i = 1; i <= 4; ++i) {
            const uint32_t digit = digit_at(first + i);
            if (digit > 9) {
                *at = first + i;
                *value = static_cast<int32_t>(sum);
                return true;
            }
            sum = sum * 10 + digit;
        }
    }
    *at = any_number<kMostDigits>(first, value);
    return *at != nullptr;
}

// Frame numbers and times are long: up to eight digits at once. Neighbours become pairs, pairs fours, fours the
// number; fewer than eight digits move up, so that zeros stand before them.
ORVEK_WALK bool walk_int64(const char** at, int64_t* value) {
    static_assert(std::endian::native == std::endian::little);
    const char* const first = *at;
    uint64_t word;
    memcpy(&word, first, sizeof word);
    word -= 0x3030303030303030;
    const uint64_t others = (word | (word + 0x7676767676767676)) & 0x8080808080808080;
    const char* digit = first + 8;
    if (others != 0) {
        const int32_t bits = std::countr_zero(others) - 7;
        if (bits == 0) {
            *at = any_number<kMostDigits64>(first, value);
            return *at != nullptr;
        }
        word <<= 64 - bits;
        digit = first + bits / 8;
    }
    word = word * 10 + (word >> 8);
    word = (word & 0x00FF00FF00FF00FF) * 100 + (word >> 16 & 0x00FF00FF00FF00FF);
    word = (word & 0x0000FFFF0000FFFF) * 10000 + (word >> 32 & 0x0000FFFF0000FFFF);
    auto sum = static_cast<int64_t>(word & 0xFFFFFFFF);
    for (; digit_at(digit) <= 9; ++digit) {
        if (digit - first == kMostDigits64) return false;
        sum = sum * 10 + digit_at(digit);
    }
    *at = digit;
    *value = sum;
    return true;
}

ORVEK_WALK bool walk_total(const char** at, int32_t* total) {
    int32_t before = 0;
    return walk_int(at, &before) && walk_text(at, ",") && walk_int(at, &before) && walk_text(at, ",") &&
           walk_int(at, &before) && walk_text(at, ",") && walk_int(at, total);
}

size_t read_usual_line(const char* text, int32_t min_size, bool* is_blob, MotionLine* line) {
    const char* at = text;
    int32_t size = 0;
    int32_t type = 0;
    int32_t blobs = 0;
    const bool usual = walk_text(&at, "feed ") && walk_int(&at, &line->feed) &&                    //
                       walk_text(&at, " seq=") && walk_int64(&at, &line->blob.seq) &&              //
                       walk_text(&at, " ts=") && walk_int64(&at, &line->blob.ts) &&                //
                       walk_text(&at, " type=") && walk_int(&at, &type) &&                         //
                       walk_text(&at, " blobs=") && walk_int(&at, &blobs) &&                       //
                       walk_text(&at, " blob0_sz=") && walk_int(&at, &size) &&                     //
                       walk_text(&at, " blob0_x=") && walk_int(&at, &line->blob.x) &&              //
                       walk_text(&at, " blob0_y=") && walk_int(&at, &line->blob.y) &&              //
                       walk_text(&at, " blob0_first_y=") && walk_int(&at, &line->blob.first_y) &&  //
                       walk_text(&at, " blob0_last_y=") && walk_int(&at, &line->blob.last_y) &&    //
                       walk_text(&at, " ycum=") && walk_total(&at, &line->totals[0]) &&            //
                       walk_text(&at, " ucum=") && walk_total(&at, &line->totals[1]) &&            //
                       walk_text(&at, " vcum=") && walk_total(&at, &line->totals[2]) &&            //
                       (walk_text(&at, "\n") || walk_text(&at, "\r\n"));
    if (!usual) return 0;
    *is_blob = type != 0 && size >= min_size;
    line->blob.size = static_cast<uint32_t>(size);
    line->blob.meter = 0;
    return static_cast<size_t>(at - text);
}

// --------------------------------------------------------------------------------------------------- any other line

namespace {
enum Key : int32_t {
    kKeyNone = -1,
    kKeySize,
    kKeyX,
    kKeyY,
    kKeyFirstY,
    kKeyLastY,
    kKeySeq,
    kKeyTime,
    kKeyType,
    kKeyBlobs,
    kKeyYCum,
    kKeyUCum,
    kKeyVCum,
    kKeyCount,
};

// What stands behind each key's first occurrence in a line, up to the line's end. Null data: not in the line.
struct LineValues {
    std::string_view behind[kKeyCount];

    bool has(Key key) const {
        return behind[key].data() != nullptr;
    }
    int32_t number(Key key) const {
        return text_to_int(behind[key]);
    }
    int64_t number64(Key key) const {
        return text_to_int64(behind[key]);
    }
};
}  // namespace

static Key key_when(std::string_view text, std::string_view name, Key key) {
    return text.ends_with(name) ? key : kKeyNone;
}

// The key whose equals sign stands right behind `text`. Only the tail counts: "fire_seq" is a "seq".
static Key key_before_equals(std::string_view text) {
    switch (text.empty() ? '\0' : text.back()) {
        case 'z':
            return key_when(text, "blob0_sz", kKeySize);
        case 'x':
            return key_when(text, "blob0_x", kKeyX);
        case 'q':
            return key_when(text, "seq", kKeySeq);
        case 'e':
            return key_when(text, " type", kKeyType);
        case 's':
            return std::max(key_when(text, " ts", kKeyTime), key_when(text, " blobs", kKeyBlobs));
        case 'y':
            return std::max({key_when(text, "blob0_y", kKeyY), key_when(text, "blob0_first_y", kKeyFirstY),
                             key_when(text, "blob0_last_y", kKeyLastY)});
        case 'm':
            return std::max({key_when(text, "ycum", kKeyYCum), key_when(text, "ucum", kKeyUCum),
                             key_when(text, "vcum", kKeyVCum)});
        default:
            return kKeyNone;
    }
}

// All keys in one pass: each ends at an equals sign, and at no sign end two of them.
static LineValues line_values(std::string_view line, const ByteScan& scan) {
    LineValues values = {};
    uint64_t marks[kMarkWords];
    scan.mark_bytes(line, '=', marks);
    for (size_t from = 0; from < line.size(); from += 64) {
        for (uint64_t word = marks[from / 64]; word != 0; word &= word - 1) {
            const size_t at = from + static_cast<size_t>(std::countr_zero(word));
            const Key key = key_before_equals(line.substr(0, at));
            if (key != kKeyNone && !values.has(key)) values.behind[key] = line.substr(at + 1);
        }
    }
    return values;
}

// Whether the detector called what it saw a blob. Logs say it in one of two ways, or take it for granted.
static bool has_usable_blob(const LineValues& values) {
    if (values.has(kKeyType)) return values.number(kKeyType) != 0;
    return !values.has(kKeyBlobs) || values.number(kKeyBlobs) >= 1;
}

// The last of four cumulated differences is the total; fewer than four say nothing.
static int32_t total_of(std::string_view text) {
    TextCursor cursor{text.data(), text.data() + text.size()};
    int32_t total = 0;
    for (int32_t i = 0; i < 4; ++i)
        if ((i > 0 && !scan_literal(&cursor, ",")) || !scan_int(&cursor, &total)) return kNoTotal;
    return total;
}

bool read_any_line(std::string_view text, int32_t min_size, const ByteScan& scan, MotionLine* line) {
    const LineValues values = line_values(text, scan);
    if (!values.has(kKeySize) || !has_usable_blob(values)) return false;
    const int32_t size = values.number(kKeySize);
    if (size < min_size || !values.has(kKeyX) || !values.has(kKeySeq)) return false;
    constexpr std::string_view kFeedMark = "feed ";
    const size_t mark = scan.find_text(text, kFeedMark);
    if (mark == std::string_view::npos) return false;

    line->feed = text_to_int(text.substr(mark + kFeedMark.size()));
    MotionBlob* const blob = &line->blob;
    blob->size = static_cast<uint32_t>(size);
    blob->x = values.number(kKeyX);
    blob->y = values.number(kKeyY);
    blob->first_y = values.has(kKeyFirstY) ? values.number(kKeyFirstY) : blob->y;
    blob->last_y = values.has(kKeyLastY) ? values.number(kKeyLastY) : blob->y;
    blob->seq = values.number64(kKeySeq);
    blob->ts = values.number64(kKeyTime);
    blob->meter = 0;
    constexpr Key kTotalKeys[kPlanes] = {kKeyYCum, kKeyUCum, kKeyVCum};
    for (int32_t plane = 0; plane < kPlanes; ++plane) {
        const Key key = kTotalKeys[plane];
        line->totals[plane] = values.has(key) ? total_of(values.behind[key]) : kNoTotal;
    }
    return true;
}
