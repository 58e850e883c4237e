#include "tests/console/driver.h"

#include <commctrl.h>

#include <cstdio>

#include "app/utf16.h"
#include "tests/console/remote.h"
#include "tests/support/wait.h"

namespace {
struct WindowSearch {
    uint32_t pid;
    const char* window_class;
    HWND found;
};
}  // namespace

static BOOL CALLBACK is_searched(HWND window, LPARAM param) {
    auto* search = reinterpret_cast<WindowSearch*>(param);
    DWORD pid = 0;
    GetWindowThreadProcessId(window, &pid);
    char name[64] = "";
    GetClassNameA(window, name, sizeof name);
    if (pid != search->pid || lstrcmpA(name, search->window_class) != 0) return TRUE;
    search->found = window;
    return FALSE;
}

static HWND window_of(uint32_t pid, const char* window_class) {
    WindowSearch search = {pid, window_class, nullptr};
    EnumWindows(is_searched, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

static bool has_ended(HANDLE process) {
    return WaitForSingleObject(process, 0) == WAIT_OBJECT_0;
}

bool console_answers(const Console& console, uint32_t patience_ms) {
    DWORD_PTR result = 0;
    return SendMessageTimeoutW(console.window, WM_NULL, 0, 0, SMTO_NORMAL, patience_ms, &result) != 0;
}

bool console_start(const Installation& installation, const std::string& arguments, Console* console,
                   const std::string& image) {
    *console = {};
    console->process = installation_start(installation, image, arguments, nullptr, &console->pid);
    if (console->process == nullptr) return false;
    // The window exists early; the loop answers only once everything stands.
    const bool up = wait_until([&] {
        console->window = window_of(console->pid, "SkiJumpController");
        return has_ended(console->process) || (console->window != nullptr && IsWindowVisible(console->window));
    });
    if (!up || has_ended(console->process)) {
        fprintf(stderr, "Orvek.exe shows no window; see %s\n", installation.folder.c_str());
        return false;
    }
    return console_answers(*console, kPatienceMs) && remote_open(console);
}

int32_t console_wait_for_exit(Console* console, uint32_t patience_ms) {
    if (WaitForSingleObject(console->process, patience_ms) != WAIT_OBJECT_0) return -1;
    DWORD code = 0;
    GetExitCodeProcess(console->process, &code);
    console_release(console);
    return static_cast<int32_t>(code);
}

int32_t console_close(Console* console) {
    PostMessageW(console->window, WM_CLOSE, 0, 0);
    return console_wait_for_exit(console, kPatienceMs);
}

void console_kill(Console* console) {
    TerminateProcess(console->process, 66);
    WaitForSingleObject(console->process, kPatienceMs);
    console_release(console);
}

void console_release(Console* console) {
    if (console->process != nullptr) CloseHandle(console->process);
    *console = {};
}

int32_t console_run(const Installation& installation, const std::string& arguments, std::string* output) {
    const std::string path = installation_path(installation, "output.txt");
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                              CREATE_ALWAYS, 0, nullptr);
    Console console = {};
    console.process = installation_start(installation, "Orvek.exe", arguments, file, &console.pid);
    CloseHandle(file);
    if (console.process == nullptr) return -1;
    const int32_t code = console_wait_for_exit(&console, kPatienceMs);
    console_release(&console);
    *output = installation_read(installation, "output.txt");
    return code;
}

HWND message_box(const Console& console) {
    return window_of(console.pid, "#32770");
}

static BOOL CALLBACK add_text(HWND window, LPARAM param) {
    *reinterpret_cast<std::string*>(param) += "\n" + window_text(window);
    return TRUE;
}

std::string message_box_text(HWND box) {
    std::string text = window_text(box);
    EnumChildWindows(box, add_text, reinterpret_cast<LPARAM>(&text));
    return text;
}

std::string window_text(HWND window) {
    wchar_t text[1024] = L"";
    DWORD_PTR length = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, 1024, reinterpret_cast<LPARAM>(text), SMTO_NORMAL, kPatienceMs, &length);
    return utf8_from(text);
}

std::string window_class(HWND window) {
    char name[64] = "";
    GetClassNameA(window, name, sizeof name);
    return name;
}

std::string console_title(const Console& console) {
    return window_text(console.window);
}

HWND control(const Console& console, int32_t id) {
    return GetDlgItem(console.window, id);
}

std::string status_text(const Console& console) {
    HWND bar = control(console, 101);
    DWORD_PTR length = 0;
    DWORD_PTR copied = 0;
    SendMessageTimeoutW(bar, SB_GETTEXTLENGTHW, 0, 0, SMTO_NORMAL, kPatienceMs, &length);
    SendMessageTimeoutW(bar, SB_GETTEXTW, 0, reinterpret_cast<LPARAM>(remote_text_place(console)), SMTO_NORMAL,
                        kPatienceMs, &copied);
    return remote_text(console, LOWORD(length));
}

std::string button_text(const Console& console, int32_t id) {
    HWND button = control(console, id);
    return button != nullptr ? window_text(button) : "(no control " + std::to_string(id) + ")";
}

bool is_shown(const Console& console, int32_t id) {
    HWND window = control(console, id);
    return window != nullptr && IsWindowVisible(window);
}

bool is_enabled(const Console& console, int32_t id) {
    HWND window = control(console, id);
    return window != nullptr && IsWindowEnabled(window);
}

RECT client_place(const Console& console, HWND child) {
    RECT place = {};
    GetWindowRect(child, &place);
    MapWindowPoints(nullptr, console.window, reinterpret_cast<POINT*>(&place), 2);
    return place;
}

bool press(const Console& console, int32_t id) {
    if (!is_shown(console, id) || !is_enabled(console, id)) return false;
    return PostMessageW(control(console, id), BM_CLICK, 0, 0) != 0;
}

void send_command(const Console& console, int32_t id) {
    PostMessageW(console.window, WM_COMMAND, static_cast<WPARAM>(id), 0);
}

// A posted key takes its modifiers from the program's own keyboard state; ours reaches it while the queues are
// joined.
void press_key(const Console& console, WPARAM key, bool with_control) {
    const DWORD thread = GetWindowThreadProcessId(console.window, nullptr);
    AttachThreadInput(GetCurrentThreadId(), thread, TRUE);
    BYTE before[256] = {};
    GetKeyboardState(before);
    BYTE during[256] = {};
    if (with_control) during[VK_CONTROL] = during[VK_LCONTROL] = 0x80;
    SetKeyboardState(during);
    PostMessageW(console.window, WM_KEYDOWN, key, 1);
    console_answers(console, kPatienceMs);  // sent messages overtake posted ones: ask twice, with a pause
    pause_ms(200);
    console_answers(console, kPatienceMs);
    SetKeyboardState(before);
    AttachThreadInput(GetCurrentThreadId(), thread, FALSE);
}
