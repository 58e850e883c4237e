// The chooser of the encoder GPU as a window: the test's own thread shows it, a second one is the operator.
#include "settings/select_gpu.h"

#include <objbase.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "settings/gpu_adapters.h"
#include "tests/support/child_role.h"
#include "tests/support/log_capture.h"
#include "tests/support/process_resources.h"
#include "tests/windows/modal_operator.h"

namespace {

constexpr UINT_PTR kOwnerTimer = 9;

// What the operator finds on the screen.
struct Shown {
    HWND window, list, status, refresh, ok, cancel;

    std::vector<std::string> lines() const {
        return items_in(list, LB_GETCOUNT, LB_GETTEXT);
    }
    LRESULT selected() const {
        return SendMessageA(list, LB_GETCURSEL, 0, 0);
    }
    void key(WPARAM code) const {
        PostMessageA(list, WM_KEYDOWN, code, 1);
    }
};

BOOL CALLBACK sort_in(HWND child, LPARAM lp) {
    auto* shown = reinterpret_cast<Shown*>(lp);
    char name[32] = "";
    GetClassNameA(child, name, sizeof name);
    const std::string class_name = name;
    const std::string text = text_in(child);
    if (class_name == "ListBox") shown->list = child;
    if (class_name == "Static") shown->status = child;
    if (text == "Refresh") shown->refresh = child;
    if (text == "OK") shown->ok = child;
    if (text == "Cancel") shown->cancel = child;
    return TRUE;
}

// Waits until the chooser has filled its list.
Shown find_dialog() {
    Shown shown = {};
    look_until([&] { return (shown.window = FindWindowA("SkiJumpSelectGPU", nullptr)) != nullptr; });
    look_until([&] {
        shown.list = shown.status = nullptr;
        EnumChildWindows(shown.window, sort_in, reinterpret_cast<LPARAM>(&shown));
        return shown.status && shown.cancel && text_in(shown.status) != "Enumerating GPUs...";
    });
    return shown;
}

std::atomic<int> owner_ticks;
std::atomic<int> owner_wheels;

LRESULT CALLBACK owner_procedure(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    if (message == WM_TIMER) ++owner_ticks;
    if (message == WM_MOUSEWHEEL) ++owner_wheels;
    return DefWindowProcA(window, message, wp, lp);
}

class SelectGpu : public testing::Test {
protected:
    void SetUp() override {
        WNDCLASSA owner_class = {};
        owner_class.lpfnWndProc = owner_procedure;
        owner_class.hInstance = GetModuleHandleA(nullptr);
        owner_class.lpszClassName = "SelectGpuTestOwner";
        RegisterClassA(&owner_class);
        owner = CreateWindowExA(0, "SelectGpuTestOwner", "owner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 900,
                                600, nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
        ASSERT_NE(owner, nullptr);
        box = CreateWindowExA(0, "EDIT", "", WS_CHILD | WS_VISIBLE, 0, 0, 90, 20, owner, nullptr,
                              GetModuleHandleA(nullptr), nullptr);
        SetFocus(box);
        GpuList list;
        expected = gpu_adapters_enumerate(&list);
        if (expected > 0) first_name = list.entries[0].name;
        log.take();
    }
    void TearDown() override {
        if (IsWindow(owner)) DestroyWindow(owner);
    }

    // Shows the chooser while `operate` plays the operator on another thread.
    DialogResult choose(const std::function<void(const Shown&)>& operate, const char* name = "", int32_t index = -1) {
        std::thread person([&] {
            const Shown shown = find_dialog();
            operate(shown);
        });
        const DialogResult result = select_gpu(owner, "ffmpeg.exe", name, index, &chosen);
        person.join();
        return result;
    }
    void expect_untouched() const {
        EXPECT_EQ(chosen.index, 77);
        EXPECT_STREQ(chosen.name, "before");
    }
    void expect_gone_and_owner_back() const {
        EXPECT_EQ(FindWindowA("SkiJumpSelectGPU", nullptr), nullptr);
        EXPECT_TRUE(IsWindowEnabled(owner));
        EXPECT_EQ(GetFocus(), box);
    }

    LogCapture log;
    HWND owner = nullptr;
    HWND box = nullptr;
    int32_t expected = 0;
    std::string first_name;
    GpuEntry chosen = {77, "before", ""};
};

}  // namespace

TEST_F(SelectGpu, ShowsTheNvidiaAdaptersWithTheFirstChosen) {
    ASSERT_EQ(expected, 1) << "the test machine's Wine reports one adapter, an NVIDIA";
    choose([&](const Shown& shown) {
        EXPECT_EQ(text_in(shown.window), "Select NVENC GPU");
        EXPECT_EQ(GetWindow(shown.window, GW_OWNER), owner);
        EXPECT_FALSE(IsWindowEnabled(owner)) << "modal";
        EXPECT_EQ(shown.lines(), std::vector<std::string>{"GPU #0  " + first_name});
        EXPECT_EQ(shown.selected(), 0);
        EXPECT_EQ(text_in(shown.status), "1 NVENC-visible GPU detected.");
        EXPECT_TRUE(IsWindowEnabled(shown.ok));
        EXPECT_TRUE(IsWindowEnabled(shown.refresh));
        SendMessageA(shown.cancel, BM_CLICK, 0, 0);
    });
    EXPECT_EQ(log.take(), std::vector<std::string>{"INF nvenc_gpu_enum: 1 NVIDIA adapter(s) via DXGI"});
}

TEST_F(SelectGpu, IsWrittenInSegoeUi) {
    choose([](const Shown& shown) {
        for (HWND control : {shown.list, shown.status, shown.refresh, shown.ok, shown.cancel}) {
            LOGFONTA font = {};
            GetObjectA(reinterpret_cast<HFONT>(SendMessageA(control, WM_GETFONT, 0, 0)), sizeof font, &font);
            EXPECT_STREQ(font.lfFaceName, "Segoe UI") << text_in(control);
        }
        SendMessageA(shown.cancel, BM_CLICK, 0, 0);
    });
}

TEST_F(SelectGpu, OkHandsBackTheChosenEntry) {
    EXPECT_EQ(choose([](const Shown& shown) { SendMessageA(shown.ok, BM_CLICK, 0, 0); }), DialogResult::ok);
    EXPECT_EQ(chosen.index, 0);
    EXPECT_EQ(chosen.name, first_name);
    EXPECT_STREQ(chosen.compute, "");
    expect_gone_and_owner_back();
}

TEST_F(SelectGpu, CancelHandsBackNothing) {
    EXPECT_EQ(choose([](const Shown& shown) { SendMessageA(shown.cancel, BM_CLICK, 0, 0); }),
              DialogResult::cancelled);
    expect_untouched();
    expect_gone_and_owner_back();
}

TEST_F(SelectGpu, EnterIsOk) {
    EXPECT_EQ(choose([](const Shown& shown) { shown.key(VK_RETURN); }), DialogResult::ok);
    EXPECT_EQ(chosen.name, first_name);
}

TEST_F(SelectGpu, EscIsCancel) {
    EXPECT_EQ(choose([](const Shown& shown) { shown.key(VK_ESCAPE); }), DialogResult::cancelled);
    expect_untouched();
    expect_gone_and_owner_back();
}

TEST_F(SelectGpu, EnterOnAButtonPressesThatButton) {
    EXPECT_EQ(choose([](const Shown& shown) {
                  shown.key(VK_TAB);  // from the list to Refresh, to OK, to Cancel
                  shown.key(VK_TAB);
                  shown.key(VK_TAB);
                  shown.key(VK_RETURN);
              }),
              DialogResult::cancelled);
    expect_untouched();
}

TEST_F(SelectGpu, TheCloseBoxIsCancel) {
    EXPECT_EQ(choose([](const Shown& shown) { PostMessageA(shown.window, WM_CLOSE, 0, 0); }),
              DialogResult::cancelled);
    expect_untouched();
    expect_gone_and_owner_back();
}

TEST_F(SelectGpu, ADoubleClickOnALineIsOk) {
    EXPECT_EQ(choose([](const Shown& shown) { SendMessageA(shown.list, WM_LBUTTONDBLCLK, 0, MAKELPARAM(20, 6)); }),
              DialogResult::ok);
    EXPECT_EQ(chosen.name, first_name);
}

TEST_F(SelectGpu, RefreshAsksTheSystemAgain) {
    choose([&](const Shown& shown) {
        SendMessageA(shown.list, LB_RESETCONTENT, 0, 0);
        SendMessageA(shown.list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>("stale"));
        SendMessageA(shown.status, WM_SETTEXT, 0, reinterpret_cast<LPARAM>("stale"));
        SendMessageA(shown.refresh, BM_CLICK, 0, 0);
        EXPECT_EQ(shown.lines(), std::vector<std::string>{"GPU #0  " + first_name});
        EXPECT_EQ(shown.selected(), 0);
        EXPECT_EQ(text_in(shown.status), "1 NVENC-visible GPU detected.");
        SendMessageA(shown.cancel, BM_CLICK, 0, 0);
    });
    EXPECT_EQ(log.count("INF nvenc_gpu_enum: 1 NVIDIA adapter(s) via DXGI"), 2 + 1) << "SetUp asked, too";
}

TEST_F(SelectGpu, NothingChosenKeepsTheChooserOpen) {
    EXPECT_EQ(choose([](const Shown& shown) {
                  SendMessageA(shown.list, LB_SETCURSEL, static_cast<WPARAM>(-1), 0);
                  SendMessageA(shown.ok, BM_CLICK, 0, 0);
                  EXPECT_TRUE(IsWindow(shown.window));
                  SendMessageA(shown.cancel, BM_CLICK, 0, 0);
              }),
              DialogResult::cancelled);
    expect_untouched();
}

TEST_F(SelectGpu, TheOwnersTimersGoOn) {
    SetTimer(owner, kOwnerTimer, 20, nullptr);
    owner_ticks = 0;
    choose([](const Shown& shown) {
        EXPECT_TRUE(look_until([] { return owner_ticks >= 5; }));
        SendMessageA(shown.cancel, BM_CLICK, 0, 0);
    });
    KillTimer(owner, kOwnerTimer);
}

TEST_F(SelectGpu, TheWheelDoesNotReachTheOwner) {
    owner_wheels = 0;
    choose([](const Shown& shown) {
        SendMessageA(shown.ok, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA), 0);
        SendMessageA(shown.window, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA), 0);
        SendMessageA(shown.cancel, BM_CLICK, 0, 0);
    });
    EXPECT_EQ(owner_wheels, 0);
}

TEST_F(SelectGpu, AnOwnerThatGoesAwayEndsTheWait) {
    EXPECT_EQ(choose([&](const Shown& /*shown*/) { PostMessageA(owner, WM_CLOSE, 0, 0); }), DialogResult::cancelled);
    expect_untouched();
    EXPECT_EQ(FindWindowA("SkiJumpSelectGPU", nullptr), nullptr);
}

TEST_F(SelectGpu, TheProgramsEndEndsTheWaitAndIsPassedOn) {
    const DWORD thread = GetCurrentThreadId();
    EXPECT_EQ(choose([&](const Shown& /*shown*/) { PostThreadMessageA(thread, WM_QUIT, 5, 0); }),
              DialogResult::cancelled);
    MSG message = {};
    ASSERT_TRUE(PeekMessageA(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(message.wParam, 5u);
    expect_gone_and_owner_back();
}

TEST_F(SelectGpu, AnOwnerDisabledBeforeStaysDisabled) {
    EnableWindow(owner, FALSE);
    choose([](const Shown& shown) { SendMessageA(shown.cancel, BM_CLICK, 0, 0); });
    EXPECT_FALSE(IsWindowEnabled(owner));
}

TEST_F(SelectGpu, OpeningAndClosingLeavesNoObjectBehind) {
    const auto open_once = [&] { choose([](const Shown& shown) { SendMessageA(shown.cancel, BM_CLICK, 0, 0); }); };
    open_once();
    const uint32_t gdi = count_gdi_objects(GetCurrentProcess());
    ASSERT_GT(gdi, 0u);
    const DWORD user = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
    for (int i = 0; i < 5; ++i) open_once();
    EXPECT_LE(count_gdi_objects(GetCurrentProcess()), gdi);
    EXPECT_LE(GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS), user);
}

// Where the system reports no NVIDIA adapter. Wine's choice of adapter is made once per process, so a child plays.
static int see_no_gpu(int /*argc*/, char** /*argv*/) {
    GpuList list;
    if (gpu_adapters_enumerate(&list) != 0) return 2;
    int wrong = 0;
    std::thread person([&] {
        const Shown shown = find_dialog();
        wrong |= text_in(shown.status) == "No NVENC-visible GPUs detected. Check NVIDIA driver (R570+)." ? 0 : 4;
        wrong |= shown.lines().empty() ? 0 : 8;
        wrong |= IsWindowEnabled(shown.ok) ? 16 : 0;
        shown.key(VK_RETURN);
        SendMessageA(shown.refresh, BM_CLICK, 0, 0);
        wrong |= IsWindowEnabled(shown.ok) ? 32 : 0;
        PostMessageA(shown.window, WM_CLOSE, 0, 0);
    });
    GpuEntry chosen = {};
    const DialogResult result = select_gpu(nullptr, "ffmpeg.exe", "", -1, &chosen);
    person.join();
    return wrong | (result == DialogResult::cancelled ? 0 : 64);
}
static const RegisterChildRole kSeeNoGpu("see no gpu", see_no_gpu);

TEST(SelectGpuWithoutNvidia, SaysSoAndOffersNoOk) {
    SetEnvironmentVariableA("WINE_D3D_CONFIG", "VideoPciVendorID=0x8086,VideoPciDeviceID=0x0166");
    ChildProcess child("see no gpu");
    SetEnvironmentVariableA("WINE_D3D_CONFIG", nullptr);
    ASSERT_TRUE(child.started());
    ASSERT_TRUE(child.wait_ended());
    if (child.exit_code() == 2) GTEST_SKIP() << "this system's adapters cannot be exchanged";
    EXPECT_EQ(child.exit_code(), 0u);
}

TEST(GpuAdapters, AThreadThatChoseAnotherThreadingModelIsServedAndKeepsIt) {
    LogCapture log;
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
    GpuList list;
    EXPECT_GE(gpu_adapters_enumerate(&list), 0);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
    CoUninitialize();
    const HRESULT again = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    EXPECT_EQ(again, S_OK) << "ended as often as begun";
    if (SUCCEEDED(again)) CoUninitialize();
}

// Skipped where the machine has the installed one, which goes before all others.
TEST(ResolveFfmpeg, TheProgramsFolderGoesBeforeTheSearchPath) {
    if (GetFileAttributesA(R"(C:\ffmpeg\bin\ffmpeg.exe)") != INVALID_FILE_ATTRIBUTES) GTEST_SKIP();
    TempDir dir;
    const std::string beside = dir.file("ffmpeg.exe");
    const std::string folder = beside.substr(0, beside.size() - strlen("\\ffmpeg.exe"));
    char path[MAX_PATH] = "";
    resolve_ffmpeg(folder.c_str(), path, sizeof path);
    EXPECT_STREQ(path, "ffmpeg.exe");
    FILE* file = fopen(beside.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    fclose(file);
    resolve_ffmpeg(folder.c_str(), path, sizeof path);
    EXPECT_EQ(std::string(path), folder + "\\ffmpeg.exe");
}

TEST(ResolveFfmpeg, TheInstalledOneGoesFirst) {
    constexpr char kInstalled[] = R"(C:\ffmpeg\bin\ffmpeg.exe)";
    const bool had_root = !CreateDirectoryA(R"(C:\ffmpeg)", nullptr);
    const bool had_bin = !CreateDirectoryA(R"(C:\ffmpeg\bin)", nullptr);
    const bool had_file = GetFileAttributesA(kInstalled) != INVALID_FILE_ATTRIBUTES;
    if (!had_file) {
        FILE* file = fopen(kInstalled, "wb");
        ASSERT_NE(file, nullptr);
        fclose(file);
    }
    char path[MAX_PATH] = "";
    resolve_ffmpeg(R"(C:\nowhere)", path, sizeof path);
    EXPECT_STREQ(path, kInstalled);
    if (!had_file) DeleteFileA(kInstalled);
    if (!had_bin) RemoveDirectoryA(R"(C:\ffmpeg\bin)");
    if (!had_root) RemoveDirectoryA(R"(C:\ffmpeg)");
}
