#include "rig/common/rig_settings.h"

#include <cstdio>
#include <cstdlib>

static bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

static std::string trimmed_end(std::string text) {
    while (!text.empty() && is_blank(text.back())) text.pop_back();
    return text;
}

// One line without its line end. A "#" starts a comment at the beginning of a word only: paths may contain it.
static void parse_line(RigSettings* settings, const std::string& line) {
    const size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line[start] == '#') return;
    const size_t equals = line.find('=', start);
    if (equals == std::string::npos) return;
    std::string key = trimmed_end(line.substr(start, equals - start));
    const size_t value_start = line.find_first_not_of(" \t", equals + 1);
    if (value_start == std::string::npos) return;
    size_t value_end = value_start;
    while (value_end < line.size()) {
        const bool comment = line[value_end] == '#' && (value_end == value_start || is_blank(line[value_end - 1]));
        if (comment) break;
        ++value_end;
    }
    std::string value = trimmed_end(line.substr(value_start, value_end - value_start));
    if (!value.empty()) settings->lines.emplace_back(std::move(key), std::move(value));
}

static const std::string* find(const RigSettings* settings, const char* key) {
    for (auto it = settings->lines.rbegin(); it != settings->lines.rend(); ++it)
        if (it->first == key) return &it->second;
    return nullptr;
}

void rig_settings_parse(RigSettings* settings, const char* text) {
    settings->lines.clear();
    std::string line;
    for (const char* c = text; *c != '\0'; ++c) {
        if (*c == '\n' || *c == '\r') {
            parse_line(settings, line);
            line.clear();
        } else {
            line += *c;
        }
    }
    parse_line(settings, line);
}

int32_t rig_settings_load(RigSettings* settings, const char* path) {
    FILE* file = fopen(path, "rb");
    if (file == nullptr) return -1;
    std::string text;
    char buffer[4096];
    size_t got = 0;
    while ((got = fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, got);
    fclose(file);
    rig_settings_parse(settings, text.c_str());
    return 0;
}

int32_t rig_settings_int(const RigSettings* settings, const char* key, int32_t fallback) {
    const std::string* value = find(settings, key);
    if (value == nullptr) return fallback;
    char* end = nullptr;
    const long number = strtol(value->c_str(), &end, 10);
    return end == value->c_str() ? fallback : static_cast<int32_t>(number);
}

float rig_settings_float(const RigSettings* settings, const char* key, float fallback) {
    const std::string* value = find(settings, key);
    if (value == nullptr) return fallback;
    char* end = nullptr;
    const float number = strtof(value->c_str(), &end);
    return end == value->c_str() ? fallback : number;
}

const char* rig_settings_text(const RigSettings* settings, const char* key, const char* fallback) {
    const std::string* value = find(settings, key);
    return value == nullptr ? fallback : value->c_str();
}

int32_t rig_settings_indexed(const RigSettings* settings, const char* key, int32_t index, int32_t fallback) {
    char full[64];
    snprintf(full, sizeof full, "%s[%d]", key, index);
    return rig_settings_int(settings, full, fallback);
}

bool rig_settings_anchor(const RigSettings* settings, bool near_point, int32_t feed, int32_t line, int32_t* x,
                         int32_t* y) {
    char key[32];
    snprintf(key, sizeof key, "@%s[%d][%2d]", near_point ? "near" : "far", feed, line);
    const std::string* value = find(settings, key);
    int32_t px = 0;
    int32_t py = 0;
    if (value == nullptr || sscanf(value->c_str(), "%d , %d", &px, &py) != 2) return false;
    *x = px;
    *y = py;
    return true;
}

int32_t rig_active_feeds(const RigSettings* settings, int32_t (&feeds)[3]) {
    const int32_t feed_count = rig_settings_int(settings, "feed_count", 3);
    const int32_t first = feed_count == 1 || feed_count == 2 ? 1 : 0;
    const int32_t last = feed_count == 1 ? 1 : 2;
    int32_t count = 0;
    for (int32_t feed = first; feed <= last; ++feed) feeds[count++] = feed;
    return count;
}
