// Orvek.exe from its first line to its last: what is started in which order, and taken down in which.
#include <windows.h>

#include <cstdio>
#include <memory>
#include <new>

#include "app/command_line.h"
#include "app/crash_report.h"
#include "app/dump_writer.h"
#include "app/file_exists.h"
#include "app/log.h"
#include "app/main_window.h"
#include "app/one_controller.h"
#include "app/settings_location.h"
#include "app/test_modes.h"
#include "app/ui_context.h"
#include "ipc/kill_stale.h"
#include "procs/feed_orchestration.h"
#include "procs/process_manager.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"

// Windows asks processes from high to low; children begin at 0x280.
static constexpr DWORD kBeforeWorkers = 0x300;
static constexpr char kLogFile[] = "controller_debug.log";
static constexpr char kSecondStartLog[] = "controller_second_start.log";

// A window program has no console. A script's redirected output is used as it is, else the console of whoever
// started us.
static void print_usage() {
    HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    const bool redirected =
        output && output != INVALID_HANDLE_VALUE && GetFileType(output) != FILE_TYPE_UNKNOWN && _fileno(stdout) >= 0;
    if (!redirected && AttachConsole(ATTACH_PARENT_PROCESS) && !freopen("CONOUT$", "w", stdout)) return;
    printf("%s", usage_text());
    fflush(stdout);
}

static void find_settings(const CommandLine& command_line, char path[kSettingsPathSize]) {
    char exe_path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, exe_path, sizeof exe_path);
    resolve_settings_path(exe_path, command_line.settings_file, file_exists, nullptr, path);
}

// The children work where the settings are: their own files are named relative to it.
static void set_work_dir(ProcessManager* processes, const char* settings_path) {
    char directory[kSettingsPathSize];
    if (settings_directory(settings_path, directory) == 0) procmgr_set_work_dir(processes, directory);
}

// An unattended run has nobody who could press OK.
static void show_start_error(const CommandLine& command_line, const char* text) {
    if (command_line.mode == kModeInteractive) MessageBoxA(nullptr, text, "Controller Error", MB_OK | MB_ICONERROR);
}

static void take_command_line(UiContext* ui, const CommandLine& command_line) {
    const Settings& s = *ui->settings;
    const RunLimits limits = resolve_limits(command_line, {s.auto_setup_max_jumpers, s.auto_setup_max_frames,
                                                           s.practice_max_jumpers, s.practice_max_frames});
    CliState& cli = ui->cli;
    cli.mode = command_line.mode;
    cli.max_movies = limits.max_movies;
    cli.max_frames = limits.max_frames;
    snprintf(cli.practice_dir, sizeof cli.practice_dir, "%s", command_line.practice_dir);
    cli.source = command_line.source;
    cli.duration = command_line.duration;
    cli.pause_before_start = command_line.pause_before_start;
}

// Where the settings are, or will be.
static void find_rig_folder(const char* settings_path, char folder[kSettingsPathSize]) {
    char full_path[kSettingsPathSize] = "";
    GetFullPathNameA(settings_path, sizeof full_path, full_path, nullptr);
    folder[0] = '\0';
    settings_directory(full_path, folder);
}

// The running controller's log is open, and only it may move it aside: this start has a log of its own.
static int refuse_start(const CommandLine& command_line, const RunningController& running, const char* folder) {
    log_open("controller", 0, kSecondStartLog);
    crash_report_set_log(kSecondStartLog);
    log_error("%s", second_start_log_text(running).c_str());
    log_close();
    if (command_line.mode != kModeInteractive) return 1;
    MessageBoxA(nullptr, second_start_text(running, folder).c_str(), kSecondStartCaption,
                MB_OK | MB_ICONINFORMATION | MB_SETFOREGROUND);
    one_controller_bring_forward(running);
    return 1;
}

static void begin_log(const char* settings_path) {
    log_open("controller", 0, kLogFile);
    log_info("starting controller, settings: %s", settings_path);
    log_info("Orvekline %s", ORVEK_VERSION);
}

static void clean_up_after_predecessor(ControllerClaim claim) {
    if (start_may_end_orphans(claim)) return kill_stale();
    log_warn("controller: cannot tell whether another controller runs — workers of an earlier run are left alone");
}

static int fail_start(const CommandLine& command_line, const char* text) {
    show_start_error(command_line, text);
    return 1;
}

static int run_window(HINSTANCE instance, const CommandLine& command_line, Settings* settings,
                      ProcessManager* processes, const char* settings_path) {
    std::unique_ptr<UiContext> ui(new (std::nothrow) UiContext());
    if (!ui) {
        log_error("failed to allocate UI context (%llu bytes)", static_cast<unsigned long long>(sizeof(UiContext)));
        return fail_start(command_line, "Out of memory for UI context");
    }
    if (main_window_create(ui.get(), instance, settings, processes, settings_path) != 0) {
        log_error("failed to create controller UI");
        ui.reset();
        return fail_start(command_line, "controller_ui_create failed");
    }
    take_command_line(ui.get(), command_line);
    test_mode_schedule(ui.get());
    sync_captures(ui.get());

    const int32_t quit_code = main_window_run(ui.get());

    const int32_t cli_exit_code = ui->cli.exit_code;
    main_window_destroy(ui.get());
    ui.reset();
    procmgr_release_all(processes);
    const bool unattended = command_line.mode != kModeInteractive;
    if (unattended) log_info("CLI mode: exit code %d", cli_exit_code);
    log_info("controller exiting");
    return unattended ? cli_exit_code : quit_code;
}

static int run_controller(HINSTANCE instance, const CommandLine& command_line, const char* settings_path) {
    const auto settings = std::make_unique<Settings>();
    settings_init_defaults(settings.get());
    settings_load(settings.get(), settings_path);

    const auto processes = std::make_unique<ProcessManager>();
    procmgr_init(processes.get());
    set_work_dir(processes.get(), settings_path);
    crash_report_set_workers(processes.get());
    const int exit_code = run_window(instance, command_line, settings.get(), processes.get(), settings_path);
    crash_report_set_workers(nullptr);
    return exit_code;
}

int WINAPI WinMain(HINSTANCE instance, HINSTANCE /*previous*/, LPSTR command_line_text, int /*show*/) {
    int dump_exit_code = 0;
    if (dump_writer_ran(&dump_exit_code)) return dump_exit_code;
    crash_report_install(kLogFile);
    // At log-off we are asked before our workers are: they would be ended in the middle of a recording.
    SetProcessShutdownParameters(kBeforeWorkers, 0);

    CommandLine command_line;
    const int32_t parsed = parse_command_line(command_line_text, &command_line);
    if (parsed != 0) {
        print_usage();
        return parsed == 1 ? 0 : 1;
    }
    if (command_line.mode != kModeInteractive) crash_report_set_unattended();

    char settings_path[kSettingsPathSize];
    find_settings(command_line, settings_path);
    char folder[kSettingsPathSize];
    find_rig_folder(settings_path, folder);
    RunningController running;
    const ControllerClaim claim = one_controller_claim(folder, &running);
    if (claim == ControllerClaim::taken) return refuse_start(command_line, running, folder);

    begin_log(settings_path);
    clean_up_after_predecessor(claim);
    const int exit_code = run_controller(instance, command_line, settings_path);
    log_close();
    one_controller_release();
    return exit_code;
}
