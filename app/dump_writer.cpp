#include "app/dump_writer.h"

#include <windows.h>

#include <dbghelp.h>
#include <tlhelp32.h>

#include <atomic>

#include "app/dump_order.h"
#include "ipc/scoped_handle.h"

namespace {

using WriteDump = decltype(&MiniDumpWriteDump);

constexpr auto kDumpType = static_cast<MINIDUMP_TYPE>(MiniDumpWithDataSegs | MiniDumpWithIndirectlyReferencedMemory |
                                                      MiniDumpWithThreadInfo | MiniDumpWithUnloadedModules);

constexpr DWORD kPatienceMs = 20000;
constexpr DWORD kPathSize = 1024;
constexpr DWORD kAccess =
    PROCESS_QUERY_INFORMATION | PROCESS_VM_READ | PROCESS_DUP_HANDLE | PROCESS_TERMINATE | SYNCHRONIZE;

struct Task {
    DumpOrder order = {};
    wchar_t path[kPathSize] = L"";
    HANDLE crashed = nullptr;
    std::atomic<bool> has_file{false};
    std::atomic<bool> written{false};
};
Task g_task;

}  // namespace

static DWORD WINAPI write_dump(void* /*unused*/) {
    // From Windows' own folder: a program's folder often holds an old one.
    HMODULE library = LoadLibraryExA("dbghelp.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!library) return 0;
    const auto write =
        reinterpret_cast<WriteDump>(reinterpret_cast<void*>(GetProcAddress(library, "MiniDumpWriteDump")));
    if (!write) return 0;
    const ScopedFile file(CreateFileW(g_task.path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                      nullptr, CREATE_ALWAYS, 0, nullptr));
    if (!file.valid()) return 0;
    g_task.has_file = true;
    MINIDUMP_EXCEPTION_INFORMATION about = {g_task.order.thread,
                                            reinterpret_cast<EXCEPTION_POINTERS*>(g_task.order.pointers), TRUE};
    g_task.written =
        write(g_task.crashed, g_task.order.process, file.get(), kDumpType, &about, nullptr, nullptr) != FALSE;
    return 0;
}

// What it reads may be damaged. A fault ends the attempt, not the process: somebody has to let go of the other one.
static LONG WINAPI give_up_attempt(EXCEPTION_POINTERS* /*exception*/) {
    TerminateThread(GetCurrentThread(), 1);
    return EXCEPTION_EXECUTE_HANDLER;
}

// Only another Orvek.exe, the same file, can have ordered this.
static bool is_this_program(HANDLE process) {
    wchar_t own[kPathSize] = L"";
    wchar_t path[kPathSize] = L"";
    DWORD length = kPathSize;
    if (!QueryFullProcessImageNameW(GetCurrentProcess(), 0, own, &length)) return false;
    length = kPathSize;
    return QueryFullProcessImageNameW(process, 0, path, &length) && lstrcmpiW(own, path) == 0;
}

// A thread that is not stopped is none the worse for it.
static void let_threads_go_on(DWORD process) {
    const ScopedFile snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    if (!snapshot.valid() || !Thread32First(snapshot.get(), &entry)) return;
    do {
        if (entry.th32OwnerProcessID != process) continue;
        const ScopedHandle thread(OpenThread(THREAD_SUSPEND_RESUME, FALSE, entry.th32ThreadID));
        if (thread.valid()) ResumeThread(thread.get());
    } while (Thread32Next(snapshot.get(), &entry));
}

// The attempt has left the other one's threads stopped.
static void let_go(HANDLE attempt) {
    TerminateThread(attempt, 1);
    if (g_task.order.end_code != 0) {
        TerminateProcess(g_task.crashed, g_task.order.end_code);  // nobody is there who could do it
    } else {
        let_threads_go_on(g_task.order.process);
    }
}

static int carry_out() {
    const ScopedHandle crashed(OpenProcess(kAccess, FALSE, g_task.order.process));
    if (!crashed.valid() || !is_this_program(crashed.get())) return 1;
    g_task.crashed = crashed.get();
    SetUnhandledExceptionFilter(give_up_attempt);
    const ScopedHandle attempt(CreateThread(nullptr, 0, write_dump, nullptr, 0, nullptr));
    if (!attempt.valid()) return 1;
    DWORD code = 1;
    const bool ended = WaitForSingleObject(attempt.get(), kPatienceMs) == WAIT_OBJECT_0 &&
                       GetExitCodeThread(attempt.get(), &code) && code == 0;
    if (g_task.written) return 0;
    if (!ended) let_go(attempt.get());
    if (g_task.has_file) DeleteFileW(g_task.path);  // half a dump helps nobody
    return 1;
}

bool dump_writer_ran(int* exit_code) {
    const DumpRequest request = dump_order_read(GetCommandLineW(), &g_task.order);
    if (request == DumpRequest::none) return false;
    *exit_code = 1;
    if (request == DumpRequest::malformed || g_task.order.file.size() >= kPathSize) return true;
    g_task.order.file.copy(g_task.path, kPathSize - 1);
    *exit_code = carry_out();
    // Without the runtime's and the libraries' own ends: an attempt that got stuck may hold what they need.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(*exit_code));
    return true;
}
