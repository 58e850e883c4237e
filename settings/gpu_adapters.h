// Asks the system for the graphics cards a capture can be encoded on.
#pragma once

#include <cstdint>

#include "settings/gpu_list.h"

// Fills `list` and returns its count; -1, logged, with the list empty, when the system cannot be asked.
int32_t gpu_adapters_enumerate(GpuList* list);
