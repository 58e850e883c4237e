#include "tests/console/console_test.h"

#include <cstdio>

#include "tests/console/screenshot.h"

static std::string test_name() {
    const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(info->test_suite_name()) + "_" + info->name();
    for (char& c : name) c = c == '/' ? '_' : c;
    return name;
}

void ConsoleTest::SetUp() {
    // `./dev test` tells by this name what needs the machine for itself.
    const std::string suite = testing::UnitTest::GetInstance()->current_test_info()->test_suite_name();
    ASSERT_TRUE(!simulated_rig_ || suite.ends_with("OnTheRig")) << suite;
    ASSERT_TRUE(installation_create(&installation, test_name(), simulated_rig_));
}

void ConsoleTest::TearDown() {
    const bool failed = HasFailure();
    if (failed) {
        save_screenshot(installation_path(installation, "screen.bmp"));
        fprintf(stderr, "The log, the files and a picture of the screen (screen.bmp) are in %s\n",
                installation.folder.c_str());
    } else if (getenv("ORVEK_KEEP_PICTURES") != nullptr && console.process != nullptr) {
        save_screenshot(installation.folder + ".bmp");
    }
    shared_view_close(&shared);
    console_release(&console);
    installation_destroy(&installation, failed);
}

void ConsoleTest::start(const std::string& arguments) {
    ASSERT_TRUE(console_start(installation, arguments, &console));
}

void ConsoleTest::start_with(std::initializer_list<const char*> settings_lines, const std::string& arguments) {
    installation_settings(installation, settings_lines);
    start(arguments);
}

void ConsoleTest::order_workers(std::initializer_list<const char*> lines) {
    std::string text;
    for (const char* line : lines) text += std::string(line) + "\n";
    installation_write(installation, "fake.txt", text);
}

void ConsoleTest::wait_for_workers(std::initializer_list<const char*> reports) {
    for (const char* report : reports)
        ASSERT_TRUE(wait_until([&] {
            return installation_read(installation, "fake.log").find(report) != std::string::npos;
        })) << report;
}

void ConsoleTest::wait_for_recorders() {
    wait_for_workers({"capfile[0] pid=", "capfile[1] pid=", "capfile[2] pid="});
}

void ConsoleTest::open_shared() {
    ASSERT_TRUE(shared_view_open(&shared)) << "the control block or a sync object is missing";
}

void ConsoleTest::press_on(int32_t tab, int32_t id) {
    ASSERT_TRUE(current_tab(console) == tab || select_tab(console, tab));
    ASSERT_TRUE(press(console, id)) << "button " << id << " '" << button_text(console, id) << "' cannot be pressed";
}

testing::AssertionResult status_becomes(const Console& console, const std::string& text, uint32_t patience_ms) {
    return becomes(
        "status bar", [&] { return status_text(console); }, text, patience_ms);
}

testing::AssertionResult button_becomes(const Console& console, int32_t id, const std::string& text) {
    return becomes(
        "button text", [&] { return button_text(console, id); }, text);
}

std::string running_children(const Console& console) {
    std::string names;
    for (const ListRow& row : process_rows(console))
        if (row.state == "Running") names += (names.empty() ? "" : " ") + row.process;
    return names;
}

testing::AssertionResult running_children_become(const Console& console, const std::string& names) {
    return becomes(
        "running children", [&] { return running_children(console); }, names);
}

uint32_t pid_of_child(const Console& console, const std::string& name) {
    for (const ListRow& row : process_rows(console))
        if (row.process == name && row.state == "Running") return static_cast<uint32_t>(std::stoul(row.pid));
    return 0;
}

testing::AssertionResult brought_to_front(HWND window) {
    constexpr uint32_t kSettledMs = 400;
    const uint64_t deadline = GetTickCount64() + kPatienceMs;
    while (GetTickCount64() < deadline) {
        if (GetForegroundWindow() != window) SetForegroundWindow(window);
        if (!wait_until([&] { return GetForegroundWindow() != window; }, kSettledMs))
            return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "the window does not stay in front";
}
