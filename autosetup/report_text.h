// Putting HTML together: formatted pieces, and foreign texts made harmless.
#pragma once

#include <string>
#include <string_view>

#include "app/log.h"

// Appends as printf would; a piece of 2,048 bytes or more is cut.
void put(std::string* html, const char* format, ...) ORVEK_PRINTF(2, 3);

// Appends a text from outside so that it is shown as it is written, in element content and in double-quoted
// attributes. Control characters, which no HTML file may hold, become U+FFFD.
void put_escaped(std::string* html, std::string_view text);
