#include "procs/capture_sync.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "procs/worker_commands.h"

using Lines = std::vector<std::string>;

static Lines plan_lines(const CaptureSyncInputs& inputs) {
    const CaptureSyncPlan plan = plan_capture_sync(inputs);
    Lines lines;
    for (int32_t i = 0; i < plan.count; ++i)
        lines.push_back(capture_sync_text(plan.action[i], inputs.feed_count, "cam").substr(15));
    return lines;
}

TEST(PlanCaptureSync, AssignedCamerasGetTheirChildrenCaptureFirst) {
    CaptureSyncInputs inputs;
    for (bool& assigned : inputs.camera_assigned) assigned = true;
    EXPECT_EQ(plan_lines(inputs),
              (Lines{"spawning capture[0] for device cam", "spawning motion[0] (follows capture[0])",
                     "spawning capture[1] for device cam", "spawning motion[1] (follows capture[1])",
                     "spawning capture[2] for device cam", "spawning motion[2] (follows capture[2])"}));
}

TEST(PlanCaptureSync, WhatRunsAsItShouldIsLeftAlone) {
    CaptureSyncInputs inputs;
    EXPECT_EQ(plan_lines(inputs), Lines{}) << "no cameras, no children";
    for (int feed = 0; feed < 3; ++feed)
        inputs.camera_assigned[feed] = inputs.capture_running[feed] = inputs.motion_running[feed] = true;
    EXPECT_EQ(plan_lines(inputs), Lines{});
}

TEST(PlanCaptureSync, AMissingHalfIsStartedAlone) {
    CaptureSyncInputs inputs;
    inputs.camera_assigned[1] = inputs.motion_running[1] = true;
    EXPECT_EQ(plan_lines(inputs), Lines{"spawning capture[1] for device cam"});
    inputs.capture_running[1] = true;
    inputs.motion_running[1] = false;
    EXPECT_EQ(plan_lines(inputs), Lines{"spawning motion[1] (follows capture[1])"});
}

TEST(PlanCaptureSync, AFeedWhoseCameraIsClearedLosesBothChildren) {
    CaptureSyncInputs inputs;
    for (int feed = 0; feed < 3; ++feed)
        inputs.camera_assigned[feed] = inputs.capture_running[feed] = inputs.motion_running[feed] = true;
    inputs.camera_assigned[1] = false;
    EXPECT_EQ(plan_lines(inputs),
              (Lines{"stopping capture[1] (no device assigned)", "stopping motion[1] (no device assigned)"}));
}

TEST(PlanCaptureSync, WithOneFeedEverythingOfTheOtherTwoIsStoppedLast) {
    CaptureSyncInputs inputs;
    inputs.feed_count = 1;
    for (int feed = 0; feed < 3; ++feed) {
        inputs.camera_assigned[feed] = true;
        inputs.capture_running[feed] = inputs.motion_running[feed] = feed != 1;
    }
    EXPECT_EQ(plan_lines(inputs),
              (Lines{"spawning capture[1] for device cam", "spawning motion[1] (follows capture[1])",
                     "stopping capture[0] (slot inactive at feed_count=1)",
                     "stopping motion[0] (slot inactive at feed_count=1)",
                     "stopping capture[2] (slot inactive at feed_count=1)",
                     "stopping motion[2] (slot inactive at feed_count=1)"}));
}

TEST(PlanCaptureSync, WithTwoFeedsACameraOfFeedZeroStartsNothing) {
    CaptureSyncInputs inputs;
    inputs.feed_count = 2;
    inputs.camera_assigned[0] = true;
    inputs.motion_running[0] = true;
    EXPECT_EQ(plan_lines(inputs), Lines{"stopping motion[0] (slot inactive at feed_count=2)"});
}

TEST(PlanCaptureSync, AfterThePlanIsCarriedOutNothingIsLeftToDoWhateverTheStart) {
    for (int32_t feed_count = 0; feed_count <= 3; ++feed_count) {
        for (int bits = 0; bits < 512; ++bits) {
            CaptureSyncInputs inputs;
            inputs.feed_count = feed_count;
            for (int feed = 0; feed < 3; ++feed) {
                inputs.camera_assigned[feed] = (bits >> feed & 1) != 0;
                inputs.capture_running[feed] = (bits >> (3 + feed) & 1) != 0;
                inputs.motion_running[feed] = (bits >> (6 + feed) & 1) != 0;
            }
            const CaptureSyncPlan plan = plan_capture_sync(inputs);
            ASSERT_LE(plan.count, 6);
            for (int32_t i = 0; i < plan.count; ++i) {
                const SyncAction& action = plan.action[i];
                const bool capture = action.step == SyncStep::spawn_capture || action.step == SyncStep::stop_capture;
                const bool spawn = action.step == SyncStep::spawn_capture || action.step == SyncStep::spawn_motion;
                bool& running = capture ? inputs.capture_running[action.feed] : inputs.motion_running[action.feed];
                EXPECT_NE(running, spawn) << "an action that changes nothing";
                running = spawn;
            }
            for (int feed = 0; feed < 3; ++feed) {
                const bool wanted = feed_is_active(feed_count, feed) && inputs.camera_assigned[feed];
                EXPECT_EQ(inputs.capture_running[feed], wanted) << feed_count << " " << bits;
                EXPECT_EQ(inputs.motion_running[feed], wanted) << feed_count << " " << bits;
            }
            EXPECT_EQ(plan_capture_sync(inputs).count, 0);
        }
    }
}

TEST(CaptureSyncText, BeginsWithTheSequencesNameAndCarriesALongDevicePath) {
    const std::string device(255, 'd');
    EXPECT_EQ(capture_sync_text({SyncStep::spawn_capture, SyncReason::camera_assigned, 2}, 3, device.c_str()),
              "sync_captures: spawning capture[2] for device " + device);
}
