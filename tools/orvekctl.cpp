// Picks the subcommand.
#include "tools/orvekctl.h"

#include <cstdio>
#include <cstring>

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
    fputs("  orvekctl --version\n", out);
}

static bool is_one_of(const char* word, const char* long_name, const char* short_name) {
    return strcmp(word, long_name) == 0 || strcmp(word, short_name) == 0;
}

int32_t orvekctl_run(int argc, char** argv) {
    if (argc == 1 && is_one_of(argv[0], "--help", "-h")) {
        print_usage(stdout);
        return kDone;
    }
    if (argc == 1 && is_one_of(argv[0], "--version", "-V")) {
        printf("orvekctl %s\n", ORVEK_VERSION);
        return kDone;
    }
    for (const Subcommand& subcommand : kSubcommands)
        if (argc > 0 && strcmp(argv[0], subcommand.name) == 0) return subcommand.run(argc - 1, argv + 1);
    print_usage(stderr);
    return kFailed;
}
