// Writes the help page of the settings: "settings_help OUT.html". Runs while building, on the machine that builds.
#include <cstdio>
#include <string>

#include "tools/settings_help_page.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        fputs("usage: settings_help OUT.html\n", stderr);
        return 2;
    }
    FILE* file = fopen(argv[1], "wb");
    const std::string page = settings_help_page();
    const bool written = file && fwrite(page.data(), 1, page.size(), file) == page.size();
    if (!file || fclose(file) != 0 || !written) {
        fprintf(stderr, "settings_help: cannot write '%s'\n", argv[1]);
        return 2;
    }
    return 0;
}
