// The version that an operator is asked for on the telephone: the same wherever he looks.
#include <windows.h>

#include <string>
#include <vector>

#include "tests/console/console_test.h"

namespace {
class Version : public ConsoleTest {};
}  // namespace

// One text of the file's version resource ("ProductVersion"); empty when it has none.
static std::string file_property(const std::string& path, const char* name) {
    DWORD ignored = 0;
    std::vector<char> block(GetFileVersionInfoSizeA(path.c_str(), &ignored));
    if (block.empty() || !GetFileVersionInfoA(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()))
        return "";
    void* text = nullptr;
    UINT length = 0;
    const std::string query = std::string("\\StringFileInfo\\040904B0\\") + name;
    if (!VerQueryValueA(block.data(), query.c_str(), &text, &length)) return "";
    return static_cast<const char*>(text);
}

// The number that the system compares, "0.1.0.0".
static std::string file_version(const std::string& path) {
    DWORD ignored = 0;
    std::vector<char> block(GetFileVersionInfoSizeA(path.c_str(), &ignored));
    void* data = nullptr;
    UINT length = 0;
    if (block.empty() || !GetFileVersionInfoA(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
        !VerQueryValueA(block.data(), "\\", &data, &length))
        return "";
    const auto* info = static_cast<const VS_FIXEDFILEINFO*>(data);
    return std::to_string(HIWORD(info->dwFileVersionMS)) + "." + std::to_string(LOWORD(info->dwFileVersionMS)) + "." +
           std::to_string(HIWORD(info->dwFileVersionLS)) + "." + std::to_string(LOWORD(info->dwFileVersionLS));
}

TEST_F(Version, IsTheLogsSecondLine) {
    start_with({});
    const std::vector<std::string> lines = log_lines(installation);
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[0], "INF starting controller, settings: " + installation.folder + "\\settings.txt");
    EXPECT_EQ(lines[1], "INF Orvekline " ORVEK_VERSION);
    EXPECT_EQ(lines[2], "INF kill_stale: no existing shm_control region — clean startup");
}

TEST_F(Version, StandsInTheAboutBox) {
    start_with({});
    send_command(console, 502);
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }));
    HWND box = message_box(console);
    EXPECT_TRUE(wait_until([&] {
        return message_box_text(box).find("Orvekline " ORVEK_VERSION "\n") != std::string::npos;
    })) << message_box_text(box);
    PostMessageW(box, WM_CLOSE, 0, 0);
    EXPECT_TRUE(wait_until([&] { return message_box(console) == nullptr; }));
}

TEST_F(Version, StandsInTheFilePropertiesOfBothPrograms) {
    ASSERT_TRUE(installation_bring(installation, "orvekctl.exe"));
    for (const char* program : {"Orvek", "orvekctl"}) {
        SCOPED_TRACE(program);
        const std::string path = installation_path(installation, std::string(program) + ".exe");
        EXPECT_EQ(file_property(path, "FileVersion"), ORVEK_VERSION);
        EXPECT_EQ(file_property(path, "ProductVersion"), ORVEK_VERSION);
        EXPECT_EQ(file_property(path, "ProductName"), "Orvekline");
        EXPECT_EQ(file_property(path, "OriginalFilename"), std::string(program) + ".exe");
        EXPECT_EQ(file_version(path), ORVEK_VERSION ".0");
    }
}

TEST_F(Version, IsWhatOrvekctlAnswers) {
    ASSERT_TRUE(installation_bring(installation, "orvekctl.exe"));
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    HANDLE file = CreateFileA(installation_path(installation, "version.txt").c_str(), GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, CREATE_ALWAYS, 0, nullptr);
    HANDLE process = installation_start(installation, "orvekctl.exe", "--version", file, nullptr);
    CloseHandle(file);
    ASSERT_NE(process, nullptr);
    DWORD code = 99;
    if (WaitForSingleObject(process, kPatienceMs) == WAIT_OBJECT_0) GetExitCodeProcess(process, &code);
    CloseHandle(process);
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(installation_read(installation, "version.txt"), "orvekctl " ORVEK_VERSION "\n");
}
