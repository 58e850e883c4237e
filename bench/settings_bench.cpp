// What reading, writing and saving the two settings files cost, for a record as an installation in use has it.
//   ours    the program's reader, writer and atomic save
//   plain   the same the straightforward way: fgets, a linear search for the key, sscanf; fprintf line by line
//   bare    the same bytes, ready in memory, written, committed and moved into place by system calls alone
// Reading and writing stay in memory on both sides: the plain way goes through fmemopen and open_memstream. Saving
// goes to the disk on which the program lies. Before anything is timed, both sides must agree.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "settings/descriptor_table.h"
#include "settings/pixel_frames_file.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"

// ---------------------------------------------------------------------------------------------------- the yardsticks

static bool is_saved(const char* key) {
    for (const char* const* other = kSettingsNotSaved.data(); *other; ++other)
        if (strcmp(key, *other) == 0) return false;
    return true;
}

static void* field_of(Settings* settings, const SettingDescriptor& row) {
    return reinterpret_cast<char*>(settings) + row.offset;
}

static const void* field_of(const Settings* settings, const SettingDescriptor& row) {
    return reinterpret_cast<const char*>(settings) + row.offset;
}

static void plain_apply(Settings* settings, const SettingDescriptor& row, const char* value) {
    void* const field = field_of(settings, row);
    switch (row.type) {
        case SETTING_INT:
            sscanf(value, "%d", static_cast<int32_t*>(field));
            break;
        case SETTING_FLOAT:
            sscanf(value, "%f", static_cast<float*>(field));
            break;
        case SETTING_STRING:
            snprintf(static_cast<char*>(field), kSettingTextSize, "%s", value);
            break;
        case SETTING_PAIR: {
            auto* const anchor = static_cast<GridLine*>(field);
            sscanf(value, "%d,%d", &anchor->x, &anchor->y);
            break;
        }
        case SETTING_SEPARATOR:
            break;
    }
}

static void plain_trim(char* text) {
    for (size_t length = strlen(text); length > 0 && strchr(" \t\r\n", text[length - 1]); --length)
        text[length - 1] = '\0';
}

static void plain_end_value(char* value) {
    for (char* at = value; *at; ++at)
        if (*at == '#' && (at == value || at[-1] == ' ' || at[-1] == '\t')) *at = '\0';
    plain_trim(value);
}

static void plain_load_settings(FILE* file, Settings* settings) {
    char line[512];
    while (fgets(line, sizeof line, file)) {
        char* key = line + strspn(line, " \t");
        if (*key == '\0' || *key == '#' || *key == '\r' || *key == '\n') continue;
        char* value = strchr(key, '=');
        if (!value) continue;
        *value++ = '\0';
        plain_trim(key);
        value += strspn(value, " \t");
        plain_end_value(value);
        if (*value == '\0') continue;
        for (const SettingDescriptor* row = kSettingTable.data(); row->key; ++row) {
            if (row->type == SETTING_SEPARATOR || strcmp(row->key, key) != 0) continue;
            plain_apply(settings, *row, value);
            break;
        }
    }
}

static void plain_format_settings(FILE* file, const Settings* settings) {
    for (const SettingDescriptor* row = kSettingTable.data(); row->key; ++row) {
        const void* const field = field_of(settings, *row);
        if (row->type == SETTING_SEPARATOR) {
            fprintf(file, "\n");
        } else if (!is_saved(row->key)) {
            continue;
        } else if (row->type == SETTING_INT) {
            fprintf(file, "%s=%d\n", row->key, *static_cast<const int32_t*>(field));
        } else if (row->type == SETTING_FLOAT) {
            fprintf(file, "%s=%f\n", row->key, static_cast<double>(*static_cast<const float*>(field)));
        } else if (row->type == SETTING_STRING) {
            fprintf(file, "%s=%s\n", row->key, static_cast<const char*>(field));
        } else {
            const auto* const anchor = static_cast<const GridLine*>(field);
            fprintf(file, "%s=%d,%d\n", row->key, anchor->x, anchor->y);
        }
    }
}

static int32_t plain_load_pixel_frames(FILE* file, Settings* settings) {
    int32_t count = 0;
    char line[256];
    memset(settings->pixel_frames_populated, 0, sizeof settings->pixel_frames_populated);
    while (fgets(line, sizeof line, file)) {
        const char* text = line + strspn(line, " \t");
        if (*text == '\0' || *text == '#' || *text == '\r' || *text == '\n') continue;
        int feed = 0, x = 0, start = 0, scene = 0, end = 0;
        if (sscanf(text, " pixel_frames[%d][%d] = %d, %d, %d", &feed, &x, &start, &scene, &end) != 5) continue;
        if (feed < 0 || feed >= kSettingsFeeds || x < 0 || x >= kPixelColumns) continue;
        settings->pixel_to_start[feed][x] = start;
        settings->pixel_to_scene[feed][x] = scene;
        settings->pixel_to_end[feed][x] = end;
        settings->pixel_frames_populated[feed] = 1;
        ++count;
    }
    return count;
}

static void plain_format_pixel_frames(FILE* file, const Settings* settings) {
    const int32_t* populated = settings->pixel_frames_populated;
    fprintf(file, "# Orvekline — pixel_frames.txt\n");
    fprintf(file, "# Per-pixel frame-offset tables, 1920 entries x 3 feeds.\n");
    fprintf(file, "# Generated by auto-setup; written as a full dense table\n");
    fprintf(file, "# (all X values interpolated/extrapolated from observed blobs).\n");
    fprintf(file, "#\n");
    fprintf(file, "# Line format: pixel_frames[FEED][X] = to_start, to_scene, to_end\n");
    fprintf(file, "#   to_start = frames back to movie start on feed 1's timeline\n");
    fprintf(file, "#   to_scene = signed frames to scene-change (positive=future)\n");
    fprintf(file, "#   to_end   = frames forward to movie end\n");
    fprintf(file, "#\n");
    fprintf(file, "# populated_flags: feed0=%d feed1=%d feed2=%d\n", populated[0], populated[1], populated[2]);
    fprintf(file, "# -----------------------------------------------------------\n\n");
    for (int feed = 0; feed < kSettingsFeeds; ++feed) {
        fprintf(file, "# --- feed %d ---\n", feed);
        for (int x = 0; x < kPixelColumns; ++x)
            fprintf(file, "pixel_frames[%d][%d] = %d, %d, %d\n", feed, x, settings->pixel_to_start[feed][x],
                    settings->pixel_to_scene[feed][x], settings->pixel_to_end[feed][x]);
        fprintf(file, "\n");
    }
}

static void save_bare(const std::string& path, const std::string& text) {
    const std::string temporary = path + ".tmp";
    const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    bool good = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    good = fsync(file) == 0 && good;
    good = close(file) == 0 && good;
    if (!good || rename(temporary.c_str(), path.c_str()) != 0) abort();
}

// ------------------------------------------------------------------------------------------------ what is worked on

namespace {

// A folder beside the program, gone with it.
struct SaveFolder {
    std::string path;

    SaveFolder() {
        path = std::filesystem::read_symlink("/proc/self/exe").string() + "_XXXXXX";
        if (!mkdtemp(path.data())) abort();
    }
    ~SaveFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    SaveFolder(const SaveFolder&) = delete;
    SaveFolder& operator=(const SaveFolder&) = delete;
};

struct Files {
    std::unique_ptr<Settings> settings;
    std::string settings_text, pixel_text;
};

using PlainReader = void (*)(FILE*, Settings*);
using PlainWriter = void (*)(FILE*, const Settings*);

}  // namespace

static std::unique_ptr<Settings> used_settings() {
    auto settings = std::make_unique<Settings>();
    settings_init_defaults(settings.get());
    const auto put = [&](const char* key, const char* text) {
        settings_set_string(settings.get(), settings_info_find(key), text);
    };
    put("*font_file", "C:\\Orvekline\\fonts\\overlay_24.fnt");
    put("*capfile_output_dir", "D:\\captures");
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) {
        const std::string index = "[" + std::to_string(feed) + "]";
        put(("*camera_device_path" + index).c_str(),
            "\\\\?\\usb#vid_32e4&pid_0317&mi_00#7&1c9b37a4&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\\global");
        put(("*practice_video_path" + index).c_str(), "D:\\captures\\cap_0_20260214_101502.mp4");
        settings->pixel_frames_populated[feed] = 1;
        for (int32_t line = 0; line < 18; ++line) {
            settings->far_lines[feed][line].x = settings->near_lines[feed][line].x = 60 + 104 * line;
            settings->far_lines[feed][line].y = 87 + 9 * line;
            settings->near_lines[feed][line].y = 402 - 7 * line;
        }
        for (int32_t x = 0; x < kPixelColumns; ++x) {
            settings->pixel_to_start[feed][x] = 130 * (feed - 1) + x / 17;
            settings->pixel_to_scene[feed][x] = (960 - x) / 21 - 80 * (feed - 1);
            settings->pixel_to_end[feed][x] = 300 - 80 * feed - x / 24;
        }
    }
    settings_normalise(settings.get(), true);
    return settings;
}

static std::string plain_text(PlainWriter write, const Settings* settings) {
    char* text = nullptr;
    size_t size = 0;
    FILE* const file = open_memstream(&text, &size);
    write(file, settings);
    fclose(file);
    std::string result(text, size);
    free(text);
    return result;
}

static void plain_read(PlainReader read, const std::string& text, Settings* settings) {
    FILE* const file = fmemopen(const_cast<char*>(text.data()), text.size(), "r");
    read(file, settings);
    fclose(file);
}

static void plain_settings(FILE* file, Settings* settings) {
    memset(settings->pixel_frames_populated, 0, sizeof settings->pixel_frames_populated);
    plain_load_settings(file, settings);
    settings_normalise(settings, true);
}

static void plain_pixel_frames(FILE* file, Settings* settings) {
    benchmark::DoNotOptimize(plain_load_pixel_frames(file, settings));
}

static void our_settings(const std::string& text, Settings* settings) {
    settings_parse(settings, text.data(), text.size());
    settings_normalise(settings, true);
}

static void require(bool condition, const char* what) {
    if (condition) return;
    fprintf(stderr, "%s differs between both ways\n", what);
    abort();
}

static void require_agreement(const Files& files) {
    require(plain_text(plain_format_settings, files.settings.get()) == files.settings_text, "settings.txt");
    require(plain_text(plain_format_pixel_frames, files.settings.get()) == files.pixel_text, "pixel_frames.txt");
    const auto ours = std::make_unique<Settings>();
    const auto plain = std::make_unique<Settings>();
    settings_init_defaults(ours.get());
    settings_init_defaults(plain.get());
    our_settings(files.settings_text, ours.get());
    plain_read(plain_settings, files.settings_text, plain.get());
    pixel_frames_parse(ours.get(), files.pixel_text.data(), files.pixel_text.size());
    plain_read(plain_pixel_frames, files.pixel_text, plain.get());
    require(memcmp(ours.get(), plain.get(), sizeof *ours) == 0, "the record read");
    require(memcmp(ours.get(), files.settings.get(), sizeof *ours) == 0, "the record written");
}

static const Files& files() {
    static const Files made = [] {
        Files result;
        result.settings = used_settings();
        settings_format(result.settings.get(), &result.settings_text);
        pixel_frames_format(result.settings.get(), &result.pixel_text);
        require_agreement(result);
        return result;
    }();
    return made;
}

// ----------------------------------------------------------------------------------------------------------- the
// rows

static Settings* record_to_fill() {
    static const auto settings = std::make_unique<Settings>(*files().settings);
    return settings.get();
}

static void settings_load_ours(benchmark::State& state) {
    Settings* const settings = record_to_fill();
    for (auto _ : state) {
        our_settings(files().settings_text, settings);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(settings_load_ours)->Name("settings_load/ours");

static void settings_load_plain(benchmark::State& state) {
    Settings* const settings = record_to_fill();
    for (auto _ : state) {
        plain_read(plain_settings, files().settings_text, settings);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(settings_load_plain)->Name("settings_load/plain");

static void pixel_frames_load_ours(benchmark::State& state) {
    Settings* const settings = record_to_fill();
    const std::string& text = files().pixel_text;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pixel_frames_parse(settings, text.data(), text.size()));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(pixel_frames_load_ours)->Name("pixel_frames_load/ours");

static void pixel_frames_load_plain(benchmark::State& state) {
    Settings* const settings = record_to_fill();
    for (auto _ : state) {
        plain_read(plain_pixel_frames, files().pixel_text, settings);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(pixel_frames_load_plain)->Name("pixel_frames_load/plain");

using Format = void (*)(const Settings*, std::string*);

static void format_ours(benchmark::State& state, Format format) {
    const Settings* const settings = files().settings.get();
    for (auto _ : state) {
        std::string text;
        format(settings, &text);
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK_CAPTURE(format_ours, settings, settings_format)->Name("settings_format/ours");
BENCHMARK_CAPTURE(format_ours, pixel_frames, pixel_frames_format)->Name("pixel_frames_format/ours");

static void format_plain(benchmark::State& state, PlainWriter write) {
    const Settings* const settings = files().settings.get();
    for (auto _ : state) {
        char* text = nullptr;
        size_t size = 0;
        FILE* const file = open_memstream(&text, &size);
        write(file, settings);
        fclose(file);
        benchmark::ClobberMemory();
        free(text);
    }
}
BENCHMARK_CAPTURE(format_plain, settings, plain_format_settings)->Name("settings_format/plain");
BENCHMARK_CAPTURE(format_plain, pixel_frames, plain_format_pixel_frames)->Name("pixel_frames_format/plain");

// A disk's mood changes within seconds, and a neighbour's writing with it. So both ways of saving take turns, and a
// repetition of either row is the median of its turns in the same series.
struct SaveTimes {
    double ours, bare;  // seconds
};

static double time_of(const auto& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

static double median(std::vector<double>* times) {
    const auto middle = times->begin() + static_cast<std::ptrdiff_t>(times->size() / 2);
    std::nth_element(times->begin(), middle, times->end());
    return *middle;
}

static SaveTimes time_saves(SettingsWriter write, const std::string& text) {
    constexpr int32_t kTurns = 61;
    static const SaveFolder folder;
    const std::string our_path = folder.path + "/ours.txt";
    const std::string bare_path = folder.path + "/bare.txt";
    std::vector<double> ours;
    std::vector<double> bare;
    const auto save_ours = [&] {
        if (settings_write_atomic(our_path.c_str(), write, files().settings.get()) != 0) abort();
    };
    for (int32_t turn = 0; turn < kTurns; ++turn) {
        if (turn % 2 == 0) ours.push_back(time_of(save_ours));
        bare.push_back(time_of([&] { save_bare(bare_path, text); }));
        if (turn % 2 != 0) ours.push_back(time_of(save_ours));
    }
    return {median(&ours), median(&bare)};
}

template <SettingsWriter write, std::string Files::*text>
static std::vector<SaveTimes> save_series;

template <double SaveTimes::*who, SettingsWriter write, std::string Files::*text>
static void save(benchmark::State& state) {
    static size_t repetition = 0;
    auto& series = save_series<write, text>;
    if (series.size() == repetition) series.push_back(time_saves(write, files().*text));
    for (auto _ : state) state.SetIterationTime(series[repetition].*who);
    ++repetition;
}
BENCHMARK(save<&SaveTimes::ours, settings_write_keys, &Files::settings_text>)
    ->Name("settings_save/ours")
    ->Iterations(1)
    ->UseManualTime();
BENCHMARK(save<&SaveTimes::bare, settings_write_keys, &Files::settings_text>)
    ->Name("settings_save/bare")
    ->Iterations(1)
    ->UseManualTime();
BENCHMARK(save<&SaveTimes::ours, settings_write_pixel_frames, &Files::pixel_text>)
    ->Name("pixel_frames_save/ours")
    ->Iterations(1)
    ->UseManualTime();
BENCHMARK(save<&SaveTimes::bare, settings_write_pixel_frames, &Files::pixel_text>)
    ->Name("pixel_frames_save/bare")
    ->Iterations(1)
    ->UseManualTime();

BENCHMARK_MAIN();
