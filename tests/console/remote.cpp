#include "tests/console/remote.h"

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
    HANDLE thread = CreateRemoteThread(console.process, nullptr, 0,
                                       reinterpret_cast<LPTHREAD_START_ROUTINE>(page(console) + kCodeAt),
                                       page(console) + kCallAt, 0, nullptr);
    if (thread != nullptr) CloseHandle(thread);
}

uint64_t remote_crash_in_image(const Console& console) {
    const auto function = reinterpret_cast<const void*>(&GetModuleHandleA);
    const uint64_t image = remote_call(console, function);
    HANDLE thread = CreateRemoteThread(console.process, nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(image),
                                       nullptr, 0, nullptr);
    if (thread != nullptr) CloseHandle(thread);
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
    HANDLE thread =
        CreateRemoteThread(console.process, nullptr, 0,
                           reinterpret_cast<LPTHREAD_START_ROUTINE>(page(console) + kDataAt), nullptr, 0, nullptr);
    if (thread != nullptr) CloseHandle(thread);
}
