// Log-off, restart and shut-down. Windows may end the process as soon as the last message is answered, so everything
// that has to survive happens inside it.
#include "app/log.h"
#include "app/main_window_parts.h"
#include "app/ui_context.h"

static constexpr wchar_t kReason[] = L"Recordings are completed, settings saved and the workers ended.";

void main_window_session_may_end(UiContext* ui) {
    // Said now: Windows shows it to whoever waits, and does not end us after its usual five seconds.
    if (!ShutdownBlockReasonCreate(ui->window, kReason))
        log_warn("controller: Windows will not wait for the close (error %lu)", GetLastError());
}

void main_window_session_ends(UiContext* ui, bool ends) {
    if (ends) {
        log_info("controller: Windows ends the session — closing");
        grid_panel_close(&ui->grid);  // keeps its place, usually after the message loop
        main_window_close(ui);
    }
    ShutdownBlockReasonDestroy(ui->window);
}
