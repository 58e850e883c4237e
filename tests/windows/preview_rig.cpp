#include "tests/windows/preview_rig.h"

#include <gtest/gtest.h>
#include <winternl.h>

#include <cstring>
#include <vector>

#include "app/commands.h"
#include "app/timers.h"
#include "ipc/frame_ring.h"

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

static void* system_function(const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("ntdll.dll"), name));
}

// The public counters are stubs on some systems; the tables behind them are not.
static uint32_t count_gdi_objects() {
    const uint32_t counted = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
    if (counted != 0) return counted;
    struct GdiEntry {
        uint64_t object;
        uint32_t owner;
        uint16_t unique;
        uint8_t type;
        uint8_t flags;
        uint64_t user;
    };
    constexpr size_t kTableAt = 0xF8;  // of the environment block, in a 64-bit process
    using Query = LONG(WINAPI*)(HANDLE, int, void*, ULONG, ULONG*);
    const auto query = reinterpret_cast<Query>(system_function("NtQueryInformationProcess"));
    PROCESS_BASIC_INFORMATION basic = {};
    if (query(GetCurrentProcess(), 0, &basic, sizeof basic, nullptr) != 0) return 0;
    const GdiEntry* table = nullptr;
    std::memcpy(&table, reinterpret_cast<const uint8_t*>(basic.PebBaseAddress) + kTableAt, sizeof table);
    if (!table) return 0;
    uint32_t used = 0;
    for (size_t i = 0; i < 0x10000; ++i) used += table[i].type != 0 ? 1 : 0;
    return used;
}

static uint32_t count_handles() {
    DWORD counted = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &counted) && counted != 0) return counted;
    struct HandleEntry {
        void* object;
        uint64_t pid;
        uint64_t handle;
        uint32_t access;
        uint16_t unused, type;
        uint32_t attributes, reserved;
    };
    constexpr int kExtendedHandles = 64;
    using Query = LONG(WINAPI*)(int, void*, ULONG, ULONG*);
    const auto query = reinterpret_cast<Query>(system_function("NtQuerySystemInformation"));
    std::vector<uint8_t> bytes(size_t{8} << 20);
    ULONG length = 0;
    if (query(kExtendedHandles, bytes.data(), static_cast<ULONG>(bytes.size()), &length) != 0) return 0;
    uint64_t total = 0;
    std::memcpy(&total, bytes.data(), sizeof total);
    uint32_t ours = 0;
    for (uint64_t i = 0; i < total; ++i) {
        HandleEntry entry;
        std::memcpy(&entry, bytes.data() + 16 + i * sizeof entry, sizeof entry);
        ours += entry.pid == GetCurrentProcessId() ? 1 : 0;
    }
    return ours;
}

static BOOL CALLBACK count_window(HWND, LPARAM counter) {
    ++*reinterpret_cast<uint32_t*>(counter);
    return TRUE;
}

Holdings count_holdings() {
    Holdings holdings = {count_gdi_objects(), GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS), count_handles()};
    if (holdings.windows == 0) {
        EnumThreadWindows(GetCurrentThreadId(), count_window, reinterpret_cast<LPARAM>(&holdings.windows));
    }
    return holdings;
}
