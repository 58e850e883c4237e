// Drives the real Orvek.exe through its window. Under a worker's name the same program plays that worker.
#include <gtest/gtest.h>

#include "tests/console/fake_worker.h"
#include "tests/console/installation.h"
#include "tests/support/fake_listing.h"

int main(int argc, char** argv) {
    if (is_fake_listing(argc, argv)) return fake_listing_main();
    if (is_fake_worker()) return fake_worker_main(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    const int outcome = RUN_ALL_TESTS();
    installations_clean_up();
    return outcome;
}
