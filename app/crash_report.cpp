#include "app/crash_report.h"

#include <windows.h>

#include <cxxabi.h>
#include <psapi.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>

#include "app/crash_text.h"
#include "app/dump_order.h"
#include "app/log.h"
#include "app/one_controller.h"
#include "ipc/scoped_handle.h"

namespace {

// Every step may meet what is damaged, or a lock that the crashed thread holds. It therefore runs on a thread of its
// own and is waited for no longer than this.
constexpr DWORD kLogPatienceMs = 1000;
constexpr DWORD kTextPatienceMs = 2000;
constexpr DWORD kLaunchPatienceMs = 5000;
constexpr DWORD kDumpPatienceMs = 25000;  // its writer has a shorter one
constexpr DWORD kTidyPatienceMs = 2000;
constexpr DWORD kBoxPatienceMs = 5000;  // until it is on the screen
// All of it without the box. What runs on the crashed thread itself has no other limit.
constexpr DWORD kWholePatienceMs = 45000;

// How the program ends that ends itself: an exception that none of ours throws, and abort().
constexpr DWORD kCxxException = 0x20474343;
constexpr DWORD kAborted = 0x40000015;

constexpr ULONG kReserveForOverflow = 32768;  // of the main thread's stack, for the handler
constexpr int32_t kPathSize = 1024;
constexpr int32_t kNumbersSize = 128;
constexpr DWORD kLogPieceSize = 16384;

// What one thread needs to write the text. Gathered once: while a dump is written the log may go on.
struct Report {
    bool gathered = false;
    CrashFacts facts = {};
    ProcessManager workers = {};
    char log_piece[kLogPieceSize] = "";
    char module_name[MAX_PATH] = "";
    char text[kCrashTextSize] = "";
};

// All that a report is made of, there before anything goes wrong: the heap may be what is broken.
struct Prepared {
    std::atomic<bool> unattended{false};
    std::atomic<const ProcessManager*> processes{nullptr};
    DWORD main_thread = 0;
    HANDLE crashed = nullptr;         // an event: set by the one that crashed first
    wchar_t folder[kPathSize] = L"";  // with a backslash at its end; the log's
    wchar_t log_path[kPathSize] = L"";
    wchar_t program[kPathSize] = L"";

    std::atomic<DWORD> reporting_thread{0};  // the one that crashed first
    std::atomic<DWORD> helper_thread{0};     // the one that works for it at the moment
    std::atomic<DWORD> code{0};
    EXCEPTION_POINTERS* exception = nullptr;
    CrashTime time = {};
    char text_name[kCrashFileNameSize] = "";
    char dump_name[kCrashFileNameSize] = "";
    std::atomic<bool> dump_is_written{false};
    std::atomic<HANDLE> dump_writer{nullptr};
    wchar_t dump_order[2 * kPathSize + kNumbersSize] = L"";  // a command line
    // The crashed thread's own, for when the helper is stuck: that one may go on at any time, in its own.
    Report aside, own;
};
Prepared g_prepared;

}  // namespace

static void path_in_folder(const char* name, wchar_t path[kPathSize]) {
    lstrcpynW(path, g_prepared.folder, kPathSize);
    int32_t end = lstrlenW(path);
    for (; *name != '\0' && end < kPathSize - 1; ++name) path[end++] = static_cast<wchar_t>(*name);  // ours: ASCII
    path[end] = L'\0';
}

static ScopedFile create_file(const char* name) {
    wchar_t path[kPathSize];
    path_in_folder(name, path);
    return ScopedFile(
        CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr));
}

static DWORD WINAPI write_log_line(void* /*unused*/) {
    g_prepared.helper_thread = GetCurrentThreadId();
    const EXCEPTION_RECORD* record = g_prepared.exception->ExceptionRecord;
    log_error("crashed: exception code 0x%08lX at %p", record->ExceptionCode, record->ExceptionAddress);
    return 0;
}

// Asks the system about the mapping and not the loader, whose lock the crashed thread may hold.
static void find_module(Report* report, const void* address) {
    MEMORY_BASIC_INFORMATION memory = {};
    if (!VirtualQuery(address, &memory, sizeof memory) || memory.Type != MEM_IMAGE) return;
    wchar_t path[MAX_PATH] = L"";
    const DWORD length = K32GetMappedFileNameW(GetCurrentProcess(), memory.AllocationBase, path, MAX_PATH);
    const wchar_t* name = path;
    for (DWORD i = 0; i < length; ++i)
        if (path[i] == L'\\') name = path + i + 1;
    WideCharToMultiByte(CP_UTF8, 0, name, -1, report->module_name, sizeof report->module_name, nullptr, nullptr);
    report->facts.module = report->module_name[0] != '\0' ? report->module_name : "unnamed module";
    report->facts.offset = reinterpret_cast<uint64_t>(address) - reinterpret_cast<uint64_t>(memory.AllocationBase);
}

static void find_access(CrashFacts* facts, const EXCEPTION_RECORD& record) {
    const bool has_address =
        record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION || record.ExceptionCode == EXCEPTION_IN_PAGE_ERROR;
    if (!has_address || record.NumberParameters < 2) return;
    const ULONG_PTR kind = record.ExceptionInformation[0];
    facts->access = kind == 0 ? CrashAccess::read : kind == 1 ? CrashAccess::write : CrashAccess::execute;
    facts->access_address = record.ExceptionInformation[1];
}

static void read_log_end(Report* report) {
    const ScopedFile file(CreateFileW(g_prepared.log_path, GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                      0, nullptr));
    LARGE_INTEGER size = {};
    if (!file.valid() || !GetFileSizeEx(file.get(), &size)) return;
    LARGE_INTEGER start = {};
    start.QuadPart = size.QuadPart > kLogPieceSize ? size.QuadPart - kLogPieceSize : 0;
    DWORD got = 0;
    if (!SetFilePointerEx(file.get(), start, nullptr, FILE_BEGIN) ||
        !ReadFile(file.get(), report->log_piece, kLogPieceSize, &got, nullptr))
        return;
    report->facts.log = report->log_piece;
    report->facts.log_length = got;
    report->facts.log_is_whole = start.QuadPart == 0;
}

static void gather_facts(Report* report) {
    const EXCEPTION_RECORD& record = *g_prepared.exception->ExceptionRecord;
    CrashFacts& facts = report->facts;
    facts.version = ORVEK_VERSION;
    facts.time = g_prepared.time;
    facts.process = GetCurrentProcessId();
    facts.thread = g_prepared.reporting_thread;
    facts.main_thread = facts.thread == g_prepared.main_thread;
    facts.code = record.ExceptionCode;
    facts.address = reinterpret_cast<uint64_t>(record.ExceptionAddress);
    find_module(report, record.ExceptionAddress);
    find_access(&facts, record);
    if (const ProcessManager* processes = g_prepared.processes) {
        report->workers = *processes;
        facts.processes = &report->workers;
    }
    read_log_end(report);
    report->gathered = true;
}

static DWORD WINAPI write_text(void* param) {
    g_prepared.helper_thread = GetCurrentThreadId();
    auto* const report = static_cast<Report*>(param);
    if (!report->gathered) gather_facts(report);
    CrashFacts facts = report->facts;
    facts.dump = g_prepared.dump_is_written ? g_prepared.dump_name : nullptr;
    const size_t length = crash_text(facts, report->text, sizeof report->text);
    const ScopedFile file = create_file(g_prepared.text_name);
    DWORD written = 0;
    if (file.valid()) WriteFile(file.get(), report->text, static_cast<DWORD>(length), &written, nullptr);
    return 0;
}

// False: a path is too long.
static bool write_dump_order() {
    wchar_t path[kPathSize];
    path_in_folder(g_prepared.dump_name, path);
    const size_t length = static_cast<size_t>(lstrlenW(path));
    if (length + 1 == kPathSize || g_prepared.folder[0] == L'\0' || g_prepared.program[0] == L'\0') return false;
    wchar_t* const order = g_prepared.dump_order;
    lstrcpyW(order, L"\"");
    lstrcatW(order, g_prepared.program);
    lstrcatW(order, L"\" ");
    lstrcatW(order, kDumpOrderOption);
    wsprintfW(order + lstrlenW(order), L" %u %u %p %u ", static_cast<unsigned>(GetCurrentProcessId()),
              static_cast<unsigned>(g_prepared.reporting_thread), static_cast<void*>(g_prepared.exception),
              g_prepared.unattended ? static_cast<unsigned>(g_prepared.code) : 0u);
    lstrcatW(order, path);
    return true;
}

static DWORD WINAPI start_dump_writer(void* /*unused*/) {
    g_prepared.helper_thread = GetCurrentThreadId();
    if (!write_dump_order()) return 0;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(g_prepared.program, g_prepared.dump_order, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started))
        return 0;
    CloseHandle(started.hThread);
    g_prepared.dump_writer = started.hProcess;
    return 0;
}

// It stops all our threads while it writes, this one too.
static bool dump_gets_written() {
    HANDLE writer = g_prepared.dump_writer;
    DWORD code = 1;
    return writer && WaitForSingleObject(writer, kDumpPatienceMs) == WAIT_OBJECT_0 &&
           GetExitCodeProcess(writer, &code) && code == 0;
}

static void remove_old(const wchar_t* pattern, const char* extension, const char* written) {
    wchar_t path[kPathSize];
    lstrcpynW(path, g_prepared.folder, kPathSize);
    if (lstrlenW(path) + lstrlenW(pattern) >= kPathSize) return;
    lstrcatW(path, pattern);
    WIN32_FIND_DATAW found;
    HANDLE search = FindFirstFileW(path, &found);
    if (search == INVALID_HANDLE_VALUE) return;
    CrashFiles files = {};
    do {
        char name[MAX_PATH] = "";
        char removed[kCrashFileNameSize];
        WideCharToMultiByte(CP_UTF8, 0, found.cFileName, -1, name, sizeof name, nullptr, nullptr);
        if (!crash_files_offer(&files, name, extension, written, removed)) continue;
        path_in_folder(removed, path);
        DeleteFileW(path);
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

static DWORD WINAPI tidy(void* /*unused*/) {
    g_prepared.helper_thread = GetCurrentThreadId();
    remove_old(L"crash_*.txt", "txt", g_prepared.text_name);
    remove_old(L"crash_*.dmp", "dmp", g_prepared.dump_name);
    return 0;
}

static DWORD WINAPI show_box(void* /*unused*/) {
    // wsprintf and not the runtime's: it needs no heap and writes a pointer as sixteen digits.
    const EXCEPTION_RECORD* record = g_prepared.exception->ExceptionRecord;
    char text[256];
    wsprintfA(text, "Orvek.exe crashed!\nException code: 0x%08lX\nAddress: 0x%p", record->ExceptionCode,
              record->ExceptionAddress);
    MessageBoxA(nullptr, text, "Controller Crash", MB_OK | MB_ICONERROR);
    return 0;
}

// Whether the step came to its end in time.
static bool run_aside(LPTHREAD_START_ROUTINE step, void* param, DWORD patience_ms) {
    HANDLE helper = CreateThread(nullptr, 0, step, param, 0, nullptr);
    if (!helper) return false;
    const DWORD result = WaitForSingleObject(helper, patience_ms);
    CloseHandle(helper);
    return result == WAIT_OBJECT_0;
}

static void run_step(bool aside, LPTHREAD_START_ROUTINE step, void* param, DWORD patience_ms) {
    if (aside) {
        run_aside(step, param, patience_ms);
    } else {
        step(param);
    }
}

static void write_files() {
    // The text is the surer of the two and tells whether there is a dump: it is written before it, and again after.
    const bool aside = run_aside(write_text, &g_prepared.aside, kTextPatienceMs);
    Report* const report = aside ? &g_prepared.aside : &g_prepared.own;
    // Late: most likely this thread holds a lock that everybody else needs, the heap's for example. It does all
    // itself.
    if (!aside) write_text(report);
    run_step(aside, start_dump_writer, nullptr, kLaunchPatienceMs);
    g_prepared.dump_is_written = dump_gets_written();
    if (g_prepared.dump_is_written) run_step(aside, write_text, report, kTextPatienceMs);
    run_step(aside, tidy, nullptr, kTidyPatienceMs);
}

static BOOL CALLBACK note_any_window(HWND /*window*/, LPARAM param) {
    *reinterpret_cast<bool*>(param) = true;
    return FALSE;
}

// On the crashed thread the box's message loop would let the broken program go on, so it has a thread of its own,
// too, as long as that one comes so far.
static void show_box_and_wait() {
    DWORD id = 0;
    HANDLE helper = CreateThread(nullptr, 0, show_box, nullptr, 0, &id);
    bool shown = helper && WaitForSingleObject(helper, kBoxPatienceMs) == WAIT_OBJECT_0;
    if (helper && !shown) EnumThreadWindows(id, note_any_window, reinterpret_cast<LPARAM>(&shown));
    if (!shown) {
        show_box(nullptr);
        return;
    }
    WaitForSingleObject(helper, INFINITE);
    CloseHandle(helper);
}

static void note_time() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    g_prepared.time = {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
    crash_file_name(g_prepared.time, "txt", g_prepared.text_name);
    crash_file_name(g_prepared.time, "dmp", g_prepared.dump_name);
}

// The report's own steps may fault on what is broken, and other threads may follow the first.
static void meet_another_crash() {
    if (GetCurrentThreadId() == g_prepared.helper_thread) TerminateThread(GetCurrentThread(), 1);
    Sleep(INFINITE);  // the first one's report ends the process
}

static LONG WINAPI report_crash(EXCEPTION_POINTERS* exception) {
    DWORD nobody = 0;
    if (!g_prepared.reporting_thread.compare_exchange_strong(nobody, GetCurrentThreadId())) {
        if (nobody == GetCurrentThreadId()) return EXCEPTION_EXECUTE_HANDLER;
        meet_another_crash();
    }
    one_controller_crashed();
    g_prepared.exception = exception;
    g_prepared.code = exception->ExceptionRecord->ExceptionCode;
    SetEvent(g_prepared.crashed);
    note_time();
    run_aside(write_log_line, nullptr, kLogPatienceMs);
    write_files();
    if (!g_prepared.unattended) show_box_and_wait();
    return EXCEPTION_EXECUTE_HANDLER;
}

// Waits for the crash from the start on: a new thread may not come into being any more.
static DWORD WINAPI end_when_overdue(void* /*unused*/) {
    WaitForSingleObject(g_prepared.crashed, INFINITE);
    Sleep(kWholePatienceMs);
    if (g_prepared.unattended) TerminateProcess(GetCurrentProcess(), g_prepared.code);
    return 0;
}

// For an end without an exception that the system would notice.
static void report_and_end(DWORD code, void* address) {
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = code;
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    record.ExceptionAddress = address;
    CONTEXT context;
    RtlCaptureContext(&context);
    EXCEPTION_POINTERS exception = {&record, &context};
    report_crash(&exception);
    TerminateProcess(GetCurrentProcess(), code);
}

static void on_abort(int /*signal*/) {
    signal(SIGABRT, on_abort);  // is taken back with each signal; the report's own steps may come here, too
    report_and_end(kAborted, __builtin_return_address(0));
}

// The runtime's start code catches what nobody catches on the main thread, and comes here.
static void on_terminate() {
    const bool thrown = abi::__cxa_current_exception_type() != nullptr;
    report_and_end(thrown ? kCxxException : kAborted, __builtin_return_address(0));
}

static void watch_time() {
    g_prepared.crashed = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (!g_prepared.crashed) return;
    if (HANDLE watch = CreateThread(nullptr, 0, end_when_overdue, nullptr, 0, nullptr)) CloseHandle(watch);
}

void crash_report_install(const char* log_path) {
    g_prepared.main_thread = GetCurrentThreadId();
    crash_report_set_log(log_path);
    const DWORD length = GetModuleFileNameW(nullptr, g_prepared.program, kPathSize);
    if (length >= kPathSize) g_prepared.program[0] = L'\0';
    watch_time();
    ULONG reserve = kReserveForOverflow;
    SetThreadStackGuarantee(&reserve);
    SetUnhandledExceptionFilter(report_crash);
    _set_error_mode(_OUT_TO_STDERR);  // abort() would ask for a click before it comes to us
    signal(SIGABRT, on_abort);
    std::set_terminate(on_terminate);
}

void crash_report_set_unattended() {
    g_prepared.unattended = true;
}

void crash_report_set_log(const char* path) {
    wchar_t wide[kPathSize] = L"";
    MultiByteToWideChar(CP_UTF8, 0, path, -1, wide, kPathSize);
    const DWORD length = GetFullPathNameW(wide, kPathSize, g_prepared.log_path, nullptr);
    if (length == 0 || length >= kPathSize) g_prepared.log_path[0] = L'\0';
    lstrcpynW(g_prepared.folder, g_prepared.log_path, kPathSize);
    int32_t end = lstrlenW(g_prepared.folder);
    while (end > 0 && g_prepared.folder[end - 1] != L'\\') --end;
    g_prepared.folder[end] = L'\0';
}

void crash_report_set_workers(const ProcessManager* processes) {
    g_prepared.processes = processes;
}
