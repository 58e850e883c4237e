#include "app/commands.h"
#include "ipc/shared_access.h"
#include "procs/process_manager.h"
#include "procs/recorders.h"
#include "tests/console/diagnostic_log.h"
#include "tests/soak/soak.h"
#include "tests/support/wait.h"

static constexpr uint32_t kAnalysisAllowedMs = 20000;  // nobody promised less; long enough to be noticed
static constexpr uint32_t kCloseAllowedMs = 60000;
static constexpr int32_t kFaultsAtLeast = 3;

static bool time_is_up(const Soak& soak) {
    return GetTickCount64() - soak.started_ms > uint64_t{soak.minutes} * 60000;
}

static bool prepare(Soak* soak, const PlannedLife& life) {
    soak->rig = life.rig;
    soak->capture_panel_shown = soak->pulse_stopped = soak->has_shared = false;
    soak->host_pid = 0;
    for (bool& spoilt : soak->ring_spoilt) spoilt = false;
    soak->operator_dice.state = soak->seed ^ (static_cast<uint64_t>(soak->life) << 32);
    if (!installation_create(&soak->installation, "soak_" + std::to_string(soak->life), life.rig)) return false;
    if (!installation_bring(soak->installation, "orvekctl.exe")) return false;
    soak->settings = {soak->settings_folder.empty() ? soak->installation.folder : soak->settings_folder, nullptr};
    const std::string feeds = std::to_string(life.rig ? soak->rig_feeds : kFeedCount);
    installation_write(soak->settings, "settings.txt",
                       "feed_count=" + feeds + "\r\nauto_setup_adaptive_width_enable=0\r\n");
    installation_write(soak->settings, "jumpers.csv", "1,Eva Berg,IF Nord\r\n2,Matti Ahonen,Lahden HS\r\n");
    order_workers(*soak, "");
    return true;
}

static bool start(Soak* soak) {
    const uint64_t from = GetTickCount64();
    if (!console_start(soak->installation, settings_path(*soak), &soak->console)) {
        soak_fail(soak, "the program does not come up");
        return false;
    }
    const auto took = static_cast<uint32_t>(GetTickCount64() - from);
    soak->longest_start_ms = took > soak->longest_start_ms ? took : soak->longest_start_ms;
    soak->host_pid = find_on_host(*soak);
    return true;
}

static void start_workers(Soak* soak) {
    operator_tidies(soak);
    soak->has_shared = wait_until([&] {
        if (shared_view_open(&soak->shared)) return true;
        shared_view_close(&soak->shared);
        return false;
    });
    if (!soak->has_shared) soak_fail(soak, "the control block or a sync object is missing");
    if (!soak->rig) {
        select_tab(soak->console, kTabProcesses);
        press(soak->console, kCmdStartAll);
        wait_until([&] { return log_count(soak->installation, "launched videogen (PID *") > 0; });
        return;
    }
    silence_meter_expect(&soak->meter, kPinningAllowedMs, "the rig's fresh rings");
    press(soak->console, kCmdLaunchPractice);
    const bool ready = wait_until(
        [&] {
            return log_count(soak->installation, "practice: all processes ready*") +
                       log_count(soak->installation, "WRN practice: timed out*") >
                   0;
        },
        kPinningAllowedMs);
    if (!ready) soak_fail(soak, "the readiness wait does not end");
    operator_works(soak, 2000);
    operator_tidies(soak);
    silence_meter_expect(&soak->meter, kMachineSlackMs, "nothing");
}

// Once a life: its three recorders take slots that never come back.
static void show_capture_panel(Soak* soak) {
    if (soak->capture_panel_shown) return;
    soak->capture_panel_shown = true;
    operator_tidies(soak);
    silence_meter_expect(&soak->meter, kRecorderGraceMs + 3 * kStopTimeoutMs + kMachineSlackMs,
                         "recorders finishing their files");
    send_command(soak->console, kCmdFileCapture);
    wait_until([&] { return log_count(soak->installation, "capture_panel: opened *") > 0; });
    operator_works(soak, 1500);
    operator_tidies(soak);
    silence_meter_expect(&soak->meter, kMachineSlackMs, "nothing");
}

// ---------------------------------------------------------------------------------------------------------- the ends

static void wait_for_end(Soak* soak, const std::string& because, uint32_t children) {
    const uint64_t from = GetTickCount64();
    const int32_t code = console_wait_for_exit(&soak->console, kCloseAllowedMs);
    const auto took = static_cast<uint32_t>(GetTickCount64() - from);
    if (took > soak->longest_close_ms) {
        soak->longest_close_ms = took;
        soak->longest_close_because = because;
    }
    if (code != 0) soak_fail(soak, because + ": exit code " + std::to_string(code));
    if (code == -1) console_kill(&soak->console);
    const uint32_t allowed = kRecorderGraceMs + children * kStopTimeoutMs + kMachineSlackMs;
    if (took > allowed && children > 0) soak_fail(soak, because + ": took " + std::to_string(took) + " ms");
}

static void close(Soak* soak, const std::string& because) {
    const auto children = static_cast<uint32_t>(children_of(soak->console.pid).size());
    silence_meter_stop(&soak->meter);
    PostMessageW(soak->console.window, WM_CLOSE, 0, 0);
    wait_for_end(soak, because, children);
}

// The workers outlive the program; the next one has to find and end them.
static void kill_console(Soak* soak) {
    silence_meter_stop(&soak->meter);
    shared_view_close(&soak->shared);
    console_kill(&soak->console);
    if (!start(soak)) return;
    fault_done(soak, Fault::console_killed, {{"kill_stale: terminating orphan slot *", 1}});
    close(soak, "closed after orphans");
}

static void run_auto_setup(Soak* soak, Fault fault) {
    operator_tidies(soak);
    press(soak->console, kCmdAutoSetup);
    if (!wait_until([&] { return log_count(soak->installation, "auto setup: waiting for * jumpers *") > 0; }))
        soak_fail(soak, "Auto Setup does not begin");
    silence_meter_expect(&soak->meter, kAnalysisAllowedMs, std::string(fault_name(fault)));
    write_motion_logs(*soak, fault == Fault::huge_logs);
    soak->pulse_stopped = true;
    wait_for_end(soak, std::string(fault_name(fault)), 0);
    silence_meter_stop(&soak->meter);
    fault_done(soak, fault, {{"auto setup: monitoring complete, running analysis...", 1}});
}

static void end(Soak* soak, Fault fault) {
    if (!console_lives(*soak)) {
        soak_fail(soak, "the program is gone, see its log");
        silence_meter_stop(&soak->meter);
        console_release(&soak->console);
        return;
    }
    if (fault == Fault::console_killed) {
        kill_console(soak);
    } else if (fault == Fault::broken_logs || fault == Fault::huge_logs) {
        run_auto_setup(soak, fault);
    } else {
        close(soak, "closed");
        fault_done(soak, fault, {{"controller exiting", 1}});
    }
}

static void throw_faults(Soak* soak, const PlannedLife& life) {
    start_workers(soak);
    operator_works(soak, 1500);
    int32_t thrown = 0;
    for (const PlannedFault& fault : life.faults) {
        // A life that began in time throws some, also where its start took long.
        if ((time_is_up(*soak) && thrown++ >= kFaultsAtLeast) || !console_lives(*soak)) break;
        throw_fault(soak, fault);
        operator_works(soak, 500);
        operator_tidies(soak);
        show_capture_panel(soak);
        sample_resources(soak);
    }
}

static void clean_up(Soak* soak, bool keep) {
    for (TestRing& ring : soak->ring) test_ring_close(&ring);
    if (soak->shared.block != nullptr) shared_view_close(&soak->shared);
    installation_destroy(&soak->installation, keep);
}

bool soak_live(Soak* soak, const PlannedLife& life) {
    const size_t failures_before = soak->failures.size();
    soak_say(*soak, life.rig ? "a life on the simulated rig" : "a life with stand-ins for the workers");
    if (!prepare(soak, life)) return false;
    HANDLE holder = fault_at_start(life.start);
    const bool up = start(soak);
    if (up) {
        silence_meter_start(&soak->meter, soak->console.window, soak->host_pid, soak->installation);
        silence_meter_expect(&soak->meter, kMachineSlackMs, "nothing");
        fault_start_over(soak, life.start, holder);
        if (console_lives(*soak)) throw_faults(soak, life);
        end(soak, life.end);
        check_log(soak);
        check_files(soak);
        check_no_worker_left(soak);
        check_silences(soak);
    }
    ++(life.rig ? soak->lives_rig : soak->lives_fake);
    clean_up(soak, soak->failures.size() > failures_before);
    return up;
}
