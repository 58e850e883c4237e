#include "app/crash_report.h"

#include <windows.h>

#include <atomic>

#include "app/log.h"
#include "app/one_controller.h"

namespace {

// The thread that crashed may hold the log's lock, so another one writes and is not waited for longer than this.
constexpr DWORD kLogPatienceMs = 1000;

std::atomic<bool> g_unattended{false};

}  // namespace

static DWORD WINAPI write_log_line(void* exception) {
    const auto* record = static_cast<const EXCEPTION_RECORD*>(exception);
    log_error("crashed: exception code 0x%08lX at %p", record->ExceptionCode, record->ExceptionAddress);
    return 0;
}

static LONG WINAPI report_crash(EXCEPTION_POINTERS* exception) {
    EXCEPTION_RECORD* record = exception->ExceptionRecord;
    one_controller_crashed();
    if (HANDLE writer = CreateThread(nullptr, 0, write_log_line, record, 0, nullptr)) {
        WaitForSingleObject(writer, kLogPatienceMs);
        CloseHandle(writer);
    }
    if (!g_unattended.load()) {
        // wsprintf and not the runtime's: it needs no heap and writes a pointer as sixteen digits.
        char text[256];
        wsprintfA(text, "Orvek.exe crashed!\nException code: 0x%08lX\nAddress: 0x%p", record->ExceptionCode,
                  record->ExceptionAddress);
        MessageBoxA(nullptr, text, "Controller Crash", MB_OK | MB_ICONERROR);
    }
    return EXCEPTION_EXECUTE_HANDLER;
}

void crash_report_install() {
    SetUnhandledExceptionFilter(report_crash);
}

void crash_report_set_unattended() {
    g_unattended.store(true);
}
