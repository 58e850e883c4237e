// The Windows test program starts itself again as its own child, so that tests meet real processes with real deaths.
// What the child does is a role: a function registered under a name by any test file. main() hands over to it before
// GoogleTest sees the arguments.
//
//     static int hold_it(int argc, char** argv) { ...; child_announce_ready(); return child_run_until_ended(); }
//     static const RegisterChildRole kHoldIt("hold it", hold_it);
//     ...
//     ChildProcess child("hold it", {"7"});      // argv = {"7"}
//     ASSERT_TRUE(child.wait_ready());
#pragma once

#ifdef _WIN32

#include <cstdint>
#include <string>
#include <vector>

// `argv` holds the role's own arguments only. The result is the child's exit code.
using ChildRole = int (*)(int argc, char** argv);

struct RegisterChildRole {
    RegisterChildRole(const char* name, ChildRole role);
};

// For main(): true when this process is a child, its role done and `*exit_code` set.
bool run_child_role(int argc, char** argv, int* exit_code);

// Within a role: lets the parent's wait_ready() go on. Does nothing in a child that nobody waits for.
void child_announce_ready();

// Within a role: sleeps until the parent ends this process. Gives up after two minutes (with exit code 99), so that
// a crashed test leaves nothing behind.
int child_run_until_ended();

// The command line that plays `role`, for code under test that launches processes itself; `program` plays it (empty:
// this test program). Two roles are always there: "exit" with a code, and "run" until ended.
std::string child_command_line(const std::string& role, const std::vector<std::string>& arguments = {},
                               const std::string& program = {});

std::string own_program_path();

// A child and its handle. It is ended with the holder.
class ChildProcess {
public:
    explicit ChildProcess(const std::string& role, const std::vector<std::string>& arguments = {},
                          const std::string& program = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool started() const {
        return process_ != nullptr;
    }
    uint32_t pid() const {
        return pid_;
    }
    bool wait_ready(uint32_t timeout_ms = 20000);
    bool wait_ended(uint32_t timeout_ms = 20000);
    bool running();
    uint32_t exit_code() const;  // valid once ended
    void end(uint32_t code);     // terminates and waits

private:
    void* process_ = nullptr;
    void* ready_ = nullptr;
    uint32_t pid_ = 0;
};

#endif
