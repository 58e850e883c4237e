// viewer.exe SETTINGS_PATH: the simulated viewer. It shows the newest movie at half size with the grid lines of the
// feeds, and takes the operator's click for a grid anchor on the live picture of the feed that the console asks for.
#include <windows.h>

#include <algorithm>
#include <cstdio>

#include "rig/common/rig_settings.h"
#include "rig/common/worker_runtime.h"
#include "rig/feed_ring.h"
#include "rig/settings_reload.h"
#include "rig/viewer_picture.h"

namespace {

constexpr char kClassName[] = "OrveklineViewer";
constexpr char kTitle[] = "Orvekline viewer";
constexpr UINT kRefreshMs = 66;
constexpr UINT_PTR kRefreshTimer = 1;
constexpr uint32_t kPairWithFeed2 = 2;
constexpr int32_t kNoFeed = -1;

struct Viewer {
    Worker worker;
    const char* settings_path;
    RigSettings settings;
    uint32_t settings_generation, grid_generation;
    WorkerRegion outputs[kOutputRegionCount];
    FeedRing rings[kFeedCount];
    int32_t asked_feed;   // feed whose picture waits for a click; kNoFeed = none
    int32_t top, bottom;  // feeds shown in the two halves; kNoFeed = that half is empty
    uint32_t pixels[kViewWidth * kViewHeight];
};

}  // namespace

static void load_settings(Viewer* viewer) {
    viewer->settings_generation = shared_load(viewer->worker.control->settings_generation);
    if (settings_reload(&viewer->settings, viewer->settings_path) != 0)
        worker_log(&viewer->worker, "cannot read %s, the grid stays as it is", viewer->settings_path);
}

// To be asked under the grid's mutex.
static bool click_is_awaited(const ControlBlock* control) {
    return shared_load(control->grid_setup_active) != 0 && shared_load(control->grid_click_wait) != 0 &&
           shared_load(control->grid_click_ready) == 0;
}

// Which feed the console wants a click on, and whether the grid has changed.
static void follow_grid(Viewer* viewer) {
    Worker* worker = &viewer->worker;
    ControlBlock* control = worker->control;
    worker_lock(worker, kMutexGrid);
    const bool asked = click_is_awaited(control);
    const uint32_t feed = shared_load(control->grid_feed);
    const uint32_t generation = shared_load(control->grid_generation);
    worker_unlock(worker, kMutexGrid);
    viewer->asked_feed = asked && feed < kFeedCount ? static_cast<int32_t>(feed) : kNoFeed;
    const uint32_t settings_generation = shared_load(control->settings_generation);
    if (generation == viewer->grid_generation && settings_generation == viewer->settings_generation) return;
    viewer->grid_generation = generation;
    load_settings(viewer);
}

// Converts the feed's newest picture into the given half of the view.
static bool show_feed(Viewer* viewer, int32_t feed, int32_t half) {
    FeedRing& ring = viewer->rings[feed];
    if (!feed_ring_follow(&viewer->worker, &ring, nullptr)) return false;
    const uint32_t written = feed_ring_written(&viewer->worker, &ring);
    if (written < 2) return false;
    const FrameSlotHeader* slot = feed_ring_slot(&ring, written - 2);
    view_convert(feed_slot_y(slot), feed_slot_u(slot), feed_slot_v(slot), kFeedHeight,
                 viewer->pixels + half * kViewWidth * kFeedViewHeight);
    return true;
}

static bool open_outputs(Viewer* viewer) {
    for (int32_t output = 0; output < kOutputRegionCount; ++output) {
        char name[32];
        output_region_name(name, output);
        if (viewer->outputs[output].view == nullptr && worker_open_region(name, &viewer->outputs[output]) != 0)
            return false;
    }
    return true;
}

static bool show_movie(Viewer* viewer) {
    if (!open_outputs(viewer)) return false;
    Worker* worker = &viewer->worker;
    worker_lock(worker, kMutexOutput);
    const uint32_t writing = shared_load(worker->control->output_active);
    worker_unlock(worker, kMutexOutput);
    worker_lock(worker, kMutexOutputFrame);
    const int32_t frame = shared_load(worker->control->output_frame_idx);
    worker_unlock(worker, kMutexOutputFrame);
    if (frame < 0) return false;
    const WorkerRegion& output = viewer->outputs[writing == 0 ? 1 : 0];
    const uint8_t* slot = output.view + output_slot_offset(static_cast<uint32_t>(frame));
    view_convert(slot + y_plane_offset(), slot + u_plane_offset(kOutputHeight), slot + v_plane_offset(kOutputHeight),
                 kOutputHeight, viewer->pixels);
    const auto* header = reinterpret_cast<const FrameSlotHeader*>(slot);
    viewer->top = 1;
    viewer->bottom = shared_load(header->display_type) == kPairWithFeed2 ? 2 : 0;
    return true;
}

// Fills the view: the feed that waits for a click, else the movie, else the live picture of feed 1.
static void compose(Viewer* viewer) {
    viewer->top = viewer->bottom = kNoFeed;
    if (viewer->asked_feed == kNoFeed && show_movie(viewer)) return;
    std::fill_n(viewer->pixels, kViewWidth * kViewHeight, 0u);
    const int32_t feed = viewer->asked_feed == kNoFeed ? 1 : viewer->asked_feed;
    if (show_feed(viewer, feed, 0)) viewer->top = feed;
}

static void draw_grid(HDC dc, const Viewer* viewer, int32_t feed, int32_t top_row) {
    if (feed == kNoFeed) return;
    ViewGridLine lines[kMostGridLines];
    const int32_t count = view_grid_lines(viewer->settings, feed, lines);
    for (int32_t i = 0; i < count; ++i) {
        MoveToEx(dc, lines[i].far_point.x, top_row + lines[i].far_point.y, nullptr);
        LineTo(dc, lines[i].near_point.x, top_row + lines[i].near_point.y);
        char label[16];
        const int32_t length = snprintf(label, sizeof label, "%d", lines[i].metre);
        TextOutA(dc, lines[i].far_point.x + 2, top_row + lines[i].far_point.y - 14, label, length);
    }
}

static void paint(HWND window, Viewer* viewer) {
    PAINTSTRUCT paint_area;
    HDC dc = BeginPaint(window, &paint_area);
    RECT client;
    GetClientRect(window, &client);
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), kViewWidth, -kViewHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    SetDIBitsToDevice(dc, 0, 0, kViewWidth, kViewHeight, 0, 0, 0, kViewHeight, viewer->pixels, &info, DIB_RGB_COLORS);
    HPEN pen = CreatePen(PS_SOLID, 1, RGB(220, 40, 40));
    HGDIOBJ old_pen = SelectObject(dc, pen);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(220, 40, 40));
    draw_grid(dc, viewer, viewer->top, 0);
    draw_grid(dc, viewer, viewer->bottom, kFeedViewHeight);
    SelectObject(dc, old_pen);
    DeleteObject(pen);
    EndPaint(window, &paint_area);
}

static void show_question(HWND window, const Viewer* viewer) {
    char title[64] = "";
    snprintf(title, sizeof title, "%s - click in feed %d", kTitle, viewer->asked_feed);
    SetWindowTextA(window, viewer->asked_feed == kNoFeed ? kTitle : title);
}

static void refresh(HWND window, Viewer* viewer) {
    if (worker_should_exit(&viewer->worker)) {
        PostQuitMessage(0);  // the window goes with the process: destroying it can wait seconds for a window manager
        return;
    }
    const int32_t asked_before = viewer->asked_feed;
    follow_grid(viewer);
    if (viewer->asked_feed != asked_before) show_question(window, viewer);
    if (IsIconic(window)) return;
    compose(viewer);
    InvalidateRect(window, nullptr, FALSE);
}

// Hands a click to the console when it still waits for one on the feed that is shown.
static void take_click(HWND window, Viewer* viewer, ViewPoint click) {
    ViewPoint point{};
    // Without a picture there is nothing that the operator could have pointed at.
    if (viewer->asked_feed == kNoFeed || viewer->top != viewer->asked_feed || !view_click(click, &point)) return;
    Worker* worker = &viewer->worker;
    ControlBlock* control = worker->control;
    worker_lock(worker, kMutexGrid);
    const bool wanted =
        click_is_awaited(control) && shared_load(control->grid_feed) == static_cast<uint32_t>(viewer->asked_feed);
    if (wanted) {
        shared_store(control->grid_click_x, point.x);
        shared_store(control->grid_click_y, point.y);
        shared_store(control->grid_click_ready, 1u);
    }
    worker_unlock(worker, kMutexGrid);
    if (!wanted) return;
    worker_signal(worker, kEventGridClick);
    worker_log(worker, "click on feed %d at (%d, %d)", viewer->asked_feed, point.x, point.y);
    viewer->asked_feed = kNoFeed;
    show_question(window, viewer);
}

static LRESULT CALLBACK window_proc(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    if (message == WM_NCCREATE)
        SetWindowLongPtrA(window, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTA*>(lp)->lpCreateParams));
    auto* viewer = reinterpret_cast<Viewer*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (viewer == nullptr) return DefWindowProcA(window, message, wp, lp);
    switch (message) {
        case WM_PAINT:
            paint(window, viewer);
            return 0;
        case WM_ERASEBKGND:
            return 1;
        case WM_TIMER:
            refresh(window, viewer);
            return 0;
        case WM_LBUTTONDOWN:
            take_click(window, viewer, {static_cast<int16_t>(LOWORD(lp)), static_cast<int16_t>(HIWORD(lp))});
            return 0;
        case WM_DESTROY:
            KillTimer(window, kRefreshTimer);
            PostQuitMessage(0);
            return 0;
        default:
            return DefWindowProcA(window, message, wp, lp);
    }
}

// Appears without taking the keyboard from the console, in the far corner, where it covers least of it.
static HWND create_window(Viewer* viewer) {
    WNDCLASSA window_class{};
    window_class.lpfnWndProc = window_proc;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.hCursor = LoadCursorA(nullptr, IDC_CROSS);
    window_class.lpszClassName = kClassName;
    if (RegisterClassA(&window_class) == 0) return nullptr;
    constexpr DWORD style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
    RECT frame = {0, 0, kViewWidth, kViewHeight};
    AdjustWindowRect(&frame, style, FALSE);
    const int32_t width = frame.right - frame.left;
    const int32_t height = frame.bottom - frame.top;
    RECT screen{};
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &screen, 0);
    const int32_t left = std::max<int32_t>(screen.left, screen.right - width);
    const int32_t top = std::max<int32_t>(screen.top, screen.bottom - height);
    HWND window = CreateWindowExA(0, kClassName, kTitle, style, left, top, width, height, nullptr, nullptr,
                                  window_class.hInstance, viewer);
    if (window != nullptr) ShowWindow(window, SW_SHOWNOACTIVATE);
    return window;
}

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: viewer SETTINGS_PATH\n");
        return 2;
    }
    static Viewer viewer{};  // two megabytes of picture: too much for the stack
    Worker* worker = &viewer.worker;
    if (worker_start(worker, "viewer", -1) != 0) return 1;
    viewer.settings_path = argv[1];
    viewer.asked_feed = viewer.top = viewer.bottom = kNoFeed;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) viewer.rings[feed] = feed_ring_make(feed);
    worker_answers_for(worker, &worker->control->viewer_state);
    worker_set_ready(worker, kWorkerStarting);
    load_settings(&viewer);
    HWND window = create_window(&viewer);
    if (window == nullptr) {
        worker_log(worker, "cannot create the window, error %lu", GetLastError());
        worker_stop(worker, 1);
        return 1;
    }
    SetTimer(window, kRefreshTimer, kRefreshMs, nullptr);
    worker_set_ready(worker, kWorkerReady);
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) DispatchMessageA(&message);
    worker_stop(worker, 0);
    return 0;
}
