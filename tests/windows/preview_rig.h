// What the preview's tests stand on: a main window that forwards as the real one does, regions as workers make them,
// and counters of what the process holds.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>

#include "ipc/control_block.h"
#include "ipc/sync_set.h"
#include "preview/preview_panel.h"
#include "settings/settings.h"

// A named region of a worker's, of any size, filled by hand; gone with its holder.
class WorkerRegion {
public:
    WorkerRegion(const char* name, uint64_t size);
    ~WorkerRegion();
    WorkerRegion(const WorkerRegion&) = delete;
    WorkerRegion& operator=(const WorkerRegion&) = delete;

    uint8_t* bytes() const {
        return view_;
    }

private:
    HANDLE mapping_;
    uint8_t* view_;
};

// Feed and output regions of `slots` slots only; tests keep the counters within them.
std::unique_ptr<WorkerRegion> make_feed(int32_t feed, int32_t channel, uint32_t slots = 4);
std::unique_ptr<WorkerRegion> make_output(int32_t output, uint32_t slots = 2);

// Fills one slot's picture with one colour.
void paint_feed_slot(const WorkerRegion& feed, uint32_t slot, uint8_t y, uint8_t u = 128, uint8_t v = 128);
void paint_output_slot(const WorkerRegion& output, uint32_t slot, uint8_t y, uint8_t u = 128, uint8_t v = 128);

// The preview in a main window of its own, 1600 x 900, shown only on request. The window counts the refresh messages
// and timer ticks it gets, and answers them only while `answer` is set.
class PreviewRig {
public:
    PreviewRig();
    ~PreviewRig();
    PreviewRig(const PreviewRig&) = delete;
    PreviewRig& operator=(const PreviewRig&) = delete;

    void create();        // preview_create and preview_layout
    void show();          // the main window, so that the preview paints
    void pump(DWORD ms);  // messages for so long
    ControlBlock* control() {
        return preview_control_block(panel.get());
    }
    HWND button(int32_t id) const {
        return GetDlgItem(window, id);
    }
    const char* button_text(int32_t id);
    COLORREF painted(int32_t x, int32_t y) const;  // from the picture area's own off-screen picture

    HWND window = nullptr;
    IpcSyncSet sync = {};
    std::unique_ptr<Settings> settings;
    std::unique_ptr<PreviewPanel> panel;
    int32_t refreshes = 0;
    int32_t ticks = 0;
    bool answer = true;

private:
    char text_[64] = "";
};

struct Holdings {
    uint32_t gdi_objects, windows, handles;
};
Holdings count_holdings();
