// Runs a subcommand of orvekctl inside the test and keeps what it prints.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct OrvekctlAnswer {
    int32_t exit_code;
    std::string out;
    std::vector<std::string> errors;  // lines on standard error, the log's among them
};

// `arguments` are those behind the subcommand's name.
OrvekctlAnswer run_orvekctl(int32_t (*subcommand)(int argc, char** argv), std::vector<std::string> arguments);
