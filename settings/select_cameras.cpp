#include "settings/select_cameras.h"

#include <cstdio>
#include <cstring>

#include "app/log.h"
#include "app/screen_areas.h"
#include "app/window_state.h"
#include "settings/atomic_file.h"
#include "settings/camera_list.h"
#include "settings/camera_probe.h"
#include "settings/modal_dialog.h"

namespace {

constexpr int32_t kClientWidth = 860;
constexpr int32_t kClientHeight = 252;
constexpr int32_t kRowStep = 44;
constexpr int32_t kDropHeight = 300;  // of a list with its lines showing
constexpr int32_t kSwaps[3][2] = {{0, 1}, {0, 2}, {1, 2}};
constexpr UINT_PTR kProbeTimer = 1;
constexpr UINT kProbeStepMs = 20;
constexpr uint32_t kPatienceMs = 10'000;
constexpr size_t kPathSize = MAX_PATH + 32;

struct CameraDialog : ModalDialog {
    const char* exe_dir;
    char (*paths)[kSettingTextSize];  // the caller's
    CameraChoice choice;
    CameraProbe probe;
    HWND list[kSettingsFeeds];
    HWND focus_after_search;
};

}  // namespace

static void position_path(const CameraDialog* dialog, char (&path)[kPathSize]) {
    snprintf(path, sizeof path, R"(%s\select_cameras_window.ini)", dialog->exe_dir);
}

static void restore_position(const CameraDialog* dialog) {
    char path[kPathSize];
    position_path(dialog, path);
    WindowState state;
    RECT place = {};
    if (window_state_load(path, &state) != 0 || !GetWindowRect(dialog->window, &place)) return;
    if (!saved_place_is_reachable(state.x, state.y, place.right - place.left, place.bottom - place.top)) return;
    SetWindowPos(dialog->window, nullptr, state.x, state.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

static void save_position(const CameraDialog* dialog) {
    char path[kPathSize];
    position_path(dialog, path);
    RECT place = {};
    if (IsIconic(dialog->window) || !GetWindowRect(dialog->window, &place)) return;
    char text[kCameraPositionSize];
    camera_position_text(place.left, place.top, text);
    write_text_atomic(path, text, "Select Cameras");
}

static void show_selections(const CameraDialog* dialog) {
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed)
        SendMessageA(dialog->list[feed], CB_SETCURSEL, static_cast<WPARAM>(dialog->choice.shown[feed]), 0);
}

static void fill_lists(CameraDialog* dialog) {
    camera_choice_refill(&dialog->choice, &dialog->probe.reader.list);
    for (HWND list : dialog->list) {
        SendMessageA(list, CB_RESETCONTENT, 0, 0);
        SendMessageA(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>("(unused)"));
        for (int32_t i = 0; i < dialog->choice.list.count; ++i) {
            char text[kCameraItemSize];
            camera_item_text(&dialog->choice.list.device[i], text);
            SendMessageA(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
        }
    }
    show_selections(dialog);
}

// While the cameras are not known, OK would hand out none: only Cancel works then.
static void show_search(const CameraDialog* dialog, CameraSearch search) {
    char text[kCameraMessageSize];
    camera_search_message(search, dialog->choice.list.count, text);
    SetDlgItemTextA(dialog->window, kCameraStatusId, text);
    const BOOL known = search != CameraSearch::running;
    for (HWND list : dialog->list) EnableWindow(list, known);
    for (const int32_t id : {kCameraSwapId, kCameraSwapId + 1, kCameraSwapId + 2, kCameraRefreshId, int32_t{IDOK}})
        EnableWindow(GetDlgItem(dialog->window, id), known);
}

static void finish_search(CameraDialog* dialog, CameraSearch search) {
    fill_lists(dialog);
    show_search(dialog, search);
    if (GetFocus() == GetDlgItem(dialog->window, IDCANCEL)) SetFocus(dialog->focus_after_search);
}

static void start_search(CameraDialog* dialog) {
    if (camera_probe_start(&dialog->probe, dialog->exe_dir, kPatienceMs) != 0) {
        finish_search(dialog, CameraSearch::not_started);
        return;
    }
    show_search(dialog, CameraSearch::running);
    SetTimer(dialog->window, kProbeTimer, kProbeStepMs, nullptr);
}

static bool on_timer(CameraDialog* dialog, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    if (wp != kProbeTimer || !dialog->probe.process) return false;
    const CameraSearch search = camera_probe_step(&dialog->probe);
    if (search == CameraSearch::running) return true;
    KillTimer(dialog->window, kProbeTimer);
    finish_search(dialog, search);
    return true;
}

static void pick(CameraDialog* dialog, int32_t feed) {
    const auto item = static_cast<int32_t>(SendMessageA(dialog->list[feed], CB_GETCURSEL, 0, 0));
    const int32_t other = camera_choice_pick(&dialog->choice, feed, item);
    show_selections(dialog);
    if (other >= 0)
        log_info("Select Cameras: auto-swapped feed %d <-> feed %d (operator picked duplicate device)", feed, other);
}

static void swap(CameraDialog* dialog, int32_t button) {
    const int32_t first = kSwaps[button][0];
    const int32_t second = kSwaps[button][1];
    camera_choice_swap(&dialog->choice, first, second);
    show_selections(dialog);
    log_info("Select Cameras: swapped feed %d <-> feed %d", first, second);
}

static void take_choice(CameraDialog* dialog) {
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed)
        snprintf(dialog->paths[feed], kSettingTextSize, "%s", camera_choice_result(&dialog->choice, feed));
    modal_end(dialog, DialogResult::ok);
}

static bool on_command(CameraDialog* dialog, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    const int32_t id = LOWORD(wp);
    if (id >= kCameraListId && id < kCameraListId + kSettingsFeeds) {
        if (HIWORD(wp) == CBN_SELCHANGE) pick(dialog, id - kCameraListId);
        return true;
    }
    if (!modal_is_press(wp)) return false;
    // Enter presses OK without asking whether it is enabled.
    const bool enabled = !dialog->probe.process;
    if (id == IDCANCEL) {
        modal_end(dialog, DialogResult::cancelled);
    } else if (id == IDOK && enabled) {
        take_choice(dialog);
    } else if (id == kCameraRefreshId && enabled) {
        dialog->focus_after_search = GetDlgItem(dialog->window, kCameraRefreshId);
        SetFocus(GetDlgItem(dialog->window, IDCANCEL));  // a disabled control would keep the keyboard to itself
        start_search(dialog);
    } else if (id >= kCameraSwapId && id < kCameraSwapId + 3 && enabled) {
        swap(dialog, id - kCameraSwapId);
    }
    return true;
}

static bool on_destroy(CameraDialog* dialog, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    KillTimer(dialog->window, kProbeTimer);
    camera_probe_close(&dialog->probe);
    save_position(dialog);
    return false;
}

static LRESULT CALLBACK camera_procedure(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    static constexpr MessageEntry<CameraDialog> kMessages[] = {
        {WM_COMMAND, on_command}, {WM_TIMER, on_timer}, {WM_DESTROY, on_destroy}};
    return answer_modal(kMessages, window, message, wp, lp);
}

static void create_feed_row(CameraDialog* dialog, int32_t feed) {
    constexpr const char* kPlaces[kSettingsFeeds] = {"TOP", "MIDDLE", "BOTTOM"};
    char caption[32];
    snprintf(caption, sizeof caption, "Feed %d  (%s):", feed, kPlaces[feed]);
    modal_add_control(dialog, "STATIC", caption, SS_LEFT, 0, {14, 18 + kRowStep * feed, 120, 24}, -1);
    dialog->list[feed] = modal_add_control(dialog, "COMBOBOX", "", WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST, 0,
                                           {140, 14 + kRowStep * feed, 620, kDropHeight}, kCameraListId + feed);
}

static void create_controls(CameraDialog* dialog) {
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) create_feed_row(dialog, feed);
    constexpr DWORD kButton = WS_TABSTOP | BS_PUSHBUTTON;
    for (int32_t i = 0; i < 3; ++i) {
        char text[16];
        snprintf(text, sizeof text, "Swap %d\u2194%d", kSwaps[i][0], kSwaps[i][1]);
        modal_add_control(dialog, "BUTTON", text, kButton, 0, {14 + 98 * i, 176, 90, 26}, kCameraSwapId + i);
    }
    modal_add_control(dialog, "BUTTON", "Refresh List", kButton, 0, {14, 212, 120, 26}, kCameraRefreshId);
    modal_add_control(dialog, "STATIC", "", SS_LEFT | SS_NOPREFIX, 0, {144, 217, 504, 20}, kCameraStatusId);
    modal_add_control(dialog, "BUTTON", "OK", WS_TABSTOP | BS_DEFPUSHBUTTON, 0, {658, 212, 90, 26}, IDOK);
    modal_add_control(dialog, "BUTTON", "Cancel", kButton, 0, {756, 212, 90, 26}, IDCANCEL);
}

DialogResult select_cameras(HWND owner, const char* exe_dir, char paths[kSettingsFeeds][kSettingTextSize]) {
    CameraDialog dialog = {};
    dialog.exe_dir = exe_dir;
    dialog.paths = paths;
    memcpy(dialog.choice.path, paths, sizeof dialog.choice.path);
    constexpr ModalLook kLook = {"SkiJumpSelectCameras", "Select USB Cameras for Live Capture",
                                 camera_procedure,       kClientWidth,
                                 kClientHeight,          IDOK};
    if (!modal_create(&dialog, kLook, owner)) {
        const DWORD error = GetLastError();
        log_error("Select Cameras: CreateWindowEx failed (%lu)", error);
        return DialogResult::failed;
    }
    create_controls(&dialog);
    restore_position(&dialog);
    fill_lists(&dialog);
    dialog.focus_after_search = dialog.list[0];
    show_search(&dialog, CameraSearch::running);
    modal_show(&dialog, GetDlgItem(dialog.window, IDCANCEL));
    start_search(&dialog);
    return modal_wait(&dialog);
}
