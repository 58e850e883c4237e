// Drives the real Orvek.exe through its window. Under a worker's name the same program plays that worker.
#include <gtest/gtest.h>

#include "tests/console/fake_worker.h"

int main(int argc, char** argv) {
    if (is_fake_worker()) return fake_worker_main(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
