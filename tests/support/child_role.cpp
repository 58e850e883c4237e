#ifdef _WIN32

#include "tests/support/child_role.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <windows.h>

namespace {

constexpr char kRoleSwitch[] = "--child-role";  // PROGRAM --child-role NAME READY_EVENT ARGUMENT...
constexpr char kNobodyWaits[] = "-";

struct NamedRole {
    const char* name;
    ChildRole role;
};

}  // namespace

static const char* ready_event = kNobodyWaits;

// Inside a function, because other files register while statics are still being made.
static std::vector<NamedRole>& roles() {
    static std::vector<NamedRole> all;
    return all;
}

RegisterChildRole::RegisterChildRole(const char* name, ChildRole role) {
    roles().push_back({name, role});
}

static int exit_with(int argc, char** argv) {
    return argc > 0 ? atoi(argv[0]) : 0;
}

static int run(int, char**) {
    child_announce_ready();
    return child_run_until_ended();
}

static const RegisterChildRole kExit("exit", exit_with);
static const RegisterChildRole kRun("run", run);

bool run_child_role(int argc, char** argv, int* exit_code) {
    if (argc < 4 || strcmp(argv[1], kRoleSwitch) != 0) return false;
    ready_event = argv[3];
    for (const NamedRole& entry : roles()) {
        if (strcmp(entry.name, argv[2]) != 0) continue;
        *exit_code = entry.role(argc - 4, argv + 4);
        return true;
    }
    fprintf(stderr, "no such role: %s\n", argv[2]);
    *exit_code = 98;
    return true;
}

void child_announce_ready() {
    if (strcmp(ready_event, kNobodyWaits) == 0) return;
    HANDLE event = OpenEventA(EVENT_MODIFY_STATE, FALSE, ready_event);
    if (!event) return;
    SetEvent(event);
    CloseHandle(event);
}

int child_run_until_ended() {
    Sleep(120 * 1000);
    return 99;
}

std::string own_program_path() {
    char path[1024] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    return path;
}

static std::string command_line(const std::string& role, const std::string& ready,
                                const std::vector<std::string>& arguments, const std::string& program) {
    std::string line = "\"" + (program.empty() ? own_program_path() : program) + "\" " + kRoleSwitch + " \"" + role +
                       "\" \"" + ready + "\"";
    for (const std::string& argument : arguments) line += " \"" + argument + "\"";
    return line;
}

std::string child_command_line(const std::string& role, const std::vector<std::string>& arguments,
                               const std::string& program) {
    return command_line(role, kNobodyWaits, arguments, program);
}

ChildProcess::ChildProcess(const std::string& role, const std::vector<std::string>& arguments,
                           const std::string& program) {
    static int serial = 0;
    const std::string event =
        "Local\\OrvekTestReady_" + std::to_string(GetCurrentProcessId()) + "_" + std::to_string(++serial);
    ready_ = CreateEventA(nullptr, TRUE, FALSE, event.c_str());
    std::string line = command_line(role, event, arguments, program);
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child = {};
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &child)) {
        const DWORD error = GetLastError();
        ADD_FAILURE() << "cannot start " << line << ": error " << error;
        return;
    }
    CloseHandle(child.hThread);
    process_ = child.hProcess;
    pid_ = child.dwProcessId;
}

ChildProcess::~ChildProcess() {
    if (running()) end(97);
    if (process_) CloseHandle(process_);
    if (ready_) CloseHandle(ready_);
}

bool ChildProcess::wait_ready(uint32_t timeout_ms) {
    if (!process_ || !ready_) return false;
    const HANDLE either[] = {ready_, process_};  // a child that dies first will never be ready
    return WaitForMultipleObjects(2, either, FALSE, timeout_ms) == WAIT_OBJECT_0;
}

bool ChildProcess::wait_ended(uint32_t timeout_ms) {
    return process_ && WaitForSingleObject(process_, timeout_ms) == WAIT_OBJECT_0;
}

bool ChildProcess::running() {
    return process_ && WaitForSingleObject(process_, 0) == WAIT_TIMEOUT;
}

uint32_t ChildProcess::exit_code() const {
    DWORD code = 0;
    if (process_) GetExitCodeProcess(process_, &code);
    return code;
}

void ChildProcess::end(uint32_t code) {
    if (!process_) return;
    TerminateProcess(process_, code);
    WaitForSingleObject(process_, 20000);
}

#endif
