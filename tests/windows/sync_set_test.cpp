#include "ipc/sync_set.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <windows.h>

#include "ipc/scoped_handle.h"
#include "tests/support/child_role.h"
#include "tests/support/log_capture.h"

namespace {

using Lines = std::vector<std::string>;

class SyncSet : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(ipc_init(&set_), 0);
    }
    void TearDown() override {
        ipc_close(&set_);
    }
    bool signalled(int32_t index) {
        return WaitForSingleObject(set_.event[index], 0) == WAIT_OBJECT_0;
    }

    LogCapture log_;
    IpcSyncSet set_ = {};
};

}  // namespace

// A child that takes mutex argv[0] and lives on or, with "die" as argv[1], leaves without giving it back.
static int hold_mutex(int argc, char** argv) {
    IpcSyncSet set;
    if (argc < 2 || ipc_init(&set) != 0 || ipc_lock(&set, atoi(argv[0])) != 0) return 90;
    child_announce_ready();
    if (std::string(argv[1]) == "die") TerminateProcess(GetCurrentProcess(), 7);
    return child_run_until_ended();
}
static const RegisterChildRole kHoldMutex("hold mutex", hold_mutex);

static bool all_null(const IpcSyncSet& set) {
    for (int32_t i = 0; i < kSyncObjectCount; ++i)
        if (set.mutex[i] || set.event[i]) return false;
    return true;
}

TEST_F(SyncSet, HoldsThirtySevenOfEachUnderTheirNames) {
    EXPECT_EQ(log_.take(), (Lines{"INF ipc: initialized 37 mutexes and 37 events"}));
    for (int32_t i = 0; i <= 36; ++i) {
        const ScopedHandle mutex(
            OpenMutexA(SYNCHRONIZE, FALSE, ("Local\\SkiJumpMutex_" + std::to_string(i)).c_str()));
        EXPECT_TRUE(mutex.valid()) << i;
        const ScopedHandle event(
            OpenEventA(SYNCHRONIZE, FALSE, ("Local\\SkiJumpEvent_" + std::to_string(i)).c_str()));
        EXPECT_TRUE(event.valid()) << i;
    }
    const ScopedHandle beyond(OpenMutexA(SYNCHRONIZE, FALSE, "Local\\SkiJumpMutex_37"));
    EXPECT_FALSE(beyond.valid());
}

TEST_F(SyncSet, ManualEventsStaySetAndAutoEventsFireOnce) {
    for (int32_t i = 0; i <= 36; ++i) {
        EXPECT_FALSE(signalled(i)) << "event " << i << " starts non-signalled";
        ipc_signal(&set_, i);
        EXPECT_TRUE(signalled(i)) << i;
        EXPECT_EQ(signalled(i), event_is_manual_reset(i)) << i;
    }
}

TEST_F(SyncSet, ResettingClearsOneEventOrAll) {
    for (int32_t i = 0; i <= 36; ++i) ipc_signal(&set_, i);
    ipc_reset_event(&set_, 14);
    EXPECT_FALSE(signalled(14));
    EXPECT_TRUE(signalled(18));
    log_.take();
    ipc_reset_all_events(&set_);
    for (int32_t i = 0; i <= 36; ++i) EXPECT_FALSE(signalled(i)) << i;
    EXPECT_EQ(log_.take(), (Lines{"INF ipc: reset 37 events to non-signaled state"}));
}

TEST_F(SyncSet, AnIndexBeyondTheLastOrANullSetDoesNothing) {
    for (const int32_t index : {37, 38, 1000, -1}) {
        EXPECT_EQ(ipc_lock(&set_, index), -1) << index;
        ipc_unlock(&set_, index);
        ipc_signal(&set_, index);
        ipc_reset_event(&set_, index);
    }
    for (int32_t i = 0; i <= 36; ++i) EXPECT_FALSE(signalled(i)) << i;
    log_.take();
    EXPECT_EQ(ipc_init(nullptr), -1);
    EXPECT_EQ(ipc_lock(nullptr, 0), -1);
    ipc_unlock(nullptr, 0);
    ipc_signal(nullptr, 0);
    ipc_reset_event(nullptr, 0);
    ipc_reset_all_events(nullptr);
    ipc_close(nullptr);
    EXPECT_TRUE(log_.take().empty());
}

TEST_F(SyncSet, AClosedSetLocksNothing) {
    ipc_close(&set_);
    EXPECT_TRUE(all_null(set_));
    EXPECT_EQ(ipc_lock(&set_, 0), -1);
    ipc_unlock(&set_, 0);
    ipc_signal(&set_, 0);
    ipc_close(&set_);
    EXPECT_TRUE(all_null(set_));
}

TEST_F(SyncSet, ObjectsThatExistAreShared) {
    IpcSyncSet other;
    ASSERT_EQ(ipc_init(&other), 0);
    ipc_signal(&other, 36);
    EXPECT_TRUE(signalled(36));
    ipc_close(&other);
}

TEST_F(SyncSet, TheOwnerOfAMutexTakesItAgainAfterGivingItBack) {
    ASSERT_EQ(ipc_lock(&set_, 2), 0);
    ipc_unlock(&set_, 2);
    ChildProcess child("hold mutex", {"2", "live"});
    EXPECT_TRUE(child.wait_ready()) << "the child gets what was given back";
}

TEST_F(SyncSet, AMutexWhoseOwnerDiedCountsAsAcquired) {
    ChildProcess child("hold mutex", {"5", "die"});
    ASSERT_TRUE(child.wait_ended());
    ASSERT_EQ(child.exit_code(), 7u);
    log_.take();
    EXPECT_EQ(ipc_lock(&set_, 5), 0);
    ipc_unlock(&set_, 5);
    EXPECT_EQ(ipc_lock(&set_, 5), 0);
    ipc_unlock(&set_, 5);
    EXPECT_EQ(log_.take(), (Lines{"WRN ipc: mutex 5 was left by a process that died holding it"}));
}

TEST_F(SyncSet, AHungOwnerCostsOneSecondAndKeepsItsMutex) {
    ChildProcess child("hold mutex", {"9", "live"});
    ASSERT_TRUE(child.wait_ready());
    for (int attempt = 1; attempt <= 2; ++attempt) {
        const ULONGLONG start = GetTickCount64();
        EXPECT_EQ(ipc_lock(&set_, 9), -1);
        const ULONGLONG waited_ms = GetTickCount64() - start;
        EXPECT_GE(waited_ms, 950u);
        EXPECT_LT(waited_ms, 3000u);
        ipc_unlock(&set_, 9);  // fails harmlessly: the second attempt waits as long
    }
}

TEST_F(SyncSet, AHungOwnerIsNamedOnceAndSoIsItsEnd) {
    log_.take();
    {
        ChildProcess child("hold mutex", {"9", "live"});
        ASSERT_TRUE(child.wait_ready());
        EXPECT_EQ(ipc_lock(&set_, 9), -1);
        EXPECT_EQ(ipc_lock(&set_, 9), -1);
        EXPECT_EQ(log_.take(), (Lines{"WRN ipc: mutex 9 is held for more than 1000 ms — going ahead without it"}));
    }
    EXPECT_EQ(ipc_lock(&set_, 9), 0);
    ipc_unlock(&set_, 9);
    EXPECT_EQ(ipc_lock(&set_, 9), 0);
    ipc_unlock(&set_, 9);
    EXPECT_EQ(log_.take(), (Lines{"WRN ipc: mutex 9 was left by a process that died holding it",
                                  "INF ipc: mutex 9 is to be had again"}));
}

TEST(SyncSetCreation, AForeignObjectUnderAMutexNameFailsAndClosesEverything) {
    LogCapture log;
    const ScopedHandle semaphore(CreateSemaphoreA(nullptr, 0, 1, "Local\\SkiJumpMutex_5"));
    ASSERT_TRUE(semaphore.valid());
    IpcSyncSet set;
    EXPECT_EQ(ipc_init(&set), -1);
    EXPECT_EQ(log.take(), (Lines{"ERR ipc: CreateMutex failed for 'Local\\SkiJumpMutex_5', error=6"}));
    EXPECT_TRUE(all_null(set));
}

TEST(SyncSetCreation, AForeignObjectUnderAnEventNameFailsAndClosesEverything) {
    LogCapture log;
    const ScopedHandle semaphore(CreateSemaphoreA(nullptr, 0, 1, "Local\\SkiJumpEvent_36"));
    ASSERT_TRUE(semaphore.valid());
    IpcSyncSet set;
    EXPECT_EQ(ipc_init(&set), -1);
    EXPECT_EQ(log.take(), (Lines{"ERR ipc: CreateEvent failed for 'Local\\SkiJumpEvent_36', error=6"}));
    EXPECT_TRUE(all_null(set));
    const ScopedHandle left(OpenMutexA(SYNCHRONIZE, FALSE, "Local\\SkiJumpMutex_0"));
    EXPECT_FALSE(left.valid());
}
