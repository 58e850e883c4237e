// orvekctl, the console companion: looks into the files and the shared regions of a controller without starting or
// stopping anything. One function per subcommand; each gets what follows its name on the command line.
#pragma once

#include <cstdint>

// Exit codes.
inline constexpr int32_t kDone = 0;
inline constexpr int32_t kSaysNo = 1;  // the answer is no: unknown key, a finding, nothing saved
inline constexpr int32_t kFailed = 2;  // bad usage, or a file that cannot be read or written

// The whole command line, without the program's name.
int32_t orvekctl_run(int argc, char** argv);

int32_t orvekctl_settings(int argc, char** argv);
int32_t orvekctl_jumpers(int argc, char** argv);
int32_t orvekctl_analyze(int argc, char** argv);

#ifdef _WIN32
int32_t orvekctl_status(int argc, char** argv);
#endif
