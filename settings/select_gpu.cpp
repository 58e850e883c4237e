#include "settings/select_gpu.h"

#include <cstdio>

#include "app/file_exists.h"
#include "app/log.h"
#include "settings/gpu_adapters.h"
#include "settings/modal_dialog.h"

namespace {

constexpr char kInstalledFfmpeg[] = R"(C:\ffmpeg\bin\ffmpeg.exe)";

constexpr int32_t kIdList = 4001;
constexpr int32_t kIdStatus = 4002;
constexpr int32_t kIdRefresh = 4003;

constexpr ModalPlace kListPlace = {14, 14, 492, 160};
constexpr ModalPlace kStatusPlace = {14, 182, 492, 20};
constexpr ModalPlace kRefreshPlace = {14, 212, 90, 28};
constexpr ModalPlace kOkPlace = {308, 212, 94, 28};
constexpr ModalPlace kCancelPlace = {412, 212, 94, 28};

struct GpuDialog : ModalDialog {
    HWND list;
    HWND status;
    HWND ok;
    GpuList gpus;
    const char* wanted_name;
    int32_t wanted_index;
    GpuEntry* chosen;
};

}  // namespace

static void fill(GpuDialog* dialog) {
    SendMessageA(dialog->list, LB_RESETCONTENT, 0, 0);
    const int32_t count = gpu_adapters_enumerate(&dialog->gpus);
    for (int32_t i = 0; i < dialog->gpus.count; ++i) {
        char line[192];
        gpu_line_text(dialog->gpus.entries[i], line, sizeof line);
        SendMessageA(dialog->list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(line));
    }
    const int32_t selected = gpu_preselect(dialog->gpus, dialog->wanted_name, dialog->wanted_index);
    SendMessageA(dialog->list, LB_SETCURSEL, static_cast<WPARAM>(selected), 0);
    char status[96];
    gpu_status_text(count, status, sizeof status);
    SetWindowTextA(dialog->status, status);
    EnableWindow(dialog->ok, count > 0);
}

static void take_choice(GpuDialog* dialog) {
    const LRESULT selected = SendMessageA(dialog->list, LB_GETCURSEL, 0, 0);
    if (selected < 0 || selected >= dialog->gpus.count) return;
    *dialog->chosen = dialog->gpus.entries[selected];
    modal_end(dialog, DialogResult::ok);
}

static bool on_command(GpuDialog* dialog, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    const int32_t id = LOWORD(wp);
    if (id == kIdList && HIWORD(wp) == LBN_DBLCLK)
        take_choice(dialog);
    else if (!modal_is_press(wp))
        return false;
    else if (id == IDOK)
        take_choice(dialog);
    else if (id == IDCANCEL)
        modal_end(dialog, DialogResult::cancelled);
    else if (id == kIdRefresh)
        fill(dialog);
    else
        return false;
    return true;
}

static LRESULT CALLBACK gpu_procedure(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    static constexpr MessageEntry<GpuDialog> kMessages[] = {{WM_COMMAND, on_command}};
    return answer_modal(kMessages, window, message, wp, lp);
}

static void create_controls(GpuDialog* dialog) {
    constexpr DWORD kButton = WS_TABSTOP | BS_PUSHBUTTON;
    dialog->list =
        modal_add_control(dialog, "LISTBOX", "", WS_TABSTOP | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT,
                          WS_EX_CLIENTEDGE, kListPlace, kIdList);
    dialog->status =
        modal_add_control(dialog, "STATIC", "Enumerating GPUs...", SS_LEFT | SS_NOPREFIX, 0, kStatusPlace, kIdStatus);
    modal_add_control(dialog, "BUTTON", "Refresh", kButton, 0, kRefreshPlace, kIdRefresh);
    dialog->ok = modal_add_control(dialog, "BUTTON", "OK", WS_TABSTOP | BS_DEFPUSHBUTTON, 0, kOkPlace, IDOK);
    modal_add_control(dialog, "BUTTON", "Cancel", kButton, 0, kCancelPlace, IDCANCEL);
}

// The adapters tell themselves; ffmpeg is not asked.
DialogResult select_gpu(HWND owner, const char* /*ffmpeg_path*/, const char* current_name, int32_t current_index,
                        GpuEntry* chosen) {
    GpuDialog dialog = {};
    dialog.wanted_name = current_name;
    dialog.wanted_index = current_index;
    dialog.chosen = chosen;
    constexpr ModalLook kLook = {"SkiJumpSelectGPU", "Select NVENC GPU", gpu_procedure, 520, 254, IDOK};
    if (!modal_create(&dialog, kLook, owner)) {
        const DWORD error = GetLastError();
        log_error("select_gpu_dialog: CreateWindow failed: %lu", error);
        return DialogResult::failed;
    }
    create_controls(&dialog);
    modal_show(&dialog, dialog.list);
    fill(&dialog);
    return modal_wait(&dialog);
}

void resolve_ffmpeg(const char* exe_dir, char* path, size_t size) {
    snprintf(path, size, "%s", kInstalledFfmpeg);
    if (file_exists(nullptr, path)) return;
    snprintf(path, size, R"(%s\ffmpeg.exe)", exe_dir);
    if (file_exists(nullptr, path)) return;
    snprintf(path, size, "ffmpeg.exe");
}
