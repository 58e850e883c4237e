// Cameras that are assigned and taken away while the program runs.
#include "tests/console/console_test.h"

namespace {
class Cameras : public ConsoleTest {};
}  // namespace

TEST_F(Cameras, AFeedWhoseCameraWasClearedLosesItsChildrenAtTheNextAlignment) {
    order_workers({"practice_player ready", "capture ready", "motion ready", "videogen ready", "viewer ready"});
    start_with({"feed_count=1", "*camera_device_path[1]=usb#cam-one"});
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    ASSERT_TRUE(running_children_become(console, "capture[1] motion[1]"));
    installation_settings(installation, {"feed_count=1"});
    ASSERT_TRUE(select_tab(console, kTabSettings));
    press_key(console, 'L', true);
    ASSERT_TRUE(status_becomes(console, "Settings loaded"));
    press_on(kTabPreview, 701);
    ASSERT_TRUE(status_becomes(console, "Practice: all processes running, viewer launched"));
    press_on(kTabProcesses, 211);
    ASSERT_TRUE(running_children_become(console, "motion[1] fileplayer[-1] videogen viewer capture[1]"));
    press_on(kTabProcesses, 202);
    ASSERT_TRUE(status_becomes(console, "Practice ended — captures resumed; motion stayed alive"));
    EXPECT_TRUE(running_children_become(console, ""));
    EXPECT_TRUE(log_shows_in_order(
        installation, {"sync_captures: stopping capture[1] (no device assigned)", "stopping capture[1] (PID *)",
                       "sync_captures: stopping motion[1] (no device assigned)", "stopping motion[1] (PID *)"}));
}
