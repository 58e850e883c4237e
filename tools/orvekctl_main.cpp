// The program's entry.
#include "tools/orvekctl.h"

#ifdef _WIN32
#include <cstdio>

#include <fcntl.h>
#include <io.h>
#include <windows.h>
#endif

// Output is UTF-8 with plain newlines on every system, so that it can be compared and piped.
static void prepare_output() {
#ifdef _WIN32
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
#endif
}

int main(int argc, char** argv) {
    prepare_output();
    return argc > 0 ? orvekctl_run(argc - 1, argv + 1) : kFailed;
}
