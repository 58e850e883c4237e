// A program that crashes says so, to the operator and in the log, and ends; without an operator it ends by itself.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/console/console_test.h"
#include "tests/console/remote.h"
#include "tests/support/video_probe.h"

namespace {

// A report that meets difficulties gives up after 45 seconds; here all of it may be slow besides.
constexpr uint32_t kReportPatienceMs = 45000 + kPatienceMs;

class Crash : public ConsoleTest {
protected:
    // File names, oldest first.
    std::vector<std::string> reports(const char* extension) {
        std::vector<std::string> names;
        for (const std::string& path : files_in_folder(installation.folder, extension)) {
            const std::string name = path.substr(path.rfind('\\') + 1);
            if (name.starts_with("crash_")) names.push_back(name);
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    // As Windows shows it; -1 when it does not end.
    uint32_t exit_code() {
        return static_cast<uint32_t>(console_wait_for_exit(&console, kReportPatienceMs));
    }
    std::string only_report() {
        const std::vector<std::string> names = reports(".txt");
        EXPECT_EQ(names.size(), 1u);
        return names.empty() ? "" : installation_read(installation, names[0]);
    }
};

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string hex(uint64_t value) {
    char text[32];
    snprintf(text, sizeof text, "0x%016llX", static_cast<unsigned long long>(value));
    return text;
}

}  // namespace

TEST_F(Crash, IsShownToTheOperatorWithCodeAndAddress) {
    start_with({});
    remote_crash(console);
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }, kReportPatienceMs));
    HWND box = message_box(console);
    EXPECT_TRUE(wait_until([&] {
        return message_box_text(box).find("Orvek.exe crashed!\nException code: 0xC0000005\nAddress: 0x") !=
               std::string::npos;
    })) << message_box_text(box);
    EXPECT_TRUE(message_box_text(box).starts_with("Controller Crash"));
    PostMessageW(box, WM_CLOSE, 0, 0);
    EXPECT_EQ(exit_code(), 0xC0000005u);
}

TEST_F(Crash, OfAnUnattendedRunWaitsForNobody) {
    start_with({"feed_count=1"}, "--practice-test");
    remote_crash(console);
    EXPECT_EQ(exit_code(), 0xC0000005u) << "when it still runs, perhaps with a message box";
}

TEST_F(Crash, LeavesWorkersThatTheNextStartEnds) {
    order_workers({"motion pid_slot 0"});
    start_with({"feed_count=1"}, "--practice-test");
    open_shared();
    ASSERT_TRUE(becomes(
        "a listed worker", [&] { return shared_load(shared.block->pid_slot[0]) != 0; }, true));
    const uint32_t motion = shared_load(shared.block->pid_slot[0]);
    remote_crash(console);
    ASSERT_EQ(exit_code(), 0xC0000005u);
    EXPECT_TRUE(is_running(motion));
    start();
    EXPECT_FALSE(is_running(motion));
}

TEST_F(Crash, LeavesAReportThatSaysWhatWhereAndWhoRan) {
    order_workers({"videogen exit 5"});
    start_with({"feed_count=1"}, "--practice-test");
    ASSERT_TRUE(log_shows(installation, "ERR videogen exited with code 5"));
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    const std::string pid = std::to_string(console.pid);
    std::string motion_pid;
    for (const ListRow& row : process_rows(console))
        if (row.process == "motion[1]") motion_pid = row.pid;
    const uint64_t address = remote_crash_in_image(console);
    EXPECT_EQ(exit_code(), 0xC0000005u);
    const std::string text = only_report();
    EXPECT_TRUE(text.starts_with("Orvek.exe crashed\n\nVersion:    " ORVEK_VERSION "\nTime:       20")) << text;
    EXPECT_TRUE(has(text, "access violation (0xC0000005), executing at address " + hex(address) + "\n")) << text;
    EXPECT_TRUE(has(text, "Address:    " + hex(address) + " = Orvek.exe+0x0\n")) << text;
    EXPECT_TRUE(has(text, "Process:    " + pid + ", thread ")) << text;
    const size_t motion = text.find("  motion[1] ");
    const size_t videogen = text.find("  videogen ");
    ASSERT_TRUE(motion != std::string::npos && videogen != std::string::npos) << text;
    EXPECT_TRUE(text.substr(motion).starts_with("  motion[1]         PID " + motion_pid)) << text;
    EXPECT_TRUE(has(text.substr(motion, text.find('\n', motion) - motion), "Running   restarts 0")) << text;
    EXPECT_TRUE(has(text, "INF [controller:0] CLI: launching practice\n")) << "no log line";
    EXPECT_TRUE(has(text, "ERR [controller:0] crashed: exception code 0xC0000005 at ")) << text;
}

TEST_F(Crash, LeavesADumpThatNamesTheException) {
    start_with({"feed_count=1"}, "--capture-test");
    const uint64_t address = remote_crash_in_image(console);
    ASSERT_EQ(exit_code(), 0xC0000005u);
    const std::vector<std::string> dumps = reports(".dmp");
    ASSERT_EQ(dumps.size(), 1u);
    const std::string text = only_report();
    EXPECT_TRUE(has(text, "Dump:       " + dumps[0] + "\n")) << text;
    EXPECT_EQ(dumps[0].substr(0, dumps[0].size() - 3), reports(".txt")[0].substr(0, dumps[0].size() - 3));
    const std::string dump = installation_read(installation, dumps[0]);
    ASSERT_TRUE(dump.starts_with("MDMP")) << dump.size();
    // The exception's record: its code, flags, a next one (none) and the address.
    const uint32_t code_and_flags[] = {0xC0000005u, 0u};
    std::string record(reinterpret_cast<const char*>(code_and_flags), sizeof code_and_flags);
    record.append(8, '\0').append(reinterpret_cast<const char*>(&address), sizeof address);
    EXPECT_TRUE(has(dump, record));
    RecordProperty("dump_bytes", static_cast<int>(dump.size()));
}

TEST_F(Crash, IsWrittenDownBeforeTheOperatorIsTold) {
    start_with({});
    remote_crash(console);
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }, kReportPatienceMs));
    const std::string text = only_report();
    EXPECT_TRUE(has(text, "Address:    0x0000000000000000, in no module\n")) << text;
    EXPECT_EQ(reports(".dmp").size(), 1u);
    PostMessageW(message_box(console), WM_CLOSE, 0, 0);
    EXPECT_EQ(exit_code(), 0xC0000005u);
}

TEST_F(Crash, KeepsTheLastTenReportsAndDumps) {
    for (int32_t day = 10; day < 22; ++day)
        for (const char* extension : {".txt", ".dmp"})
            installation_write(installation, "crash_202001" + std::to_string(day) + "_120000" + extension, "old");
    installation_write(installation, "crash_notes.txt", "the crew's own");
    start_with({}, "--capture-test");
    remote_crash(console);
    ASSERT_EQ(exit_code(), 0xC0000005u);
    for (const char* extension : {".txt", ".dmp"}) {
        std::vector<std::string> names = reports(extension);
        std::erase(names, "crash_notes.txt");
        ASSERT_EQ(names.size(), 10u) << extension;
        EXPECT_EQ(names[0], std::string("crash_20200113_120000") + extension);
        EXPECT_FALSE(names[9].starts_with("crash_2020")) << names[9];
    }
    EXPECT_TRUE(installation_has(installation, "crash_notes.txt"));
}

TEST_F(Crash, OfAThreadThatHoldsTheHeapIsReportedAllTheSame) {
    start_with({"feed_count=1"}, "--capture-test");
    remote_crash_holding_heap(console);
    EXPECT_EQ(exit_code(), 0xC0000005u);
    EXPECT_TRUE(has(only_report(), "Exception:  access violation (0xC0000005)"));
    EXPECT_EQ(reports(".dmp").size(), 1u);
}

TEST_F(Crash, OfAnUnattendedRunEndsItEvenWhenNothingCanBeWrittenAnyMore) {
    start_with({"feed_count=1"}, "--capture-test --duration 600");
    remote_crash_without_heap(console);
    EXPECT_EQ(exit_code(), 0xC0000005u);
}

TEST_F(Crash, ByAbortIsReportedAsOneAndWaitsForNobody) {
    start_with({"feed_count=1"}, "--capture-test --duration 600");
    ASSERT_TRUE(remote_abort(console));
    EXPECT_EQ(exit_code(), 0x40000015u);
    EXPECT_TRUE(has(only_report(), "Exception:  aborted (0x40000015)\n"));
    EXPECT_EQ(reports(".dmp").size(), 1u);
}

TEST_F(Crash, ByAnExceptionThatNobodyCatchesIsReportedByItsName) {
    start_with({"feed_count=1"}, "--capture-test --duration 600");
    remote_raise(console, 0x20474343);
    EXPECT_EQ(exit_code(), 0x20474343u);
    EXPECT_TRUE(has(only_report(), "Exception:  unhandled C++ exception (0x20474343)\n"));
}

namespace {

// A file that takes some kilobytes and then no more, under a dump's name: whoever writes into it gets stuck.
class StuckDump : public Crash {
protected:
    void SetUp() override {
        Crash::SetUp();
        pipe = CreateNamedPipeA(kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 0, 1024, 0, nullptr);
        ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    }
    void TearDown() override {
        CloseHandle(pipe);
        Crash::TearDown();
    }
    // Orders a dump of the program, all of whose threads are stopped. Returns the writer's process.
    HANDLE order_dump(uint32_t end_code) {
        const DWORD thread = GetWindowThreadProcessId(console.window, nullptr);
        char order[256];
        snprintf(order, sizeof order, "--write-dump %u %lu %016llX %u %s", console.pid, thread,
                 static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(console.remote)), end_code, kPipe);
        uint32_t pid = 0;
        HANDLE writer = installation_start(installation, "Orvek.exe", order, nullptr, &pid);
        EXPECT_TRUE(wait_until([&] {
            DWORD waiting = 0;
            return PeekNamedPipe(pipe, nullptr, 0, nullptr, &waiting, nullptr) && waiting > 0;
        })) << "it writes nothing";
        remote_stop_threads(console);
        return writer;
    }

    static constexpr char kPipe[] = "\\\\.\\pipe\\crash_20260101_000000.dmp";
    HANDLE pipe = nullptr;
};

}  // namespace

TEST_F(StuckDump, OfAnUnattendedRunEndsIt) {
    start_with({"feed_count=1"}, "--capture-test --duration 600");
    HANDLE writer = order_dump(0xC0000005);
    EXPECT_EQ(exit_code(), 0xC0000005u);
    EXPECT_EQ(WaitForSingleObject(writer, kPatienceMs), WAIT_OBJECT_0);
    CloseHandle(writer);
}

TEST_F(StuckDump, WithAnOperatorLetsTheProgramGoOnToItsBox) {
    start_with({"feed_count=1"});
    HANDLE writer = order_dump(0);
    EXPECT_FALSE(console_answers(console, 1000)) << "its threads are stopped";
    EXPECT_EQ(WaitForSingleObject(writer, kPatienceMs), WAIT_OBJECT_0);
    CloseHandle(writer);
    EXPECT_TRUE(console_answers(console, kPatienceMs));
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(Crash, DumpIsWrittenForNobodyElse) {
    const std::string file = installation_path(installation, "crash_20260101_000000.dmp");
    const std::string self = std::to_string(GetCurrentProcessId()) + " " + std::to_string(GetCurrentThreadId());
    std::string output;
    for (const std::string& order : {std::string(), std::string("1 2 3"), self + " 0000000000000010 1 " + file,
                                     "4294967295 1 0000000000000010 1 " + file}) {
        EXPECT_EQ(console_run(installation, "--write-dump " + order, &output), 1) << order;
        EXPECT_EQ(output, "") << order;
    }
    EXPECT_EQ(reports(".dmp").size(), 0u);
    EXPECT_FALSE(installation_has(installation, "controller_debug.log"));
}
