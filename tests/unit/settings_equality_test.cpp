// The fast reader and writer against the plain ones: thousands of files that are nearly right, and records of any
// bits. The same seed gives the same files.
#include <bit>
#include <cmath>
#include <cstring>
#include <random>

#include <gtest/gtest.h>

#include "settings/descriptor_table.h"
#include "settings/pixel_frames_file.h"
#include "settings/settings_file.h"
#include "settings/settings_line.h"
#include "settings/text_numbers.h"
#include "settings/text_pieces.h"
#include "tests/support/plain_settings.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr const char* kHostileValues[] = {"0",
                                          "-0",
                                          "+7",
                                          "007",
                                          "2147483647",
                                          "2147483648",
                                          "-2147483648",
                                          "-2147483649",
                                          "9999999999",
                                          "123456789",
                                          "1234567890",
                                          "00000000000000000000000000000012",
                                          "99999999999999999999999999999999",
                                          "- 3",
                                          "--3",
                                          "+-3",
                                          "-",
                                          "+",
                                          "",
                                          " ",
                                          "x",
                                          "0x10",
                                          "1e3",
                                          "1.5",
                                          ".5",
                                          "5.",
                                          ".",
                                          "-.25",
                                          "0.000001",
                                          "0.0000005",
                                          "16777217",
                                          "9007199254740993",
                                          "0.1000000000000000055511151231257827",
                                          "3.4028236e38",
                                          "1e-45",
                                          "1e400",
                                          "inf",
                                          "-Infinity",
                                          "nan",
                                          "nan(12)",
                                          "0x1.8p3",
                                          "1e",
                                          "1e+",
                                          "12,34",
                                          "12 , 34",
                                          ",34",
                                          "12,",
                                          ",,",
                                          "1,2,3",
                                          "1 ,2 , 3",
                                          "1, 2, 3 4",
                                          "a#b",
                                          "a #b",
                                          "#",
                                          "a\tb",
                                          "a=b",
                                          "\v5",
                                          "\f-5"};
constexpr const char* kBlanks[] = {"", "", "", "", "", " ", "\t", "  ", "\r", "\v", "\f"};
constexpr const char* kLineEnds[] = {"\n", "\n", "\n", "\n", "\n", "\n", "\r\n", "\r", "", "\n\n", " # c\n"};

struct Hostile {
    std::mt19937 random;

    explicit Hostile(uint32_t seed) : random(seed) {}
    size_t pick(size_t n) {
        return random() % n;
    }
    template <size_t size>
    const char* of(const char* const (&texts)[size]) {
        return texts[pick(size)];
    }
};

}  // namespace

// A few bytes somewhere become others, vanish or come in; NULs among them.
static void damage(Hostile* hostile, std::string* text) {
    static constexpr std::string_view kBytes("\0\n\r\t =#,[]-+059.x\x80", 18);
    for (size_t times = hostile->pick(4); times > 0 && !text->empty(); --times) {
        const size_t at = hostile->pick(text->size());
        const char byte = kBytes[hostile->pick(kBytes.size())];
        if (hostile->pick(3) == 0) text->at(at) = byte;
        if (hostile->pick(3) == 0) text->erase(at, 1);
        if (hostile->pick(3) == 0) text->insert(at, 1, byte);
    }
}

static std::string entry_key(Hostile* hostile) {
    return "pixel_frames[" + std::to_string(hostile->pick(4)) + "][" + std::to_string(hostile->pick(1925)) + "]";
}

static std::string number(Hostile* hostile) {
    if (hostile->pick(8) == 0) return hostile->of(kHostileValues);
    const auto bits = static_cast<int32_t>(hostile->random());
    return std::to_string(bits >> hostile->pick(32));
}

static std::string settings_line(Hostile* hostile) {
    std::string key = hostile->pick(12) == 0 ? entry_key(hostile) : kSettingTable[hostile->pick(426)].key;
    std::string value = number(hostile);
    if (hostile->pick(3) == 0) value += "." + std::to_string(hostile->pick(10000000));
    if (hostile->pick(3) == 0) value += hostile->of(kBlanks) + std::string(",") + number(hostile);
    if (hostile->pick(3) == 0) value += hostile->of(kBlanks) + std::string(",") + number(hostile);
    if (hostile->pick(40) == 0) value.insert(0, hostile->pick(700), 'v');
    if (hostile->pick(40) == 0) key.insert(0, hostile->pick(700), ' ');
    std::string line = hostile->of(kBlanks) + key + hostile->of(kBlanks) + "=" + hostile->of(kBlanks) + value;
    if (hostile->pick(4) == 0) damage(hostile, &line);
    return line + hostile->of(kLineEnds);
}

static std::string pixel_line(Hostile* hostile) {
    std::string line = entry_key(hostile) + " = " + number(hostile) + ", " + number(hostile) + ", " + number(hostile);
    if (hostile->pick(4) == 0) line.insert(0, hostile->of(kBlanks));
    if (hostile->pick(40) == 0) line.insert(0, hostile->pick(300), hostile->pick(2) ? ' ' : '#');
    if (hostile->pick(3) == 0) damage(hostile, &line);
    return line + hostile->of(kLineEnds);
}

static std::string hostile_text(uint32_t seed, std::string (*line)(Hostile*)) {
    Hostile hostile(seed);
    std::string text;
    for (size_t lines = hostile.pick(40); lines > 0; --lines) text += line(&hostile);
    return text;
}

// What stands in memory is read by its end and not beyond: a buffer without room lets a sanitizer see it.
static std::unique_ptr<Settings> read_settings(const std::string& text) {
    const std::vector<char> exact(text.begin(), text.end());
    auto s = default_settings();
    settings_parse(s.get(), exact.data(), exact.size());
    return s;
}

TEST(SettingsEquality, TenThousandHostileFilesAreReadAsThePlainReaderReadsThem) {
    const auto plain = default_settings();
    const auto defaults = default_settings();
    int32_t changed = 0;
    for (uint32_t seed = 0; seed < 10000; ++seed) {
        const std::string text = hostile_text(seed, settings_line);
        const auto ours = read_settings(text);
        *plain = *defaults;
        plain_settings_parse(plain.get(), text);
        ASSERT_TRUE(same_bytes(ours.get(), plain.get())) << "seed " << seed << "\n" << text;
        changed += same_bytes(ours.get(), defaults.get()) ? 0 : 1;
    }
    EXPECT_GT(changed, 8000) << "most files must say something";
}

TEST(SettingsEquality, TenThousandHostilePixelFilesAreReadAsThePlainReaderReadsThem) {
    const auto ours = default_settings();
    const auto plain = default_settings();
    int32_t total = 0;
    for (uint32_t seed = 0; seed < 10000; ++seed) {
        const std::string text = hostile_text(seed, pixel_line);
        const std::vector<char> exact(text.begin(), text.end());
        const int32_t accepted = pixel_frames_parse(ours.get(), exact.data(), exact.size());
        total += accepted;
        ASSERT_EQ(accepted, plain_pixel_frames_parse(plain.get(), text)) << "seed " << seed << "\n" << text;
        ASSERT_TRUE(same_bytes(ours.get(), plain.get())) << "seed " << seed << "\n" << text;
    }
    EXPECT_GT(total, 50000) << "many lines must be taken";
}

// A file is read in blocks, whose edges may fall anywhere in a line.
TEST(SettingsEquality, ALongHostileFileIsReadAsItsText) {
    TempDir dir;
    for (uint32_t seed = 0; seed < 20; ++seed) {
        std::string settings_text;
        std::string pixel_text;
        for (uint32_t part = 0; settings_text.size() < 150000 + 11 * seed; ++part) {
            settings_text += hostile_text(1000 * seed + part, settings_line);
            pixel_text += hostile_text(1000 * seed + part, pixel_line);
        }
        // Text-mode streams of other systems have their own mind about CR and the end-of-file character.
        std::erase(settings_text, '\r');
        std::erase(pixel_text, '\r');
        write_whole_file(dir.file("settings.txt"), settings_text);
        write_whole_file(dir.file("pixel_frames.txt"), pixel_text);
        const auto ours = default_settings();
        ASSERT_EQ(settings_load(ours.get(), dir.file("settings.txt").c_str()), 0);
        const auto plain = default_settings();
        plain_settings_parse(plain.get(), settings_text);
        settings_normalise(plain.get(), true);
        plain_pixel_frames_parse(plain.get(), pixel_text);
        ASSERT_TRUE(same_bytes(ours.get(), plain.get())) << "seed " << seed;
    }
}

// Fields of any bits: floats that are no numbers, texts without an end.
static void fill_with_anything(Settings* s, uint32_t seed) {
    std::mt19937 random(seed);
    auto* const bytes = reinterpret_cast<char*>(s);
    for (const SettingDescriptor& row : kSettingTable) {
        if (row.type == SETTING_SEPARATOR) continue;
        char* const field = bytes + row.offset;
        if (row.type == SETTING_STRING) {
            for (int32_t i = 0; i < kSettingTextSize; ++i)
                field[i] = static_cast<char>(random() % 400 ? 1 + random() % 255 : 0);
            continue;
        }
        const size_t number = row.type == SETTING_PAIR ? offsetof(GridLine, x) : 0;
        for (size_t i = 0; i < (row.type == SETTING_PAIR ? 2u : 1u); ++i) {
            const auto bits = static_cast<int32_t>(random());
            const int32_t value = row.type == SETTING_FLOAT ? bits : bits >> random() % 32;
            memcpy(field + number + i * sizeof value, &value, sizeof value);
        }
    }
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) {
        s->pixel_frames_populated[feed] = static_cast<int32_t>(random()) >> random() % 32;
        for (int32_t x = 0; x < kPixelColumns; ++x) {
            s->pixel_to_start[feed][x] = static_cast<int32_t>(random()) >> random() % 32;
            s->pixel_to_scene[feed][x] = static_cast<int32_t>(random()) >> random() % 32;
            s->pixel_to_end[feed][x] = static_cast<int32_t>(random()) >> random() % 32;
        }
    }
}

TEST(SettingsEquality, RecordsOfAnyBitsAreWrittenAsThePlainWriterWritesThem) {
    const auto s = default_settings();
    for (uint32_t seed = 0; seed < 2000; ++seed) {
        fill_with_anything(s.get(), seed);
        std::string text = "before";
        settings_format(s.get(), &text);
        ASSERT_EQ(text, "before" + plain_settings_format(s.get())) << "seed " << seed;
        if (seed % 100 != 0) continue;
        text = "before";
        pixel_frames_format(s.get(), &text);
        ASSERT_EQ(text, "before" + plain_pixel_frames_format(s.get())) << "seed " << seed;
    }
}

// One number through the field of a float setting.
static std::string written(Settings* s, float value) {
    static const int32_t row = setting_row_find("mouse_position_speed");
    s->mouse_position_speed = value;
    std::string text;
    format_setting_value(s, row, &text);
    return text;
}

static std::string printed(float value) {
    char text[64];
    snprintf(text, sizeof text, "%f", static_cast<double>(value));
    return text;
}

TEST(SettingsEquality, AFloatIsWrittenAsPrintfWritesIt) {
    const auto s = default_settings();
    std::mt19937 random(17);
    for (int32_t round = 0; round < 300000; ++round) {
        const auto value = std::bit_cast<float>(static_cast<uint32_t>(random()));
        ASSERT_EQ(written(s.get(), value), printed(value)) << std::bit_cast<uint32_t>(value);
    }
    // Halves of the last decimal, where rounding has to choose, and their neighbours; every power of two.
    for (int32_t i = -20000; i <= 20000; ++i) {
        const float half = static_cast<float>(i) / 128;
        for (const float value : {half, std::nextafter(half, 1e9f), std::nextafter(half, -1e9f)})
            ASSERT_EQ(written(s.get(), value), printed(value)) << std::bit_cast<uint32_t>(value);
    }
    for (int32_t power = -149; power <= 127; ++power)
        for (const float sign : {1.0f, -1.0f}) {
            const float value = std::ldexp(sign, power);
            ASSERT_EQ(written(s.get(), value), printed(value)) << power;
            ASSERT_EQ(written(s.get(), std::nextafter(value, 0.0f)), printed(std::nextafter(value, 0.0f))) << power;
        }
    for (const float value : {0.0f, -0.0f, INFINITY, -INFINITY, NAN})
        EXPECT_EQ(written(s.get(), value), printed(value));
}

TEST(SettingsEquality, AFloatIsReadAsStrtodReadsIt) {
    Hostile hostile(23);
    for (int32_t round = 0; round < 300000; ++round) {
        std::string text = number(&hostile);
        if (hostile.pick(4) != 0) text += "." + std::to_string(hostile.random()).substr(hostile.pick(2));
        if (hostile.pick(4) == 0) text += std::to_string(hostile.random());
        if (hostile.pick(8) == 0) text += "e" + number(&hostile);
        char* end = nullptr;
        const auto expected = static_cast<float>(strtod(text.c_str(), &end));
        size_t used = 0;
        const float value = text_to_float(text, &used);
        ASSERT_EQ(std::bit_cast<uint32_t>(value), std::bit_cast<uint32_t>(expected)) << text;
        ASSERT_EQ(used, static_cast<size_t>(end - text.c_str())) << text;
    }
}

static int32_t linear_row_find(std::string_view key) {
    for (int32_t row = 0; row < kSettingRowCount; ++row)
        if (kSettingTable[row].type != SETTING_SEPARATOR && key == kSettingTable[row].key) return row;
    return -1;
}

TEST(SettingsEquality, EveryKeyIsFoundAndNothingElse) {
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (kSettingTable[row].type == SETTING_SEPARATOR) continue;
        const std::string key = kSettingTable[row].key;
        ASSERT_EQ(setting_row_find(key), row) << key;
        for (size_t i = 0; i < key.size(); ++i) {
            // Cut, shifted and changed keys; the cut ones in a buffer that ends with them.
            const std::vector<char> cut(key.begin(), key.begin() + static_cast<std::ptrdiff_t>(i));
            const std::string_view cut_key(cut.data(), cut.size());
            EXPECT_EQ(setting_row_find(cut_key), linear_row_find(cut_key)) << key << " cut to " << i;
            EXPECT_EQ(setting_row_find(key.substr(i)), linear_row_find(key.substr(i))) << key << " from " << i;
            std::string other = key;
            other[i] = static_cast<char>(other[i] ^ 1);
            EXPECT_EQ(setting_row_find(other), linear_row_find(other)) << other;
        }
        EXPECT_EQ(setting_row_find(key + "x"), -1) << key;
        EXPECT_EQ(setting_row_find(key + std::string(1, '\0')), -1) << key;
    }
    EXPECT_EQ(setting_row_find(""), -1);
}
