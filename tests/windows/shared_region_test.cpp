#include "ipc/shared_region.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <windows.h>

#include "ipc/scoped_handle.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

static constexpr char kName[] = "Local\\OrvekTestRegion";
static constexpr uint64_t kSize = 100000;  // no multiple of a page

namespace {

class SharedRegions : public testing::Test {
protected:
    void TearDown() override {
        shmem_close(&first_);
        shmem_close(&second_);
    }

    LogCapture log_;
    SharedRegion first_ = {};
    SharedRegion second_ = {};
};

using Lines = std::vector<std::string>;

}  // namespace

static uint8_t* bytes(const SharedRegion& region) {
    return static_cast<uint8_t*>(region.view);
}

TEST_F(SharedRegions, ANewRegionIsZeroPinnedAndMarkedCreated) {
    ASSERT_EQ(shmem_create(kName, kSize, &first_), 0);
    EXPECT_EQ(log_.take(), (Lines{"INF shmem: created 'Local\\OrvekTestRegion' (100000 bytes)",
                                  "INF shmem: locked 'Local\\OrvekTestRegion' in RAM (100000 bytes)"}));
    EXPECT_NE(first_.mapping, nullptr);
    EXPECT_EQ(first_.size, kSize);
    EXPECT_EQ(first_.created, 1u);
    EXPECT_TRUE(std::all_of(bytes(first_), bytes(first_) + kSize, [](uint8_t b) { return b == 0; }));
}

TEST_F(SharedRegions, CreatingAnExistingNameAttachesAndLeavesTheContents) {
    ASSERT_EQ(shmem_create(kName, kSize, &first_), 0);
    memset(first_.view, 0x5A, kSize);
    log_.take();
    ASSERT_EQ(shmem_create(kName, kSize, &second_), 0);
    EXPECT_EQ(second_.created, 0u);
    EXPECT_TRUE(std::all_of(bytes(second_), bytes(second_) + kSize, [](uint8_t b) { return b == 0x5A; }));
    EXPECT_EQ(log_.take(), (Lines{"INF shmem: attached to 'Local\\OrvekTestRegion' (100000 bytes)",
                                  "INF shmem: locked 'Local\\OrvekTestRegion' in RAM (100000 bytes)"}));
}

TEST_F(SharedRegions, OpeningAMissingRegionFailsWithoutALogLine) {
    second_ = {nullptr, nullptr, 7, 1};
    EXPECT_EQ(shmem_open(kName, kSize, &second_), -1);
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_EQ(second_.size, 0u);
    EXPECT_EQ(second_.created, 0u);
}

TEST_F(SharedRegions, OpeningMapsTheSameBytes) {
    ASSERT_EQ(shmem_create(kName, kSize, &first_), 0);
    log_.take();
    ASSERT_EQ(shmem_open(kName, kSize, &second_), 0);
    EXPECT_EQ(second_.created, 0u);
    EXPECT_EQ(second_.size, kSize);
    bytes(first_)[kSize - 1] = 0xC3;
    EXPECT_EQ(bytes(second_)[kSize - 1], 0xC3);
    EXPECT_EQ(log_.take(), (Lines{"INF shmem: opened 'Local\\OrvekTestRegion' (100000 bytes)",
                                  "INF shmem: locked 'Local\\OrvekTestRegion' in RAM (100000 bytes)"}));
}

TEST_F(SharedRegions, ANameThatBelongsToAnotherKindOfObjectCannotBeCreated) {
    const ScopedHandle mutex(CreateMutexA(nullptr, FALSE, kName));
    ASSERT_TRUE(mutex.valid());
    EXPECT_EQ(shmem_create(kName, kSize, &first_), -1);
    EXPECT_EQ(log_.take(), (Lines{"ERR shmem: CreateFileMapping failed for 'Local\\OrvekTestRegion', error=6"}));
    EXPECT_EQ(first_.mapping, nullptr);
}

TEST_F(SharedRegions, ARegionThatCannotBeMappedWritableGivesMinusTwo) {
    // A read-only file under the region's name: it opens, but gives no writable view.
    const TempDir dir;
    write_whole_file(dir.file("read only"), std::string(4096, 'x'));
    ScopedFile file(CreateFileA(dir.file("read only").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(file.valid());
    ScopedHandle read_only(CreateFileMappingA(file.get(), nullptr, PAGE_READONLY, 0, 4096, kName));
    ASSERT_TRUE(read_only.valid());
    const ScopedView writable(MapViewOfFile(read_only.get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
    if (writable.valid()) GTEST_SKIP() << "this system maps read-only sections writable";
    EXPECT_EQ(shmem_create(kName, 4096, &first_), -2);
    EXPECT_EQ(shmem_open(kName, 4096, &second_), -2);
    const Lines lines = log_.take();
    ASSERT_EQ(lines.size(), 2u);
    for (const std::string& line : lines)
        EXPECT_TRUE(line.starts_with("ERR shmem: MapViewOfFile failed for 'Local\\OrvekTestRegion', error=")) << line;
    EXPECT_EQ(first_.mapping, nullptr);
    EXPECT_EQ(second_.mapping, nullptr);
    EXPECT_EQ(second_.view, nullptr);
}

TEST_F(SharedRegions, AFailureToPinIsAWarningAndTheViewIsUsable) {
    ASSERT_EQ(shmem_create(kName, kSize, &first_), 0);
    log_.take();
    // More than any machine can lock: the working set or the lock gives up.
    ASSERT_EQ(shmem_open(kName, uint64_t{1} << 46, &second_), 0);
    const Lines lines = log_.take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "INF shmem: opened 'Local\\OrvekTestRegion' (70368744177664 bytes)");
    EXPECT_TRUE(lines[1].starts_with("WRN shmem: ")) << lines[1];
    EXPECT_NE(lines[1].find(" — pages may be paged out"), std::string::npos) << lines[1];
    bytes(second_)[0] = 1;
    EXPECT_EQ(bytes(first_)[0], 1);
    second_.size = 0;  // nothing is locked, nothing to unlock
}

TEST_F(SharedRegions, HowMuchARegionReallyHoldsCanBeAsked) {
    EXPECT_EQ(shmem_held_bytes_of(kName), 0u) << "there is none";
    EXPECT_EQ(shmem_held_bytes(nullptr), 0u);
    ASSERT_EQ(shmem_create(kName, kSize, &first_), 0);
    EXPECT_EQ(shmem_held_bytes_of(kName), 102400u) << "whole pages";
    ASSERT_EQ(shmem_open(kName, 100 * kSize, &second_), 0) << "the expectation is not checked";
    EXPECT_EQ(shmem_held_bytes(second_.view), 102400u);
    EXPECT_EQ(second_.size, 100 * kSize);
}

TEST_F(SharedRegions, ARegionVanishesWithItsLastHolder) {
    ASSERT_EQ(shmem_create(kName, kSize, &first_), 0);
    ASSERT_EQ(shmem_open(kName, kSize, &second_), 0);
    shmem_close(&first_);
    SharedRegion third = {};
    EXPECT_EQ(shmem_open(kName, kSize, &third), 0);
    shmem_close(&third);
    shmem_close(&second_);
    EXPECT_EQ(shmem_open(kName, kSize, &third), -1);
}

TEST_F(SharedRegions, ClosingTwiceOrNothingIsHarmless) {
    ASSERT_EQ(shmem_create(kName, kSize, &first_), 0);
    for (int time = 1; time <= 2; ++time) {
        shmem_close(&first_);
        EXPECT_EQ(first_.mapping, nullptr);
        EXPECT_EQ(first_.view, nullptr);
        EXPECT_EQ(first_.size, 0u);
        EXPECT_EQ(first_.created, 0u);
    }
    shmem_close(nullptr);
}

TEST_F(SharedRegions, WithoutARecordNothingIsCreated) {
    EXPECT_EQ(shmem_create(kName, kSize, nullptr), -1);
    EXPECT_EQ(shmem_open(kName, kSize, nullptr), -1);
    EXPECT_EQ(shmem_open(kName, kSize, &first_), -1);
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(SharedRegions, EachRegionGrowsTheWorkingSetByItsSizeForGood) {
    SIZE_T minimum = 0;
    SIZE_T maximum = 0;
    ASSERT_TRUE(GetProcessWorkingSetSize(GetCurrentProcess(), &minimum, &maximum));
    ASSERT_TRUE(SetProcessWorkingSetSize(GetCurrentProcess(), minimum + 65536, maximum + 65536));
    SIZE_T before = 0;
    SIZE_T before_maximum = 0;
    ASSERT_TRUE(GetProcessWorkingSetSize(GetCurrentProcess(), &before, &before_maximum));
    if (before == minimum) GTEST_SKIP() << "this system does not keep working set limits";
    ASSERT_EQ(shmem_create(kName, 1 << 20, &first_), 0);
    shmem_close(&first_);
    SIZE_T after = 0;
    SIZE_T after_maximum = 0;
    ASSERT_TRUE(GetProcessWorkingSetSize(GetCurrentProcess(), &after, &after_maximum));
    EXPECT_EQ(after - before, SIZE_T{1} << 20);
    EXPECT_EQ(after_maximum - before_maximum, SIZE_T{1} << 20);
}
