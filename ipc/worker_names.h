// Which programs are ours, by name. Orphan clean-up ends a process only on this evidence, since the id it was listed
// under may belong to something else by now.
#pragma once

#include <cstdint>
#include <string_view>

// The part after the last backslash; the whole path if there is none.
std::string_view image_base_name(std::string_view path);

// Whether the image at `path` is called like one of the workers, in whatever case.
bool is_worker_image(std::string_view path);

// Whether an entry of `pid_slot` names no process.
bool pid_slot_is_empty(uint32_t pid);
