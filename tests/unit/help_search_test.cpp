#include "app/help_search.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

static bool in_set(void* context, const char* path) {
    return static_cast<std::set<std::string>*>(context)->count(path) != 0;
}

struct HelpSearchCase {
    const char* name;
    std::set<std::string> files;
    const char* found;  // null: nothing
};

TEST(HelpSearch, LooksBesideTheProgramThenAboveThenInTheCurrentDirectory) {
    const HelpSearchCase cases[] = {
        {"all three",
         {"C:\\rig\\bin\\doc\\help\\index.html", "C:\\rig\\doc\\help\\index.html", "doc\\help\\index.html"},
         "C:\\rig\\bin\\doc\\help\\index.html"},
        {"parent", {"C:\\rig\\doc\\help\\index.html", "doc\\help\\index.html"}, "C:\\rig\\doc\\help\\index.html"},
        {"current directory", {"doc\\help\\index.html"}, "doc\\help\\index.html"},
        {"grandparent is not looked at", {"C:\\doc\\help\\index.html"}, nullptr},
        {"another page", {"C:\\rig\\bin\\doc\\help\\settings.html"}, nullptr},
    };
    for (HelpSearchCase c : cases) {
        char path[260] = "untouched";
        const int32_t status = help_page_find("C:\\rig\\bin", "index.html", in_set, &c.files, path, sizeof path);
        EXPECT_EQ(status, c.found ? 0 : -1) << c.name;
        EXPECT_STREQ(path, c.found ? c.found : "untouched") << c.name;
    }
}

TEST(HelpSearch, ADirectoryWithoutAParentFallsThroughToTheCurrentDirectory) {
    std::set<std::string> files = {"doc\\help\\index.html"};
    char path[260] = "";
    ASSERT_EQ(help_page_find("C:", "index.html", in_set, &files, path, sizeof path), 0);
    EXPECT_STREQ(path, "doc\\help\\index.html");
}

TEST(HelpSearch, APathThatDoesNotFitIsPassedOver) {
    std::set<std::string> files = {"C:\\rig\\bin\\doc\\help\\index.html", "doc\\help\\index.html"};
    char path[22] = "";
    ASSERT_EQ(help_page_find("C:\\rig\\bin", "index.html", in_set, &files, path, sizeof path), 0);
    EXPECT_STREQ(path, "doc\\help\\index.html");
}
