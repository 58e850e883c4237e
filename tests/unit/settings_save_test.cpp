// Writing settings.txt: the text, the refusal of an empty record, and what a failing disk leaves behind.
#include <cstring>

#include <gtest/gtest.h>

#include "settings/descriptor_table.h"
#include "settings/pixel_frames_file.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

namespace {

// A disk that fails at one step, otherwise the real one.
struct BadDisk {
    enum Step { none = 1, open, write, short_write, flush, commit, replace };
    Step fails = none;
    int32_t after = 0;  // so many calls of the step go well first
    int32_t commits = 0;
    int32_t open_files = 0;
};
BadDisk g_disk;

}  // namespace

static bool disk_fails(BadDisk::Step step) {
    return g_disk.fails == step && g_disk.after-- <= 0;
}

static const FileOperations kBadDisk = {
    [](const char* path) -> void* {
        if (disk_fails(BadDisk::open)) return nullptr;
        ++g_disk.open_files;
        return kFileOperations.open(path);
    },
    [](void* file, const char* data, size_t size) {
        if (disk_fails(BadDisk::write)) return false;
        const bool fails = disk_fails(BadDisk::short_write);
        return kFileOperations.write(file, data, fails ? size / 2 : size) && !fails;
    },
    [](void* file) { return kFileOperations.flush(file) && !disk_fails(BadDisk::flush); },
    [](void* file) {
        ++g_disk.commits;
        return kFileOperations.commit(file) && !disk_fails(BadDisk::commit);
    },
    [](void* file) {
        --g_disk.open_files;
        kFileOperations.close(file);
    },
    [](const char* from, const char* to, uint32_t* error) {
        if (!disk_fails(BadDisk::replace)) return kFileOperations.replace(from, to, error);
        *error = 32;
        return false;
    },
    kFileOperations.remove,
};

static std::string formatted(const Settings* settings) {
    std::string text;
    settings_format(settings, &text);
    return text;
}

TEST(SettingsFormat, WritesEveryKindInItsForm) {
    const auto s = default_settings();
    s->far_lines[0][3].x = 412;
    s->far_lines[0][3].y = 87;
    s->movie_pad = -4;
    const std::string text = formatted(s.get());
    EXPECT_TRUE(text.starts_with("frame_position_bar_height=15\nmouse_position_speed=5.000000\n"))
        << text.substr(0, 80);
    EXPECT_NE(text.find("\nmovie_pad=-4\n\n*font_file=\n"), std::string::npos) << "three unsaved groups left out";
    EXPECT_NE(text.find("\n@far[0][ 3]=412,87\n"), std::string::npos);
    EXPECT_NE(text.find("\nmin_diff_y%=0.002000\n"), std::string::npos);
    EXPECT_NE(text.find("\n*archive_dir=output_videos\n"), std::string::npos);
    EXPECT_TRUE(text.ends_with("\n@near[2][29]=0,0\n\n"));
}

TEST(SettingsFormat, HasOneLinePerSavedRowInTableOrder) {
    const std::vector<std::string> lines = split_lines(formatted(default_settings().get()));
    size_t next = 0;
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (!setting_row_is_saved(row)) continue;
        ASSERT_LT(next, lines.size());
        const std::string& line = lines[next++];
        if (kSettingTable[row].type == SETTING_SEPARATOR) {
            EXPECT_EQ(line, "");
        } else {
            EXPECT_EQ(line.substr(0, line.find('=')), kSettingTable[row].key);
        }
    }
    EXPECT_EQ(next, lines.size());
    EXPECT_EQ(next, 409u);
}

TEST(SettingsFormat, PixelTablesNeverGoIntoSettingsTxt) {
    const auto s = settings_from_text("pixel_frames[0][0]=1,2,3\n");
    EXPECT_EQ(formatted(s.get()).find("pixel_frames"), std::string::npos);
}

TEST(SettingsFormat, UnsavedKeysLoadButAreNeverWritten) {
    std::string text;
    for (const char* key : kSettingsNotSaved)
        if (key) text += std::string(key) + "=41\n";
    const auto s = settings_from_text(text);
    for (const char* key : kSettingsNotSaved) {
        if (!key) continue;
        EXPECT_EQ(settings_get_int(s.get(), settings_info_find(key)), 41) << key;
        EXPECT_EQ(formatted(s.get()).find(key), std::string::npos) << key;
    }
}

TEST(SettingsSave, EverySavedValueComesBack) {
    TempDir dir;
    const std::string path = dir.file("settings.txt");
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        const auto saved = default_settings();
        randomise_saved_settings(saved.get(), seed);
        for (int32_t feed = 0; feed < 3; ++feed) {
            for (int32_t x = 0; x < kPixelColumns; ++x) {
                saved->pixel_to_start[feed][x] = static_cast<int32_t>(seed) * x - feed;
                saved->pixel_to_scene[feed][x] = -x;
                saved->pixel_to_end[feed][x] = INT32_MIN + x;
            }
            saved->pixel_frames_populated[feed] = 1;
        }
        settings_normalise(saved.get(), true);  // as after a load: nothing is left for the next load to correct
        ASSERT_EQ(settings_save(saved.get(), path.c_str()), 0);
        const auto loaded = default_settings();
        ASSERT_EQ(settings_load(loaded.get(), path.c_str()), 0);
        for (int32_t i = 0; i < settings_info_count(); ++i) {
            const char* key = settings_info_at(i)->key;
            if (!setting_row_is_saved(setting_row_find(key))) continue;
            EXPECT_EQ(settings_get_int(loaded.get(), i), settings_get_int(saved.get(), i)) << key;
            EXPECT_STREQ(settings_get_string(loaded.get(), i), settings_get_string(saved.get(), i)) << key;
            EXPECT_EQ(settings_get_pair(loaded.get(), i).x, settings_get_pair(saved.get(), i).x) << key;
            EXPECT_EQ(settings_get_pair(loaded.get(), i).y, settings_get_pair(saved.get(), i).y) << key;
            EXPECT_NEAR(settings_get_float(loaded.get(), i), settings_get_float(saved.get(), i), 1e-5) << key;
        }
        EXPECT_EQ(memcmp(loaded->pixel_to_start, saved->pixel_to_start, sizeof saved->pixel_to_start), 0);
        EXPECT_EQ(memcmp(loaded->pixel_to_scene, saved->pixel_to_scene, sizeof saved->pixel_to_scene), 0);
        EXPECT_EQ(memcmp(loaded->pixel_to_end, saved->pixel_to_end, sizeof saved->pixel_to_end), 0);
        EXPECT_EQ(formatted(loaded.get()), formatted(saved.get()));
    }
}

TEST(SettingsSave, WritesBothFilesAndSaysSo) {
    TempDir dir;
    LogCapture log;
    const std::string path = dir.file("settings.txt");
    const auto s = default_settings();
    ASSERT_EQ(settings_save(s.get(), path.c_str()), 0);
    const std::vector<std::string> expected = {
        "INF settings: saved to '" + path + "'",
        "INF settings: saved pixel_frames to '" + dir.file("pixel_frames.txt") + "' (1920 x 3 entries)"};
    EXPECT_EQ(log.take(), expected);
    EXPECT_EQ(read_whole_file(path), disk_lines(formatted(s.get())));
    std::string pixel_frames;
    pixel_frames_format(s.get(), &pixel_frames);
    EXPECT_EQ(read_whole_file(dir.file("pixel_frames.txt")), disk_lines(pixel_frames));
    EXPECT_FALSE(file_exists(path + ".tmp"));
    EXPECT_FALSE(file_exists(dir.file("pixel_frames.txt.tmp")));
}

TEST(SettingsSave, NullArgumentsFail) {
    EXPECT_EQ(settings_save(nullptr, "x"), -1);
    EXPECT_EQ(settings_save(default_settings().get(), nullptr), -1);
}

TEST(SettingsSave, ARecordThatWasOnlyClearedIsRefused) {
    TempDir dir;
    LogCapture log;
    const std::string path = dir.file("settings.txt");
    write_whole_file(path, "feed_count=2\n");
    const auto cleared = std::make_unique<Settings>();
    EXPECT_EQ(settings_save(cleared.get(), path.c_str()), -1);
    EXPECT_EQ(read_whole_file(path), "feed_count=2\n");
    EXPECT_FALSE(file_exists(dir.file("pixel_frames.txt")));
    EXPECT_EQ(
        log.take(),
        std::vector<std::string>{
            "ERR settings: refusing to save — struct appears uninitialized (frame_position_bar_height=0, "
            "big_window_width=0, min_blob_sizes[0]=0 — caller likely forgot settings_init_defaults or wired the "
            "wrong pointer).  File '" +
            path + "' NOT overwritten."});
}

TEST(SettingsSave, OneOfTheSixTellingValuesIsEnoughToBeSaved) {
    const auto cleared = std::make_unique<Settings>();
    TempDir dir;
    const std::string path = dir.file("settings.txt");
    int32_t* const telling[] = {&cleared->frame_position_bar_height, &cleared->big_window_width,
                                &cleared->big_window_height, &cleared->min_blob_sizes[0],
                                &cleared->min_blob_sizes[3]};
    for (int32_t* value : telling) {
        *value = -1;
        EXPECT_EQ(settings_save(cleared.get(), path.c_str()), 0);
        *value = 0;
    }
    cleared->mouse_position_speed = 0.5f;
    EXPECT_EQ(settings_save(cleared.get(), path.c_str()), 0);
    cleared->mouse_position_speed = 0.0f;
    cleared->min_blob_sizes[1] = cleared->feed_count = 1;  // tell nothing
    EXPECT_EQ(settings_save(cleared.get(), path.c_str()), -1);
}

TEST(SettingsSave, APathTooLongForTheTemporaryNameFails) {
    LogCapture log;
    const auto s = default_settings();
    const std::string path(507, 'p');
    EXPECT_EQ(settings_save(s.get(), path.c_str()), -1);
    EXPECT_EQ(log.take(), std::vector<std::string>{"ERR settings: path too long to append .tmp: " + path});
}

TEST(SettingsSave, AFolderTooLongForPixelFramesDoesNotFailTheSave) {
    // Such a folder need not exist: this disk takes everything and keeps nothing.
    const FileOperations accepts_everything = {[](const char*) -> void* { return &g_disk; },
                                               [](void*, const char*, size_t) { return true; },
                                               [](void*) { return true; },
                                               [](void*) { return true; },
                                               [](void*) {},
                                               [](const char*, const char*, uint32_t*) { return true; },
                                               [](const char*) {}};
    LogCapture log;
    const std::string path = std::string(495, 'd') + "/s.txt";
    EXPECT_EQ(settings_save(default_settings().get(), path.c_str(), &accepts_everything), 0);
    EXPECT_TRUE(log.has("INF settings: saved to '" + path + "'"));
    EXPECT_TRUE(log.has("ERR settings: cannot derive pixel_frames path from '" + path + "'"));
    EXPECT_EQ(log.lines().back(),
              "WRN settings: settings.txt saved but pixel_frames.txt save failed — runtime will fall back to the "
              "previous pixel_frames.txt");
    EXPECT_EQ(log.lines().size(), 3u);
}

TEST(SettingsSave, AnyFailingStepLeavesTheOldFileAndNoTemporaryOne) {
    struct Case {
        BadDisk::Step step;
        std::string message;
    };
    TempDir dir;
    LogCapture log;
    const std::string path = dir.file("settings.txt");
    const std::string tmp = path + ".tmp";
    const Case cases[] = {
        {BadDisk::open, "ERR settings: cannot open '" + tmp + "' for writing"},
        {BadDisk::write, "ERR settings: fflush failed for '" + tmp + "'"},
        {BadDisk::short_write, "ERR settings: fflush failed for '" + tmp + "'"},
        {BadDisk::flush, "ERR settings: fflush failed for '" + tmp + "'"},
        {BadDisk::replace, "ERR settings: rename '" + tmp + "' -> '" + path + "' failed (error=32)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        write_whole_file(path, "old\n");
        log.take();
        g_disk = {c.step};
        EXPECT_EQ(settings_save(default_settings().get(), path.c_str(), &kBadDisk), -1);
        EXPECT_EQ(log.take(), std::vector<std::string>{c.message});
        EXPECT_EQ(read_whole_file(path), "old\n");
        EXPECT_FALSE(file_exists(tmp));
        EXPECT_FALSE(file_exists(dir.file("pixel_frames.txt")));
        EXPECT_EQ(g_disk.open_files, 0);
    }
}

TEST(SettingsSave, APixelFramesFailureIsOneWarningAndTheOldFileStays) {
    struct Case {
        BadDisk::Step step;
        std::string message;
    };
    TempDir dir;
    LogCapture log;
    const std::string path = dir.file("settings.txt");
    const std::string pixel_frames = dir.file("pixel_frames.txt");
    const std::string tmp = pixel_frames + ".tmp";
    const Case cases[] = {
        {BadDisk::open, "ERR settings: cannot open '" + tmp + "' for writing"},
        {BadDisk::write, "ERR settings: writer failed for '" + tmp + "' (rc=-1)"},
        {BadDisk::short_write, "ERR settings: writer failed for '" + tmp + "' (rc=-1)"},
        {BadDisk::flush, "ERR settings: fflush failed for '" + tmp + "'"},
        {BadDisk::replace, "ERR settings: rename '" + tmp + "' -> '" + pixel_frames + "' failed (error=32)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        write_whole_file(path, "old\n");
        write_whole_file(pixel_frames, "old pixels\n");
        log.take();
        g_disk = {c.step, 1};
        EXPECT_EQ(settings_save(default_settings().get(), path.c_str(), &kBadDisk), 0);
        const std::vector<std::string> expected = {
            "INF settings: saved to '" + path + "'", c.message,
            "WRN settings: settings.txt saved but pixel_frames.txt save failed — runtime will fall back to the "
            "previous pixel_frames.txt"};
        EXPECT_EQ(log.take(), expected);
        EXPECT_EQ(read_whole_file(path), disk_lines(formatted(default_settings().get())));
        EXPECT_EQ(read_whole_file(pixel_frames), "old pixels\n");
        EXPECT_FALSE(file_exists(tmp));
        EXPECT_EQ(g_disk.open_files, 0);
    }
}

TEST(SettingsSave, AFailingCommitIsNotLookedAt) {
    TempDir dir;
    const std::string path = dir.file("settings.txt");
    g_disk = {BadDisk::commit};
    EXPECT_EQ(settings_save(default_settings().get(), path.c_str(), &kBadDisk), 0);
    EXPECT_EQ(read_whole_file(path), disk_lines(formatted(default_settings().get())));
    EXPECT_EQ(g_disk.commits, 2);
}

TEST(SettingsWriteAtomic, AWriterThatFailsLeavesTheTargetAlone) {
    TempDir dir;
    LogCapture log;
    const std::string path = dir.file("a.txt");
    write_whole_file(path, "old\n");
    const SettingsWriter gives_up = [](AtomicFile* file, const Settings*) -> int32_t {
        atomic_file_write(file, "half");
        return 7;
    };
    EXPECT_EQ(settings_write_atomic(path.c_str(), gives_up, default_settings().get()), -1);
    EXPECT_EQ(log.take(), std::vector<std::string>{"ERR settings: writer failed for '" + path + ".tmp' (rc=7)"});
    EXPECT_EQ(read_whole_file(path), "old\n");
    EXPECT_FALSE(file_exists(path + ".tmp"));
}

TEST(SettingsWriteAtomic, AFolderThatDoesNotExistIsAFailure) {
    TempDir dir;
    LogCapture log;
    const std::string path = dir.file("nowhere") + "/settings.txt";
    EXPECT_EQ(settings_save(default_settings().get(), path.c_str()), -1);
    EXPECT_EQ(log.take(), std::vector<std::string>{"ERR settings: cannot open '" + path + ".tmp' for writing"});
}

TEST(SettingsWriteAtomic, AnyTextCanBeReplacedWhole) {
    TempDir dir;
    const std::string path = dir.file("window.ini");
    EXPECT_EQ(write_text_atomic(path.c_str(), "x=1\ny=2\n", "window"), 0);
    EXPECT_EQ(write_text_atomic(path.c_str(), "x=3\n", "window"), 0);
    EXPECT_EQ(read_whole_file(path), disk_lines("x=3\n"));
}

#ifdef __linux__
// A disk that is really full: the write is buffered and the flush finds out, or the write itself does.
TEST(SettingsWriteAtomic, AFullDiskIsNoticedAtTheLatestWhenFlushing) {
    const auto full = [](const char*) -> void* { return fopen("/dev/full", "w"); };
    for (const size_t size : {size_t{10}, size_t{1} << 20}) {
        FileOperations operations = kFileOperations;
        operations.open = full;
        const SettingsWriter careless = [](AtomicFile* file, const Settings* s) -> int32_t {
            atomic_file_write(file, std::string(s ? 10 : 1 << 20, 'x'));
            return 0;
        };
        TempDir dir;
        LogCapture log;
        const std::string path = dir.file("a.txt");
        const auto s = default_settings();
        EXPECT_EQ(settings_write_atomic(path.c_str(), careless, size == 10 ? s.get() : nullptr, &operations), -1);
        EXPECT_EQ(log.take(), std::vector<std::string>{"ERR settings: fflush failed for '" + path + ".tmp'"});
        EXPECT_FALSE(file_exists(path));
    }
}
#endif
