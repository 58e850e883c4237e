#include "tests/support/orvekctl_run.h"

#include <gtest/gtest.h>

#include "tests/support/settings_text.h"

OrvekctlAnswer run_orvekctl(int32_t (*subcommand)(int argc, char** argv), std::vector<std::string> arguments) {
    std::vector<char*> argv;
    argv.reserve(arguments.size());
    for (std::string& argument : arguments) argv.push_back(argument.data());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    OrvekctlAnswer answer{subcommand(static_cast<int>(argv.size()), argv.data()), "", {}};
    answer.out = testing::internal::GetCapturedStdout();
    answer.errors = split_lines(testing::internal::GetCapturedStderr());
    return answer;
}
