#include "procs/recorders.h"

#include <windows.h>

#include <algorithm>

#include "ipc/control_block.h"
#include "ipc/shared_access.h"
#include "ipc/sync_set.h"
#include "procs/process_manager.h"
#include "procs/worker_commands.h"

static void set_all(uint32_t (&flags)[kRecorders], uint32_t value) {
    for (uint32_t& flag : flags) shared_store(flag, value);
}

void recorders_set_paused(const Recorders& recorders, uint32_t paused) {
    if (recorders.control) set_all(recorders.control->capfile_paused, paused);
}

void recorders_set_shutdown(const Recorders& recorders, uint32_t shutdown) {
    if (recorders.control) set_all(recorders.control->capfile_shutdown, shutdown);
}

void recorders_signal(const Recorders& recorders) {
    ipc_signal(recorders.sync, kEventCapfile);
}

int32_t recorder_launch(const Recorders& recorders, int32_t feed) {
    char command_line[kCommandTextSize];
    if (worker_command_line(kKindCapfile, recorders.exe_dir, feed, nullptr, command_line) != 0) return -1;
    const int32_t slot = procmgr_spawn(recorders.processes, kKindCapfile, worker_slot_index(kKindCapfile, feed),
                                       command_line, worker_kind(kKindCapfile)->auto_restart);
    return slot < 0 ? -1 : 0;
}

static bool is_running_recorder(const ProcessSlot& child) {
    return child.state == kSlotRunning && child.kind == kKindCapfile;
}

int32_t recorders_running(const Recorders& recorders) {
    const ProcessManager& processes = *recorders.processes;
    return static_cast<int32_t>(
        std::count_if(processes.slots, processes.slots + processes.count, is_running_recorder));
}

static void wait_for_all(ProcessManager* processes) {
    const DWORD start = GetTickCount();
    while (procmgr_collect_ended(processes, kKindCapfile) > 0 && GetTickCount() - start < kRecorderGraceMs)
        Sleep(kRecorderPollMs);
}

void recorders_finish(const Recorders& recorders, void (*warn)(int32_t feed)) {
    wait_for_all(recorders.processes);
    for (int32_t slot = 0; slot < recorders.processes->count; ++slot) {
        const ProcessSlot& child = recorders.processes->slots[slot];
        if (!is_running_recorder(child)) continue;
        warn(static_cast<int32_t>(child.index));
        procmgr_stop(recorders.processes, slot, kRecorderKillMs);
    }
}
