#include <gtest/gtest.h>

#include "tests/support/child_role.h"
#include "tests/support/fake_listing.h"

int main(int argc, char** argv) {
    if (is_fake_listing(argc, argv)) return fake_listing_main();
    int exit_code = 0;
    if (run_child_role(argc, argv, &exit_code)) return exit_code;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
