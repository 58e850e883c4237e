// What every test of the running program begins and ends with.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "tests/console/diagnostic_log.h"
#include "tests/console/driver.h"
#include "tests/console/installation.h"
#include "tests/console/shared_view.h"

// A private installation with fake workers, and at most one running Orvek.exe. Whatever a test leaves running is
// ended afterwards; when it failed, its folder stays, with the log and a picture of the screen.
class ConsoleTest : public testing::Test {
protected:
    explicit ConsoleTest(bool simulated_rig = false) : simulated_rig_(simulated_rig) {}
    void SetUp() override;
    void TearDown() override;

    // Starts the program; the test ends here when it does not come up.
    void start(const std::string& arguments = "");
    void start_with(std::initializer_list<const char*> settings_lines, const std::string& arguments = "");

    // Orders for the fake workers, one per line (fake_worker.h).
    void order_workers(std::initializer_list<const char*> lines);

    // Waits until the fake workers have reported each of these ("capfile[0] pid=").
    void wait_for_workers(std::initializer_list<const char*> reports);

    // A recorder has its eight seconds from the request on, whether it is up by then or not.
    void wait_for_recorders();

    // Maps the program's control block and sync objects into `shared`.
    void open_shared();

    // Shows a tab and presses a button on it.
    void press_on(int32_t tab, int32_t id);

    Installation installation = {};
    Console console = {};
    SharedView shared = {};

private:
    bool simulated_rig_;
};

testing::AssertionResult status_becomes(const Console& console, const std::string& text,
                                        uint32_t patience_ms = kPatienceMs);
testing::AssertionResult button_becomes(const Console& console, int32_t id, const std::string& text);

// The running children by display name ("motion[1]"), as the process list shows them in slot order, blank-separated.
// The process list must be on the screen.
std::string running_children(const Console& console);
testing::AssertionResult running_children_become(const Console& console, const std::string& names);
uint32_t pid_of_child(const Console& console, const std::string& name);

// Brings a window of the program forward and waits until it stays there: another that was shown just before still
// takes the foreground when the display gets round to it.
testing::AssertionResult brought_to_front(HWND window);

// Reads a value until it is as expected.
template <class Read, class Value>
testing::AssertionResult becomes(const char* what, Read read, const Value& expected,
                                 uint32_t patience_ms = kPatienceMs) {
    if (wait_until([&] { return read() == expected; }, patience_ms)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << what << ": expected " << testing::PrintToString(expected) << ", got "
                                       << testing::PrintToString(read());
}
