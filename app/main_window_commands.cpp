#include <cstring>

#include "app/commands.h"
#include "app/help_pages.h"
#include "app/log.h"
#include "app/main_window_parts.h"
#include "app/ui_context.h"
#include "procs/feed_orchestration.h"
#include "procs/file_capture.h"
#include "procs/force_video.h"
#include "settings/select_cameras.h"
#include "settings/select_practice_files.h"
#include "settings/settings_file.h"

static bool is_attended(const UiContext* ui) {
    return ui->cli.mode == kModeInteractive;
}

// Every handler gets the distance of the id from the first of its row: the feed, where there is one per feed.

static void on_start_all(UiContext* ui, int32_t /*offset*/) {
    start_all(ui);
}
static void on_stop_all(UiContext* ui, int32_t /*offset*/) {
    stop_all(ui);
}
static void on_launch_practice(UiContext* ui, int32_t /*offset*/) {
    launch_practice(ui);
}
static void on_go_live(UiContext* ui, int32_t /*offset*/) {
    go_live(ui);
}
static void on_start_capture(UiContext* ui, int32_t feed) {
    start_worker(ui, kKindCapture, feed);
}
static void on_stop_capture(UiContext* ui, int32_t feed) {
    stop_worker(ui, kKindCapture, feed);
}
static void on_start_motion(UiContext* ui, int32_t feed) {
    start_worker(ui, kKindMotion, feed);
}
static void on_stop_motion(UiContext* ui, int32_t feed) {
    stop_worker(ui, kKindMotion, feed);
}
static void on_start_videogen(UiContext* ui, int32_t /*offset*/) {
    start_worker(ui, kKindVideogen, -1);
}
static void on_stop_videogen(UiContext* ui, int32_t /*offset*/) {
    stop_worker(ui, kKindVideogen, -1);
}
static void on_start_viewer(UiContext* ui, int32_t /*offset*/) {
    start_worker(ui, kKindViewer, -1);
}
static void on_stop_viewer(UiContext* ui, int32_t /*offset*/) {
    stop_worker(ui, kKindViewer, -1);
}

static void on_force_video(UiContext* ui, int32_t /*offset*/) {
    force_video(ui);
}

static void on_auto_setup(UiContext* ui, int32_t /*offset*/) {
    auto_setup_button(ui);
}

static void on_round_down(UiContext* ui, int32_t /*offset*/) {
    jumper_panel_round_down(&ui->jumpers);
}
static void on_round_up(UiContext* ui, int32_t /*offset*/) {
    jumper_panel_round_up(&ui->jumpers);
}
static void on_load_jumpers(UiContext* ui, int32_t /*offset*/) {
    // The dialog would wait for somebody who is not there.
    if (is_attended(ui)) jumper_panel_load_interactive(&ui->jumpers);
}

static void redisplay_settings(void* context) {
    auto* ui = static_cast<UiContext*>(context);
    settings_tab_refill(&ui->settings_tab);
    feeds_tab_show_settings(&ui->feeds, ui->settings);
}

static void copy_paths(const char (&from)[3][kSettingTextSize], char (&to)[3][kSettingTextSize]) {
    memcpy(to, from, sizeof to);
}

// A chooser disables its owner: one that was asked for meanwhile would open over it.
static bool may_ask(const UiContext* ui) {
    return is_attended(ui) && IsWindowEnabled(ui->window);
}

static void on_capture_feeds(UiContext* ui, int32_t /*offset*/) {
    capture_feeds(ui, may_ask(ui));
}
static void on_pause_recording(UiContext* ui, int32_t /*offset*/) {
    pause_recording(ui);
}

static void on_select_practice_files(UiContext* ui, int32_t /*offset*/) {
    if (!may_ask(ui)) return;
    char paths[3][kSettingTextSize];
    copy_paths(ui->settings->practice_video_path, paths);
    const DialogResult result = select_practice_files(ui->window, paths);
    if (result != DialogResult::ok || ui->closing) return;
    copy_paths(paths, ui->settings->practice_video_path);
    settings_save(ui->settings, ui->settings_path);
    redisplay_settings(ui);
    log_info("settings: practice_video_path updated — feed0=\"%s\" feed1=\"%s\" feed2=\"%s\"", paths[0], paths[1],
             paths[2]);
}

static void on_select_cameras(UiContext* ui, int32_t /*offset*/) {
    if (!may_ask(ui)) return;
    char paths[3][kSettingTextSize];
    copy_paths(ui->settings->camera_device_path, paths);
    const DialogResult result = select_cameras(ui->window, ui->exe_dir, paths);
    if (result != DialogResult::ok || ui->closing) return;
    copy_paths(paths, ui->settings->camera_device_path);
    settings_save(ui->settings, ui->settings_path);
    settings_tab_load(&ui->settings_tab);
    feeds_tab_show_settings(&ui->feeds, ui->settings);
    log_info("settings: camera_device_path updated — feed0=\"%s\" feed1=\"%s\" feed2=\"%s\"", paths[0], paths[1],
             paths[2]);
    sync_captures(ui);
}

static void on_grid_lines(UiContext* ui, int32_t /*offset*/) {
    if (ui->grid.window) {
        grid_panel_bring_to_front(&ui->grid);
        return;
    }
    const bool attended = is_attended(ui);
    ControlBlock* control = ui_control_block(ui);
    if (control) {
        grid_panel_open(&ui->grid, ui->window, ui->settings, control, &ui->sync, ui->settings_path,
                        {redisplay_settings, ui, attended});
        return;
    }
    log_warn("grid line setup: shared memory not available");
    if (attended) {
        MessageBoxA(ui->window, "Shared memory not available.\nStart at least one process first.", "Grid Line Setup",
                    MB_OK | MB_ICONWARNING);
    }
}

static void on_file_capture(UiContext* ui, int32_t /*offset*/) {
    capture_panel_open(&ui->capture, ui->window, ui->instance, ui_recorders(ui));
}

static void on_help(UiContext* ui, int32_t /*offset*/) {
    help_page_open(ui->window, ui->exe_dir, "index.html");
}

static void on_about(UiContext* ui, int32_t /*offset*/) {
    MessageBoxA(ui->window,
                "Orvekline " ORVEK_VERSION
                "\n\nReal-time multi-camera ski jumping\ndistance measurement system.\n\n"
                "Written by the Orvekline engineers.",
                "About Orvekline", MB_OK | MB_ICONINFORMATION);
}

static void on_save_settings(UiContext* ui, int32_t /*offset*/) {
    if (ui->current_tab != kTabSettings) return;
    const bool saved = settings_tab_save(&ui->settings_tab) == 0;
    feeds_tab_show_settings(&ui->feeds, ui->settings);
    ui_set_status(ui, saved ? "Settings saved" : "Settings could not be saved, see controller_debug.log");
}

static void on_load_settings(UiContext* ui, int32_t /*offset*/) {
    if (ui->current_tab != kTabSettings) return;
    settings_tab_load(&ui->settings_tab);
    feeds_tab_show_settings(&ui->feeds, ui->settings);
    ui_set_status(ui, "Settings loaded");
}

namespace {

struct CommandEntry {
    int32_t first;
    int32_t count;
    void (*handle)(UiContext*, int32_t offset);
};

constexpr CommandEntry kCommands[] = {
    {kCmdStartAll, 1, on_start_all},
    {kCmdStopAll, 1, on_stop_all},
    {kCmdStartCapture, 3, on_start_capture},
    {kCmdStopCapture, 3, on_stop_capture},
    {kCmdStartMotion, 3, on_start_motion},
    {kCmdStopMotion, 3, on_stop_motion},
    {kCmdStartVideogen, 1, on_start_videogen},
    {kCmdStopVideogen, 1, on_stop_videogen},
    {kCmdStartViewer, 1, on_start_viewer},
    {kCmdStopViewer, 1, on_stop_viewer},
    {kCmdToggleMotion, 3, toggle_feed_motion},
    {kCmdFeedButton, 3, toggle_feed_motion},
    {kCmdLaunchPractice, 1, on_launch_practice},
    {kCmdGoLive, 1, on_go_live},
    {kCmdForceVideo, 1, on_force_video},
    {kCmdAutoSetup, 1, on_auto_setup},
    {kCmdCaptureFeeds, 1, on_capture_feeds},
    {kCmdPauseRecording, 1, on_pause_recording},
    {kCmdRoundDown, 1, on_round_down},
    {kCmdRoundUp, 1, on_round_up},
    {kCmdLoadJumpers, 1, on_load_jumpers},
    {kCmdGridLines, 1, on_grid_lines},
    {kCmdFileCapture, 1, on_file_capture},
    {kCmdHelp, 1, on_help},
    {kCmdSelectPracticeFiles, 1, on_select_practice_files},
    {kCmdSelectCameras, 1, on_select_cameras},
    {kCmdAbout, 1, on_about},
    {kCmdSaveSettings, 1, on_save_settings},
    {kCmdLoadSettings, 1, on_load_settings},
};

}  // namespace

void main_window_command(UiContext* ui, int32_t id) {
    if (preview_command(&ui->preview, id)) return;
    if (settings_tab_command(&ui->settings_tab, id, is_attended(ui)))
        return feeds_tab_show_settings(&ui->feeds, ui->settings);
    // The panel's Exit carries the number that Ctrl+S sends here: saving must not close it.
    if (id != kCmdSaveSettings && grid_panel_command(&ui->grid, id)) return;
    for (const CommandEntry& entry : kCommands)
        if (id >= entry.first && id < entry.first + entry.count) return entry.handle(ui, id - entry.first);
}

void main_window_open_help(UiContext* ui) {
    help_page_open(ui->window, ui->exe_dir, ui->current_tab == kTabSettings ? "settings.html" : "index.html");
}
