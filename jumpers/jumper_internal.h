// What the panel's source files tell one another; nobody outside the room includes this.
#pragma once

#include "jumpers/jumper_panel.h"

inline JumperRegion* jumper_region(JumperPanel* panel) {
    return static_cast<JumperRegion*>(panel->region.view);
}

// jumper_view.cpp: the list view.
// Columns and styles of the list that the panel has created.
void jumper_view_create(JumperPanel* panel);
