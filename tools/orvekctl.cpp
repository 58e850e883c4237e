// The command line's entry: picks the subcommand.
#include "tools/orvekctl.h"

#include <cstdio>
#include <cstring>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#endif

namespace {

struct Subcommand {
    const char* name;
    int32_t (*run)(int argc, char** argv);
    const char* usage;
};

constexpr Subcommand kSubcommands[] = {
    {"settings", orvekctl_settings,
     "  orvekctl settings format FILE [--out FILE2]\n"
     "  orvekctl settings list\n"
     "  orvekctl settings get FILE KEY\n"
     "  orvekctl settings set FILE KEY VALUE\n"
     "  orvekctl settings check FILE\n"},
    {"jumpers", orvekctl_jumpers, "  orvekctl jumpers check FILE\n"},
    {"analyze", orvekctl_analyze,
     "  orvekctl analyze [--settings FILE] [--out DIR] [--motion-end-x N] [--report FILE] LOG_DIR\n"},
#ifdef _WIN32
    {"status", orvekctl_status, "  orvekctl status [--json] [--watch]\n"},
#endif
};

}  // namespace

static void print_usage(FILE* out) {
    fputs("usage:\n", out);
    for (const Subcommand& subcommand : kSubcommands) fputs(subcommand.usage, out);
}

// Output is UTF-8 with plain newlines on every system, so that it can be compared and piped.
static void prepare_output() {
#ifdef _WIN32
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
#endif
}

int main(int argc, char** argv) {
    prepare_output();
    if (argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0)) {
        print_usage(stdout);
        return kDone;
    }
    for (const Subcommand& subcommand : kSubcommands)
        if (argc > 1 && strcmp(argv[1], subcommand.name) == 0) return subcommand.run(argc - 2, argv + 2);
    print_usage(stderr);
    return kFailed;
}
