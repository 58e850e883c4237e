#include "preview/jumper_caption.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

static std::string caption_of(int32_t bib, const char* name, const char* club) {
    char caption[kJumperCaptionSize];
    format_jumper_caption(caption, bib, name, club);
    return caption;
}

TEST(JumperCaption, ShowsBibNameAndClubInUpperCase) {
    EXPECT_EQ(caption_of(7, "Matti Ahonen", "Lahden Hs"), "007  MATTI AHONEN - LAHDEN HS");
    EXPECT_EQ(caption_of(0, "FORERUNNER", ""), "000  FORERUNNER - ");
    EXPECT_EQ(caption_of(1234, "a", "z"), "1234  A - Z");
    EXPECT_EQ(caption_of(50, "O'Neil-99 {x}", "[b]@`"), "050  O'NEIL-99 {X} - [B]@`");
}

TEST(JumperCaption, RaisesLettersOutsideAscii) {
    EXPECT_EQ(caption_of(1, "žiga čop", "smučarski klub šmarje"), "001  ŽIGA ČOP - SMUČARSKI KLUB ŠMARJE");
    EXPECT_EQ(caption_of(2, "jörg müller", "åre ørn æ þ ÿ"), "002  JÖRG MÜLLER - ÅRE ØRN Æ Þ Ÿ");
    EXPECT_EQ(caption_of(3, "łukasz żyła", "śćńęąź őű ňľ"), "003  ŁUKASZ ŻYŁA - ŚĆŃĘĄŹ ŐŰ ŇĽ");
}

TEST(JumperCaption, LeavesCapitalsSignsAndOtherScriptsAlone) {
    EXPECT_EQ(caption_of(4, "ÄÖÜŽŠČŁŸ ×÷ß", "ı ĸ ŉ ſ"), "004  ÄÖÜŽŠČŁŸ ×÷ß - ı ĸ ŉ ſ");
    EXPECT_EQ(caption_of(5, "小林陵侑", "€ 😀"), "005  小林陵侑 - € 😀");
}

TEST(JumperCaption, BytesThatAreNoUtf8PassUnchanged) {
    EXPECT_EQ(caption_of(6, "\xE4x\xC3", "\xFF\x80"), "006  \xE4X\xC3 - \xFF\x80");
    EXPECT_EQ(caption_of(6, "x", "y\xC5"), "006  X - Y\xC5");
}

TEST(JumperCaption, TooLongATextIsCutBetweenCharacters) {
    for (size_t lead = 100; lead < 130; ++lead) {
        for (const std::string character : {"ä", "€", "😀"}) {
            std::string name(lead, 'x');
            for (int32_t i = 0; i < 20; ++i) name += character;
            const std::string caption = caption_of(1, name.c_str(), "club");
            ASSERT_LE(caption.size(), size_t{kJumperCaptionSize - 1});
            ASSERT_GT(caption.size(), size_t{kJumperCaptionSize - 5});
            const size_t tail = caption.size() > 5 + lead ? caption.size() - 5 - lead : 0;
            ASSERT_EQ(tail % character.size(), 0u) << lead << " " << character;
        }
    }
}
