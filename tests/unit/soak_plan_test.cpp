#include "tests/soak/fault_plan.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

static std::string text_of(FaultPlan plan, int32_t lives) {
    std::string text;
    for (int32_t i = 0; i < lives; ++i) {
        const PlannedLife life = next_life(&plan, 9);
        text += life.rig ? "rig " : "fake ";
        text += std::string(fault_name(life.start)) + ">" + std::string(fault_name(life.end)) + ":";
        for (const PlannedFault& fault : life.faults) {
            text += " " + std::string(fault_name(fault.fault)) + "/" + std::to_string(fault.feed) + "/" +
                    std::to_string(fault.lasts_ms) + "/" + std::to_string(fault.flavour);
            for (int32_t mutex : fault.mutexes) text += "," + std::to_string(mutex);
        }
        text += "\n";
    }
    return text;
}

TEST(FaultPlan, TheSameSeedThrowsTheSameFaults) {
    EXPECT_EQ(text_of(fault_plan(7, {}), 6), text_of(fault_plan(7, {}), 6));
    EXPECT_NE(text_of(fault_plan(7, {}), 6), text_of(fault_plan(8, {}), 6));
}

TEST(FaultPlan, DiceFallTheSameOnEveryMachine) {
    Dice dice = {1};
    std::string numbers;
    for (int32_t i = 0; i < 8; ++i) numbers += std::to_string(throw_dice(&dice, 1000)) + " ";
    EXPECT_EQ(numbers, "465 519 590 235 761 48 45 533 ");
    EXPECT_EQ(throw_dice(&dice, 0), 0u);
}

TEST(FaultPlan, EveryKindComesBeforeOneComesTwice) {
    FaultPlan plan = fault_plan(3, {});
    const size_t kinds = plan.during_fake.kinds.size();
    const PlannedLife life = next_life(&plan, static_cast<int32_t>(kinds));
    std::set<Fault> seen;
    for (const PlannedFault& fault : life.faults) seen.insert(fault.fault);
    EXPECT_EQ(seen.size(), kinds);
}

TEST(FaultPlan, FourPairsOfLivesBeginAndEndInEveryWay) {
    FaultPlan plan = fault_plan(11, {});
    std::set<Fault> starts;
    std::set<Fault> ends;
    for (int32_t i = 0; i < 8; ++i) {
        const PlannedLife life = next_life(&plan, 0);
        EXPECT_EQ(life.rig, i % 2 == 1);
        starts.insert(life.start);
        ends.insert(life.end);
    }
    EXPECT_EQ(starts.size(), 4u);
    EXPECT_EQ(ends.size(), 4u);
}

TEST(FaultPlan, WhatTheMachineCannotDoIsNotPlanned) {
    FaultPlan plan = fault_plan(5, {true, true, true});
    for (int32_t i = 0; i < 6; ++i) {
        const PlannedLife life = next_life(&plan, 12);
        EXPECT_FALSE(life.rig);
        for (const PlannedFault& fault : life.faults) {
            EXPECT_NE(fault.fault, Fault::folder_full);
            EXPECT_NE(fault.fault, Fault::clock_back);
        }
    }
}

TEST(FaultPlan, FaultsStayWithinTheirRanges) {
    FaultPlan plan = fault_plan(1234, {});
    for (int32_t i = 0; i < 20; ++i) {
        const PlannedLife life = next_life(&plan, 20);
        for (const PlannedFault& fault : life.faults) {
            EXPECT_TRUE(fault.feed >= 0 && fault.feed < 3);
            EXPECT_TRUE(fault.lasts_ms >= 2000 && fault.lasts_ms < 5000);
            ASSERT_FALSE(fault.mutexes.empty());
            EXPECT_LE(fault.mutexes.size(), 3u);
            EXPECT_EQ(std::set<int32_t>(fault.mutexes.begin(), fault.mutexes.end()).size(), fault.mutexes.size());
        }
    }
}
