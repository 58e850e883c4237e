// How our windows answer messages: a table of handlers, and one function that finds the record a window belongs to
// and the handler that wants the message. The record's address is handed over at creation and kept in the window's
// extra bytes, so the class needs cbWndExtra = sizeof(void*), CreateWindowEx the record as its last argument.
#pragma once

#include <windows.h>

#include <cstddef>

template <class Record>
struct MessageEntry {
    UINT message;
    bool (*handle)(Record*, WPARAM, LPARAM, LRESULT* result);  // false: default processing
};

// The body of a window procedure. Sets record->window as soon as the window exists, so that messages sent while it is
// being created find it.
template <class Record, size_t count>
LRESULT answer_message(const MessageEntry<Record> (&table)[count], HWND window, UINT message, WPARAM wp, LPARAM lp) {
    if (message == WM_NCCREATE) {
        auto* created = static_cast<Record*>(reinterpret_cast<CREATESTRUCTA*>(lp)->lpCreateParams);
        SetWindowLongPtrA(window, 0, reinterpret_cast<LONG_PTR>(created));
        created->window = window;
    }
    auto* record = reinterpret_cast<Record*>(GetWindowLongPtrA(window, 0));
    LRESULT result = 0;
    for (const MessageEntry<Record>& entry : table)
        if (record && entry.message == message && entry.handle(record, wp, lp, &result)) return result;
    if (message == WM_NCDESTROY) SetWindowLongPtrA(window, 0, 0);
    return DefWindowProcA(window, message, wp, lp);
}
