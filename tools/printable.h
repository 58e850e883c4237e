// Bytes from somebody's file, as a terminal may be shown them.
#pragma once

#include <string>
#include <string_view>

// What would move a terminal's cursor is shown as \xNN, not obeyed; TAB stays, and so do bytes from 128 on: UTF-8.
void append_printable(std::string* out, std::string_view text);
