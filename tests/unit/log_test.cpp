#include "app/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <sstream>
#include <thread>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace {

class Log : public testing::Test {
protected:
    void SetUp() override {
        log_close();
    }
    void TearDown() override {
        log_close();
        log_set_verbose(false);
    }

    std::string path() const {
        return dir_.file("controller_debug.log");
    }

    std::vector<std::string> file_lines() const {
        std::vector<std::string> lines;
        std::istringstream stream(read_whole_file(path()));
        for (std::string line; std::getline(stream, line);) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            lines.push_back(line);
        }
        return lines;
    }

    TempDir dir_;
};

}  // namespace

// Every digit as 0.
static std::string shape(std::string text) {
    for (char& c : text)
        if (std::isdigit(static_cast<unsigned char>(c))) c = '0';
    return text;
}

TEST_F(Log, ALineIsTimeLevelPrefixAndText) {
    log_open("controller", 0, path().c_str());
    log_info("starting controller, settings: %s", "C:\\rig\\settings.txt");
    ASSERT_EQ(file_lines().size(), 1u);
    const std::string line = file_lines()[0];
    EXPECT_EQ(shape(line.substr(0, 12)), "00:00:00.000") << line;
    EXPECT_LT(line.substr(0, 2), "24");
    EXPECT_EQ(line.substr(12), " INF [controller:0] starting controller, settings: C:\\rig\\settings.txt");
}

TEST_F(Log, ThePrefixFollowsComponentAndIndex) {
    const struct {
        const char* component;
        int32_t index;
        const char* expected;
    } cases[] = {{"motion", 2, " INF [motion:2] x"},
                 {nullptr, 0, " INF [?:0] x"},
                 {"tool", -1, " INF [tool] x"},
                 {nullptr, -1, " INF  x"}};
    for (const auto& c : cases) {
        log_open(c.component, c.index, path().c_str());
        log_info("x");
        log_close();
        ASSERT_EQ(file_lines().size(), 1u);
        EXPECT_EQ(file_lines()[0].substr(12), c.expected);
    }
}

TEST_F(Log, OpeningTwiceKeepsTheFirstPrefixAndFile) {
    const std::string second = dir_.file("second.log");
    log_open("first", 0, path().c_str());
    log_open("second", 1, second.c_str());
    log_info("here");
    EXPECT_FALSE(file_exists(second));
    ASSERT_EQ(file_lines().size(), 1u);
    EXPECT_NE(file_lines()[0].find("[first:0] here"), std::string::npos);
}

TEST_F(Log, ARunKeepsExactlyOneEarlierRun) {
    for (const char* run : {"run 1", "run 2", "run 3"}) {
        log_open("controller", 0, path().c_str());
        log_info("%s", run);
        log_close();
    }
    EXPECT_NE(read_whole_file(path()).find("run 3"), std::string::npos);
    EXPECT_EQ(read_whole_file(path()).find("run 2"), std::string::npos);
    EXPECT_NE(read_whole_file(path() + ".old").find("run 2"), std::string::npos);
    EXPECT_EQ(read_whole_file(path() + ".old").find("run 1"), std::string::npos);
    EXPECT_FALSE(file_exists(path() + ".old.old"));
}

TEST_F(Log, AllThreeLevelsAreWrittenWhateverTheVerbosity) {
    log_open("controller", 0, path().c_str());
    const auto write_all = [] {
        log_info("i");
        log_warn("w");
        log_error("e");
    };
    write_all();
    log_set_verbose(true);
    write_all();
    log_set_verbose(false);
    write_all();
    ASSERT_EQ(file_lines().size(), 9u);
    const char* const tags[] = {" INF ", " WRN ", " ERR "};
    for (size_t i = 0; i < 9; ++i) EXPECT_EQ(file_lines()[i].substr(12, 5), tags[i % 3]) << "line " << i;
}

TEST_F(Log, EveryLineIsInTheFileAtOnce) {
    log_open("controller", 0, path().c_str());
    for (size_t i = 1; i <= 3; ++i) {
        log_info("line");
        EXPECT_EQ(file_lines().size(), i);
    }
}

TEST_F(Log, ALongTextIsNotCut) {
    log_open("controller", 0, path().c_str());
    const std::string text(20000, 'x');
    log_warn("%s", text.c_str());
    ASSERT_EQ(file_lines().size(), 1u);
    EXPECT_TRUE(file_lines()[0].ends_with("WRN [controller:0] " + text));
}

TEST_F(Log, SixtyFourBitNumbersSurviveTheFormat) {
    log_open("controller", 0, path().c_str());
    log_info("serial=%lld (%llu bytes)", -1234567890123LL, 18446744073709551615ULL);
    ASSERT_EQ(file_lines().size(), 1u);
    EXPECT_TRUE(file_lines()[0].ends_with("serial=-1234567890123 (18446744073709551615 bytes)")) << file_lines()[0];
}

TEST_F(Log, LinesOfManyThreadsNeverInterleave) {
    log_open("controller", 0, path().c_str());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 50; ++i)
                log_info("thread %d line %02d %s", t, i, std::string(100, char('a' + t)).c_str());
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::vector<std::string> seen = file_lines();
    for (std::string& line : seen) {
        EXPECT_EQ(shape(line.substr(0, 12)), "00:00:00.000") << line;
        line.erase(0, 12);
    }
    std::vector<std::string> expected;
    for (int t = 0; t < 4; ++t) {
        for (int i = 0; i < 50; ++i) {
            expected.push_back(" INF [controller:0] thread " + std::to_string(t) + " line " + (i < 10 ? "0" : "") +
                               std::to_string(i) + " " + std::string(100, char('a' + t)));
        }
    }
    std::sort(seen.begin(), seen.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(seen, expected);
}

TEST_F(Log, NothingReachesTheFileAfterClose) {
    log_open("controller", 0, path().c_str());
    log_close();
    log_close();
    log_info("late");
    EXPECT_TRUE(file_lines().empty());
}

TEST_F(Log, WithoutAPathLinesGoToStandardErrorOnly) {
    log_open("controller", 0, nullptr);
    testing::internal::CaptureStderr();
    log_error("only there");
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find(" ERR [controller:0] only there"), std::string::npos) << text;
    EXPECT_FALSE(file_exists(path()));
}

TEST_F(Log, AFileThatCannotBeCreatedIsReportedAndLoggingGoesOn) {
    testing::internal::CaptureStderr();
    const std::string impossible = dir_.file("no such folder/x.log");
    log_open("controller", 0, impossible.c_str());
    log_info("still here");
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find("WRN [controller:0] log: cannot create " + impossible), std::string::npos) << text;
    EXPECT_NE(text.find("still here"), std::string::npos) << text;
}

TEST(LogCaptureHelper, GivesLevelAndTextAndTakesOnlyWhatIsNew) {
    LogCapture log;
    log_info("one");
    log_warn("two");
    EXPECT_EQ(log.take(), (std::vector<std::string>{"INF one", "WRN two"}));
    log_error("three");
    EXPECT_EQ(log.take(), (std::vector<std::string>{"ERR three"}));
    EXPECT_EQ(log.lines().size(), 3u);
    EXPECT_EQ(log.count("INF one"), 1);
    EXPECT_FALSE(log.has("INF three"));
}
