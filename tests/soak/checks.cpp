#include <windows.h>

#include <psapi.h>

#include <algorithm>

#include "ipc/worker_names.h"
#include "tests/console/diagnostic_log.h"
#include "tests/soak/soak.h"
#include "tests/support/wait.h"

ExpectedLine one_more(const Soak& soak, const std::string& pattern, int32_t more) {
    return {pattern, log_count(soak.installation, pattern) + more};
}

void fault_done(Soak* soak, Fault fault, const std::vector<ExpectedLine>& lines, uint32_t patience_ms) {
    FaultTally& tally = soak->tally[static_cast<size_t>(fault)];
    ++tally.thrown;
    bool named = !lines.empty();
    for (const ExpectedLine& line : lines) {
        if (wait_until([&] { return log_count(soak->installation, line.pattern) >= line.times; }, patience_ms))
            continue;
        named = false;
        soak_fail(soak,
                  "the log does not name '" + std::string(fault_name(fault)) + "': no line '" + line.pattern + "'");
    }
    tally.named += named ? 1 : 0;
    tally.unnamed += !named && !lines.empty() ? 1 : 0;
    const bool over = fault == Fault::closed || fault == Fault::broken_logs || fault == Fault::huge_logs;
    tally.survived += over || console_lives(*soak) ? 1 : 0;
    soak_say(*soak, std::string(fault_name(fault)) + (over || console_lives(*soak) ? "" : " - NOT SURVIVED"));
}

// ----------------------------------------------------------------------------------------------------------
// resources

// Under Wine the program is a process of the host's as well: the one whose command line begins with its path and
// names its settings; other runs on this machine have folders of the same name.
uint32_t find_on_host(const Soak& soak) {
    const Installation host = {"Z:\\proc", nullptr};
    const std::string image = installation_path(soak.installation, "Orvek.exe");
    WIN32_FIND_DATAA found;
    HANDLE search = FindFirstFileA("Z:\\proc\\*", &found);
    if (search == INVALID_HANDLE_VALUE) return 0;
    uint32_t pid = 0;
    do {
        const std::string name = found.cFileName;
        if (name[0] < '1' || name[0] > '9') continue;
        const std::string line = installation_read(host, name + "\\cmdline");
        if (line.starts_with(image) && line.find(settings_path(soak)) != std::string::npos) pid = std::stoul(name);
    } while (pid == 0 && FindNextFileA(search, &found));
    FindClose(search);
    return pid;
}

// What the system calls private or, under Wine, which does not count it, what the host says is not shared.
static uint64_t private_kilobytes(Soak* soak) {
    PROCESS_MEMORY_COUNTERS_EX counters = {};
    counters.cb = sizeof counters;
    if (GetProcessMemoryInfo(soak->console.process, reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                             sizeof counters) &&
        counters.PrivateUsage != 0)
        return counters.PrivateUsage / 1024;
    const std::string status = installation_read({"Z:\\proc", nullptr}, std::to_string(soak->host_pid) + "\\status");
    const size_t at = status.find("RssAnon:");
    return at == std::string::npos ? 0 : strtoull(status.c_str() + at + 8, nullptr, 10);
}

// A child and a mapped region cost a handle each as long as they are there; that is no leak.
static double handles_beyond_children_and_regions(const Soak& soak, uint32_t handles) {
    const auto children = static_cast<int32_t>(children_of(soak.console.pid).size());
    const int32_t regions = log_count(soak.installation, "shmem: opened 'Local\\SkiJumpFeed_*") +
                            log_count(soak.installation, "shmem: opened 'Local\\SkiJumpOutput_*");
    return static_cast<double>(handles) - children - regions;
}

void sample_resources(Soak* soak) {
    if (!console_lives(*soak)) return;
    pause_ms(700);  // the poll has let go of what ended
    const Resources resources = count_resources(soak->console);
    const double hours = static_cast<double>(GetTickCount64() - soak->started_ms) / 3600000.0;
    const double amounts[kResourceCount] = {
        handles_beyond_children_and_regions(*soak, resources.handles), static_cast<double>(resources.gdi_objects),
        static_cast<double>(resources.windows), static_cast<double>(private_kilobytes(soak))};
    for (int32_t i = 0; i < kResourceCount; ++i) soak->samples[i].push_back({soak->life, hours, amounts[i]});
    if (resources.gdi_objects == 0 || resources.handles == 0 || amounts[kPrivateKilobytes] == 0)
        soak_fail(soak, "the system does not count resources");
}

// --------------------------------------------------------------------------------------------------------------
// files

static int32_t run_orvekctl(const Soak& soak, const std::string& arguments) {
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    HANDLE output = CreateFileA(installation_path(soak.installation, "orvekctl.txt").c_str(), FILE_APPEND_DATA,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, OPEN_ALWAYS, 0, nullptr);
    HANDLE process = installation_start(soak.installation, "orvekctl.exe", arguments, output, nullptr);
    CloseHandle(output);
    if (process == nullptr) return -1;
    DWORD code = static_cast<DWORD>(-1);
    if (WaitForSingleObject(process, kPatienceMs) == WAIT_OBJECT_0) GetExitCodeProcess(process, &code);
    CloseHandle(process);
    return static_cast<int32_t>(code);
}

// The lines that carry data, without those whose number the next loading will change: the operator may draw a region
// where a setting must not be.
static std::vector<std::string> data_lines(const Installation& place, const char* name, const std::string& findings) {
    const std::string text = installation_read(place, name);
    std::vector<std::string> lines;
    for (size_t from = 0, to = 0; from < text.size(); from = to + 1) {
        to = std::min(text.find('\n', from), text.size());
        std::string line = text.substr(from, to - from);
        if (line.ends_with('\r')) line.pop_back();
        if (line.empty() || line.starts_with("#")) continue;
        const std::string key = line.substr(0, line.find('='));
        if (findings.find("\t" + key + "=") == std::string::npos) lines.push_back(line);
    }
    return lines;
}

// A whole file reads without complaint and, written anew, is the same again.
void check_files(Soak* soak) {
    const std::string path = settings_path(*soak);
    run_orvekctl(*soak, "settings check \"" + path + "\"");
    const std::string findings = installation_read(soak->installation, "orvekctl.txt");
    for (size_t tab = findings.find('\t'); tab != std::string::npos;
         tab = findings.find('\t', findings.find('\n', tab)))
        if (findings.compare(tab + 1, 12, "out of range") != 0) soak_fail(soak, "settings.txt: " + findings);
    const Installation copy = {installation_path(soak->installation, "copy"), nullptr};
    CreateDirectoryA(copy.folder.c_str(), nullptr);
    run_orvekctl(*soak, "settings format \"" + path + "\" --out \"" + copy.folder + "\\settings.txt\"");
    for (const char* name : {"settings.txt", "pixel_frames.txt"}) {
        const auto lines = data_lines(soak->settings, name, findings);
        if (lines.size() > 100 && lines == data_lines(copy, name, findings)) continue;
        soak_fail(soak, std::string(name) + " is not whole");
        installation_write(soak->installation, std::string("found_") + name, installation_read(soak->settings, name));
    }
    WIN32_FIND_DATAA found;
    HANDLE search = FindFirstFileA((soak->settings.folder + "\\*.tmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do soak_fail(soak, std::string("a temporary file was left: ") + found.cFileName);
    while (FindNextFileA(search, &found));
    FindClose(search);
}

void check_log(Soak* soak) {
    const std::vector<std::string> lines = log_lines(soak->installation);
    if (lines.empty() || lines.back() != "INF controller exiting")
        soak_fail(soak, "the log does not end with the program");
    for (const std::string& line : lines)
        if (line.find("crashed: ") != std::string::npos || line.starts_with("malformed: ")) soak_fail(soak, line);
}

void check_no_worker_left(Soak* soak) {
    const bool none = wait_until(
        [] {
            for (const RunningProcess& process : all_processes())
                if (is_worker_image(process.image.c_str())) return false;
            return true;
        },
        10000);
    if (!none) soak_fail(soak, "a worker outlived the program");
}

// Those of the life that has ended, so that its log is kept with them.
void check_silences(Soak* soak) {
    for (const Silence& silence : soak->meter.too_long) {
        soak_fail(soak, "silent for " + std::to_string(silence.lasted_ms) + " ms, " +
                            std::to_string(silence.allowed_ms) + " allowed, " + std::to_string(silence.starved_ms) +
                            " without a processor: " + silence.because);
        printf("the log meanwhile:\n%s\n", silence.logged.c_str());
    }
    soak->meter.too_long.clear();
}
