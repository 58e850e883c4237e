// Lines and pieces of lines out of a log, the same wherever a line lies in the block that was read.
#include "autosetup/log_lines.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/support/plain_motion_log.h"
#include "tests/support/temp_dir.h"

using Pieces = std::vector<std::string>;

// All pieces, or those with a text, for which the reader moves from one that may have it to the next.
static Pieces read_pieces(const std::string& path, size_t buffer_size, const char* with = nullptr,
                          const ByteScan& scan = best_byte_scan()) {
    Pieces pieces;
    const auto lines = std::make_unique<LogLines>();
    if (log_lines_open(lines.get(), path.c_str(), scan) != 0) return {"not opened"};
    std::string_view piece;
    while ((!with || log_lines_seek(lines.get(), buffer_size, with)) &&
           log_lines_next(lines.get(), buffer_size, &piece)) {
        if (!with || piece.find(with) != std::string_view::npos) pieces.emplace_back(piece);
    }
    log_lines_close(lines.get());
    return pieces;
}

static Pieces pieces_of(std::string_view log, size_t buffer_size, const char* with = nullptr) {
    const TempDir dir;
    write_whole_file(dir.file("log"), log);
    return read_pieces(dir.file("log"), buffer_size, with);
}

TEST(LogLines, AMissingFileAndADirectoryAreNotOpened) {
    const TempDir dir;
    EXPECT_EQ(read_pieces(dir.file("none"), 16), Pieces{"not opened"});
    EXPECT_EQ(read_pieces(dir.path(), 16), Pieces{"not opened"});
}

TEST(LogLines, AnEmptyLogHasNoLine) {
    EXPECT_EQ(pieces_of("", 16), Pieces{});
}

TEST(LogLines, BothLineEndsEndALineAndTheLastNeedsNone) {
    EXPECT_EQ(pieces_of("one\ntwo\r\n\n\r\nfive", 16), (Pieces{"one", "two", "", "", "five"}));
}

TEST(LogLines, AReturnOfItsOwnIsACharacter) {
    EXPECT_EQ(pieces_of("a\rb\r\r\nc\r", 16), (Pieces{"a\rb\r", "c\r"}));
}

TEST(LogLines, ALineOfTheBufferSizeComesInTwoPieces) {
    EXPECT_EQ(pieces_of("123456\nab\n", 8), (Pieces{"123456", "ab"}));
    EXPECT_EQ(pieces_of("1234567\nab\n", 8), (Pieces{"1234567", "", "ab"}));
    EXPECT_EQ(pieces_of("12345678\nab\n", 8), (Pieces{"1234567", "8", "ab"}));
    EXPECT_EQ(pieces_of("123456712345678", 8), (Pieces{"1234567", "1234567", "8"}));
}

TEST(LogLines, ACrLfCountsAsOneCharacter) {
    EXPECT_EQ(pieces_of("123456\r\nab\r\n", 8), (Pieces{"123456", "ab"}));
    EXPECT_EQ(pieces_of("1234567\r\nab\r\n", 8), (Pieces{"1234567", "", "ab"}));
}

TEST(LogLines, ANulHidesTheRestOfItsPiece) {
    using namespace std::string_view_literals;
    EXPECT_EQ(pieces_of("ab\0cd\nef\n"sv, 16), (Pieces{"ab", "ef"}));
    EXPECT_EQ(pieces_of("ab\0cd12345\n"sv, 8), (Pieces{"ab", "345"}));
}

TEST(LogLines, OnlyPiecesWithTheTextAreFound) {
    EXPECT_EQ(pieces_of("a\nkey=1\nb\nc\nx key=2 key=3\nkey\n=\nkey=", 64, "key="),
              (Pieces{"key=1", "x key=2 key=3", "key="}));
}

TEST(LogLines, ATextThatAPieceCutsIsNotFound) {
    EXPECT_EQ(pieces_of("1234key=5\nkey=\n", 8, "key="), Pieces{"key="});
}

TEST(LogLines, ATextBehindANulIsNotFound) {
    using namespace std::string_view_literals;
    EXPECT_EQ(pieces_of("a\0key=1\nkey=2\n"sv, 16, "key="), Pieces{"key=2"});
}

TEST(LogLines, ALineIsFoundAcrossTheEdgeOfTheBlock) {
    for (size_t before = kLogBlock - 40; before < kLogBlock + 4; ++before) {
        std::string log;
        while (log.size() < before) log += log.size() % 50 == 49 || log.size() + 1 == before ? '\n' : '.';
        log += "here key=1 and more\r\nthere\r\nkey=2";
        EXPECT_EQ(pieces_of(log, 1024, "key="), (Pieces{"here key=1 and more", "key=2"})) << before;
    }
}

// Mostly of what the reader has to decide about, with lines around the buffer's size.
static std::string hostile_log(std::mt19937* random, size_t buffer_size) {
    std::string log;
    const auto pick = [random](size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(*random); };
    const size_t parts = pick(60);
    for (size_t i = 0; i < parts; ++i) {
        switch (pick(8)) {
            case 0:
                log += "\r\n";
                break;
            case 1:
                log += '\n';
                break;
            case 2:
                log += '\r';
                break;
            case 3:
                log += '\0';
                break;
            case 4:
                log += "key=";
                break;
            case 5:
                log += "ke";
                break;
            case 6:
                log.append(pick(2 * buffer_size), '.');
                break;
            default:
                log.append(buffer_size - 5 + pick(8), 'k');
                break;
        }
    }
    return log;
}

TEST(LogLines, AnyLogReadsAsThroughALineBuffer) {
    const TempDir dir;
    const std::string path = dir.file("log");
    std::mt19937 random(7);
    for (int32_t round = 0; round < 300; ++round) {
        const size_t buffer_size = round % 3 == 0 ? 1024 : round % 3 == 1 ? 512 : 8 + static_cast<size_t>(round % 30);
        std::string log = hostile_log(&random, buffer_size);
        if (round % 4 == 0) log.insert(0, kLogBlock - log.size() % kLogBlock / 2, round % 8 == 0 ? 'k' : '\n');
        write_whole_file(path, log);
        const Pieces expected = plain_log_pieces(log, buffer_size);
        ASSERT_EQ(read_pieces(path, buffer_size), expected) << round;
        Pieces with;
        for (const std::string& piece : expected)
            if (piece.find("key=") != std::string::npos) with.push_back(piece);
        for (const ByteScan* scan : byte_scans())
            ASSERT_EQ(read_pieces(path, buffer_size, "key=", *scan), with) << round << ' ' << scan->name;
    }
}

TEST(LogLines, WhatIsAheadEndsInNulsAndWholeLinesOfItCanBePassed) {
    const TempDir dir;
    write_whole_file(dir.file("log"), "one\ntwo\r\nthree\nfour");
    const auto lines = std::make_unique<LogLines>();
    ASSERT_EQ(log_lines_open(lines.get(), dir.file("log").c_str()), 0);
    const std::string_view nothing = log_lines_ahead(*lines);
    EXPECT_EQ(nothing, "");
    EXPECT_EQ(nothing.data()[0], '\0');
    std::string_view piece;
    ASSERT_TRUE(log_lines_next(lines.get(), 16, &piece));
    const std::string_view ahead = log_lines_ahead(*lines);
    EXPECT_EQ(ahead, "two\r\nthree\nfour");
    EXPECT_EQ(std::string(ahead.data() + ahead.size(), kReadableBeyond), std::string(kReadableBeyond, '\0'));
    log_lines_pass(lines.get(), 11);
    ASSERT_TRUE(log_lines_next(lines.get(), 16, &piece));
    EXPECT_EQ(piece, "four");
    EXPECT_FALSE(log_lines_next(lines.get(), 16, &piece));
    log_lines_close(lines.get());
}

TEST(LogLines, ALogThatAnotherProgramWritesIsReadAsFarAsItGoes) {
    const TempDir dir;
    FILE* writer = fopen(dir.file("log").c_str(), "wb");
    ASSERT_NE(writer, nullptr);
    fputs("one\ntw", writer);
    fflush(writer);
    EXPECT_EQ(read_pieces(dir.file("log"), 16), (Pieces{"one", "tw"}));
    fclose(writer);
}
