// A console window as a board that is rewritten in place: every look paints over the last one, so nothing scrolls and
// nothing flickers.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// `text`'s lines cut or filled up with blanks to `columns` characters (UTF-8; never through one), and cut or filled
// up to `rows` lines; between them CR LF, none behind the last. Sizes below 1 give nothing.
std::string fit_to_screen(std::string_view text, int32_t columns, int32_t rows);

#ifdef _WIN32
// Whether standard output is a console window, not a file or a pipe.
bool screen_is_console();

// Paints `text` over what the window shows. `first`: moves what is there out of sight first.
bool screen_paint(std::string_view text, bool first);
#endif
