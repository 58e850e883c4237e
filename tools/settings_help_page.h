// The help page of the settings, made from the table while building, so that it never says anything else than the
// program does.
#pragma once

#include <string>
#include <string_view>

// The whole page, UTF-8. It needs no other file, and its script only searches: without it everything can be read.
std::string settings_help_page();

// The key as the id of its row: "@far[0][ 3]" -> "far-0-3", "max_diff_y%" -> "max_diff_y-pct".
std::string settings_help_id(std::string_view key);

// Appends `text` as it may stand in HTML, in an attribute too; carriage returns are dropped.
void append_html(std::string* out, std::string_view text);
