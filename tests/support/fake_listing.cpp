#ifdef _WIN32

#include "tests/support/fake_listing.h"

#include <cstdio>
#include <cstring>
#include <string>

#include <windows.h>

#include "tests/support/temp_dir.h"

namespace {
constexpr DWORD kHangMs = 60'000;  // so that a crashed test leaves nothing behind
}

static std::string own_image() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    return path;
}

bool is_fake_listing(int argc, char** argv) {
    const std::string path = own_image();
    return argc == 2 && strcmp(argv[1], "--list") == 0 &&
           lstrcmpiA(path.c_str() + path.rfind('\\') + 1, "capture.exe") == 0;
}

static bool print(const std::string& text) {
    DWORD written = 0;
    return WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written,
                     nullptr) != FALSE;
}

int fake_listing_main() {
    const std::string image = own_image();
    const std::string folder = image.substr(0, image.rfind('\\') + 1);
    print(read_whole_file(folder + "cameras.txt"));
    if (file_exists(folder + "cameras_hang.txt")) Sleep(kHangMs);
    if (file_exists(folder + "cameras_flood.txt")) {
        const ULONGLONG end = GetTickCount64() + kHangMs;
        while (GetTickCount64() < end && print("warning: the driver says something\n")) continue;
    }
    return 0;
}

#endif
