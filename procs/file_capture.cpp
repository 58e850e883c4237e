#include "procs/file_capture.h"

#include <cstdio>
#include <string>
#include <utility>

#include "app/commands.h"
#include "app/log.h"
#include "app/ui_context.h"
#include "procs/file_capture_step.h"
#include "procs/recorders.h"
#include "settings/folder_picker.h"
#include "settings/settings_file.h"
#include "settings/text_pieces.h"

static void show_buttons(UiContext* ui) {
    const CaptureButtons buttons = capture_buttons(ui->file_capture);
    preview_set_capture_buttons(&ui->preview, buttons.capture_text, buttons.pause_text, buttons.pause_usable);
}

// The recorders read the folder from the settings file.
static void keep_folder(UiContext* ui, const std::string& folder) {
    char(&kept)[kSettingTextSize] = ui->settings->capfile_output_dir;
    const size_t length = text_cut(folder, kSettingTextSize - 1);
    snprintf(kept, sizeof kept, "%s", folder.substr(0, length).c_str());
    const bool saved = settings_save(ui->settings, ui->settings_path) == 0;
    settings_tab_refill(&ui->settings_tab);
    if (saved) {
        log_info("Capture Feeds: output_dir = %s (saved to settings)", kept);
    } else {
        log_warn("Capture Feeds: output_dir = %s could not be saved — recording goes where the file says", kept);
    }
}

static CaptureOutcome launch(const Recorders& recorders) {
    recorders_set_paused(recorders, 0);
    recorders_set_shutdown(recorders, 0);
    for (int32_t feed = 0; feed < kRecorders; ++feed) {
        if (recorder_launch(recorders, feed) == 0) continue;
        log_error("Capture Feeds: failed to launch capfile[%d]", feed);
        return CaptureOutcome::launch_failed;
    }
    recorders_signal(recorders);
    return CaptureOutcome::started;
}

static void warn_of_straggler(int32_t feed) {
    log_warn("Capture Feeds: capfile[%d] did not exit — terminating (mp4 may miss moov atom)", feed);
}

static CaptureOutcome stop(const Recorders& recorders) {
    log_info("Capture Feeds: stopping (flip capfile_shutdown, wait for exit)");
    recorders_set_shutdown(recorders, 1);
    recorders_signal(recorders);
    recorders_finish(recorders, warn_of_straggler);
    return CaptureOutcome::stopped;
}

static CaptureOutcome start(UiContext* ui) {
    std::string folder;
    const FolderChoice choice =
        pick_folder(ui->window, kCaptureFolderTitle, ui->settings->capfile_output_dir, &folder);
    if (choice == FolderChoice::no_path) log_warn("Capture Feeds: what was chosen has no path");
    // The program may have been asked to end while the picker was open: nothing is begun any more.
    if (choice != FolderChoice::chosen || ui->closing) return CaptureOutcome::cancelled;
    keep_folder(ui, folder);
    return launch(ui_recorders(ui));
}

static void show_outcome(UiContext* ui, CaptureOutcome outcome) {
    capture_feeds_done(&ui->file_capture, outcome);
    show_buttons(ui);
    ui_set_status(ui, capture_feeds_status(outcome));
    ui_rebuild_processes(ui);
}

// What was clicked while the window was silent was meant for the button as it looked then.
static void forget_clicks_on(HWND button) {
    MSG message;
    for (const auto& [first, last] : {std::pair{WM_MOUSEFIRST, WM_MOUSELAST}, std::pair{WM_KEYFIRST, WM_KEYLAST}})
        while (PeekMessageA(&message, button, first, last, PM_REMOVE)) {
            if (message.message != WM_QUIT) continue;
            PostQuitMessage(static_cast<int>(message.wParam));  // comes whatever is asked for
            return;
        }
}

void capture_feeds(UiContext* ui, bool may_ask) {
    const CapturePress press = capture_feeds_press(ui->file_capture, may_ask);
    if (press == CapturePress::nobody_to_ask)
        return log_warn("Capture Feeds: nobody can be asked for a directory now — ignored");
    if (press == CapturePress::ask) return show_outcome(ui, start(ui));
    show_outcome(ui, stop(ui_recorders(ui)));
    forget_clicks_on(GetDlgItem(ui->window, kCmdCaptureFeeds));
}

void pause_recording(UiContext* ui) {
    const PausePress press = pause_recording_press(&ui->file_capture);
    if (press == PausePress::ignored) {
        log_warn(
            "Pause Recording: clicked but capture is not active — ignored (button should be disabled in this state)");
        return;
    }
    const Recorders recorders = ui_recorders(ui);
    recorders_set_paused(recorders, ui->file_capture.paused);
    recorders_signal(recorders);
    show_buttons(ui);
    log_info("Capture Feeds: recording %s", press == PausePress::paused ? "paused" : "resumed");
    ui_set_status(ui, pause_recording_status(press));
}

void recordings_finish(UiContext* ui) {
    capture_panel_close(&ui->capture);
    // Recorders can also run without a recording: those that were started before one that could not be.
    const bool running = recorders_running(ui_recorders(ui)) > 0;
    if (running || ui->file_capture.capturing != 0) show_outcome(ui, stop(ui_recorders(ui)));
}
