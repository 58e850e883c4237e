// Recording from the Preview tab: Capture Feeds asks for a folder and records all feeds into it until it is pressed
// again, Pause Recording leaves out what lies between two presses.
#pragma once

struct UiContext;

// The button. `may_ask`: somebody is there to choose a folder, and no other question is on the screen. Ending a
// recording blocks until the files are closed, kRecorderGraceMs and a little more at worst.
void capture_feeds(UiContext* ui, bool may_ask);

// The button beside it.
void pause_recording(UiContext* ui);

// Ends whatever is being recorded, from the buttons or from the panel, as those would. For those about to end every
// child: a recorder that is ended without a word leaves a file that cannot be played. Blocks like a stop.
void recordings_finish(UiContext* ui);
