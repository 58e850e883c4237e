#include "settings/camera_probe.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "app/log.h"
#include "ipc/scoped_handle.h"

namespace {

constexpr size_t kChunkSize = 4096;
constexpr int32_t kChunksPerStep = 64;  // a program that floods us must not keep the window from its messages
constexpr UINT kEndedExitCode = 1;

// Holds the one handle a child is to inherit.
struct InheritList {
    alignas(std::max_align_t) char bytes[256];
    LPPROC_THREAD_ATTRIBUTE_LIST list = nullptr;
    ~InheritList() {
        if (list) DeleteProcThreadAttributeList(list);
    }
};

}  // namespace

// `handle` must outlive the list.
static bool inherit_only(HANDLE* handle, InheritList* inherit) {
    auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(inherit->bytes);
    SIZE_T size = sizeof inherit->bytes;
    if (!InitializeProcThreadAttributeList(list, 1, 0, &size)) return false;
    inherit->list = list;
    return UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handle, sizeof *handle, nullptr,
                                     nullptr) != FALSE;
}

// Workers that other parts launch at the same time must not inherit the pipe: it would seem open for ever.
static bool launch(char* command, HANDLE write_end, PROCESS_INFORMATION* child) {
    InheritList inherit;
    if (!inherit_only(&write_end, &inherit)) return false;
    STARTUPINFOEXA startup = {};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdOutput = write_end;
    startup.StartupInfo.hStdError = write_end;
    startup.lpAttributeList = inherit.list;
    return CreateProcessA(nullptr, command, nullptr, nullptr, TRUE, CREATE_NO_WINDOW | EXTENDED_STARTUPINFO_PRESENT,
                          nullptr, nullptr, &startup.StartupInfo, child) != FALSE;
}

static int32_t start(CameraProbe* probe, char* command) {
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    HANDLE read_end = nullptr;
    HANDLE write_end = nullptr;
    if (!CreatePipe(&read_end, &write_end, &inheritable, 0)) return -1;
    ScopedHandle output(read_end);
    const ScopedHandle input(write_end);  // ours closes here: the pipe is to break when the child's does
    PROCESS_INFORMATION child = {};
    if (!launch(command, input.get(), &child)) return -1;
    CloseHandle(child.hThread);
    probe->process = child.hProcess;
    probe->output = output.release();
    return 0;
}

int32_t camera_probe_start(CameraProbe* probe, const char* exe_dir, uint32_t patience_ms) {
    camera_probe_close(probe);
    *probe = {};
    probe->deadline_ms = GetTickCount64() + patience_ms;
    char command[MAX_PATH + 32];
    snprintf(command, sizeof command, R"("%s\capture.exe" --list)", exe_dir);
    if (start(probe, command) == 0) return 0;
    log_error(R"(Select Cameras: _popen failed for '"%s\capture.exe" --list 2>&1')", exe_dir);
    return -1;
}

// False at the end of the output, or when the list needs no more of it.
static bool take_output(CameraProbe* probe) {
    for (int32_t i = 0; i < kChunksPerStep; ++i) {
        // What the program printed before its end is in the pipe by the time its end is seen.
        const bool ended = WaitForSingleObject(probe->process, 0) == WAIT_OBJECT_0;
        DWORD waiting = 0;
        if (!PeekNamedPipe(probe->output, nullptr, 0, nullptr, &waiting, nullptr)) return false;
        if (waiting == 0) return !ended;
        char chunk[kChunkSize];
        DWORD got = 0;
        const DWORD wanted = std::min<DWORD>(waiting, sizeof chunk);
        if (!ReadFile(probe->output, chunk, wanted, &got, nullptr)) return false;
        if (!camera_list_feed(&probe->reader, chunk, got)) return false;
    }
    return true;
}

CameraSearch camera_probe_step(CameraProbe* probe) {
    CameraSearch search = CameraSearch::complete;
    if (take_output(probe)) {
        if (GetTickCount64() < probe->deadline_ms) return CameraSearch::running;
        search = CameraSearch::ended_late;
        log_warn("Select Cameras: capture.exe --list did not finish in time and was ended");
    }
    camera_list_finish(&probe->reader);
    camera_probe_close(probe);
    log_info("Select Cameras: enumerated %d USB capture device(s) via capture.exe --list", probe->reader.list.count);
    return search;
}

void camera_probe_close(CameraProbe* probe) {
    if (probe->process) {
        if (WaitForSingleObject(probe->process, 0) != WAIT_OBJECT_0) TerminateProcess(probe->process, kEndedExitCode);
        CloseHandle(probe->process);
    }
    if (probe->output) CloseHandle(probe->output);
    probe->process = nullptr;
    probe->output = nullptr;
}
