// Reads controller_debug.log while the program writes it, and compares it with what a test expects.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/console/installation.h"
#include "tests/support/wait.h"

// "LEVEL text" of every whole line written so far: time and component are checked by `log_line_is_well_formed` and
// cut.
std::vector<std::string> log_lines(const Installation& installation, const char* file = "controller_debug.log");

// The raw lines, with time and component.
std::vector<std::string> log_raw_lines(const Installation& installation, const char* file = "controller_debug.log");

// "HH:MM:SS.mmm LVL [controller:0] text"
bool log_line_is_well_formed(const std::string& raw_line);

// A pattern is compared with the whole line. "*" stands for any text; "INF " is understood unless "WRN " or "ERR "
// begins the pattern.
bool log_line_matches(const std::string& line, const std::string& pattern);

int32_t log_count(const Installation& installation, const std::string& pattern);

// Waits for the `times`th line of this pattern.
testing::AssertionResult log_shows(const Installation& installation, const std::string& pattern, int32_t times = 1,
                                   uint32_t patience_ms = kPatienceMs);

// Milliseconds, as the lines' own times have it, from the first line of one pattern to the first of the other; less
// than a day. -1 when one is missing.
int64_t log_ms_between(const Installation& installation, const std::string& from, const std::string& to);

// What stands behind `start` in the last line that has it; empty when none has.
std::string last_line_of(const std::vector<std::string>& lines, const std::string& start);

// The patterns occur in this order, other lines between them allowed. Says which one is missing after which.
testing::AssertionResult log_shows_in_order(const Installation& installation,
                                            const std::vector<std::string>& patterns);

// Lines from the `after`-th on (0 = first), so that a test can look at what one action wrote.
size_t log_length(const Installation& installation);
testing::AssertionResult log_shows_in_order_from(const Installation& installation, size_t from,
                                                 const std::vector<std::string>& patterns);
