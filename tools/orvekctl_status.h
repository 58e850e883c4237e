// Looks at the regions of a running controller without leaving a trace there: nothing is created, pinned or written,
// and nothing stays open between two looks, so that watching never keeps a dead run's memory alive.
#pragma once

struct StatusSnapshot;

// Fills `status` but for its rates. False, and `status` untouched, when there is no control block to be read.
bool status_read(StatusSnapshot* status);
