#include "settings/descriptor_table.h"

#include <cstddef>
#include <iterator>

#include "settings/settings.h"

namespace {

constexpr int32_t kPairRows = 2 * kSettingsFeeds * kGridLinesPerFeed;
constexpr char kAnchorCategory[] = "Grid Line Anchors";

struct PairTexts {
    char key[16];
    char help[32];
};

// A fixed buffer that is filled from the left; constexpr stands in for snprintf.
template <size_t size>
constexpr char* put_text(char* out, const char (&text)[size]) {
    for (size_t i = 0; i + 1 < size; ++i) *out++ = text[i];
    return out;
}

constexpr char* put_digits(char* out, int32_t value, char pad) {
    if (value >= 10) {
        *out++ = static_cast<char>('0' + value / 10);
    } else if (pad != '\0') {
        *out++ = pad;
    }
    *out++ = static_cast<char>('0' + value % 10);
    return out;
}

// "@far[0][ 3]" and "Far anchor f0 line 3".
constexpr PairTexts pair_texts(bool near, int32_t feed, int32_t line) {
    PairTexts texts{};
    char* out = near ? put_text(texts.key, "@near[") : put_text(texts.key, "@far[");
    out = put_text(put_digits(out, feed, '\0'), "][");
    put_text(put_digits(out, line, ' '), "]");
    out = near ? put_text(texts.help, "Near anchor f") : put_text(texts.help, "Far anchor f");
    out = put_text(put_digits(out, feed, '\0'), " line ");
    put_digits(out, line, '\0');
    return texts;
}

constexpr std::array<PairTexts, kPairRows> all_pair_texts() {
    std::array<PairTexts, kPairRows> all{};
    for (int32_t i = 0; i < kPairRows; ++i) {
        const int32_t block = i / kGridLinesPerFeed;
        all[i] = pair_texts(block >= kSettingsFeeds, block % kSettingsFeeds, i % kGridLinesPerFeed);
    }
    return all;
}
constexpr std::array<PairTexts, kPairRows> kPairTexts = all_pair_texts();

// The anchors are reached by arithmetic, so the layout it rests on is asserted.
static_assert(sizeof(Settings::far_lines) == sizeof(GridLine[kSettingsFeeds][kGridLinesPerFeed]));
static_assert(sizeof(Settings::near_lines) == sizeof(Settings::far_lines));

constexpr SettingDescriptor kSeparatorRow = {"", SETTING_SEPARATOR, 0, "", ""};

constexpr SettingDescriptor kWrittenRows[] = {
#define ROW(kind, key, field, init, category, help) \
    {key, SETTING_##kind, static_cast<uint32_t>(offsetof(Settings, field)), help, category},
#define ROW_NOT_SAVED ROW
#define SEPARATOR() kSeparatorRow,
#include "settings/descriptor_rows.inc"
#undef ROW
#undef ROW_NOT_SAVED
#undef SEPARATOR
};

constexpr std::array<SettingDescriptor, kSettingRowCount + 1> all_rows() {
    std::array<SettingDescriptor, kSettingRowCount + 1> rows{};
    size_t next = 0;
    for (const SettingDescriptor& row : kWrittenRows) rows[next++] = row;
    for (int32_t i = 0; i < kPairRows; ++i) {
        constexpr int32_t kPerSide = kPairRows / 2;
        const size_t side = i < kPerSide ? offsetof(Settings, far_lines) : offsetof(Settings, near_lines);
        const size_t offset = side + static_cast<size_t>(i % kPerSide) * sizeof(GridLine);
        rows[next++] = {kPairTexts[i].key, SETTING_PAIR, static_cast<uint32_t>(offset), kPairTexts[i].help,
                        kAnchorCategory};
        if (i % kGridLinesPerFeed == kGridLinesPerFeed - 1) rows[next++] = kSeparatorRow;
    }
    rows[next] = {nullptr, SETTING_SEPARATOR, 0, nullptr, nullptr};
    return rows;
}
constexpr std::array<SettingDescriptor, kSettingRowCount + 1> kRows = all_rows();

constexpr int32_t count_of(SettingType type) {
    int32_t count = 0;
    for (int32_t row = 0; row < kSettingRowCount; ++row) count += kRows[row].type == type ? 1 : 0;
    return count;
}
static_assert(std::size(kWrittenRows) + kPairRows + 6 == kSettingRowCount);
static_assert(kRows[kSettingRowCount].key == nullptr);
static_assert(count_of(SETTING_INT) == 183 && count_of(SETTING_FLOAT) == 11 && count_of(SETTING_STRING) == 14);
static_assert(count_of(SETTING_PAIR) == 180 && count_of(SETTING_SEPARATOR) == 38);

// Keys are found through a table of hashes with open addressing, less than half full.
constexpr uint32_t kBucketBits = 10;
constexpr uint32_t kBuckets = 1u << kBucketBits;
constexpr int16_t kEmptyBucket = -1;

struct KeyBucket {
    int16_t row = kEmptyBucket;
    uint16_t length = 0;  // of the row's key
};

struct KeyIndex {
    std::array<KeyBucket, kBuckets> buckets;
    bool keys_are_unique;
};

// Written out, so that it works at compile time; the compiler makes one load of it.
constexpr uint64_t eight_bytes(const char* at) {
    uint64_t bytes = 0;
    for (uint32_t i = 0; i < 8; ++i) bytes |= uint64_t{static_cast<uint8_t>(at[i])} << (8 * i);
    return bytes;
}

// Families of keys share their beginnings and differ in their ends or the other way round; first and last eight bytes
// tell nearly all of them apart, and looking at no more makes the hash cheap however long a key is.
constexpr uint32_t bucket_of(std::string_view key) {
    uint64_t first = 0;
    uint64_t last = 0;
    if (key.size() >= 8) {
        first = eight_bytes(key.data());
        last = eight_bytes(key.data() + key.size() - 8);
    } else {
        for (const char c : key) first = first << 8 | static_cast<uint8_t>(c);
    }
    const uint64_t hash = (first * 0x9E3779B97F4A7C15u ^ (last + key.size())) * 0xD6E8FEB86659FD93u;
    return static_cast<uint32_t>(hash >> (64 - kBucketBits));
}

constexpr bool is_key_of(std::string_view key, KeyBucket bucket) {
    return key.size() == bucket.length && key == std::string_view(kRows[bucket.row].key, bucket.length);
}

constexpr KeyIndex index_keys() {
    KeyIndex index{{}, true};
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (kRows[row].type == SETTING_SEPARATOR) continue;
        const std::string_view key = kRows[row].key;
        uint32_t at = bucket_of(key);
        for (; index.buckets[at].row != kEmptyBucket; at = (at + 1) % kBuckets)
            if (is_key_of(key, index.buckets[at])) index.keys_are_unique = false;
        index.buckets[at] = {static_cast<int16_t>(row), static_cast<uint16_t>(key.size())};
    }
    return index;
}
constexpr KeyIndex kKeyIndex = index_keys();
static_assert(kKeyIndex.keys_are_unique);

constexpr std::array<std::string_view, kSettingRowCount> all_keys() {
    std::array<std::string_view, kSettingRowCount> keys{};
    for (int32_t row = 0; row < kSettingRowCount; ++row) keys[row] = kRows[row].key;
    return keys;
}
constexpr std::array<std::string_view, kSettingRowCount> kKeys = all_keys();

constexpr bool keys_fit() {
    for (const std::string_view key : kKeys)
        if (key.size() >= kSettingKeySize) return false;
    return true;
}
static_assert(keys_fit());

constexpr int32_t find_row(std::string_view key) {
    for (uint32_t at = bucket_of(key); kKeyIndex.buckets[at].row != kEmptyBucket; at = (at + 1) % kBuckets)
        if (is_key_of(key, kKeyIndex.buckets[at])) return kKeyIndex.buckets[at].row;
    return -1;
}

constexpr const char* kNotSavedKeys[] = {
#define ROW(kind, key, field, init, category, help)
#define ROW_NOT_SAVED(kind, key, field, init, category, help) key,
#define SEPARATOR()
#include "settings/descriptor_rows.inc"
#undef ROW
#undef ROW_NOT_SAVED
#undef SEPARATOR
};
static_assert(std::size(kNotSavedKeys) == kSettingNotSavedCount);

constexpr std::array<const char*, kSettingNotSavedCount + 1> not_saved_list() {
    std::array<const char*, kSettingNotSavedCount + 1> list{};
    for (size_t i = 0; i < std::size(kNotSavedKeys); ++i) list[i] = kNotSavedKeys[i];
    return list;
}

constexpr std::array<bool, kSettingRowCount> saved_flags() {
    std::array<bool, kSettingRowCount> saved{};
    saved.fill(true);
    for (const char* key : kNotSavedKeys) saved[find_row(key)] = false;
    return saved;
}
constexpr std::array<bool, kSettingRowCount> kSaved = saved_flags();

constexpr std::array<const char*, kSettingCategoryCount + 1> category_list() {
    std::array<const char*, kSettingCategoryCount + 1> list{};
    size_t count = 0;
    for (const SettingDescriptor& row : kRows) {
        if (row.type == SETTING_SEPARATOR) continue;
        bool seen = false;
        for (size_t i = 0; i < count && !seen; ++i) seen = std::string_view(list[i]) == row.category;
        if (!seen) list[count++] = row.category;
    }
    return list;
}
constexpr std::array<const char*, kSettingCategoryCount + 1> kCategoryList = category_list();
static_assert(kCategoryList[kSettingCategoryCount - 1] != nullptr);

}  // namespace

const std::array<SettingDescriptor, kSettingRowCount + 1> kSettingTable = kRows;
const std::array<const char*, kSettingNotSavedCount + 1> kSettingsNotSaved = not_saved_list();

const std::array<const char*, kSettingCategoryCount + 1> kSettingCategories = kCategoryList;

int32_t setting_row_find(std::string_view key) {
    return find_row(key);
}

std::string_view setting_row_key(int32_t row) {
    return kKeys[row];
}

bool setting_row_is_saved(int32_t row) {
    return kSaved[row];
}
