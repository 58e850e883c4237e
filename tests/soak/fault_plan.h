// Which faults an endurance run throws, and in which order. Drawn from one number, so that a run which found
// something can be had again; portable and without a clock, so that the drawing itself is tested.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

enum class Fault : int32_t {
    none,
    // While the program runs.
    worker_killed,
    worker_frozen,
    crash_loop,
    mutex_held,
    died_holding,
    ring_late,
    ring_too_small,
    settings_replaced,
    folder_read_only,
    folder_full,
    clock_back,
    // Before it starts.
    block_late,
    block_too_small,
    jumpers_too_small,
    // How its life ends.
    closed,
    console_killed,
    broken_logs,
    huge_logs,
};
inline constexpr int32_t kFaultKinds = static_cast<int32_t>(Fault::huge_logs) + 1;

// "worker killed"
std::string_view fault_name(Fault fault);

// Numbers from a seed, the same on every machine and with every library.
struct Dice {
    uint64_t state;
};
uint32_t throw_dice(Dice* dice, uint32_t sides);  // 0 .. sides - 1

// What the run cannot do here.
struct PlanLimits {
    bool no_full_folder, no_clock, no_rig;
};

struct PlannedFault {
    Fault fault;
    int32_t feed;       // 0..2, whom it meets
    uint32_t lasts_ms;  // 2000..4999
    uint32_t flavour;   // any number: which of several ways
    std::vector<int32_t> mutexes;
};

// One life of the program, from its start to its end.
struct PlannedLife {
    bool rig;  // with the simulated rig; else with stand-ins that obey the plan
    Fault start;
    std::vector<PlannedFault> faults;
    Fault end;
};

// A kind comes again only when every other one of its bag has come.
struct FaultBag {
    std::vector<Fault> kinds, left;
};

struct FaultPlan {
    Dice dice;
    uint32_t lives;
    FaultBag during_fake, during_rig, start, end_fake, end_rig;
};

FaultPlan fault_plan(uint64_t seed, const PlanLimits& limits);

// The next life, every second one on the rig, with this many faults while it runs.
PlannedLife next_life(FaultPlan* plan, int32_t faults);

// How often one message handler of the program takes this mutex at most: a refresh and the title behind it.
int32_t locks_per_message(int32_t mutex);
