// The settings subcommands' work apart from the command line, so that tests can call it.
#pragma once

#include <cstdint>
#include <string>

// "key TAB type TAB default TAB category TAB help" per setting, in table order; CR, LF and TAB of a help text as \r
// \n \t.
std::string settings_listing();

// Sets one setting from text. Empty on success, else why not, for people; the record is then untouched.
struct Settings;
std::string settings_set_from_text(Settings* settings, const char* key, const char* value);
