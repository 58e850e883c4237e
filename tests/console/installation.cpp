#include "tests/console/installation.h"

#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>

#include "tests/support/wait.h"

static std::string own_path() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    return path;
}

static std::string program_folder() {
    const char* named = getenv("ORVEK_BIN");
    if (named != nullptr && named[0] != '\0') return named;
    const std::string path = own_path();
    return path.substr(0, path.rfind('\\'));
}

// A link costs nothing; across volumes it has to be a copy.
static bool bring(const std::string& from, const std::string& to) {
    if (CreateHardLinkA(to.c_str(), from.c_str(), nullptr) || CopyFileA(from.c_str(), to.c_str(), FALSE)) return true;
    fprintf(stderr, "cannot bring '%s' to '%s': error %lu\n", from.c_str(), to.c_str(), GetLastError());
    return false;
}

static void remove_folder(const std::string& folder) {
    WIN32_FIND_DATAA found;
    HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        const std::string name = found.cFileName;
        if (name == "." || name == "..") continue;
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            remove_folder(folder + "\\" + name);
        else
            DeleteFileA((folder + "\\" + name).c_str());
    } while (FindNextFileA(search, &found));
    FindClose(search);
    RemoveDirectoryA(folder.c_str());
}

// The fake workers' images, copied from this program once per run; the tests' folders hold links to them. A link to
// this program itself could not be removed while it runs, and links of one file under several names make the system
// mistake one worker for another.
static std::string fake_workers_folder(const std::string& root) {
    static std::string folder;
    if (!folder.empty()) return folder;
    folder = root + "\\fake_workers";
    CreateDirectoryA(folder.c_str(), nullptr);
    for (const char* worker : kWorkerImages) {
        const std::string image = folder + "\\" + worker;
        if (!CopyFileA(own_path().c_str(), image.c_str(), FALSE))
            fprintf(stderr, "cannot copy this program to '%s': error %lu\n", image.c_str(), GetLastError());
    }
    return folder;
}

static std::string installations_root() {
    char temp[MAX_PATH] = "";
    GetTempPathA(sizeof temp, temp);
    return std::string(temp) + "orvek_console";
}

bool installation_create(Installation* installation, const std::string& name, bool simulated_rig) {
    const std::string root = installations_root();
    CreateDirectoryA(root.c_str(), nullptr);
    installation->folder = root + "\\" + name;
    remove_folder(installation->folder);
    if (!CreateDirectoryA(installation->folder.c_str(), nullptr)) {
        fprintf(stderr, "cannot make '%s': error %lu\n", installation->folder.c_str(), GetLastError());
        return false;
    }

    installation->job = CreateJobObjectA(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(installation->job, JobObjectExtendedLimitInformation, &limits, sizeof limits);

    const std::string programs = program_folder();
    bool complete = bring(programs + "\\Orvek.exe", installation_path(*installation, "Orvek.exe"));
    const std::string workers = simulated_rig ? programs : fake_workers_folder(root);
    for (const char* worker : kWorkerImages)
        complete = bring(workers + "\\" + worker, installation_path(*installation, worker)) && complete;
    return complete;
}

bool installation_bring(const Installation& installation, const std::string& image) {
    return bring(program_folder() + "\\" + image, installation_path(installation, image));
}

bool installation_bring_file(const Installation& installation, const std::string& path) {
    return bring(path, installation_path(installation, path.substr(path.rfind('\\') + 1)));
}

static uint32_t processes_in_job(HANDLE job) {
    JOBOBJECT_BASIC_ACCOUNTING_INFORMATION info = {};
    if (!QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &info, sizeof info, nullptr)) return 0;
    return info.ActiveProcesses;
}

void installation_end_processes(const Installation& installation) {
    TerminateJobObject(installation.job, 99);
    if (!wait_until([&] { return processes_in_job(installation.job) == 0; }))
        fprintf(stderr, "%lu process(es) of '%s' refuse to end\n",
                static_cast<unsigned long>(processes_in_job(installation.job)), installation.folder.c_str());
}

void installation_destroy(Installation* installation, bool keep_folder) {
    if (installation->job != nullptr) {
        installation_end_processes(*installation);
        CloseHandle(installation->job);
        installation->job = nullptr;
    }
    // The last handle on an image may close a moment after its process.
    if (!keep_folder && !installation->folder.empty())
        wait_until(
            [&] {
                remove_folder(installation->folder);
                return GetFileAttributesA(installation->folder.c_str()) == INVALID_FILE_ATTRIBUTES;
            },
            5000);
}

void installations_clean_up() {
    remove_folder(installations_root() + "\\fake_workers");
    RemoveDirectoryA(installations_root().c_str());  // stays while a failed test's folder lies in it
}

std::string installation_path(const Installation& installation, const std::string& name) {
    return installation.folder + "\\" + name;
}

void installation_write(const Installation& installation, const std::string& name, const std::string& text) {
    FILE* file = fopen(installation_path(installation, name).c_str(), "wb");
    if (file == nullptr) return;
    fwrite(text.data(), 1, text.size(), file);
    fclose(file);
}

bool installation_has(const Installation& installation, const std::string& name) {
    return GetFileAttributesA(installation_path(installation, name).c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Opened with every share right: the program may be writing or replacing the file at this moment.
std::string installation_read(const Installation& installation, const std::string& name) {
    HANDLE file =
        CreateFileA(installation_path(installation, name).c_str(), GENERIC_READ,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
    std::string text;
    if (file == INVALID_HANDLE_VALUE) return text;
    char piece[4096];
    DWORD got = 0;
    while (ReadFile(file, piece, sizeof piece, &got, nullptr) && got > 0) text.append(piece, got);
    CloseHandle(file);
    return text;
}

void installation_settings(const Installation& installation, std::initializer_list<const char*> lines) {
    std::string text;
    for (const char* line : lines) text += std::string(line) + "\r\n";
    installation_write(installation, "settings.txt", text);
}

std::string installation_setting(const Installation& installation, const std::string& key) {
    const std::string text = "\n" + installation_read(installation, "settings.txt");
    const std::string start = "\n" + key + "=";
    const size_t at = text.find(start);
    if (at == std::string::npos) return "";
    const size_t value = at + start.size();
    return text.substr(value, text.find_first_of("\r\n", value) - value);
}

bool installation_nest(const Installation& installation, const std::string& below) {
    for (size_t end = below.find('\\'); end != std::string::npos; end = below.find('\\', end + 1))
        CreateDirectoryA(installation_path(installation, below.substr(0, end)).c_str(), nullptr);
    CreateDirectoryA(installation_path(installation, below).c_str(), nullptr);
    return bring(installation_path(installation, "Orvek.exe"),
                 installation_path(installation, below + "\\Orvek.exe"));
}

HANDLE installation_start(const Installation& installation, const std::string& image, const std::string& arguments,
                          HANDLE standard_output, uint32_t* pid) {
    std::string line = "\"" + installation_path(installation, image) + "\"";
    if (!arguments.empty()) line += " " + arguments;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags =
        STARTF_USESTDHANDLES;  // without any, so that the log does not run through the test's own output
    startup.hStdOutput = startup.hStdError = standard_output;
    PROCESS_INFORMATION started = {};
    // Suspended, so that nothing it starts can escape the job.
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, standard_output != nullptr, CREATE_SUSPENDED, nullptr,
                        installation.folder.c_str(), &startup, &started)) {
        fprintf(stderr, "cannot start %s: error %lu\n", line.c_str(), GetLastError());
        return nullptr;
    }
    AssignProcessToJobObject(installation.job, started.hProcess);
    ResumeThread(started.hThread);
    CloseHandle(started.hThread);
    if (pid != nullptr) *pid = started.dwProcessId;
    return started.hProcess;
}

std::vector<RunningProcess> all_processes() {
    std::vector<RunningProcess> found;
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE) return found;
    PROCESSENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32First(snapshot, &entry); more; more = Process32Next(snapshot, &entry))
        found.push_back({static_cast<uint32_t>(entry.th32ProcessID), static_cast<uint32_t>(entry.th32ParentProcessID),
                         entry.szExeFile});
    CloseHandle(snapshot);
    return found;
}

std::vector<RunningProcess> children_of(uint32_t parent) {
    std::vector<RunningProcess> children;
    for (const RunningProcess& process : all_processes())
        if (process.parent == parent) children.push_back(process);
    return children;
}

bool is_running(uint32_t pid) {
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, pid);
    if (process == nullptr) return false;
    const bool runs = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return runs;
}

bool end_process(uint32_t pid) {
    HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, pid);
    if (process == nullptr) return false;
    const bool ended = TerminateProcess(process, 77) && WaitForSingleObject(process, 10000) == WAIT_OBJECT_0;
    CloseHandle(process);
    return ended;
}
