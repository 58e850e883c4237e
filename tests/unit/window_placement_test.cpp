#include "app/window_placement.h"

#include <gtest/gtest.h>

struct PlacementCase {
    const char* name;
    ScreenRect window;
    bool reachable;
};

TEST(WindowPlacement, AWindowIsReachableWhenItsTitleBarLiesOnAScreen) {
    // Two screens side by side, a task bar below the first.
    const ScreenRect screens[] = {{0, 0, 1920, 1160}, {1920, 0, 3840, 1200}};
    const PlacementCase cases[] = {
        {"first screen", {100, 100, 1700, 1000}, true},
        {"second screen", {2000, 50, 3600, 950}, true},
        {"across both", {1000, 0, 2600, 900}, true},
        {"hanging out to the right, title in reach", {3700, 100, 5300, 1000}, true},
        {"only the frame's edge is left", {3780, 100, 5380, 1000}, false},
        {"unplugged third screen", {3840, 0, 5440, 900}, false},
        {"title above the screen", {100, -40, 1700, 860}, false},
        {"title half above the screen", {100, -16, 1700, 884}, true},
        {"title behind the task bar", {100, 1160, 1700, 2060}, false},
        {"minimised windows are parked here", {-32000, -32000, -30400, -31100}, false},
        {"numbers out of a damaged file", {2147483647, 2147483647, 2147483647, 2147483647}, false},
        {"and their opposite", {-2147483647 - 1, -2147483647 - 1, 2147483647, 2147483647}, false},
    };
    for (const PlacementCase& c : cases) EXPECT_EQ(window_is_reachable(c.window, screens, 2), c.reachable) << c.name;
    EXPECT_FALSE(window_is_reachable(cases[0].window, nullptr, 0)) << "no screens at all";
}
