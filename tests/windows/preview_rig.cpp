#include "tests/windows/preview_rig.h"

#include <gtest/gtest.h>

#include <cstring>

#include "app/commands.h"
#include "app/timers.h"
#include "ipc/frame_ring.h"
#include "tests/support/process_resources.h"

namespace {

constexpr char kRigClass[] = "PreviewTestMain";

}  // namespace

WorkerRegion::WorkerRegion(const char* name, uint64_t size)
    : mapping_(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, static_cast<DWORD>(size >> 32),
                                  static_cast<DWORD>(size), name)),
      view_(static_cast<uint8_t*>(MapViewOfFile(mapping_, FILE_MAP_ALL_ACCESS, 0, 0, 0))) {
    EXPECT_NE(view_, nullptr) << name;
}

WorkerRegion::~WorkerRegion() {
    UnmapViewOfFile(view_);
    CloseHandle(mapping_);
}

std::unique_ptr<WorkerRegion> make_feed(int32_t feed, int32_t channel, uint32_t slots) {
    char name[32];
    feed_region_name(name, feed, channel);
    return std::make_unique<WorkerRegion>(name, uint64_t{slots} * kFeedSlotStride);
}

std::unique_ptr<WorkerRegion> make_output(int32_t output, uint32_t slots) {
    char name[32];
    output_region_name(name, output);
    return std::make_unique<WorkerRegion>(name, kOutputHeaderSize + uint64_t{slots} * kOutputSlotStride);
}

static void paint_slot(uint8_t* slot, int32_t height, uint8_t y, uint8_t u, uint8_t v) {
    std::memset(slot + y_plane_offset(), y, u_plane_offset(height) - y_plane_offset());
    std::memset(slot + u_plane_offset(height), u, v_plane_offset(height) - u_plane_offset(height));
    std::memset(slot + v_plane_offset(height), v, v_plane_offset(height) - u_plane_offset(height));
}

void paint_feed_slot(const WorkerRegion& feed, uint32_t slot, uint8_t y, uint8_t u, uint8_t v) {
    paint_slot(feed.bytes() + feed_slot_offset(slot), kFeedHeight, y, u, v);
}

void paint_output_slot(const WorkerRegion& output, uint32_t slot, uint8_t y, uint8_t u, uint8_t v) {
    paint_slot(output.bytes() + output_slot_offset(slot), kOutputHeight, y, u, v);
}

static LRESULT CALLBACK rig_proc(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    auto* rig = reinterpret_cast<PreviewRig*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (rig && message == kMsgPreviewRefresh) {
        ++rig->refreshes;
        if (rig->answer) preview_refresh(rig->panel.get());
        return 0;
    }
    if (rig && message == WM_TIMER && wp == kTimerPreview) {
        ++rig->ticks;
        if (rig->answer) preview_reconnect(rig->panel.get());
        return 0;
    }
    if (rig && message == WM_COMMAND && preview_command(rig->panel.get(), LOWORD(wp))) return 0;
    return DefWindowProcA(window, message, wp, lp);
}

PreviewRig::PreviewRig() : settings(std::make_unique<Settings>()), panel(std::make_unique<PreviewPanel>()) {
    WNDCLASSA description = {};
    description.lpfnWndProc = rig_proc;
    description.hInstance = GetModuleHandleA(nullptr);
    description.lpszClassName = kRigClass;
    RegisterClassA(&description);
    window = CreateWindowExA(0, kRigClass, "preview test", WS_OVERLAPPED | WS_CLIPCHILDREN, 0, 0, 1600, 900, nullptr,
                             nullptr, description.hInstance, nullptr);
    EXPECT_NE(window, nullptr);
    SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    EXPECT_EQ(ipc_init(&sync), 0);
    ipc_reset_all_events(&sync);
}

PreviewRig::~PreviewRig() {
    preview_destroy(panel.get());
    ipc_close(&sync);
    DestroyWindow(window);
    UnregisterClassA(kRigClass, GetModuleHandleA(nullptr));
}

void PreviewRig::create() {
    EXPECT_EQ(preview_create(panel.get(), window, GetModuleHandleA(nullptr), &sync, settings.get(), "settings.txt"),
              0);
    preview_layout(panel.get(), {0, 30, 1590, 840});
}

void PreviewRig::show() {
    ShowWindow(window, SW_SHOWNA);
    pump(50);
}

void PreviewRig::pump(DWORD ms) {
    const DWORD start = GetTickCount();
    for (DWORD passed = 0; passed < ms; passed = GetTickCount() - start) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, ms - passed, QS_ALLINPUT);
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
    }
}

const char* PreviewRig::button_text(int32_t id) {
    GetWindowTextA(button(id), text_, sizeof text_);
    return text_;
}

COLORREF PreviewRig::painted(int32_t x, int32_t y) const {
    return GetPixel(panel->back_dc, x, y);
}

static BOOL CALLBACK count_window(HWND, LPARAM counter) {
    ++*reinterpret_cast<uint32_t*>(counter);
    return TRUE;
}

Holdings count_holdings() {
    HANDLE self = GetCurrentProcess();
    Holdings holdings = {count_gdi_objects(self), GetGuiResources(self, GR_USEROBJECTS), count_handles(self)};
    if (holdings.windows == 0) {
        EnumThreadWindows(GetCurrentThreadId(), count_window, reinterpret_cast<LPARAM>(&holdings.windows));
    }
    return holdings;
}
