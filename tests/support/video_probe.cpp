#include "tests/support/video_probe.h"

#ifdef _WIN32

#include <windows.h>

#include <algorithm>
#include <cstdlib>

#include "tests/support/child_role.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

static constexpr DWORD kToolLimitMs = 120'000;

std::string find_video_tool(const char* name) {
    std::string folder = own_program_path();
    folder.resize(folder.find_last_of('\\') + 1);
    const std::string package = std::string(name).substr(0, std::string(name).find('.'));
    for (const std::string& path :
         {folder + name, folder + "..\\..\\npm\\node_modules\\@" + package + "-installer\\win32-x64\\" + name})
        if (file_exists(path)) return path;
    char found[MAX_PATH];
    const DWORD length = SearchPathA(nullptr, name, nullptr, sizeof found, found, nullptr);
    return length > 0 && length < sizeof found ? std::string(found) : std::string();
}

static HANDLE create_inheritable(const std::string& path) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    return CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
}

// Runs a tool to its end with both outputs in files. Returns its exit code, -1 when it did not run or did not end.
static int64_t run_tool(const std::string& line, const std::string& output, const std::string& errors) {
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = INVALID_HANDLE_VALUE;
    startup.hStdOutput = create_inheritable(output);
    startup.hStdError = create_inheritable(errors);
    PROCESS_INFORMATION process{};
    std::string command = line;  // which the call may write into
    const BOOL started = CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                                        nullptr, &startup, &process);
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    if (started == 0) return -1;
    DWORD code = 0;
    const bool ended = WaitForSingleObject(process.hProcess, kToolLimitMs) == WAIT_OBJECT_0;
    if (!ended) TerminateProcess(process.hProcess, 1);
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return ended ? int64_t{code} : -1;
}

// The value of "key=value" among ffprobe's lines.
static std::string value_of(const std::string& answer, const std::string& key) {
    for (const std::string& line : split_lines(answer))
        if (line.rfind(key + "=", 0) == 0) return line.substr(key.size() + 1);
    return "";
}

VideoFacts probe_video(const std::string& path) {
    VideoFacts facts{};
    const std::string ffprobe = find_video_tool("ffprobe.exe");
    if (ffprobe.empty()) {
        facts.complaints = "there is no ffprobe.exe";
        return facts;
    }
    const TempDir dir;
    const int64_t code =
        run_tool("\"" + ffprobe +
                     "\" -v error -count_frames -select_streams v:0 -show_entries "
                     "stream=codec_name,width,height,avg_frame_rate,nb_frames,nb_read_frames,duration -of "
                     "default=noprint_wrappers=1 \"" +
                     path + "\"",
                 dir.file("answer"), dir.file("errors"));
    const std::string answer = read_whole_file(dir.file("answer"));
    facts.complaints = read_whole_file(dir.file("errors"));
    facts.codec = value_of(answer, "codec_name");
    facts.rate = value_of(answer, "avg_frame_rate");
    facts.width = atoi(value_of(answer, "width").c_str());
    facts.height = atoi(value_of(answer, "height").c_str());
    facts.frames = strtoll(value_of(answer, "nb_read_frames").c_str(), nullptr, 10);
    facts.seconds = strtod(value_of(answer, "duration").c_str(), nullptr);
    // Only an index tells how many there ought to be; a file without one (.y4m) says "N/A".
    const int64_t promised = strtoll(value_of(answer, "nb_frames").c_str(), nullptr, 10);
    facts.whole =
        code == 0 && facts.complaints.empty() && facts.frames > 0 && (promised == 0 || promised == facts.frames);
    return facts;
}

std::vector<std::vector<uint8_t>> video_brightness(const std::string& path, int32_t columns, int32_t rows) {
    const std::string ffmpeg = find_video_tool("ffmpeg.exe");
    const TempDir dir;
    std::vector<std::vector<uint8_t>> pictures;
    if (ffmpeg.empty() ||
        run_tool("\"" + ffmpeg + "\" -v error -nostdin -i \"" + path +
                     "\" -an -vsync passthrough -vf scale=" + std::to_string(columns) + ":" + std::to_string(rows) +
                     ":flags=area,format=gray -f rawvideo -y \"" + dir.file("gray") + "\"",
                 dir.file("answer"), dir.file("errors")) != 0)
        return pictures;
    const std::string bytes = read_whole_file(dir.file("gray"));
    const size_t size = static_cast<size_t>(columns) * static_cast<size_t>(rows);
    for (size_t at = 0; at + size <= bytes.size(); at += size)
        pictures.emplace_back(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                              bytes.begin() + static_cast<std::ptrdiff_t>(at + size));
    return pictures;
}

std::vector<std::string> files_in_folder(const std::string& folder, const std::string& ending) {
    std::vector<std::string> files;
    WIN32_FIND_DATAA found;
    HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return files;
    do {
        const std::string name = found.cFileName;
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 && name.size() >= ending.size() &&
            name.compare(name.size() - ending.size(), ending.size(), ending) == 0)
            files.push_back(folder + "\\" + name);
    } while (FindNextFileA(search, &found) != 0);
    FindClose(search);
    std::sort(files.begin(), files.end());
    return files;
}

#endif
