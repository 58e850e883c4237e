// Any text as settings.txt: it must mean what the plain reader says, and what is then written must be what the plain
// writer writes and read back as the same, to the letter. The checker sees the same text, as it walks it on its own.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "settings/settings_check.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"
#include "tests/support/plain_settings.h"

static std::unique_ptr<Settings> load(const char* text, size_t size) {
    auto settings = std::make_unique<Settings>();
    settings_init_defaults(settings.get());
    settings_parse(settings.get(), text, size);
    settings_normalise(settings.get(), true);
    return settings;
}

static std::string format(const Settings* settings) {
    std::string text;
    settings_format(settings, &text);
    return text;
}

static void require(bool condition) {
    if (!condition) abort();
}

static void require_plain_reading(const char* text, size_t size) {
    static const auto ours = std::make_unique<Settings>();
    static const auto plain = std::make_unique<Settings>();
    settings_init_defaults(ours.get());
    *plain = *ours;
    settings_parse(ours.get(), text, size);
    plain_settings_parse(plain.get(), {text, size});
    require(memcmp(ours.get(), plain.get(), sizeof *ours) == 0);
}

// A text cut at 255 bytes may end in a blank, which the next reading takes off.
static void trim_cut_texts(Settings* settings) {
    for (int32_t i = 0; i < settings_info_count(); ++i) {
        std::string text = settings_get_string(settings, i);
        text.erase(text.find_last_not_of(" \t") + 1);
        settings_set_string(settings, i, text.c_str());
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto* text = reinterpret_cast<const char*>(data);
    require_plain_reading(text, size);
    const std::unique_ptr<Settings> first = load(text, size);
    require(first->feed_count >= 1 && first->feed_count <= 4);
    require(first->upload_enabled == 0 || first->upload_enabled == 1);
    trim_cut_texts(first.get());
    const std::string written = format(first.get());
    require(written == plain_settings_format(first.get()));
    require(format(load(written.data(), written.size()).get()) == written);
    const auto ignore = [](void*, const SettingsFinding&) {};
    settings_check({text, size}, ignore, nullptr);
    require(settings_check(written, ignore, nullptr) == 0);
    return 0;
}
