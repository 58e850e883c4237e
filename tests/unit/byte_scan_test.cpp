// Every instruction set finds what the plain functions find, wherever it lies and however short the text is.
#include "autosetup/byte_scan.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

// Copies of exactly the text's size, so that a byte read beyond it is noticed by those who watch.
static std::vector<char> exact(std::string_view text) {
    return {text.begin(), text.end()};
}

static std::string_view view(const std::vector<char>& bytes) {
    return {bytes.data(), bytes.size()};
}

static std::vector<uint64_t> marks_of(const ByteScan& scan, std::string_view text, char c) {
    std::vector<uint64_t> marks((text.size() + 63) / 64);
    scan.mark_bytes(text, c, marks.data());
    return marks;
}

TEST(ByteScan, ThePlainOneIsAlwaysThereAndTheBestIsTheLast) {
    EXPECT_STREQ(byte_scans().front()->name, "plain");
    EXPECT_EQ(&best_byte_scan(), byte_scans().back());
}

TEST(ByteScan, ATextIsFoundAtEveryPlaceOfEverySize) {
    const std::string wanted = "key=";
    for (const ByteScan* scan : byte_scans()) {
        for (size_t size = 0; size < 300; ++size) {
            EXPECT_EQ(scan->find_text(view(exact(std::string(size, 'y'))), wanted), std::string::npos) << scan->name;
            for (size_t at = 0; at + wanted.size() <= size; ++at) {
                std::string text(size, 'k');
                text.replace(at, wanted.size(), wanted);
                ASSERT_EQ(scan->find_text(view(exact(text)), wanted), at) << scan->name << ' ' << size;
            }
        }
    }
}

TEST(ByteScan, ALastByteIsFoundAtEveryPlaceOfEverySize) {
    for (const ByteScan* scan : byte_scans()) {
        for (size_t size = 0; size < 200; ++size) {
            EXPECT_EQ(scan->find_last_byte(view(exact(std::string(size, '.'))), '\n'), std::string::npos);
            for (size_t at = 0; at < size; ++at) {
                std::string text(size, '.');
                text[at] = text[at / 2] = '\n';
                ASSERT_EQ(scan->find_last_byte(view(exact(text)), '\n'), at) << scan->name << ' ' << size;
            }
        }
    }
}

TEST(ByteScan, MarksTellOfEachCharacterAndOfNoneBeyond) {
    const auto marks = marks_of(kPlainByteScan, std::string(63, '.') + "=" + "=.=", '=');
    EXPECT_EQ(marks, (std::vector<uint64_t>{uint64_t{1} << 63, 5}));
    for (const ByteScan* scan : byte_scans())
        EXPECT_EQ(marks_of(*scan, std::string_view("\0a", 2), '\0'), std::vector<uint64_t>{1}) << scan->name;
}

TEST(ByteScan, AnyTextIsSeenAlikeByAll) {
    std::mt19937 random(3);
    const auto pick = [&random](size_t limit) { return static_cast<size_t>(random()) % limit; };
    for (int32_t round = 0; round < 20'000; ++round) {
        std::string text;
        for (size_t size = pick(round % 100 == 0 ? 4096 : 300); text.size() < size;) text += "=z0b\n\0"[pick(6)];
        const std::vector<char> bytes = exact(text);
        std::string wanted = "b0=";
        wanted[pick(3)] = "=z0b"[pick(4)];
        for (const ByteScan* scan : byte_scans()) {
            ASSERT_EQ(scan->find_text(view(bytes), wanted), text.find(wanted)) << scan->name << ' ' << round;
            ASSERT_EQ(scan->find_last_byte(view(bytes), '\n'), text.rfind('\n')) << scan->name << ' ' << round;
            ASSERT_EQ(marks_of(*scan, view(bytes), '='), marks_of(kPlainByteScan, text, '=')) << scan->name;
        }
    }
}
