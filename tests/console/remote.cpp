#include "tests/console/remote.h"

#include <tlhelp32.h>

#include <cstring>
#include <iterator>

#include "app/utf16.h"
#include "tests/support/wait.h"

namespace {
// Layout of the remote page.
constexpr size_t kDataAt = 0;     // what a message points at
constexpr size_t kTextAt = 1024;  // text the program fills in
constexpr size_t kTextSize = 4096;
constexpr size_t kCallAt = 6144;
constexpr size_t kCodeAt = 7168;

struct RemoteCall {
    uint64_t function, a, b, c, d, e, result;
};

// void call(RemoteCall* rcx): result = function(a, b, c, d, e)
constexpr uint8_t kCallCode[] = {
    0x53,                          // push rbx
    0x48, 0x83, 0xEC, 0x40,        // sub  rsp, 64
    0x48, 0x89, 0xCB,              // mov  rbx, rcx
    0x48, 0x8B, 0x4B, 0x08,        // mov  rcx, [rbx + 8]
    0x48, 0x8B, 0x53, 0x10,        // mov  rdx, [rbx + 16]
    0x4C, 0x8B, 0x43, 0x18,        // mov  r8, [rbx + 24]
    0x4C, 0x8B, 0x4B, 0x20,        // mov  r9, [rbx + 32]
    0x48, 0x8B, 0x43, 0x28,        // mov  rax, [rbx + 40]
    0x48, 0x89, 0x44, 0x24, 0x20,  // mov  [rsp + 32], rax
    0xFF, 0x13,                    // call [rbx]
    0x48, 0x89, 0x43, 0x30,        // mov  [rbx + 48], rax
    0x31, 0xC0,                    // xor  eax, eax
    0x48, 0x83, 0xC4, 0x40,        // add  rsp, 64
    0x5B,                          // pop  rbx
    0xC3,                          // ret
};
}  // namespace

static uint8_t* page(const Console& console) {
    return static_cast<uint8_t*>(console.remote);
}

bool remote_open(Console* console) {
    console->remote =
        VirtualAllocEx(console->process, nullptr, kRemoteSize, MEM_RESERVE | MEM_COMMIT, PAGE_EXECUTE_READWRITE);
    return console->remote != nullptr &&
           WriteProcessMemory(console->process, page(*console) + kCodeAt, kCallCode, sizeof kCallCode, nullptr) != 0;
}

LRESULT send_with_data(const Console& console, HWND window, UINT message, WPARAM wparam, void* data, size_t size) {
    uint8_t* there = page(console) + kDataAt;
    WriteProcessMemory(console.process, there, data, size, nullptr);
    DWORD_PTR result = 0;
    SendMessageTimeoutW(window, message, wparam, reinterpret_cast<LPARAM>(there), SMTO_NORMAL, kPatienceMs, &result);
    ReadProcessMemory(console.process, there, data, size, nullptr);
    return static_cast<LRESULT>(result);
}

void* remote_text_place(const Console& console) {
    return page(console) + kTextAt;
}

std::string remote_text(const Console& console, size_t characters) {
    wchar_t text[kTextSize / sizeof(wchar_t)] = {};
    ReadProcessMemory(console.process, remote_text_place(console), text, sizeof text, nullptr);
    return utf8_from({text, characters < std::size(text) ? characters : std::size(text)});
}

static void start_there(const Console& console, uint64_t address, void* param = nullptr) {
    HANDLE thread = CreateRemoteThread(console.process, nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(address),
                                       param, 0, nullptr);
    if (thread != nullptr) CloseHandle(thread);
}

uint64_t remote_call(const Console& console, const void* function, uint64_t a, uint64_t b, uint64_t c, uint64_t d,
                     uint64_t e) {
    RemoteCall call = {reinterpret_cast<uint64_t>(function), a, b, c, d, e, 0};
    WriteProcessMemory(console.process, page(console) + kCallAt, &call, sizeof call, nullptr);
    HANDLE thread = CreateRemoteThread(console.process, nullptr, 0,
                                       reinterpret_cast<LPTHREAD_START_ROUTINE>(page(console) + kCodeAt),
                                       page(console) + kCallAt, 0, nullptr);
    if (thread == nullptr) return 0;
    WaitForSingleObject(thread, kPatienceMs);
    CloseHandle(thread);
    ReadProcessMemory(console.process, page(console) + kCallAt, &call, sizeof call, nullptr);
    return call.result;
}

void remote_crash(const Console& console) {
    // The call stub with a null function: its own call instruction faults, on a thread with a proper start.
    RemoteCall call = {};
    WriteProcessMemory(console.process, page(console) + kCallAt, &call, sizeof call, nullptr);
    start_there(console, reinterpret_cast<uint64_t>(page(console) + kCodeAt), page(console) + kCallAt);
}

uint64_t remote_crash_in_image(const Console& console) {
    const auto function = reinterpret_cast<const void*>(&GetModuleHandleA);
    const uint64_t image = remote_call(console, function);
    start_there(console, image);
    return image;
}

void remote_crash_holding_heap(const Console& console) {
    constexpr size_t kCodeSize = 31;
    constexpr size_t kFunctionAt = 6;
    constexpr size_t kHeapAt = 16;
    uint8_t code[kCodeSize] = {
        0x48, 0x83, 0xEC, 0x28,                    // sub  rsp, 40
        0x48, 0xB8, 0,    0,    0, 0, 0, 0, 0, 0,  // mov  rax, HeapLock
        0x48, 0xB9, 0,    0,    0, 0, 0, 0, 0, 0,  // mov  rcx, heap
        0xFF, 0xD0,                                // call rax
        0x31, 0xC0,                                // xor  eax, eax
        0xFF, 0xD0,                                // call rax
        0xC3,                                      // ret
    };
    const uint64_t heap = remote_call(console, reinterpret_cast<const void*>(&GetProcessHeap));
    const auto function = reinterpret_cast<uint64_t>(&HeapLock);
    memcpy(code + kFunctionAt, &function, sizeof function);
    memcpy(code + kHeapAt, &heap, sizeof heap);
    WriteProcessMemory(console.process, page(console) + kDataAt, code, sizeof code, nullptr);
    start_there(console, reinterpret_cast<uint64_t>(page(console) + kDataAt));
}

void remote_crash_without_heap(const Console& console) {
    constexpr uint32_t kDelayMs = 2000;
    constexpr size_t kCodeSize = 26;
    constexpr size_t kDelayAt = 5;
    constexpr size_t kFunctionAt = 11;
    uint8_t code[kCodeSize] = {
        0x48, 0x83, 0xEC, 0x28,                    // sub  rsp, 40
        0xB9, 0,    0,    0,    0,                 // mov  ecx, delay
        0x48, 0xB8, 0,    0,    0, 0, 0, 0, 0, 0,  // mov  rax, Sleep
        0xFF, 0xD0,                                // call rax
        0x31, 0xC0,                                // xor  eax, eax
        0xFF, 0xD0,                                // call rax
        0xC3,                                      // ret
    };
    const uint64_t heap = remote_call(console, reinterpret_cast<const void*>(&GetProcessHeap));
    const auto function = reinterpret_cast<uint64_t>(&Sleep);
    memcpy(code + kDelayAt, &kDelayMs, sizeof kDelayMs);
    memcpy(code + kFunctionAt, &function, sizeof function);
    WriteProcessMemory(console.process, page(console) + kDataAt, code, sizeof code, nullptr);
    // It has to exist before the lock is taken: no thread can begin without the heap.
    start_there(console, reinterpret_cast<uint64_t>(page(console) + kDataAt));
    pause_ms(kDelayMs / 4);
    remote_call(console, reinterpret_cast<const void*>(&HeapLock), heap);
}

bool remote_abort(const Console& console) {
    constexpr char kLibrary[] = "msvcrt.dll";
    constexpr char kFunction[] = "abort";
    uint8_t* const there = page(console) + kDataAt;
    const auto place = reinterpret_cast<uint64_t>(there);
    WriteProcessMemory(console.process, there, kLibrary, sizeof kLibrary, nullptr);
    const uint64_t library = remote_call(console, reinterpret_cast<const void*>(&GetModuleHandleA), place);
    WriteProcessMemory(console.process, there, kFunction, sizeof kFunction, nullptr);
    const uint64_t function = remote_call(console, reinterpret_cast<const void*>(&GetProcAddress), library, place);
    if (library == 0 || function == 0) return false;
    start_there(console, function);
    return true;
}

void remote_raise(const Console& console, uint32_t code) {
    constexpr size_t kCodeSize = 31;
    constexpr size_t kExceptionAt = 5;
    constexpr size_t kFunctionAt = 19;
    uint8_t bytes[kCodeSize] = {
        0x48, 0x83, 0xEC, 0x28,                    // sub  rsp, 40
        0xB9, 0,    0,    0,    0,                 // mov  ecx, code
        0x31, 0xD2,                                // xor  edx, edx
        0x45, 0x31, 0xC0,                          // xor  r8d, r8d
        0x45, 0x31, 0xC9,                          // xor  r9d, r9d
        0x48, 0xB8, 0,    0,    0, 0, 0, 0, 0, 0,  // mov  rax, RaiseException
        0xFF, 0xD0,                                // call rax
        0xEB, 0xFE,                                // jmp  here
    };
    const auto function = reinterpret_cast<uint64_t>(&RaiseException);
    memcpy(bytes + kExceptionAt, &code, sizeof code);
    memcpy(bytes + kFunctionAt, &function, sizeof function);
    WriteProcessMemory(console.process, page(console) + kDataAt, bytes, sizeof bytes, nullptr);
    start_there(console, reinterpret_cast<uint64_t>(page(console) + kDataAt));
}

void remote_stop_threads(const Console& console) {
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID != console.pid) continue;
        HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME, FALSE, entry.th32ThreadID);
        if (thread == nullptr) continue;
        SuspendThread(thread);
        CloseHandle(thread);
    }
    CloseHandle(snapshot);
}
