#include "settings/select_practice_files.h"

#include <cderr.h>
#include <commdlg.h>

#include <cstdio>
#include <cstring>

#include "app/log.h"
#include "settings/modal_dialog.h"
#include "settings/text_pieces.h"

namespace {

constexpr int32_t kClientWidth = 992;
constexpr int32_t kClientHeight = 218;
constexpr int32_t kFirstRow = 14;
constexpr int32_t kRowStep = 40;
constexpr size_t kBoxTextSize = 1024;  // 255 UTF-16 units in UTF-8, terminated

struct PracticeDialog : ModalDialog {
    char (*paths)[kSettingTextSize];  // the caller's
    HWND box[kSettingsFeeds];
};

}  // namespace

// A path as long as a setting can hold.
static void read_box(HWND box, char (&path)[kSettingTextSize]) {
    char text[kBoxTextSize] = "";
    GetWindowTextA(box, text, sizeof text);
    text[text_cut(text, kSettingTextSize - 1)] = '\0';
    memcpy(path, text, sizeof path);
}

static bool ask_for_video(const PracticeDialog* dialog, int32_t feed, char (&path)[kSettingTextSize]) {
    char title[48];
    snprintf(title, sizeof title, "Select Feed %d practice video", feed);
    OPENFILENAMEA question = {};
    question.lStructSize = sizeof question;
    question.hwndOwner = dialog->window;
    question.lpstrTitle = title;
    question.lpstrFilter = "MPEG-4 video\0*.mp4\0All files\0*.*\0";
    question.lpstrFile = path;
    question.nMaxFile = sizeof path;
    // The children's relative paths count on the current directory.
    question.Flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    if (GetOpenFileNameA(&question)) return true;
    if (CommDlgExtendedError() != FNERR_INVALIDFILENAME) return false;
    path[0] = '\0';  // what the box holds is no file name and would keep the question from being asked
    return GetOpenFileNameA(&question) != FALSE;
}

static void browse(PracticeDialog* dialog, int32_t feed) {
    char path[kSettingTextSize];
    read_box(dialog->box[feed], path);
    const bool chosen = ask_for_video(dialog, feed, path);
    // The program may have closed while the question stood.
    if (dialog->window && chosen) {
        SetWindowTextA(dialog->box[feed], path);
    } else if (CommDlgExtendedError() == FNERR_BUFFERTOOSMALL) {
        log_warn("select_practice_files: the chosen path is too long (max %d characters)", kSettingTextSize - 1);
    }
}

static void take_choice(PracticeDialog* dialog) {
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) {
        char path[kSettingTextSize];
        read_box(dialog->box[feed], path);
        memcpy(dialog->paths[feed], path, sizeof path);
    }
    modal_end(dialog, DialogResult::ok);
}

// The feed of a row's control; -1 for other controls.
static int32_t feed_of(int32_t id, int32_t first_id) {
    return id >= first_id && id < first_id + kSettingsFeeds ? id - first_id : -1;
}

static bool on_command(PracticeDialog* dialog, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    if (!modal_is_press(wp)) return false;
    const int32_t id = LOWORD(wp);
    if (id == kPracticeOkId) {
        take_choice(dialog);
    } else if (id == kPracticeCancelId || id == IDCANCEL) {  // the latter is what Esc sends
        modal_end(dialog, DialogResult::cancelled);
    } else if (feed_of(id, kPracticeBrowseId) >= 0) {
        browse(dialog, feed_of(id, kPracticeBrowseId));
    } else if (feed_of(id, kPracticeClearId) >= 0) {
        SetWindowTextA(dialog->box[feed_of(id, kPracticeClearId)], "");
    } else {
        return false;
    }
    return true;
}

static LRESULT CALLBACK practice_procedure(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    static constexpr MessageEntry<PracticeDialog> kMessages[] = {{WM_COMMAND, on_command}};
    return answer_modal(kMessages, window, message, wp, lp);
}

static void create_feed_row(PracticeDialog* dialog, int32_t feed) {
    constexpr DWORD kButton = WS_TABSTOP | BS_PUSHBUTTON;
    const int32_t y = kFirstRow + kRowStep * feed;
    char caption[32];
    snprintf(caption, sizeof caption, "Feed %d video:", feed);
    modal_add_control(dialog, "STATIC", caption, SS_LEFT, 0, {14, y + 4, 100, 24}, -1);
    HWND box = modal_add_control(dialog, "EDIT", dialog->paths[feed], WS_TABSTOP | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE,
                                 {114, y, 720, 26}, kPracticePathId + feed);
    SendMessageA(box, EM_SETLIMITTEXT, kSettingTextSize - 1, 0);
    dialog->box[feed] = box;
    modal_add_control(dialog, "BUTTON", "Browse...", kButton, 0, {840, y, 72, 24}, kPracticeBrowseId + feed);
    modal_add_control(dialog, "BUTTON", "Clear", kButton, 0, {916, y, 50, 24}, kPracticeClearId + feed);
}

DialogResult select_practice_files(HWND owner, char paths[kSettingsFeeds][kSettingTextSize]) {
    PracticeDialog dialog = {};
    dialog.paths = paths;
    constexpr ModalLook kLook = {"SkiJumpSelectPracticeFiles",
                                 "Select Practice Video Files",
                                 practice_procedure,
                                 kClientWidth,
                                 kClientHeight,
                                 kPracticeOkId};
    if (!modal_create(&dialog, kLook, owner)) {
        const DWORD error = GetLastError();
        log_error("select_practice_files: CreateWindow failed: %lu", error);
        return DialogResult::failed;
    }
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) create_feed_row(&dialog, feed);
    modal_add_control(&dialog, "BUTTON", "OK", WS_TABSTOP | BS_DEFPUSHBUTTON, 0, {768, 176, 100, 28}, kPracticeOkId);
    modal_add_control(&dialog, "BUTTON", "Cancel", WS_TABSTOP | BS_PUSHBUTTON, 0, {878, 176, 100, 28},
                      kPracticeCancelId);
    modal_show(&dialog, dialog.box[0]);
    return modal_wait(&dialog);
}
