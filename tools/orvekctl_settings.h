// The settings subcommands' work apart from the command line, so that tests can call it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "settings/settings.h"

// "key TAB type TAB default TAB category TAB help" per setting, in table order; CR, LF and TAB of a help text as \r
// \n \t.
std::string settings_listing();

// Sets one setting from text. Empty on success, else why not, for people; the record is then untouched.
std::string settings_set_from_text(Settings* settings, const char* key, const char* value);

// The record as the controller would hold it after loading `path`. Null, with the error told on standard error, when
// there is no such file.
std::unique_ptr<Settings> load_settings_record(const char* path);
