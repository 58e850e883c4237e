// Whether anything brings pictures into the feeds or records them: a machine that then fell asleep would spoil the
// jump.
#pragma once

struct ProcessManager;

// A capture, a player of practice videos or a recorder is running.
bool feeds_running(const ProcessManager& processes);
