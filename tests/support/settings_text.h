// Short words for tests of the settings: records with defaults, loading from a text, lines of a file.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "settings/settings.h"

// A record with the defaults.
std::unique_ptr<Settings> default_settings();

// The record after defaults and settings_parse + settings_normalise of `text`.
std::unique_ptr<Settings> settings_from_text(std::string_view text);

// Whether two records are the same to the last byte.
bool same_bytes(const Settings* a, const Settings* b);

// The lines of a text without their line ends (LF or CR LF).
std::vector<std::string> split_lines(std::string_view text);

// A file's line end on this system.
std::string disk_lines(std::string_view text);

// Every saved setting, string and anchor set to something random that a file can hold; the same seed gives the same.
void randomise_saved_settings(Settings* settings, uint32_t seed);
