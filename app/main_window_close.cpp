#include "app/main_window_parts.h"
#include "app/one_controller.h"
#include "app/ui_context.h"
#include "ipc/shared_access.h"
#include "procs/feed_orchestration.h"
#include "procs/file_capture.h"
#include "settings/settings_file.h"

static void tell_workers_to_end(UiContext* ui) {
    if (ControlBlock* control = ui_control_block(ui)) {
        shared_store(control->shutdown, 1u);
        for (int32_t k = 0; k < kPidSlotCount; ++k) {
            ipc_lock(&ui->sync, kMutexPidSlot + k);
            shared_store(control->pid_slot[k], kPidSlotEmpty);
            ipc_unlock(&ui->sync, kMutexPidSlot + k);
        }
    }
    wake_workers_to_shut_down(ui);
}

void main_window_close(UiContext* ui) {
    // The operator and an unattended run may both ask.
    if (ui->closing) return;
    ui->closing = true;
    one_controller_closing();

    const bool aborted = auto_setup_abort_for_close(ui);
    if (!aborted && ui->settings && ui->settings_path[0] != '\0') settings_save(ui->settings, ui->settings_path);
    main_window_save_state(ui);
    recordings_finish(ui);
    tell_workers_to_end(ui);
    procmgr_shutdown(ui->processes);
    PostQuitMessage(0);
}
