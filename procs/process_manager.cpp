#include "procs/process_manager.h"

#include <cstdio>

#include <windows.h>

#include "app/log.h"
#include "procs/worker_commands.h"

static constexpr UINT kStopExitCode = 1;
static constexpr uint32_t kLaunchFailedCode = 0xFFFFFFFFu;

static bool is_running(const ProcessSlot& slot) {
    return slot.state == kSlotRunning && slot.process != nullptr;
}

// It ran, and nobody has noticed its end yet.
static bool has_ended(const ProcessSlot& slot) {
    return is_running(slot) && WaitForSingleObject(slot.process, 0) == WAIT_OBJECT_0;
}

// As much of `text` as fits, terminated; "" for null.
template <size_t size>
static void copy_bounded(char (&target)[size], const char* text) {
    snprintf(target, size, "%s", text ? text : "");
}

static void note_end(ProcessSlot* slot, ProcessEnding ending) {
    slot->ending = ending;
    slot->ended_ms = GetTickCount64();
}

// Starts the slot's command line in the slot.
static int32_t launch(const ProcessManager* manager, ProcessSlot* slot) {
    char command_line[sizeof slot->command_line];  // CreateProcess writes into what it is given
    copy_bounded(command_line, slot->command_line);
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child = {};
    slot->launched_ms = GetTickCount64();
    slot->ending = kEndingNone;
    const char* const dir = manager->work_dir[0] != '\0' ? manager->work_dir : nullptr;
    if (!CreateProcessA(nullptr, command_line, nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, dir, &startup,
                        &child)) {
        const DWORD error = GetLastError();
        log_error("CreateProcess failed for '%s': %lu", slot->name, error);
        slot->state = kSlotFailed;
        slot->exit_code = kLaunchFailedCode;
        note_end(slot, kEndingNotStarted);
        return -1;
    }
    slot->process = child.hProcess;
    slot->pid = child.dwProcessId;
    slot->state = kSlotRunning;
    CloseHandle(child.hThread);
    log_info("launched %s (PID %lu): %s", slot->name, child.dwProcessId, slot->command_line);
    return 0;
}

// Notes the ended (or given up) child's code and lets go of its handle.
static void collect_exit(ProcessSlot* slot, ProcessEnding ending) {
    DWORD code = 0;
    GetExitCodeProcess(slot->process, &code);
    slot->exit_code = code;
    CloseHandle(slot->process);
    slot->process = nullptr;
    note_end(slot, ending);
}

// Terminates at once: children that need a clean end were told through the control block before.
static void stop_running(ProcessSlot* slot, uint32_t timeout_ms) {
    slot->auto_restart = 0;
    log_info("stopping %s (PID %lu)", slot->name, static_cast<DWORD>(slot->pid));
    // It may have crashed since the last poll; then that is how it ended.
    ProcessEnding ending = has_ended(*slot) ? kEndingByItself : kEndingByConsole;
    TerminateProcess(slot->process, kStopExitCode);
    if (WaitForSingleObject(slot->process, timeout_ms) == WAIT_TIMEOUT) {
        log_error("timeout waiting for %s to exit", slot->name);
        ending = kEndingGivenUp;
    }
    collect_exit(slot, ending);
    slot->state = kSlotStopped;
}

static void restart(const ProcessManager* manager, ProcessSlot* slot) {
    ++slot->restarts;
    log_info("restarting %s (attempt %d)", slot->name, slot->restarts);
    if (launch(manager, slot) != 0) log_error("failed to restart %s", slot->name);
}

void procmgr_init(ProcessManager* manager) {
    *manager = {};
}

void procmgr_set_work_dir(ProcessManager* manager, const char* dir) {
    copy_bounded(manager->work_dir, dir);
    if (manager->work_dir[0] != '\0') log_info("child process work_dir: %s", manager->work_dir);
}

int32_t procmgr_spawn(ProcessManager* manager, uint32_t kind, uint32_t index, const char* command_line,
                      uint32_t auto_restart) {
    int32_t free_slot = 0;
    while (free_slot < kProcessSlots && manager->slots[free_slot].state != kSlotEmpty) ++free_slot;
    if (free_slot == kProcessSlots) {
        log_error("no free process slots (max %d)", kProcessSlots);
        return -1;
    }
    ProcessSlot* const slot = &manager->slots[free_slot];
    *slot = {};
    slot->kind = kind;
    slot->index = index;
    slot->auto_restart = auto_restart;
    copy_bounded(slot->command_line, command_line);
    worker_display_name(kind, index, free_slot, slot->name);
    if (launch(manager, slot) != 0) return -1;
    if (free_slot >= manager->count) manager->count = free_slot + 1;
    return free_slot;
}

int32_t procmgr_find(const ProcessManager* manager, uint32_t kind, uint32_t index) {
    for (int32_t i = 0; i < manager->count; ++i) {
        const ProcessSlot& slot = manager->slots[i];
        if (slot.state != kSlotEmpty && slot.kind == kind && slot.index == index) return i;
    }
    return -1;
}

int32_t procmgr_find_running(const ProcessManager* manager, uint32_t kind, uint32_t index) {
    for (int32_t i = 0; i < manager->count; ++i) {
        const ProcessSlot& slot = manager->slots[i];
        if (slot.state == kSlotRunning && slot.kind == kind && slot.index == index) return i;
    }
    return -1;
}

ProcessSlot* procmgr_get(ProcessManager* manager, int32_t slot) {
    if (slot < 0 || slot >= kProcessSlots || manager->slots[slot].state == kSlotEmpty) return nullptr;
    return &manager->slots[slot];
}

static void log_exit(const ProcessSlot& slot) {
    if (slot.exit_code != 0) {
        log_error("%s exited with code %lu", slot.name, static_cast<DWORD>(slot.exit_code));
    } else {
        log_info("%s exited normally", slot.name);
    }
}

int32_t procmgr_poll(ProcessManager* manager) {
    int32_t exits = 0;
    for (int32_t i = 0; i < manager->count; ++i) {
        ProcessSlot* const slot = &manager->slots[i];
        if (!has_ended(*slot)) continue;
        ++exits;
        collect_exit(slot, kEndingByItself);
        log_exit(*slot);
        slot->state = slot->exit_code != 0 ? kSlotFailed : kSlotStopped;
        // Without limit or back-off: a crashed detector comes back without the operator.
        if (slot->auto_restart != 0 && manager->shutting_down == 0) restart(manager, slot);
    }
    return exits;
}

int32_t procmgr_collect_ended(ProcessManager* manager, uint32_t kind) {
    int32_t running = 0;
    for (int32_t i = 0; i < manager->count; ++i) {
        ProcessSlot* const slot = &manager->slots[i];
        if (slot->kind != kind || !is_running(*slot)) continue;
        if (!has_ended(*slot)) {
            ++running;
            continue;
        }
        collect_exit(slot, kEndingByItself);
        log_exit(*slot);
        slot->state = kSlotStopped;
    }
    return running;
}

int32_t procmgr_stop(ProcessManager* manager, int32_t slot, uint32_t timeout_ms) {
    if (slot < 0 || slot >= kProcessSlots) return -1;
    if (is_running(manager->slots[slot])) stop_running(&manager->slots[slot], timeout_ms);
    return 0;
}

int32_t procmgr_stop_kind(ProcessManager* manager, int32_t kind, uint32_t timeout_ms) {
    int32_t stopped = 0;
    for (int32_t i = 0; i < manager->count; ++i) {
        ProcessSlot* const slot = &manager->slots[i];
        if (!is_running(*slot) || (kind >= 0 && slot->kind != static_cast<uint32_t>(kind))) continue;
        stop_running(slot, timeout_ms);
        ++stopped;
    }
    return stopped;
}

void procmgr_shutdown(ProcessManager* manager) {
    log_info("process manager shutting down");
    manager->shutting_down = 1;
    procmgr_stop_kind(manager, -1, kStopTimeoutMs);
}

void procmgr_release_all(ProcessManager* manager) {
    for (ProcessSlot& slot : manager->slots) {
        if (slot.process) CloseHandle(slot.process);
        slot.process = nullptr;
        if (slot.state == kSlotStopped || slot.state == kSlotFailed) slot = {};
    }
}
