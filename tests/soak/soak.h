// An endurance run: the real program through several lives, with an operator who never rests and faults from a plan.
// The files of this folder share this record; main.cpp runs it, report.cpp says what came of it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/console/driver.h"
#include "tests/console/installation.h"
#include "tests/console/shared_view.h"
#include "tests/soak/fault_plan.h"
#include "tests/soak/growth.h"
#include "tests/soak/silence_meter.h"

// Silence that nothing in the program causes: other programs want the processors too.
inline constexpr uint32_t kMachineSlackMs = 2000;

struct FaultTally {
    int32_t thrown, survived;
    int32_t named, unnamed;  // in the log; a fault that promises no line counts as neither
};

enum Resource : int32_t { kHandles, kGdiObjects, kWindows, kPrivateKilobytes, kResourceCount };

struct Soak {
    // From the command line.
    uint32_t minutes;
    uint64_t seed;
    std::string report_path;      // of the JSON; empty for none
    std::string settings_folder;  // a small volume of its own, or empty: the program's own folder
    std::string clock_file;       // what is written there moves the clock; empty: the clock stays
    PlanLimits limits;

    // The life under way.
    int32_t life;
    int32_t rig_feeds;  // how many feeds a life on the rig has
    bool rig;
    Installation installation;  // program, workers, log
    Installation settings;      // settings.txt, pixel_frames.txt, the workers' folder
    Console console;
    SharedView shared;
    bool has_shared;
    TestRing ring[kFeedCount];
    bool ring_spoilt[kFeedCount];  // the program keeps a mapping that was too small
    uint32_t host_pid;             // the program as the host knows it, under Wine; 0: unknown
    bool capture_panel_shown;
    uint32_t pulse;  // frames "written" by the stand-ins
    uint64_t last_pulse_ms;
    bool pulse_stopped;
    Dice operator_dice;

    SilenceMeter meter;

    // What comes of it all.
    FaultTally tally[kFaultKinds];
    std::vector<std::string> failures;
    std::vector<GrowthSample> samples[kResourceCount];
    uint64_t started_ms;
    int32_t lives_fake, lives_rig;
    int32_t operator_acts;
    uint32_t longest_close_ms, longest_start_ms;
    std::string longest_close_because;
};

// Notes a failure, and prints it at once.
void soak_fail(Soak* soak, const std::string& what);
void soak_say(const Soak& soak, const std::string& what);
std::string settings_path(const Soak& soak);
bool console_lives(const Soak& soak);

// life.cpp: from start to end. False when the program could not be started.
bool soak_live(Soak* soak, const PlannedLife& life);

// operator.cpp: everything an operator can do without being asked, for a while. Frames go on meanwhile.
void operator_works(Soak* soak, uint32_t for_ms);
// Closes what is open, shows the Preview tab, gives the window an ordinary size.
void operator_tidies(Soak* soak);

// faults.cpp: throws one fault and waits for its end. fault_at_start before the program is started; its `holder` is
// what stands in the way until fault_start_over.
void throw_fault(Soak* soak, const PlannedFault& fault);
HANDLE fault_at_start(Fault fault);
void fault_start_over(Soak* soak, Fault fault, HANDLE holder);
void order_workers(const Soak& soak, const std::string& more);
uint32_t worker_pid(const Soak& soak, const std::string& name);

// file_faults.cpp: those that meet the settings' folder.
void throw_file_fault(Soak* soak, const PlannedFault& fault);
void write_motion_logs(const Soak& soak, bool huge);

// Counts the fault; with `lines` all of them must come into the log once more than `before` says.
struct ExpectedLine {
    std::string pattern;
    int32_t times;  // in the whole log, by now
};
ExpectedLine one_more(const Soak& soak, const std::string& pattern, int32_t more = 1);
void fault_done(Soak* soak, Fault fault, const std::vector<ExpectedLine>& lines, uint32_t patience_ms = 15000);

// checks.cpp
uint32_t find_on_host(const Soak& soak);
void sample_resources(Soak* soak);
void check_files(Soak* soak);
void check_log(Soak* soak);
void check_no_worker_left(Soak* soak);
void check_silences(Soak* soak);

// report.cpp
bool soak_report(Soak* soak);
