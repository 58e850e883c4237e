#include "tests/console/fake_worker.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "tests/console/installation.h"
#include "tests/console/shared_view.h"
#include "tests/support/wait.h"

namespace {
struct Self {
    std::string folder;
    std::string name;   // "motion"
    int32_t index;      // feed, -1 for the kinds that run once
    std::string label;  // "motion[1]"
};
}  // namespace

static std::string own_image() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    return path;
}

bool is_fake_worker() {
    const std::string path = own_image();
    for (const char* image : kWorkerImages)
        if (lstrcmpiA(path.c_str() + path.rfind('\\') + 1, image) == 0) return true;
    return false;
}

static Self who_am_i(int argc, char** argv) {
    const std::string path = own_image();
    const size_t slash = path.rfind('\\');
    Self self = {path.substr(0, slash), path.substr(slash + 1), -1, ""};
    self.name.resize(self.name.size() - 4);
    const bool per_feed = self.name == "capture" || self.name == "motion" || self.name == "capfile";
    if (per_feed && argc > 1) self.index = atoi(argv[1]);
    self.label = self.index < 0 ? self.name : self.name + "[" + std::to_string(self.index) + "]";
    return self;
}

// One at a time: Wine looks for the end of the file and then writes there, and who wrote in between is written over.
static void report(const Self& self, const std::string& what) {
    HANDLE turn = CreateMutexA(nullptr, FALSE, "Local\\OrvekFakeWorkersReport");
    WaitForSingleObject(turn, kPatienceMs);  // one that is frozen may have it
    HANDLE file =
        CreateFileA((self.folder + "\\fake.log").c_str(), FILE_APPEND_DATA,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS, 0, nullptr);
    const std::string line = self.label + " " + what + "\n";
    DWORD written = 0;
    WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    CloseHandle(file);
    ReleaseMutex(turn);
    CloseHandle(turn);
}

static void become_ready(const Self& self, ControlBlock* block) {
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        if (self.name == "practice_player" || (self.name == "capture" && self.index == feed))
            shared_store(block->source_ready[feed], kWorkerReady);
        if (self.name == "motion" && self.index == feed) shared_store(block->motion_ready[feed], kWorkerReady);
    }
    if (self.name == "videogen") shared_store(block->videogen_state, kWorkerReady);
    if (self.name == "viewer") shared_store(block->viewer_state, kWorkerReady);
    report(self, "ready");
}

static void act(const Self& self, const std::string& verb, const std::vector<int32_t>& numbers) {
    SharedView shared = {};
    if (verb != "exit" && !wait_until([&] { return shared_view_open(&shared); }, 5000)) {
        report(self, "finds no control block");
        return;
    }
    if (verb == "ready") become_ready(self, shared.block);
    if (verb == "hold") {
        for (int32_t index : numbers) WaitForSingleObject(shared.mutex[index], INFINITE);
        report(self, "holding");
    }
    if (verb == "die_holding") {
        WaitForSingleObject(shared.mutex[numbers.at(0)], INFINITE);
        report(self, "dies holding");
        TerminateProcess(GetCurrentProcess(), 5);
    }
    if (verb == "exit") ExitProcess(static_cast<UINT>(numbers.at(0)));
    if (verb == "finish") {
        while (shared_load(shared.block->capfile_shutdown[self.index]) == 0) pause_ms(kGlanceMs);
        pause_ms(static_cast<uint32_t>(numbers.at(0)));
        report(self, "file closed");
        ExitProcess(0);
    }
    if (verb == "pid_slot") {
        shared_store(shared.block->pid_slot[numbers.at(0)], static_cast<uint32_t>(GetCurrentProcessId()));
        report(self, "listed");
    }
}

int fake_worker_main(int argc, char** argv) {
    const Self self = who_am_i(argc, argv);
    char directory[MAX_PATH] = "";
    GetCurrentDirectoryA(sizeof directory, directory);
    report(self, "pid=" + std::to_string(GetCurrentProcessId()) + " line=" + GetCommandLineA() + " dir=" + directory);

    std::istringstream orders(installation_read({self.folder, nullptr}, "fake.txt"));
    for (std::string line; std::getline(orders, line);) {
        std::istringstream words(line);
        std::string who;
        std::string verb;
        words >> who >> verb;
        if (who != self.name && who != self.label) continue;
        std::vector<int32_t> numbers;
        for (int32_t number = 0; words >> number;) numbers.push_back(number);
        act(self, verb, numbers);
    }
    Sleep(INFINITE);
    return 0;
}
