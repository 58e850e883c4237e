#include "tools/status_screen.h"

#include <gtest/gtest.h>

TEST(FitToScreen, FillsEveryLineAndTheWholeHeight) {
    EXPECT_EQ(fit_to_screen("ab\ncde\n", 4, 3), "ab  \r\ncde \r\n    ");
}

TEST(FitToScreen, CutsWhatIsTooWideOrTooHigh) {
    EXPECT_EQ(fit_to_screen("abcdef\nxy\nlost\n", 3, 2), "abc\r\nxy ");
}

TEST(FitToScreen, CountsCharactersAndNeverCutsThroughOne) {
    EXPECT_EQ(fit_to_screen("h\xC3\xA4\xE2\x96\xBAz\n", 3, 1), "h\xC3\xA4\xE2\x96\xBA");
    EXPECT_EQ(fit_to_screen("\xC3\xA4\n", 3, 1), "\xC3\xA4  ");
}

TEST(FitToScreen, AWindowWithoutRoomShowsNothing) {
    EXPECT_EQ(fit_to_screen("abc\n", 0, 5), "");
    EXPECT_EQ(fit_to_screen("abc\n", 5, 0), "");
    EXPECT_EQ(fit_to_screen("abc\n", -1, -1), "");
    EXPECT_EQ(fit_to_screen("", 2, 1), "  ");
}
