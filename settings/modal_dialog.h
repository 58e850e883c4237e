// What the choosers share: a window of an own class that its owner waits for.
//
// It is a plain window rather than a system dialog because its class name is looked for from outside. The wait is a
// message loop of its own: timers, refreshes and everything else of the other windows go on; only the owner's mouse
// and keyboard rest.
//
// A chooser's record derives from ModalDialog, starts as zeros, and its window procedure is answer_modal() over its
// table of messages. The course is modal_create, modal_add_control for each control, modal_show, modal_wait; the
// handlers end the wait with modal_end.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "app/message_table.h"
#include "settings/dialog_result.h"

struct ModalDialog {
    HWND window;  // null before creation and again once the window is gone
    HWND owner;
    HFONT font;           // of every control
    HWND focus;           // the control with the keyboard, kept while another program is in front
    HWND owner_focus;     // what had the keyboard in the owner
    bool owner_disabled;  // by us, so we enable it again
    int32_t default_id;   // the button Enter presses when no other button has the focus
    DialogResult result;  // what modal_wait returns
    bool ended;
};

struct ModalLook {
    const char* class_name;
    const char* title;
    WNDPROC procedure;
    int32_t client_width, client_height;
    int32_t default_id;
};

struct ModalPlace {
    int32_t x, y, width, height;
};

// The part of modal_create that does not depend on the record's type.
HWND modal_create_window(ModalDialog* dialog, void* record, const ModalLook& look, HWND owner);

// Creates the hidden window, centred over `owner` on its monitor. On failure null, with GetLastError telling why;
// nothing is left to release.
template <class Record>
HWND modal_create(Record* record, const ModalLook& look, HWND owner) {
    return modal_create_window(record, record, look, owner);
}

// A child in the dialog's font, visible. Null, logged, when it cannot be created.
HWND modal_add_control(const ModalDialog* dialog, const char* window_class, const char* text, DWORD style,
                       DWORD extended_style, const ModalPlace& place, int32_t id);

// Disables the owner and shows the dialog, the keyboard in `first_focus`.
void modal_show(ModalDialog* dialog, HWND first_focus);

// Serves the thread's messages until modal_end, or until the window or the program goes away, which counts as
// cancelled. Afterwards the window is destroyed and the owner has its keyboard back.
DialogResult modal_wait(ModalDialog* dialog);

// Ends the wait; the controls can still be read until the handler returns.
void modal_end(ModalDialog* dialog, DialogResult result);

// True when `wp`, of a WM_COMMAND, is a button's click or what the keyboard makes of Enter and Esc.
inline bool modal_is_press(WPARAM wp) {
    return HIWORD(wp) == BN_CLICKED;
}

// The messages every dialog answers alike: close box, Enter's button, keyboard kept while away, wheel, its own end.
bool modal_message(ModalDialog* dialog, UINT message, WPARAM wp, LPARAM lp, LRESULT* result);

template <class Record, size_t count>
LRESULT answer_modal(const MessageEntry<Record> (&table)[count], HWND window, UINT message, WPARAM wp, LPARAM lp) {
    auto* record = reinterpret_cast<Record*>(GetWindowLongPtrA(window, 0));
    if (record) {
        // The record's own handler goes first, so that a dialog can do more on closing.
        LRESULT result = 0;
        for (const MessageEntry<Record>& entry : table)
            if (entry.message == message && entry.handle(record, wp, lp, &result)) return result;
        if (modal_message(record, message, wp, lp, &result)) return result;
        if (message == WM_NCDESTROY) SetWindowLongPtrA(window, 0, 0);
        return DefWindowProcA(window, message, wp, lp);
    }
    return answer_message(table, window, message, wp, lp);
}
