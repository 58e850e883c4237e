// One private installation of the program per test: a folder with its executables and files, and a job that holds
// every process started from it. Tests can then neither see nor end anything but their own.
#pragma once

#include <windows.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

struct Installation {
    std::string folder;  // absolute, no trailing backslash; the current directory of what runs
    HANDLE job;          // owns every process started here and their children
};

struct RunningProcess {
    uint32_t pid;
    uint32_t parent;
    std::string image;  // base name
};

// The executables a test may find in its folder.
inline constexpr const char* kWorkerImages[] = {"capture.exe", "motion.exe",          "videogen.exe",
                                                "viewer.exe",  "practice_player.exe", "capfile.exe"};

// Makes the folder, with Orvek.exe and, under the workers' names, the simulated rig or copies of this test program
// (see fake_worker.h). Returns false, having said why on standard error, when something is missing.
bool installation_create(Installation* installation, const std::string& name, bool simulated_rig);

// Ends what still runs, waits for it, and removes the folder unless it is to be kept.
void installation_destroy(Installation* installation, bool keep_folder);

// Removes what the installations of this run shared.
void installations_clean_up();

// Ends every process of the job and waits until none is left.
void installation_end_processes(const Installation& installation);

std::string installation_path(const Installation& installation, const std::string& name);
void installation_write(const Installation& installation, const std::string& name, const std::string& text);
bool installation_has(const Installation& installation, const std::string& name);
std::string installation_read(const Installation& installation, const std::string& name);  // empty when missing

// Puts a settings.txt with these lines into the folder; every other setting has its default.
void installation_settings(const Installation& installation, std::initializer_list<const char*> lines);

// Puts another program of the build into the folder.
bool installation_bring(const Installation& installation, const std::string& image);

// Puts a file from elsewhere into the folder, under its own name.
bool installation_bring_file(const Installation& installation, const std::string& path);

// The text behind a key in settings.txt; empty when the file does not name it.
std::string installation_setting(const Installation& installation, const std::string& key);

// Puts Orvek.exe once more into a folder below ("a\\b\\c").
bool installation_nest(const Installation& installation, const std::string& below);

// Starts `image` of this folder inside the job, with `standard_output` when given. The caller closes the handle.
HANDLE installation_start(const Installation& installation, const std::string& image, const std::string& arguments,
                          HANDLE standard_output, uint32_t* pid);

// All processes of the system, and those among them that `parent` started.
std::vector<RunningProcess> all_processes();
std::vector<RunningProcess> children_of(uint32_t parent);
bool is_running(uint32_t pid);

// Stops one process from outside, as a crash would, and waits for its end.
bool end_process(uint32_t pid);
