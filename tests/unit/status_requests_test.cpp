#include "tools/status_requests.h"

#include <gtest/gtest.h>

#include "ipc/sync_objects.h"
#include "tools/status_regions.h"
#include "tools/sync_names.h"

using Requests = std::vector<std::string>;

TEST(StatusRequests, AQuietBlockHasNone) {
    EXPECT_EQ(status_requests(ControlBlock{}), Requests{});
}

TEST(StatusRequests, FollowAForcedMovieFromPostingToItsAnswer) {
    ControlBlock block = {};
    block.channel = 127;  // must not matter
    block.force_start_seq = 100;
    block.force_end_seq = 619;
    block.force_result = -1;
    block.force_request = 1;
    EXPECT_EQ(status_requests(block), Requests{"force video: frames 100 to 619 not taken yet"});
    block.force_request = 0;
    block.force_ack[2] = 1;
    EXPECT_EQ(status_requests(block), Requests{"force video: frames 100 to 619 taken but no movie yet"});
    block.force_result = 12;
    EXPECT_EQ(status_requests(block), Requests{});
}

TEST(StatusRequests, FollowAGridClickFromAskingToTaking) {
    ControlBlock block = {};
    block.grid_feed = 2;
    block.grid_line = 7;
    block.grid_near = 1;
    block.grid_click_x = 33;
    block.grid_click_y = 44;
    block.grid_click_wait = 1;
    EXPECT_EQ(status_requests(block), Requests{"grid: click wanted for line 7 near on feed 2"});
    block.grid_click_ready = 1;
    EXPECT_EQ(status_requests(block), Requests{"grid: line 7 near on feed 2 clicked at 33/44 but not taken yet"});
    block.grid_click_wait = 0;
    EXPECT_EQ(status_requests(block), Requests{});
}

TEST(StatusRequests, NameTheFeedOfEveryPauseAndEverythingThatIsToEnd) {
    ControlBlock block = {};
    block.shutdown = 1;
    block.capfile_shutdown[0] = 1;
    block.capfile_paused[1] = 1;
    block.motion_paused[2] = 1;
    const Requests expected = {"shutdown: every worker is to exit", "capfile 0: finish the file and exit",
                               "capfile 1: pause", "motion 2: pause"};
    EXPECT_EQ(status_requests(block), expected);
}

TEST(SyncNames, SayWhatEachObjectIsForAndLeaveTheWorkersTheirs) {
    EXPECT_EQ(mutex_meaning(kMutexChannel), "channel");
    EXPECT_EQ(mutex_meaning(5), "nw 2");
    EXPECT_EQ(mutex_meaning(6), "motion_idx 0");
    EXPECT_EQ(mutex_meaning(34), "pid_slot 7");
    EXPECT_EQ(mutex_meaning(kMutexJumpers), "jumpers");
    EXPECT_EQ(event_meaning(8), "motion wake 2");
    EXPECT_EQ(event_meaning(kEventNewFrame), "new feed frame");
    for (const int32_t index : {0, 1, 10, 35, 36, -1, 37}) EXPECT_EQ(mutex_meaning(index), "workers") << index;
    for (const int32_t index : {0, 2, 9, 22, 34, -1, 37}) EXPECT_EQ(event_meaning(index), "workers") << index;
}

TEST(StatusRegions, EveryRegionHasItsNameAndSize) {
    const struct {
        int32_t region;
        const char* name;
        uint64_t size;
    } cases[] = {{0, "Local\\SkiJumpControl", 9776},        {1, "Local\\SkiJumpJumper", 102464},
                 {2, "Local\\SkiJumpFeed_0_0", 808837120},  {6, "Local\\SkiJumpFeed_1_1", 808837120},
                 {10, "Local\\SkiJumpFeed_2_2", 808837120}, {11, "Local\\SkiJumpOutput_0", 1617543232},
                 {12, "Local\\SkiJumpOutput_1", 1617543232}};
    for (const auto& c : cases) {
        char name[32];
        region_name(name, c.region);
        EXPECT_STREQ(name, c.name);
        EXPECT_EQ(region_expected_size(c.region), c.size);
    }
    EXPECT_EQ(kRegionCount, 13);
    EXPECT_EQ(feed_region_number(2, 1), 9);
}

TEST(StatusRegions, SizesAreComparedInPages) {
    EXPECT_TRUE(region_size_fits(9776, 9776));
    EXPECT_TRUE(region_size_fits(12288, 9776));
    EXPECT_FALSE(region_size_fits(8192, 9776));
    EXPECT_FALSE(region_size_fits(12289, 9776));
    EXPECT_FALSE(region_size_fits(0, 9776));
}
