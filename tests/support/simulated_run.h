// An Auto Setup run without window, clock and control block, for tests of its monitor.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "autosetup/run_monitor.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/settings_text.h"

// A whole run without window and clock: what the console reads from the control block once a second is put here by
// hand, and its answers are carried out on the spot.
class SimulatedRun {
public:
    explicit SimulatedRun(const char* settings_text = "") : settings(settings_from_text(settings_text)) {
        settings->cli_wait_for_active_motion = 0;
        inputs.limits = {10, 30000};
        inputs.jumpers = 4;
    }
    void start(bool has_control_block = true) {
        workspace.reset(workspace_create(settings.get()));
        has_control = has_control_block;
        inputs.wait_for_active_motion = settings->cli_wait_for_active_motion != 0;
        counters_cleared = run_monitor_start(&monitor, settings.get(), has_control, inputs.jumpers) ? 1 : 0;
        saves = 1;
    }
    // One second. False once the run has finished.
    bool tick() {
        if (has_control &&
            run_monitor_trial(&monitor, settings.get(), workspace.get(), trial) == TrialAnswer::narrowed) {
            trial = {};
            ++counters_cleared;
            ++saves;
            run_monitor_log_narrowed(monitor);
        }
        if (run_monitor_limits(&monitor, inputs) == RunAnswer::keep_running) return true;
        run_monitor_finish(&monitor, *settings, workspace.get());
        return false;
    }
    // A second in which the video goes on.
    bool play() {
        inputs.nw += 60;
        inputs.frames += 60;
        return tick();
    }
    // A second at whose end the trial has its frames: of 300 per feed these were slow.
    bool play_trial(uint32_t slow0, uint32_t slow1, uint32_t slow2) {
        trial = {{300, 300, 300}, {slow0, slow1, slow2}};
        return play();
    }
    std::string end_columns() const {
        std::string text;
        for (const int32_t column : workspace->region_end_x) text += std::to_string(column) + " ";
        return text;
    }
    std::string columns() const {
        std::string text;
        for (int32_t f = 0; f < 3; ++f)
            text +=
                std::to_string(settings->motion_start_x[f]) + ".." + std::to_string(settings->motion_end_x[f]) + " ";
        return text;
    }

    std::unique_ptr<Settings> settings;
    WorkspacePtr workspace;
    RunMonitor monitor;
    RunInputs inputs;
    TrialCounters trial = {};
    bool has_control = true;
    int32_t counters_cleared = 0, saves = 0;
};
