#include "tools/orvekctl_settings.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "settings/settings_check.h"
#include "settings/settings_file.h"
#include "settings/settings_line.h"
#include "settings/settings_values.h"
#include "settings/text_numbers.h"
#include "tools/orvekctl.h"
#include "tools/printable.h"

static const char* type_name(SettingType type) {
    switch (type) {
        case SETTING_INT:
            return "int";
        case SETTING_FLOAT:
            return "float";
        case SETTING_STRING:
            return "string";
        case SETTING_PAIR:
            return "pair";
        case SETTING_SEPARATOR:
            break;
    }
    return "";
}

static void append_escaped(std::string* out, const char* text) {
    for (; *text != '\0'; ++text) {
        switch (*text) {
            case '\r':
                out->append("\\r");
                break;
            case '\n':
                out->append("\\n");
                break;
            case '\t':
                out->append("\\t");
                break;
            default:
                out->push_back(*text);
        }
    }
}

static std::unique_ptr<Settings> default_record() {
    auto settings = std::make_unique<Settings>();
    settings_init_defaults(settings.get());
    return settings;
}

std::string settings_listing() {
    const std::unique_ptr<Settings> defaults = default_record();
    std::string out;
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        const SettingDescriptor& descriptor = kSettingTable[row];
        if (descriptor.type == SETTING_SEPARATOR) continue;
        out.append(descriptor.key).append("\t").append(type_name(descriptor.type)).append("\t");
        format_setting_value(defaults.get(), row, &out);
        out.append("\t").append(descriptor.category).append("\t");
        append_escaped(&out, descriptor.description);
        out.push_back('\n');
    }
    return out;
}

static bool to_whole_number(std::string_view text, int32_t* value) {
    if (!text_is_int(text)) return false;
    *value = text_to_int(text);
    return true;
}

static bool to_pair(std::string_view text, SettingPair* pair) {
    const size_t comma = text.find(',');
    return comma != std::string_view::npos && to_whole_number(text.substr(0, comma), &pair->x) &&
           to_whole_number(text.substr(comma + 1), &pair->y);
}

// Whether a text comes back from the file as it went in (but for its length, which the setter limits).
static bool survives_the_file(std::string_view value) {
    const std::string line = "k=" + std::string(value);
    return value.empty() || split_settings_line(line).value == value;
}

std::string settings_set_from_text(Settings* settings, const char* key, const char* value) {
    const int32_t index = settings_info_find(key);
    if (index < 0) return std::string("unknown key '") + key + "'";
    if (!setting_row_is_saved(setting_row_find(key)))
        return std::string("'") + key + "' is worked out by the controller and not kept in the file";
    const std::string quoted = std::string("'") + value + "'";
    switch (settings_info_at(index)->type) {
        case SETTING_INT: {
            int32_t number = 0;
            if (!to_whole_number(value, &number)) return quoted + " is not a whole number";
            settings_set_int(settings, index, number);
            return "";
        }
        case SETTING_FLOAT: {
            size_t used = 0;
            const float number = text_to_float(value, &used);
            if (used == 0 || used != strlen(value) || !std::isfinite(number)) return quoted + " is not a number";
            settings_set_float(settings, index, number);
            return "";
        }
        case SETTING_STRING:
            if (!survives_the_file(value)) return quoted + " cannot be kept in the file as it is";
            settings_set_string(settings, index, value);
            return "";
        case SETTING_PAIR: {
            SettingPair pair{};
            if (!to_pair(value, &pair)) return quoted + " is not a pair x,y";
            settings_set_pair(settings, index, pair);
            return "";
        }
        case SETTING_SEPARATOR:
            break;
    }
    return "unknown kind";
}

static int32_t usage_error() {
    fputs(
        "orvekctl: settings needs: format FILE [--out FILE2] | list | get FILE KEY | set FILE KEY VALUE | check "
        "FILE\n",
        stderr);
    return kFailed;
}

static int32_t file_error(const char* what, const char* path, int error) {
    fprintf(stderr, "orvekctl: cannot %s '%s': %s\n", what, path, strerror(error));
    return kFailed;
}

// Reads a whole file as text. False, with errno set, when that fails, also half-way.
static bool read_text(const char* path, std::string* text) {
    FILE* file = fopen(path, "r");
    if (!file) return false;
    std::string buffer(1 << 16, '\0');
    size_t got = 0;
    while ((got = fread(buffer.data(), 1, buffer.size(), file)) > 0) text->append(buffer, 0, got);
    const int error = ferror(file) ? errno : 0;
    fclose(file);
    errno = error;
    return error == 0;
}

std::unique_ptr<Settings> load_settings_record(const char* path) {
    std::string text;
    if (!read_text(path, &text)) {
        file_error("read", path, errno);
        return nullptr;
    }
    std::unique_ptr<Settings> settings = default_record();
    if (settings_load(settings.get(), path) != 0) return nullptr;
    return settings;
}

static int32_t format_file(int argc, char** argv) {
    const bool has_out = argc == 3 && strcmp(argv[1], "--out") == 0;
    if (argc != 1 && !has_out) return usage_error();
    const std::unique_ptr<Settings> settings = load_settings_record(argv[0]);
    if (!settings) return kFailed;
    return settings_save(settings.get(), has_out ? argv[2] : argv[0]) == 0 ? kDone : kFailed;
}

static int32_t list_settings(int argc, char**) {
    if (argc != 0) return usage_error();
    fputs(settings_listing().c_str(), stdout);
    return kDone;
}

static int32_t get_value(int argc, char** argv) {
    if (argc != 2) return usage_error();
    const std::unique_ptr<Settings> settings = load_settings_record(argv[0]);
    if (!settings) return kFailed;
    const int32_t row = setting_row_find(argv[1]);
    if (row < 0) {
        fprintf(stderr, "orvekctl: unknown key '%s'\n", argv[1]);
        return kSaysNo;
    }
    std::string value;
    format_setting_value(settings.get(), row, &value);
    puts(value.c_str());
    return kDone;
}

static int32_t set_value(int argc, char** argv) {
    if (argc != 3) return usage_error();
    const std::unique_ptr<Settings> settings = load_settings_record(argv[0]);
    if (!settings) return kFailed;
    const std::string refusal = settings_set_from_text(settings.get(), argv[1], argv[2]);
    if (!refusal.empty()) {
        fprintf(stderr, "orvekctl: %s\n", refusal.c_str());
        return kSaysNo;
    }
    return settings_save(settings.get(), argv[0]) == 0 ? kDone : kFailed;
}

static void print_finding(void*, const SettingsFinding& finding) {
    std::string line = std::to_string(finding.line) + "\t";
    line.append(finding.reason).append("\t");
    append_printable(&line, finding.text);
    puts(line.c_str());
}

static int32_t check_file(int argc, char** argv) {
    if (argc != 1) return usage_error();
    std::string text;
    if (!read_text(argv[0], &text)) return file_error("read", argv[0], errno);
    return settings_check(text, print_finding, nullptr) == 0 ? kDone : kSaysNo;
}

int32_t orvekctl_settings(int argc, char** argv) {
    constexpr struct {
        const char* name;
        int32_t (*run)(int argc, char** argv);
    } kActions[] = {{"format", format_file},
                    {"list", list_settings},
                    {"get", get_value},
                    {"set", set_value},
                    {"check", check_file}};
    for (const auto& action : kActions)
        if (argc > 0 && strcmp(argv[0], action.name) == 0) return action.run(argc - 1, argv + 1);
    return usage_error();
}
