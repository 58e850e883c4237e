// orvekctl's command line around its subcommands.
#include <gtest/gtest.h>

#include "tests/support/orvekctl_run.h"
#include "tools/orvekctl.h"

TEST(Orvekctl, TellsItsVersion) {
    for (const char* option : {"--version", "-V"}) {
        const OrvekctlAnswer answer = run_orvekctl(orvekctl_run, {option});
        EXPECT_EQ(answer.exit_code, kDone);
        EXPECT_EQ(answer.out, "orvekctl " ORVEK_VERSION "\n");
        EXPECT_TRUE(answer.errors.empty());
    }
}

TEST(Orvekctl, ListsItsSubcommandsWhenAsked) {
    const OrvekctlAnswer answer = run_orvekctl(orvekctl_run, {"--help"});
    EXPECT_EQ(answer.exit_code, kDone);
    for (const char* line :
         {"orvekctl settings check FILE\n", "orvekctl jumpers check FILE\n", "orvekctl --version\n"})
        EXPECT_NE(answer.out.find(line), std::string::npos) << line;
}

TEST(Orvekctl, AnswersAnythingElseWithItsUsageAsAnError) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, {"no such thing"}, {"--version", "again"}, {"settings.txt"}}) {
        const OrvekctlAnswer answer = run_orvekctl(orvekctl_run, arguments);
        EXPECT_EQ(answer.exit_code, kFailed);
        EXPECT_EQ(answer.out, "");
        ASSERT_FALSE(answer.errors.empty());
        EXPECT_EQ(answer.errors[0], "usage:");
    }
}

TEST(Orvekctl, HandsASubcommandWhatFollowsItsName) {
    const OrvekctlAnswer answer = run_orvekctl(orvekctl_run, {"settings", "list"});
    EXPECT_EQ(answer.exit_code, kDone);
    EXPECT_NE(answer.out.find("feed_count\t"), std::string::npos);
}
