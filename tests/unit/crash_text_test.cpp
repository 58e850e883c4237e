#include "app/crash_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "app/exception_words.h"

namespace {

constexpr CrashTime kTime = {2026, 2, 3, 4, 5, 6};

CrashFacts facts_of_a_null_read() {
    CrashFacts facts = {};
    facts.version = "1.2.3";
    facts.time = kTime;
    facts.process = 1234;
    facts.thread = 5678;
    facts.main_thread = true;
    facts.code = 0xC0000005;
    facts.address = 0x140012345;
    facts.module = "Orvek.exe";
    facts.offset = 0x12345;
    facts.access = CrashAccess::read;
    facts.access_address = 0x10;
    facts.dump = "crash_20260203_040506.dmp";
    return facts;
}

std::string text_of(const CrashFacts& facts, size_t size = kCrashTextSize) {
    const auto buffer =
        std::make_unique<char[]>(size);  // exactly as large, so that the sanitizer sees a byte too many
    const size_t length = crash_text(facts, buffer.get(), size);
    EXPECT_EQ(length, std::string(buffer.get()).size());
    return {buffer.get(), length};
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// What stays when these names are found in this order.
struct Folder {
    std::set<std::string> left;
    void tidy(const std::vector<std::string>& found, const char* written) {
        left = {found.begin(), found.end()};
        CrashFiles files = {};
        char removed[kCrashFileNameSize];
        for (const std::string& name : found) {
            if (!crash_files_offer(&files, name.c_str(), "txt", written, removed)) continue;
            EXPECT_EQ(left.erase(removed), 1u) << removed;
        }
    }
};

std::string report_of_day(int32_t day) {
    char name[kCrashFileNameSize];
    crash_file_name({2026, 1, day, 0, 0, 0}, "txt", name);
    return name;
}

std::vector<std::string> reports_of_days(int32_t first, int32_t last) {
    std::vector<std::string> names;
    for (int32_t day = first; day <= last; ++day) names.push_back(report_of_day(day));
    return names;
}

}  // namespace

TEST(CrashText, TellsWhatHappenedWhereAndWhen) {
    EXPECT_EQ(text_of(facts_of_a_null_read()),
              "Orvek.exe crashed\n"
              "\n"
              "Version:    1.2.3\n"
              "Time:       2026-02-03 04:05:06\n"
              "Exception:  access violation (0xC0000005), reading address 0x0000000000000010\n"
              "Address:    0x0000000140012345 = Orvek.exe+0x12345\n"
              "Process:    1234, thread 5678 (the main thread)\n"
              "Dump:       crash_20260203_040506.dmp\n"
              "\n"
              "Workers:\n"
              "   none\n"
              "\n"
              "The log's last lines:\n"
              "   none could be read\n");
}

TEST(CrashText, OfAStrangeCodeAtAnAddressOfNoModuleSaysSo) {
    CrashFacts facts = facts_of_a_null_read();
    facts.code = 0xE0001234;
    facts.access = CrashAccess::none;
    facts.module = nullptr;
    facts.main_thread = false;
    facts.dump = nullptr;
    const std::string text = text_of(facts);
    EXPECT_TRUE(has(text, "Exception:  unknown (0xE0001234)\n")) << text;
    EXPECT_TRUE(has(text, "Address:    0x0000000140012345, in no module\n")) << text;
    EXPECT_TRUE(has(text, "thread 5678\nDump:       none\n")) << text;
}

TEST(CrashText, NamesTheWorkersWithProcessIdStateAndRestarts) {
    const auto processes = std::make_unique<ProcessManager>();
    *processes = {};
    ProcessSlot& motion = processes->slots[0];
    motion.state = kSlotRunning;
    motion.pid = 4321;
    motion.restarts = 7;
    snprintf(motion.name, sizeof motion.name, "motion[1]");
    ProcessSlot& capture = processes->slots[15];  // a failed launch above the manager's count
    capture.state = kSlotFailed;
    capture.exit_code = 0xFFFFFFFF;
    snprintf(capture.name, sizeof capture.name, "capture[2]");
    CrashFacts facts = facts_of_a_null_read();
    facts.processes = processes.get();
    EXPECT_TRUE(has(text_of(facts),
                    "Workers:\n"
                    "   0  motion[1]         PID 4321    Running   restarts 7\n"
                    "  15  capture[2]        PID 0       Failed    restarts 0   exit code 0xFFFFFFFF\n"))
        << text_of(facts);
}

TEST(CrashText, SurvivesADamagedProcessTable) {
    const auto processes = std::make_unique<ProcessManager>();
    memset(static_cast<void*>(processes.get()), 0xA5, sizeof *processes);
    CrashFacts facts = facts_of_a_null_read();
    facts.processes = processes.get();
    EXPECT_TRUE(has(text_of(facts), "Unknown"));
}

TEST(CrashText, EndsWithTheLastLinesOfTheLog) {
    std::string log;
    for (int32_t i = 0; i < 100; ++i) log += "line " + std::to_string(i) + "\r\n";
    CrashFacts facts = facts_of_a_null_read();
    facts.log = log.data();
    facts.log_length = log.size();
    const std::string text = text_of(facts);
    EXPECT_TRUE(has(text, "The log's last lines:\nline 60\nline 61\n")) << text;
    EXPECT_TRUE(text.ends_with("line 98\nline 99\n")) << text;
}

TEST(CrashText, LeavesOutALogLineThatIsCutInItsBeginning) {
    const std::string log = "ne 1\nline 2\nline 3";
    CrashFacts facts = facts_of_a_null_read();
    facts.log = log.data();
    facts.log_length = log.size();
    EXPECT_TRUE(text_of(facts).ends_with("The log's last lines:\nline 2\nline 3\n"));
    facts.log_is_whole = true;
    EXPECT_TRUE(text_of(facts).ends_with("The log's last lines:\nne 1\nline 2\nline 3\n"));
}

TEST(CrashText, ShowsALogThatIsOneEndlessLine) {
    const std::string log(500, 'x');
    CrashFacts facts = facts_of_a_null_read();
    facts.log = log.data();
    facts.log_length = log.size();
    EXPECT_TRUE(text_of(facts).ends_with("lines:\n" + log + "\n"));
}

TEST(CrashText, IsCutWhereTheBufferEnds) {
    const std::string log(300, 'x');
    CrashFacts facts = facts_of_a_null_read();
    facts.log = log.data();
    facts.log_length = log.size();
    const std::string whole = text_of(facts);
    for (const size_t size : {size_t{1}, size_t{2}, size_t{100}, size_t{333}, whole.size()})
        EXPECT_EQ(text_of(facts, size), whole.substr(0, size - 1)) << size;
}

TEST(CrashFileName, CarriesDateAndTime) {
    char name[kCrashFileNameSize];
    crash_file_name(kTime, "dmp", name);
    EXPECT_STREQ(name, "crash_20260203_040506.dmp");
}

TEST(CrashFiles, TheNewestTenStayInWhateverOrderTheyAreFound) {
    std::vector<std::string> found = reports_of_days(1, 15);
    const std::string written = found.back();
    for (int32_t round = 0; round < 3; ++round) {
        Folder folder;
        folder.tidy(found, written.c_str());
        const std::vector<std::string> kept = reports_of_days(6, 15);
        EXPECT_EQ(folder.left, std::set<std::string>(kept.begin(), kept.end())) << round;
        if (round == 0) std::reverse(found.begin(), found.end());
        if (round == 1) std::rotate(found.begin(), found.begin() + 7, found.end());
    }
}

TEST(CrashFiles, TenAreNotTooMany) {
    Folder folder;
    folder.tidy(reports_of_days(1, 10), report_of_day(10).c_str());
    EXPECT_EQ(folder.left.size(), 10u);
}

TEST(CrashFiles, TheOneJustWrittenStaysEvenWhenTheClockWasSetBack) {
    Folder folder;
    folder.tidy(reports_of_days(1, 12), report_of_day(1).c_str());
    EXPECT_EQ(folder.left.size(), 10u);
    EXPECT_TRUE(folder.left.contains(report_of_day(1)));
    EXPECT_FALSE(folder.left.contains(report_of_day(2)));
    EXPECT_FALSE(folder.left.contains(report_of_day(3)));
}

TEST(CrashFiles, WhatOnlyLooksLikeAReportIsLeftAlone) {
    std::vector<std::string> found = reports_of_days(1, 12);
    const std::vector<std::string> others = {"crash_20260101_000000.dmp",  "crash_20260101_000000_mine.txt",
                                             "crash_2026O101_000000.txt",  "crash_20260101-000000.txt",
                                             "Crash_20260101_000000.txt",  "crash_notes.txt",
                                             "crash_20260101_000000.txt2", "controller_debug.log"};
    found.insert(found.begin(), others.begin(), others.end());
    Folder folder;
    folder.tidy(found, report_of_day(12).c_str());
    EXPECT_EQ(folder.left.size(), 10u + others.size());
    for (const std::string& other : others) EXPECT_TRUE(folder.left.contains(other)) << other;
}

TEST(ExceptionWords, KnowTheUsualCodesAndNoOthers) {
    EXPECT_STREQ(exception_words(0xC0000005), "access violation");
    EXPECT_STREQ(exception_words(0xC00000FD), "stack overflow");
    EXPECT_EQ(exception_words(0), nullptr);
    EXPECT_EQ(exception_words(1), nullptr);
}
