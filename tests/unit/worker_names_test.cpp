#include "ipc/worker_names.h"

#include <gtest/gtest.h>

TEST(WorkerNames, OnlyTheSevenNamesInAnyCaseAreOurs) {
    const struct {
        const char* path;
        bool ours;
    } cases[] = {
        {"C:\\rig\\capture.exe", true},
        {"C:\\rig\\MOTION.EXE", true},
        {"C:\\rig\\VideoGen.exe", true},
        {"viewer.exe", true},
        {"\\Device\\HarddiskVolume2\\fileviewer.exe", true},
        {"C:\\rig\\fileplayer.exe", true},
        {"C:\\rig\\practice_player.exe", true},
        {"C:\\Windows\\notepad.exe", false},
        {"C:\\rig\\capfile.exe", false},
        {"C:\\rig\\Orvek.exe", false},
        {"C:\\motion.exe\\other.exe", false},
        {"C:\\rig\\motion.exe\\", false},
        {"C:\\rig\\motion.exe.bak", false},
        {"C:\\rig\\xmotion.exe", false},
        {"C:\\rig\\motion", false},
        {"C:/rig/motion.exe", false},  // images are named with backslashes; anything else is not trusted
        {"", false},
        {"\\", false},
    };
    for (const auto& c : cases) EXPECT_EQ(is_worker_image(c.path), c.ours) << c.path;
}

TEST(WorkerNames, TheBaseNameFollowsTheLastBackslash) {
    EXPECT_EQ(image_base_name("C:\\rig\\motion.exe"), "motion.exe");
    EXPECT_EQ(image_base_name("motion.exe"), "motion.exe");
    EXPECT_EQ(image_base_name("C:\\rig\\"), "");
    EXPECT_EQ(image_base_name(""), "");
}

TEST(WorkerNames, ZeroAndAllBitsAreEmptySlots) {
    EXPECT_TRUE(pid_slot_is_empty(0));
    EXPECT_TRUE(pid_slot_is_empty(0xFFFFFFFF));
    EXPECT_FALSE(pid_slot_is_empty(1));
    EXPECT_FALSE(pid_slot_is_empty(0xFFFFFFFE));
}
