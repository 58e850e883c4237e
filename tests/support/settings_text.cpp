#include "tests/support/settings_text.h"

#include <cmath>
#include <random>

#include "settings/descriptor_table.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"

std::unique_ptr<Settings> default_settings() {
    auto settings = std::make_unique<Settings>();
    settings_init_defaults(settings.get());
    return settings;
}

std::unique_ptr<Settings> settings_from_text(std::string_view text) {
    auto settings = default_settings();
    settings_parse(settings.get(), text.data(), text.size());
    settings_normalise(settings.get(), true);
    return settings;
}

static std::string_view bytes_of(const Settings* settings) {
    return {reinterpret_cast<const char*>(settings), sizeof *settings};
}

bool same_bytes(const Settings* a, const Settings* b) {
    return bytes_of(a) == bytes_of(b);
}

std::vector<std::string> split_lines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.emplace_back(line);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

std::string disk_lines(std::string_view text) {
    std::string disk;
    for (const char c : text) {
#ifdef _WIN32
        if (c == '\n') disk.push_back('\r');
#endif
        disk.push_back(c);
    }
    return disk;
}

static std::string random_text(std::mt19937* random) {
    static constexpr std::string_view kAlphabet = "abcXYZ019_-.\\/:'\"=,;%[]()#~\xC3\xB6";
    std::string text = "t";  // neither blank nor "#" first, so that nothing of it is taken for a comment
    const size_t length = (*random)() % 255;
    while (text.size() < length) text.push_back(kAlphabet[(*random)() % kAlphabet.size()]);
    return text;
}

void randomise_saved_settings(Settings* settings, uint32_t seed) {
    std::mt19937 random(seed);
    for (int32_t index = 0; index < settings_info_count(); ++index) {
        const int32_t row = setting_row_find(settings_info_at(index)->key);
        if (!setting_row_is_saved(row)) continue;
        const auto number = [&random] { return static_cast<int32_t>(random()); };
        settings_set_int(settings, index, number());
        settings_set_float(settings, index, std::ldexp(static_cast<float>(number()), -24));
        settings_set_string(settings, index, random_text(&random).c_str());
        settings_set_pair(settings, index, {number(), number()});
    }
}
