// What somebody has asked somebody else for through the control block and has not got yet.
#pragma once

#include <string>
#include <vector>

#include "ipc/control_block.h"

// One short sentence per open request; empty when all is quiet. The live channel is not used as an index unchecked.
std::vector<std::string> status_requests(const ControlBlock& block);
