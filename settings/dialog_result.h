// How a chooser ended, for its caller: only `ok` comes with a choice.
#pragma once

#include <cstdint>

enum class DialogResult : int32_t {
    failed = -1,    // the window could not be created; the chooser logged why
    cancelled = 0,  // nothing was handed out
    ok = 1,
};
