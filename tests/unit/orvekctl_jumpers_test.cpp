// orvekctl's look at a start list: what it prints and how it exits.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/orvekctl_run.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"
#include "tools/orvekctl.h"

static OrvekctlAnswer orvekctl(std::vector<std::string> arguments) {
    return run_orvekctl(orvekctl_jumpers, std::move(arguments));
}

static OrvekctlAnswer check(const TempDir& dir, const std::string& list) {
    write_whole_file(dir.file("jumpers.csv"), list);
    return orvekctl({"check", dir.file("jumpers.csv")});
}

TEST(OrvekctlJumpers, PrintsBibNameClubAndExtraOfEveryAcceptedLineAndTheCount) {
    const TempDir dir;
    const OrvekctlAnswer answer = check(dir,
                                        "Bib\tName\tClub\r\n\r\n1\tŽiga Čop\tSSK Ilirija\tSLO\r\n7,a,b\r\n"
                                        "12\tJörg Müller\tSC Hinterzarten\r\n9\tone tab\r\n");
    EXPECT_EQ(answer.exit_code, 0);
    EXPECT_EQ(split_lines(answer.out), (std::vector<std::string>{"1\tŽiga Čop\tSSK Ilirija\tSLO",
                                                                 "12\tJörg Müller\tSC Hinterzarten\t", "count 3"}));
    EXPECT_TRUE(answer.errors.empty());
}

TEST(OrvekctlJumpers, CountsTheForerunnerAsTheControllerDoes) {
    const TempDir dir;
    EXPECT_EQ(split_lines(check(dir, "").out), std::vector<std::string>{"count 1"});
    std::string list;
    for (int32_t bib = 1; bib <= 250; ++bib) list += std::to_string(bib) + "\tname\tclub\n";
    const std::vector<std::string> lines = split_lines(check(dir, list).out);
    ASSERT_EQ(lines.size(), 200u);
    EXPECT_EQ(lines[198], "199\tname\tclub\t");
    EXPECT_EQ(lines[199], "count 200");
}

TEST(OrvekctlJumpers, TextsAreCutAsTheControllerCutsThem) {
    const TempDir dir;
    const std::string name(30, 'n');
    EXPECT_EQ(split_lines(check(dir, "3\t" + name + "é\tclub\t12345678901234\n").out),
              (std::vector<std::string>{"3\t" + name + "\tclub\t12345678901", "count 2"}));
}

TEST(OrvekctlJumpers, BytesThatWouldSteerTheTerminalAreShown) {
    const TempDir dir;
    EXPECT_EQ(split_lines(check(dir, "3\ta\x1b[2J\tb\x7f\tc\td\n").out),
              (std::vector<std::string>{"3\ta\\x1B[2J\tb\\x7F\tc\td", "count 2"}));
}

TEST(OrvekctlJumpers, AFileThatCannotBeReadIsOneLineAndExitsWithTwo) {
    const TempDir dir;
    for (const std::string& path : {dir.file("none.csv"), dir.path()}) {
        const OrvekctlAnswer answer = orvekctl({"check", path});
        EXPECT_EQ(answer.exit_code, 2);
        EXPECT_EQ(answer.out, "");
        ASSERT_EQ(answer.errors.size(), 1u);
        EXPECT_TRUE(answer.errors[0].starts_with("orvekctl: cannot read '" + path + "': ")) << answer.errors[0];
    }
    EXPECT_FALSE(file_exists(dir.file("none.csv")));
}

TEST(OrvekctlJumpers, BadUsageExitsWithTwo) {
    const std::vector<std::vector<std::string>> commands = {{}, {"check"}, {"check", "a", "b"}, {"list", "a"}};
    for (const std::vector<std::string>& command : commands) {
        const OrvekctlAnswer answer = orvekctl(command);
        EXPECT_EQ(answer.exit_code, 2);
        EXPECT_EQ(answer.out, "");
        EXPECT_EQ(answer.errors.size(), 1u);
    }
}
