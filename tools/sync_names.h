// What the numbered sync objects stand for, in words for people who look from outside.
#pragma once

#include <cstdint>
#include <string>

// What mutex `index` guards and what event `index` tells. "workers" for those that are the workers' own business.
std::string mutex_meaning(int32_t index);
std::string event_meaning(int32_t index);
