// The one context: every panel's state, by value, and the few owners' pointers. It is allocated once by the entry
// routine, lives as long as the program and reaches the window procedure through the window. Only the main window
// and the sequences see it; a panel is handed exactly what it needs.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <cstdint>
#include <string>

#include "app/command_line.h"
#include "app/feed_rates.h"
#include "app/feeds_tab.h"
#include "app/frame_rate_title.h"
#include "app/practice_monitor.h"
#include "app/processes_tab.h"
#include "app/settings_location.h"
#include "app/window_state.h"
#include "autosetup/run_controller.h"
#include "ipc/sync_set.h"
#include "jumpers/jumper_panel.h"
#include "preview/grid_panel.h"
#include "preview/preview_panel.h"
#include "procs/capture_panel.h"
#include "procs/file_capture_step.h"
#include "procs/force_video_step.h"
#include "procs/process_manager.h"
#include "procs/readiness.h"
#include "procs/recorders.h"
#include "settings/settings.h"
#include "settings/settings_tab.h"

enum Tab : int32_t { kTabPreview = 0, kTabProcesses = 1, kTabFeeds = 2, kTabSettings = 3 };

struct CliState {
    uint32_t mode = kModeInteractive;  // RunMode
    int32_t max_movies = 0, max_frames = 0;
    char practice_dir[260] = "";
    uint32_t source = kSourceNone;  // CaptureSource
    int32_t duration = 0;           // seconds
    int32_t pause_before_start = 0;
    PracticeMonitor practice = {};
    int32_t exit_code = 0;
};

struct UiContext {
    // Lent by the entry routine for the whole run.
    HINSTANCE instance = nullptr;
    Settings* settings = nullptr;
    ProcessManager* processes = nullptr;
    char settings_path[kSettingsPathSize] = "";
    char exe_dir[MAX_PATH] = "";  // without a trailing backslash

    HWND window = nullptr;
    HWND tabs = nullptr;
    HWND page = nullptr;  // ground of the tabs' controls
    HWND status = nullptr;
    HACCEL accelerators = nullptr;
    HFONT font = nullptr;
    int32_t current_tab = kTabPreview;
    bool closing = false;
    bool kept_awake = false;
    bool forwarding_wheel = false;

    char window_state_path[kSettingsPathSize + 32] = "";
    WindowState window_state = {};
    std::string title;
    FrameRateMonitor frame_rates = {};
    FeedRates feed_rates = {};

    IpcSyncSet sync = {};
    PreviewPanel preview = {};
    JumperPanel jumpers = {};
    GridPanel grid = {};
    CapturePanel capture = {};
    FeedsTab feeds = {};
    ProcessesTab process_tab = {};
    SettingsTab settings_tab = {};

    ReadinessWait readiness = {};
    ForceVideoWait force_video = {};
    FileCapture file_capture = {};
    bool auto_sync_on_resume = false;
    AutoSetupRun auto_setup = {};

    CliState cli = {};
};

// The control block, or null while there is none.
inline ControlBlock* ui_control_block(UiContext* ui) {
    return preview_control_block(&ui->preview);
}

// What the recorders are steered with, for both ways to record.
inline Recorders ui_recorders(UiContext* ui) {
    return {ui_control_block(ui), &ui->sync, ui->processes, ui->exe_dir};
}

inline void ui_set_status(UiContext* ui, const char* text) {
    SendMessageA(ui->status, SB_SETTEXTA, 0, reinterpret_cast<LPARAM>(text));
}

// Does what the button with this command does.
inline void ui_press(UiContext* ui, int32_t command) {
    SendMessageA(ui->window, WM_COMMAND, static_cast<WPARAM>(command), 0);
}

inline void ui_rebuild_processes(UiContext* ui) {
    processes_tab_rebuild(&ui->process_tab, ui->processes);
}
