// Files nobody meant to be settings: loading must end without harm and leave values that make sense. A reader whose
// time grows with the square of the size would need hours for these.
#include <cstring>
#include <random>

#include <gtest/gtest.h>

#include "settings/pixel_frames_file.h"
#include "settings/settings_file.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr size_t kHundredMegabytes = size_t{100} << 20;

}  // namespace

// Loads `text` as settings.txt and as pixel_frames.txt.
static std::unique_ptr<Settings> load_as_both(std::string_view text) {
    TempDir dir;
    write_whole_file(dir.file("settings.txt"), text);
    write_whole_file(dir.file("pixel_frames.txt"), text);
    auto s = default_settings();
    EXPECT_EQ(settings_load(s.get(), dir.file("settings.txt").c_str()), 0);
    return s;
}

static std::string format(const Settings* settings) {
    std::string text;
    settings_format(settings, &text);
    return text;
}

TEST(HostileSettings, RandomBytesLoadAsTheDefaults) {
    std::mt19937 random(5);
    std::string bytes(1 << 20, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    EXPECT_EQ(format(load_as_both(bytes).get()), format(settings_from_text("").get()));
}

TEST(HostileSettings, AHundredMegabytesOfNulsLoadAsTheDefaults) {
    EXPECT_EQ(format(load_as_both(std::string(kHundredMegabytes, '\0')).get()), format(settings_from_text("").get()));
}

TEST(HostileSettings, AnEndlessLineLoadsAsTheDefaults) {
    EXPECT_EQ(format(load_as_both(std::string(kHundredMegabytes, '=')).get()), format(settings_from_text("").get()));
}

TEST(HostileSettings, AHundredMegabytesOfSettingsLoad) {
    std::string text;
    text.reserve(kHundredMegabytes + 64);
    for (int32_t i = 0; text.size() < kHundredMegabytes; ++i) {
        text += "max_frames=" + std::to_string(i % 1000) + "\n";
        text += "pixel_frames[1][" + std::to_string(i % 1920) + "] = 1, 2, 3\n";
    }
    text += "max_frames=77\n";
    const auto s = load_as_both(text);
    EXPECT_EQ(s->max_frames, 77);
    EXPECT_EQ(s->pixel_to_end[1][1919], 3);
}

TEST(HostileSettings, ATruncatedFileLoadsUpToItsEnd) {
    const auto s = default_settings();
    randomise_saved_settings(s.get(), 4);
    const std::string whole = format(s.get());
    for (size_t length = 0; length < whole.size(); length += 37) {
        const auto loaded = settings_from_text(std::string_view(whole).substr(0, length));
        EXPECT_GE(loaded->feed_count, 1);
        EXPECT_LE(loaded->feed_count, 4);
    }
}

TEST(HostileSettings, EveryPrefixOfAnEntryIsHarmless) {
    const std::string entry = "pixel_frames[2][1919] = -2147483648, 2147483647, -1\n";
    for (size_t length = 0; length <= entry.size(); ++length) {
        const auto s = default_settings();
        // A buffer that ends with the text, so that a sanitizer sees the first byte read too many.
        const std::vector<char> text(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(length));
        const int32_t expected = length >= entry.size() - 1 ? 1 : 0;
        EXPECT_EQ(pixel_frames_parse(s.get(), text.data(), text.size()), expected) << length;
        settings_parse(s.get(), text.data(), text.size());
    }
}
