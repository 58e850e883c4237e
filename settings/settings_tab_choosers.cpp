// What the tab does with the answers of the choosers: into the boxes, and then a Save like any other.
#include <cstdio>

#include "app/log.h"
#include "settings/select_gpu.h"
#include "settings/select_practice_files.h"
#include "settings/settings_tab_internal.h"

void settings_tab_select_gpu(SettingsTab* tab) {
    char ffmpeg[2 * MAX_PATH] = "";
    resolve_ffmpeg(tab->exe_dir, ffmpeg, sizeof ffmpeg);
    GpuEntry chosen = {};
    const DialogResult result = select_gpu(settings_tab_owner(tab), ffmpeg, tab->settings->capfile_nvenc_gpu_name,
                                           tab->settings->capfile_nvenc_gpu_index, &chosen);
    if (result == DialogResult::failed) return log_warn("settings: Select GPU dialog failed to open");
    if (result != DialogResult::ok) return log_info("settings: Select GPU cancelled — no change");
    settings_tab_set_int(tab, "capfile_nvenc_gpu_index", chosen.index);
    settings_box_set_text(settings_tab_box(tab, "*capfile_nvenc_gpu_name"), chosen.name);
    log_info("settings: GPU selected — name=\"%s\" index=%d", chosen.name, chosen.index);
    settings_tab_save(tab);
}

void settings_tab_select_practice_files(SettingsTab* tab) {
    char paths[3][kSettingTextSize];
    for (int32_t feed = 0; feed < 3; ++feed)
        snprintf(paths[feed], sizeof paths[feed], "%s", tab->settings->practice_video_path[feed]);
    const DialogResult result = select_practice_files(settings_tab_owner(tab), paths);
    if (result == DialogResult::failed) return log_warn("settings: Select Practice Files dialog failed to open");
    if (result != DialogResult::ok) return log_info("settings: Select Practice Files cancelled — no change");
    for (int32_t feed = 0; feed < 3; ++feed) {
        char key[32];
        snprintf(key, sizeof key, "*practice_video_path[%d]", feed);
        settings_box_set_text(settings_tab_box(tab, key), paths[feed]);
    }
    log_info("settings: practice_video_path updated — feed0=\"%s\" feed1=\"%s\" feed2=\"%s\"", paths[0], paths[1],
             paths[2]);
    settings_tab_save(tab);
}
