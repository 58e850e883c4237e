// What only Windows can show: a whole refresh, the sync objects, the way from an event to a posted message, and the
// start of Orvek.exe, each beside the bare system calls that the work cannot do without.
//
// windows_bench.exe RESULT.json [beginning of a work's name]
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "app/commands.h"
#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/sync_set.h"
#include "preview/frame_convert.h"
#include "preview/preview_panel.h"
#include "settings/settings.h"

namespace {

constexpr int32_t kRepetitions = 9;

struct Row {
    std::string name;
    double ns;
};

// Two ways to do one work. Each function does it `times` times and returns the nanoseconds of one.
struct Work {
    const char* name;
    const char* yardstick;
    int32_t times;
    double (*ours)(int32_t times);
    double (*theirs)(int32_t times);
};

}  // namespace

static double now_ns() {
    static const double ns_per_tick = [] {
        LARGE_INTEGER frequency;
        QueryPerformanceFrequency(&frequency);
        return 1e9 / static_cast<double>(frequency.QuadPart);
    }();
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    return static_cast<double>(counter.QuadPart) * ns_per_tick;
}

[[noreturn]] static void die(const char* what) {
    fprintf(stderr, "windows_bench: %s: error %lu\n", what, GetLastError());
    ExitProcess(1);
}

template <class Function>
static double time_each(int32_t times, Function function) {
    const double start = now_ns();
    for (int32_t i = 0; i < times; ++i) function();
    return (now_ns() - start) / times;
}

// ---------------------------------------------------------------------------------------------------- the sync set

static IpcSyncSet* sync_set() {
    static IpcSyncSet set;
    static const bool made = ipc_init(&set) == 0;
    if (!made) die("ipc_init");
    return &set;
}

static void bare_lock_pair(HANDLE mutex) {
    WaitForSingleObject(mutex, kLockTimeoutMs);
    ReleaseMutex(mutex);
}

static double lock_pair_ours(int32_t times) {
    IpcSyncSet* set = sync_set();
    return time_each(times, [set] {
        ipc_lock(set, kMutexOutput);
        ipc_unlock(set, kMutexOutput);
    });
}

static double lock_pair_bare(int32_t times) {
    const HANDLE mutex = sync_set()->mutex[kMutexOutput];
    return time_each(times, [mutex] { bare_lock_pair(mutex); });
}

static double sync_init_close_ours(int32_t times) {
    return time_each(times, [] {
        IpcSyncSet set;
        if (ipc_init(&set) != 0) die("ipc_init");
        ipc_close(&set);
    });
}

// Their names are written beforehand; the objects exist already, as for ours.
static double sync_init_close_bare(int32_t times) {
    sync_set();
    static char mutex_name[kSyncObjectCount][64], event_name[kSyncObjectCount][64];
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        snprintf(mutex_name[i], sizeof mutex_name[i], "%s%d", kMutexNamePrefix, i);
        snprintf(event_name[i], sizeof event_name[i], "%s%d", kEventNamePrefix, i);
    }
    return time_each(times, [] {
        HANDLE handle[2 * kSyncObjectCount];
        for (int32_t i = 0; i < kSyncObjectCount; ++i) {
            handle[2 * i] = CreateMutexA(nullptr, FALSE, mutex_name[i]);
            handle[2 * i + 1] = CreateEventA(nullptr, event_is_manual_reset(i), FALSE, event_name[i]);
        }
        for (HANDLE one : handle) CloseHandle(one);
    });
}

// ------------------------------------------------------------------------------------------------------ the preview

namespace {

constexpr uint32_t kSlots = 24;  // 230 MB of frames: no cache holds them

struct Region {
    HANDLE mapping;
    uint8_t* view;
};

// The preview in a hidden window, so that a refresh does everything but paint, with three feeds and both outputs.
struct Stage {
    HWND window;
    Region feed[3];
    Region output[2];
    std::unique_ptr<Settings> settings = std::make_unique<Settings>();
    std::unique_ptr<PreviewPanel> panel = std::make_unique<PreviewPanel>();
};

}  // namespace

static HWND create_window() {
    WNDCLASSA description = {};
    description.lpfnWndProc = DefWindowProcA;
    description.hInstance = GetModuleHandleA(nullptr);
    description.lpszClassName = "OrvekBench";
    RegisterClassA(&description);
    HWND window = CreateWindowExA(0, "OrvekBench", "", WS_OVERLAPPED | WS_CLIPCHILDREN, 0, 0, 1600, 900, nullptr,
                                  nullptr, description.hInstance, nullptr);
    if (!window) die("CreateWindow");
    return window;
}

static Region create_region(const char* name, uint64_t first_slot, uint64_t stride) {
    const uint64_t size = first_slot + kSlots * stride;
    Region region = {};
    region.mapping = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, static_cast<DWORD>(size >> 32),
                                        static_cast<DWORD>(size), name);
    region.view = static_cast<uint8_t*>(MapViewOfFile(region.mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    if (!region.view) die(name);
    for (uint32_t slot = 0; slot < kSlots; ++slot) {
        uint8_t* start = region.view + first_slot + slot * stride;
        memset(start, static_cast<int>(40 + 7 * slot), stride);
        memset(start, 0, kSlotHeaderSize);
        reinterpret_cast<FrameSlotHeader*>(start)->seq = slot;
    }
    return region;
}

static Stage* stage() {
    static Stage* const made = [] {
        auto* s = new Stage();
        char name[32];
        for (int32_t i = 0; i < 3; ++i) {
            feed_region_name(name, i, 0);
            s->feed[i] = create_region(name, 0, kFeedSlotStride);
        }
        for (int32_t i = 0; i < 2; ++i) {
            output_region_name(name, i);
            s->output[i] = create_region(name, kOutputHeaderSize, kOutputSlotStride);
        }
        s->window = create_window();
        PreviewPanel* panel = s->panel.get();
        preview_create(panel, s->window, GetModuleHandleA(nullptr), sync_set(), s->settings.get(), "settings.txt");
        ControlBlock* control = preview_control_block(panel);
        if (!control || !panel->outputs_mapped) die("no control block or no outputs");
        for (auto& feed : control->feed) feed[0].nw = 2;
        preview_layout(panel, {0, 0, 1590, 860});
        preview_set_active(panel, true);
        return s;
    }();
    return made;
}

static double refresh_ours(int32_t times) {
    PreviewPanel* panel = stage()->panel.get();
    ControlBlock* control = preview_control_block(panel);
    static uint32_t frame = 0;
    return time_each(times, [panel, control] {
        frame = (frame + 1) % kSlots;
        for (auto& feed : control->feed) feed[0].nw = frame + 2;
        control->output_frame_idx = static_cast<int32_t>(frame);
        preview_refresh(panel);
    });
}

// The least that shows the same: four conversions of the same sizes, nine lock pairs.
static double refresh_bare(int32_t times) {
    static const auto pixels = std::make_unique<uint8_t[]>(size_t{kPaneCount} * kPaneMaxBytes);
    const Stage* s = stage();
    static uint32_t frame = 0;
    return time_each(times, [s] {
        constexpr int32_t kMutexes[] = {kMutexChannel, kMutexNw,     kMutexNw + 1, kMutexNw + 2,     kMutexOutput,
                                        kMutexOutput,  kMutexOutput, kMutexOutput, kMutexOutputFrame};
        frame = (frame + 1) % kSlots;
        for (const int32_t mutex : kMutexes) bare_lock_pair(sync_set()->mutex[mutex]);
        for (int32_t pane = 0; pane < kPaneCount; ++pane) {
            const BITMAPINFOHEADER& header = s->panel->pane[pane].header;
            const PaneBitmap bitmap = {static_cast<int32_t>(header.biWidth), static_cast<int32_t>(header.biHeight),
                                       pixels.get() + ptrdiff_t{pane} * kPaneMaxBytes};
            convert_slot(pane == kCombinedPane ? output_slot_picture(s->output[1].view, frame)
                                               : feed_slot_picture(s->feed[pane].view, frame),
                         bitmap);
        }
    });
}

// ---------------------------------------------------------------------------------------------- event to the message

// From the signal to the message in the window's queue. The waiter sleeps 16 ms after every frame: it is let sleep.
template <class Signal, class Done>
static double time_messages(int32_t times, Signal signal, Done done) {
    constexpr DWORD kRestMs = 25;
    double sum = 0;
    for (int32_t i = 0; i < times; ++i) {
        Sleep(kRestMs);
        const double start = now_ns();
        signal();
        MSG message;
        while (GetMessageA(&message, nullptr, kMsgPreviewRefresh, kMsgPreviewRefresh) > 0) {
            if (message.message == kMsgPreviewRefresh) break;
        }
        sum += now_ns() - start;
        done();
    }
    return sum / times;
}

static double message_ours(int32_t times) {
    static PreviewThread thread;
    IpcSyncSet* set = sync_set();
    ipc_reset_event(set, kEventNewOutput);
    if (preview_thread_start(&thread, create_window(), set) != 0) die("preview_thread_start");
    thread.active.store(true);
    const double ns = time_messages(
        times, [set] { ipc_signal(set, kEventNewOutput); }, [] { thread.posted.store(false); });
    const HWND window = thread.window;
    preview_thread_stop(&thread);
    DestroyWindow(window);
    return ns;
}

namespace {

struct BareWaiter {
    HANDLE event;
    HWND window;
    bool stop;  // looked at after the event only
};

}  // namespace

static DWORD WINAPI wait_and_post(void* parameter) {
    const auto* waiter = static_cast<BareWaiter*>(parameter);
    while (WaitForSingleObject(waiter->event, INFINITE) == WAIT_OBJECT_0 && !waiter->stop)
        PostMessageA(waiter->window, kMsgPreviewRefresh, 0, 0);
    return 0;
}

static double message_bare(int32_t times) {
    BareWaiter waiter = {CreateEventA(nullptr, FALSE, FALSE, nullptr), create_window(), false};
    const HANDLE thread = CreateThread(nullptr, 0, wait_and_post, &waiter, 0, nullptr);
    const double ns = time_messages(
        times, [&waiter] { SetEvent(waiter.event); }, [] {});
    waiter.stop = true;
    SetEvent(waiter.event);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    CloseHandle(waiter.event);
    DestroyWindow(waiter.window);
    return ns;
}

// ------------------------------------------------------------------------------------------------ start to first
// paint

static std::string own_folder() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    if (char* cut = strrchr(path, '\\')) *cut = '\0';
    return path;
}

// Where the operator looks: has the pixel at client (x, y) of the window, or of its child `id`, the colour of an
// empty pane?
static bool shows_grey(const char* window_class, int32_t child, POINT at) {
    HWND window = FindWindowA(window_class, nullptr);
    if (window && child != 0) window = GetDlgItem(window, child);
    if (!window || !IsWindowVisible(window) || !ClientToScreen(window, &at)) return false;
    HDC screen = GetDC(nullptr);
    const COLORREF pixel = GetPixel(screen, at.x, at.y);
    ReleaseDC(nullptr, screen);
    return pixel == RGB(32, 32, 32);
}

static double time_start(const std::string& command, const char* window_class, int32_t child, POINT at) {
    std::string line = command;  // CreateProcess may write into it
    STARTUPINFOA start_info = {};
    start_info.cb = sizeof start_info;
    PROCESS_INFORMATION process = {};
    const double start = now_ns();
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start_info, &process))
        die(line.c_str());
    while (!shows_grey(window_class, child, at)) {
        if (now_ns() - start > 60e9) die("no picture after a minute");
        Sleep(1);
    }
    const double ns = now_ns() - start;
    PostMessageA(FindWindowA(window_class, nullptr), WM_CLOSE, 0, 0);
    WaitForSingleObject(process.hProcess, 30'000);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return ns;
}

static double first_paint_ours(int32_t /*times*/) {
    static const std::string folder = [] {
        char temp[MAX_PATH] = "";
        GetTempPathA(sizeof temp, temp);
        const std::string made = std::string(temp) + "orvek_bench";
        CreateDirectoryA(made.c_str(), nullptr);
        return made;
    }();
    const std::string command = "\"" + own_folder() + "\\Orvek.exe\" " + folder + "\\settings.txt";
    return time_start(command, "SkiJumpController", kIdPreviewPicture, {300, 100});
}

static double first_paint_empty(int32_t /*times*/) {
    return time_start("\"" + own_folder() + "\\windows_bench_empty.exe\"", "OrvekEmptyWindow", 0, {300, 300});
}

// ---------------------------------------------------------------------------------------------------------------
// main

// Before the sync set is made: Orvek.exe would find the objects, and a second console's share of them.
static constexpr Work kWorks[] = {
    {"first_paint", "empty", 1, first_paint_ours, first_paint_empty},
    {"lock_pair", "bare", 4000, lock_pair_ours, lock_pair_bare},
    {"sync_init_close", "bare", 40, sync_init_close_ours, sync_init_close_bare},
    {"event_to_message", "bare", 30, message_ours, message_bare},
    {"wine_refresh", "bare", 300, refresh_ours, refresh_bare},
};

static void run(const Work& work, std::vector<Row>* rows) {
    const std::string ours = std::string(work.name) + "/ours", theirs = std::string(work.name) + "/" + work.yardstick;
    const int32_t warm_up = work.times > 10 ? work.times / 10 : 1;
    work.ours(warm_up);
    work.theirs(warm_up);
    for (int32_t i = 0; i < kRepetitions; ++i) {
        if (i % 2 == 0) rows->push_back({ours, work.ours(work.times)});
        rows->push_back({theirs, work.theirs(work.times)});
        if (i % 2 != 0) rows->push_back({ours, work.ours(work.times)});
    }
}

int main(int argc, char** argv) {
    if (argc < 2) die("no file to write");
    std::vector<Row> rows;
    for (const Work& work : kWorks) {
        if (argc < 3 || strncmp(work.name, argv[2], strlen(argv[2])) == 0) run(work, &rows);
    }
    FILE* file = fopen(argv[1], "w");
    if (!file) die(argv[1]);
    const char* separator = "";
    fputs("{\"benchmarks\": [", file);
    for (const Row& row : rows) {
        fprintf(file, "%s\n  {\"name\": \"%s\", \"real_time\": %.1f, \"time_unit\": \"ns\"}", separator,
                row.name.c_str(), row.ns);
        separator = ",";
    }
    fputs("\n]}\n", file);
    const bool written = ferror(file) == 0;
    return fclose(file) == 0 && written ? 0 : 1;
}
