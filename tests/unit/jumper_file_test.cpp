// Start lists as they come: with headings, in the wrong format, too long, and no lists at all.
#include "jumpers/jumper_file.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

static std::unique_ptr<JumperFileReader> read(const std::string& text, size_t chunk = 65536) {
    auto reader = std::make_unique<JumperFileReader>();
    for (size_t at = 0; at < text.size(); at += chunk) {
        if (!jumper_file_feed(reader.get(), text.data() + at, std::min(chunk, text.size() - at))) break;
    }
    jumper_file_finish(reader.get());
    return reader;
}

static std::string shown(const std::string& text, size_t chunk = 65536) {
    const auto reader = read(text, chunk);
    std::string all;
    for (int32_t i = 0; i < reader->count; ++i) {
        const JumperEntry& entry = reader->entry[i];
        all += std::to_string(entry.bib) + "|" + entry.name + "|" + entry.club + "|" + entry.extra + "\n";
    }
    return all;
}

TEST(JumperFile, AHeadingAndBlankLinesDropOut) {
    EXPECT_EQ(shown("Bib\tName\tClub\r\n\r\n\n1\tAnna Berg\tIF Nord\r\n2\tCarl Dahl\tIF Syd\tSWE\n"),
              "1|Anna Berg|IF Nord|\n2|Carl Dahl|IF Syd|SWE\n");
}

TEST(JumperFile, CommasAreNoColumnsAndOneTabIsTooFew) {
    EXPECT_EQ(shown("1,Anna Berg,IF Nord\n2\tCarl Dahl\n3\tEva, F.\tIF\n"), "3|Eva, F.|IF|\n");
}

TEST(JumperFile, AnEmptyFileHoldsNobody) {
    EXPECT_EQ(shown(""), "");
    EXPECT_EQ(shown("\n\r\n\t\t\t\n"), "");
}

TEST(JumperFile, TheLastLineNeedsNoLineEnd) {
    EXPECT_EQ(shown("4\ta\tb"), "4|a|b|\n");
    EXPECT_EQ(shown("4\ta\tb\r\r"), "4|a|b|\n");
}

TEST(JumperFile, ColumnsMayBeEmptyAndAFourthTabStaysInTheFourthColumn) {
    EXPECT_EQ(shown("5\t\t\n6\t\tclub\t\n7\tn\tc\tx\ty\tz\n"), "5|||\n6||club|\n7|n|c|x\ty\tz\n");
}

TEST(JumperFile, TheBibIsReadAsFarAsItIsANumber) {
    EXPECT_EQ(shown(" 8a\ta\tb\n+9\ta\tb\n0\ta\tb\n-3\ta\tb\nx1\ta\tb\n\t1\t2\t3\n"), "8|a|b|\n9|a|b|\n");
    EXPECT_EQ(shown("99999999999999999999\ta\tb\n-99999999999999999999\ta\tb\n"), "2147483647|a|b|\n");
    EXPECT_EQ(jumper_number("-99999999999", 12), INT32_MIN);
    EXPECT_EQ(jumper_number("12345", 2), 12);
    EXPECT_EQ(jumper_number("- 5", 3), 0);
    EXPECT_EQ(jumper_number("", 0), 0);
}

TEST(JumperFile, TextsAreCutToTheirFields) {
    const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJ";
    EXPECT_EQ(shown("1\t" + letters + "\t" + letters + "\t" + letters),
              "1|" + letters.substr(0, 31) + "|" + letters.substr(0, 31) + "|" + letters.substr(0, 11) + "\n");
    EXPECT_EQ(shown("1\t" + letters.substr(0, 31) + "\t\t" + letters.substr(0, 11)),
              "1|" + letters.substr(0, 31) + "||" + letters.substr(0, 11) + "\n");
}

TEST(JumperFile, ATextIsCutBetweenTwoCharacters) {
    for (const std::string character : {"ä", "€", "😀"}) {
        for (size_t lead = 27; lead <= 32; ++lead) {
            const auto reader = read("1\t" + std::string(lead, 'x') + character + character + "\t\n");
            const std::string name = reader->entry[0].name;
            std::string expected = std::string(lead, 'x').substr(0, 31);
            while (lead < 31 && expected.size() + character.size() <= 31 &&
                   expected.size() < lead + 2 * character.size())
                expected += character;
            EXPECT_EQ(name, expected) << character << " after " << lead;
        }
    }
}

TEST(JumperFile, ALineCutAfter255BytesKeepsNoHalfCharacter) {
    for (const std::string character : {"ä", "€", "😀"}) {
        for (size_t there = 1; there < character.size(); ++there) {
            const std::string start = "7\t" + std::string(243 - there, 'n') + "\t1234567\tx";
            ASSERT_EQ(start.size(), 255 - there);
            EXPECT_EQ(shown(start + character + "\tc\n8\ta\tb\n"),
                      "7|" + std::string(31, 'n') + "|1234567|x\n8|a|b|\n")
                << there << " bytes of " << character;
        }
        const std::string fits = "7\t" + std::string(243 - character.size(), 'n') + "\t1234567\tx" + character;
        EXPECT_EQ(shown(fits + "more\n"), "7|" + std::string(31, 'n') + "|1234567|x" + character + "\n") << character;
    }
}

TEST(JumperFile, BytesThatAreNoUtf8AreCutWhereTheFieldEnds) {
    const std::string bytes(40, '\x80');
    EXPECT_EQ(shown("1\t" + bytes + "\t\n"), "1|" + bytes.substr(0, 31) + "||\n");
    const std::string latin(40, '\xE4');
    EXPECT_EQ(shown("1\t" + latin + "\t\n"), "1|" + latin.substr(0, 31) + "||\n");
}

TEST(JumperFile, OfTwoHundredAndFiftyLinesOneHundredAndNinetyNineAreTaken) {
    std::string text;
    for (int32_t i = 1; i <= 250; ++i) text += std::to_string(i) + "\tname\tclub\n";
    const auto reader = read(text);
    EXPECT_EQ(reader->count, 199);
    EXPECT_EQ(reader->entry[198].bib, 199);
    EXPECT_FALSE(jumper_file_feed(reader.get(), "300\ta\tb\n", 8));
    EXPECT_EQ(reader->count, 199);
}

TEST(JumperFile, ALineIsReadInPiecesOf255Bytes) {
    const std::string whole = "1\tname\t" + std::string(248, 'c');  // exactly 255: its line end is a piece of its own
    EXPECT_EQ(shown(whole + "\n2\ta\tb\n"), "1|name|" + std::string(31, 'c') + "|\n2|a|b|\n");
    EXPECT_EQ(shown(whole + "3\tx\ty\n"), "1|name|" + std::string(31, 'c') + "|\n3|x|y|\n")
        << "the rest of a longer line counts as the next one";
    EXPECT_EQ(shown(std::string(254, ' ') + "3\tx\ty\n"), "") << "the piece ends within the bib";
}

TEST(JumperFile, ANulHidesTheRestOfItsLine) {
    EXPECT_EQ(shown(std::string("1\ta\tb\0c\n2\td\0\te\n3\tf\tg\n", 22)), "1|a|b|\n3|f|g|\n");
}

TEST(JumperFile, TheSizeOfTheChunksMakesNoDifference) {
    std::string text = "Bib\tName\tClub\r\n";
    for (int32_t i = 1; i <= 60; ++i)
        text += std::to_string(i) + "\tŽiga Čop " + std::to_string(i) + "\tSSK\tSLO\r\n";
    text += "77\t" + std::string(700, 'x') + "\t1\n78\tlast\tone";
    const std::string expected = shown(text);
    EXPECT_NE(expected.find("78|last|one"), std::string::npos);
    for (size_t chunk : {1, 2, 7, 255, 256, 257, 1000}) EXPECT_EQ(shown(text, chunk), expected) << chunk;
}

TEST(JumperFile, AHundredMegabytesThatAreNoListAreHarmless) {
    const std::vector<char> endless_line(1 << 20, 'x');
    std::vector<char> binary(1 << 20);
    uint32_t state = 1;
    for (char& byte : binary) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    for (const std::vector<char>& chunk : {endless_line, binary}) {
        auto reader = std::make_unique<JumperFileReader>();
        for (int32_t i = 0; i < 100; ++i) {
            if (!jumper_file_feed(reader.get(), chunk.data(), chunk.size())) break;
        }
        jumper_file_finish(reader.get());
        for (int32_t i = 0; i < reader->count; ++i) EXPECT_GT(reader->entry[i].bib, 0);
        if (chunk == endless_line) {
            EXPECT_EQ(reader->bytes, uint64_t{100} << 20);
            EXPECT_EQ(reader->count, 0);
        }
    }
}

TEST(JumperFile, AMovieIsNotReadToItsEnd) {
    auto reader = std::make_unique<JumperFileReader>();
    const std::vector<char> chunk(1 << 20, 'x');
    int32_t chunks = 0;
    while (chunks < 1000 && jumper_file_feed(reader.get(), chunk.data(), chunk.size())) ++chunks;
    EXPECT_EQ(chunks, 255);
}

static std::string auto_load_path(const std::string& settings_path) {
    char path[kJumperPathSize] = "none";
    return jumper_auto_load_path(settings_path.c_str(), path) ? path : "none";
}

TEST(JumperAutoLoad, TheListLiesBesideTheSettings) {
    EXPECT_EQ(auto_load_path("C:\\Orvek\\settings.txt"), "C:\\Orvek\\jumpers.csv");
    EXPECT_EQ(auto_load_path("C:/a\\b/settings.txt"), "C:/a\\jumpers.csv");
    EXPECT_EQ(auto_load_path("/home/rig/settings.txt"), "/home/rig/jumpers.csv");
}

TEST(JumperAutoLoad, ASettingsPathWithoutAFolderMeansNoList) {
    EXPECT_EQ(auto_load_path("settings.txt"), "none");
    EXPECT_EQ(auto_load_path(""), "none");
}

TEST(JumperAutoLoad, AFolderOf244BytesIsTooLong) {
    EXPECT_EQ(auto_load_path(std::string(243, 'f') + "\\s"), std::string(243, 'f') + "\\jumpers.csv");
    EXPECT_EQ(auto_load_path(std::string(244, 'f') + "\\s"), "none");
}
