#include "procs/exit_words.h"

#include <gtest/gtest.h>

static std::string words_of(uint32_t ending, uint32_t exit_code) {
    ProcessSlot slot = {};
    slot.ending = ending;
    slot.exit_code = exit_code;
    return exit_words(slot);
}

TEST(ExitWords, OfAWorkerThatHasNotEndedAreEmptyWhateverItsPredecessorLeftWith) {
    EXPECT_EQ(words_of(kEndingNone, 0), "");
    EXPECT_EQ(words_of(kEndingNone, 0xC0000005), "");
}

TEST(ExitWords, NameTheFaultThatAProgramDiedOf) {
    struct Case {
        uint32_t code;
        const char* words;
    };
    constexpr Case kCases[] = {
        {0x20474343, "unhandled C++ exception"},
        {0x40000015, "aborted"},
        {0xC0000005, "access violation"},
        {0xC0000017, "out of memory"},
        {0xC000001D, "illegal instruction"},
        {0xC0000094, "integer division by zero"},
        {0xC00000FD, "stack overflow"},
        {0xC0000135, "DLL not found"},
        {0xC0000139, "DLL entry point not found"},
        {0xC000013A, "ended by Ctrl+C"},
        {0xC0000142, "DLL failed to start"},
        {0xC0000374, "heap corruption"},
        {0xC0000409, "stopped itself (fast fail)"},
        {0xC000041D, "fault in a window callback"},
        {0xE06D7363, "unhandled C++ exception"},
    };
    for (const Case& one : kCases) EXPECT_EQ(words_of(kEndingByItself, one.code), one.words) << std::hex << one.code;
}

TEST(ExitWords, OfACodeThatTheProgramChoseShowItAsItWasWritten) {
    EXPECT_EQ(words_of(kEndingByItself, 0), "ended normally");
    EXPECT_EQ(words_of(kEndingByItself, 1), "code 1");
    EXPECT_EQ(words_of(kEndingByItself, 3), "aborted (code 3)");
    EXPECT_EQ(words_of(kEndingByItself, 77), "code 77");
    EXPECT_EQ(words_of(kEndingByItself, 0x20474342), "code 541541186");
    EXPECT_EQ(words_of(kEndingByItself, 0x3FFFFFFF), "code 1073741823");
    EXPECT_EQ(words_of(kEndingByItself, 0xFFFFFFFF), "code -1");
    EXPECT_EQ(words_of(kEndingByItself, 0xFFFF0000), "code -65536");
}

TEST(ExitWords, OfAnUnknownStatusShowItInHexadecimalToLookItUp) {
    EXPECT_EQ(words_of(kEndingByItself, 0x40000000), "code 0x40000000");
    EXPECT_EQ(words_of(kEndingByItself, 0xC0001234), "code 0xC0001234");
    EXPECT_EQ(words_of(kEndingByItself, 0xFFFEFFFF), "code 0xFFFEFFFF");
}

TEST(ExitWords, TellAStopHereFromADeathWithTheSameCode) {
    EXPECT_EQ(words_of(kEndingByConsole, 1), "ended by console");
    EXPECT_EQ(words_of(kEndingGivenUp, 259), "did not end when told");
    EXPECT_EQ(words_of(kEndingNotStarted, 0xFFFFFFFF), "could not be started");
}

TEST(DurationWords, GrowFromMinutesToHoursAndOn) {
    EXPECT_EQ(duration_words(0), "0:00");
    EXPECT_EQ(duration_words(999), "0:00");
    EXPECT_EQ(duration_words(1000), "0:01");
    EXPECT_EQ(duration_words(125'000), "2:05");
    EXPECT_EQ(duration_words(3'599'999), "59:59");
    EXPECT_EQ(duration_words(3'600'000), "1:00:00");
    EXPECT_EQ(duration_words(3'725'000), "1:02:05");
    EXPECT_EQ(duration_words(93'784'000), "26:03:04");
    EXPECT_EQ(duration_words(UINT64_MAX), "5124095576030:25:51");
}

TEST(AgeWords, CountFromTheStartWhileItRunsAndFromTheEndAfterwards) {
    ProcessSlot slot = {};
    slot.launched_ms = 10'000;
    EXPECT_EQ(age_words(slot, 10'000), "0:00");
    EXPECT_EQ(age_words(slot, 135'000), "2:05");
    slot.ended_ms = 130'000;
    slot.ending = kEndingByItself;
    EXPECT_EQ(age_words(slot, 135'000), "0:05 ago");
    EXPECT_EQ(age_words(slot, 3'855'000), "1:02:05 ago");
}

TEST(AgeWords, NeverTurnNegative) {
    ProcessSlot slot = {};
    slot.launched_ms = 10'000;
    EXPECT_EQ(age_words(slot, 9'000), "0:00");
}
