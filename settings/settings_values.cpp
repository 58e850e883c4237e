#include "settings/settings_values.h"

#include <array>
#include <cstdio>
#include <cstring>

// One function per kind takes the field itself, so that a row whose kind and field disagree does not compile.
static void put_INT(int32_t& field, int32_t value) {
    field = value;
}

static void put_FLOAT(float& field, float value) {
    field = value;
}

static void put_STRING(char (&field)[kSettingTextSize], const char* value) {
    snprintf(field, sizeof field, "%s", value);
}

void settings_init_defaults(Settings* settings) {
    memset(settings, 0, sizeof *settings);
#define ROW(kind, key, field, init, category, help) put_##kind(settings->field, init);
#define ROW_NOT_SAVED ROW
#define SEPARATOR()
#include "settings/descriptor_rows.inc"
#undef ROW
#undef ROW_NOT_SAVED
#undef SEPARATOR
    for (const SettingDescriptor& row : kSettingTable) {
        if (row.type != SETTING_PAIR) continue;
        auto* anchor = reinterpret_cast<GridLine*>(reinterpret_cast<char*>(settings) + row.offset);
        snprintf(anchor->label, sizeof anchor->label, "%s", row.key);
    }
    settings_recompute_meter_values(settings);
}

void settings_recompute_meter_values(Settings* settings) {
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) {
        int32_t* count = &settings->meter_line_count[feed];
        if (*count > kGridLinesPerFeed) *count = kGridLinesPerFeed;
        // Unsigned, because a hand-edited start or increment may run over the end of the number range.
        const uint32_t start = static_cast<uint32_t>(settings->meter_line_start[feed]);
        const uint32_t increment = static_cast<uint32_t>(settings->meter_line_increment[feed]);
        for (int32_t i = 0; i < *count; ++i)
            settings->meter_values[feed][i] = static_cast<int32_t>(start + static_cast<uint32_t>(i) * increment);
    }
}

namespace {

struct InfoList {
    int32_t count = 0;
    std::array<SettingInfo, kSettingInfoCount> info;
    std::array<int32_t, kSettingInfoCount> row;          // public index -> table row
    std::array<int32_t, kSettingRowCount> index_of_row;  // and back; -1 for a separator
};

}  // namespace

static InfoList build_info_list() {
    InfoList list;
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        const SettingDescriptor& descriptor = kSettingTable[row];
        list.index_of_row[row] = -1;
        if (descriptor.type == SETTING_SEPARATOR) continue;
        list.index_of_row[row] = list.count;
        list.info[list.count] = {descriptor.key, descriptor.description, descriptor.category, descriptor.type};
        list.row[list.count++] = row;
    }
    return list;
}

static const InfoList& info_list() {
    static const InfoList list = build_info_list();
    return list;
}

// Where the value of public index `index` lies, null when the index is out of range or the kind another.
static const void* field_of(const Settings* settings, int32_t index, SettingType type) {
    if (index < 0 || index >= info_list().count) return nullptr;
    const SettingDescriptor& row = kSettingTable[info_list().row[index]];
    if (row.type != type) return nullptr;
    return reinterpret_cast<const char*>(settings) + row.offset;
}

static void* field_of(Settings* settings, int32_t index, SettingType type) {
    return const_cast<void*>(field_of(static_cast<const Settings*>(settings), index, type));
}

int32_t settings_info_count() {
    return info_list().count;
}

const SettingInfo* settings_info_at(int32_t index) {
    return index >= 0 && index < info_list().count ? &info_list().info[index] : nullptr;
}

int32_t settings_info_find(std::string_view key) {
    const int32_t row = setting_row_find(key);
    return row < 0 ? -1 : info_list().index_of_row[row];
}

int32_t settings_get_int(const Settings* settings, int32_t index) {
    const auto* field = static_cast<const int32_t*>(field_of(settings, index, SETTING_INT));
    return field ? *field : 0;
}

float settings_get_float(const Settings* settings, int32_t index) {
    const auto* field = static_cast<const float*>(field_of(settings, index, SETTING_FLOAT));
    return field ? *field : 0.0f;
}

const char* settings_get_string(const Settings* settings, int32_t index) {
    const auto* field = static_cast<const char*>(field_of(settings, index, SETTING_STRING));
    return field ? field : "";
}

SettingPair settings_get_pair(const Settings* settings, int32_t index) {
    const auto* field = static_cast<const GridLine*>(field_of(settings, index, SETTING_PAIR));
    return field ? SettingPair{field->x, field->y} : SettingPair{0, 0};
}

void settings_set_int(Settings* settings, int32_t index, int32_t value) {
    if (auto* field = static_cast<int32_t*>(field_of(settings, index, SETTING_INT))) *field = value;
}

void settings_set_float(Settings* settings, int32_t index, float value) {
    if (auto* field = static_cast<float*>(field_of(settings, index, SETTING_FLOAT))) *field = value;
}

void settings_set_string(Settings* settings, int32_t index, const char* value) {
    auto* field = static_cast<char*>(field_of(settings, index, SETTING_STRING));
    if (!field || !value) return;
    const size_t length = strnlen(value, kSettingTextSize - 1);
    memmove(field, value, length);  // the value may be the field itself
    field[length] = '\0';
}

void settings_set_pair(Settings* settings, int32_t index, SettingPair value) {
    if (auto* field = static_cast<GridLine*>(field_of(settings, index, SETTING_PAIR))) {
        field->x = value.x;
        field->y = value.y;
    }
}
