#include "tests/soak/fault_plan.h"

#include <cstddef>

#include "ipc/sync_objects.h"

namespace {
// The mutexes that the program takes without anybody pressing a button.
constexpr int32_t kBusyMutexes[] = {kMutexChannel, kMutexNw,     kMutexNw + 1,
                                    kMutexNw + 2,  kMutexOutput, kMutexOutputFrame};
}  // namespace

std::string_view fault_name(Fault fault) {
    constexpr std::string_view kNames[] = {"none",
                                           "worker killed",
                                           "worker frozen",
                                           "worker looping in crash",
                                           "mutex held for ever",
                                           "worker died holding a mutex",
                                           "ring late",
                                           "ring too small",
                                           "settings.txt replaced by another program",
                                           "settings folder read-only",
                                           "settings folder full",
                                           "clock set back",
                                           "control block missing, then late",
                                           "control block too small",
                                           "jumper region too small",
                                           "closed",
                                           "console killed, workers orphaned",
                                           "Auto Setup over broken motion logs",
                                           "Auto Setup over huge motion logs"};
    static_assert(std::size(kNames) == kFaultKinds);
    return kNames[static_cast<size_t>(fault)];
}

// SplitMix64: one multiplication chain per number, no library's idea of a distribution.
static uint64_t next_number(Dice* dice) {
    uint64_t z = dice->state += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
}

uint32_t throw_dice(Dice* dice, uint32_t sides) {
    return sides == 0 ? 0 : static_cast<uint32_t>(next_number(dice) % sides);
}

static Fault draw(FaultBag* bag, Dice* dice) {
    if (bag->left.empty()) bag->left = bag->kinds;
    const auto at = static_cast<ptrdiff_t>(throw_dice(dice, static_cast<uint32_t>(bag->left.size())));
    const Fault drawn = bag->left[static_cast<size_t>(at)];
    bag->left.erase(bag->left.begin() + at);
    return drawn;
}

FaultPlan fault_plan(uint64_t seed, const PlanLimits& limits) {
    FaultPlan plan = {};
    plan.dice.state = seed;
    std::vector<Fault> both = {Fault::worker_killed, Fault::worker_frozen, Fault::mutex_held,
                               Fault::settings_replaced, Fault::folder_read_only};
    if (!limits.no_full_folder) both.push_back(Fault::folder_full);
    if (!limits.no_clock) both.push_back(Fault::clock_back);
    plan.during_rig.kinds = plan.during_fake.kinds = both;
    for (Fault fault : {Fault::crash_loop, Fault::died_holding, Fault::ring_late, Fault::ring_too_small})
        plan.during_fake.kinds.push_back(fault);
    plan.start.kinds = {Fault::none, Fault::block_late, Fault::block_too_small, Fault::jumpers_too_small};
    plan.end_fake.kinds = {Fault::closed, Fault::console_killed, Fault::broken_logs, Fault::huge_logs};
    plan.end_rig.kinds = {Fault::closed, Fault::console_killed};
    // Without the rig every life is one of stand-ins.
    plan.lives = limits.no_rig ? UINT32_MAX : 0;
    return plan;
}

static std::vector<int32_t> draw_mutexes(Dice* dice) {
    std::vector<int32_t> mutexes;
    const uint32_t count = 1 + throw_dice(dice, 3);
    for (uint32_t i = 0; i < count; ++i) {
        const int32_t mutex = kBusyMutexes[throw_dice(dice, std::size(kBusyMutexes))];
        bool drawn_before = false;
        for (int32_t other : mutexes) drawn_before = drawn_before || other == mutex;
        if (!drawn_before) mutexes.push_back(mutex);
    }
    return mutexes;
}

PlannedLife next_life(FaultPlan* plan, int32_t faults) {
    PlannedLife life = {};
    life.rig = plan->lives != UINT32_MAX && plan->lives++ % 2 == 1;
    life.start = life.rig ? Fault::none : draw(&plan->start, &plan->dice);
    for (int32_t i = 0; i < faults; ++i) {
        PlannedFault fault = {};
        fault.fault = draw(life.rig ? &plan->during_rig : &plan->during_fake, &plan->dice);
        fault.feed = static_cast<int32_t>(throw_dice(&plan->dice, 3));
        fault.lasts_ms = 2000 + throw_dice(&plan->dice, 3000);
        fault.flavour = throw_dice(&plan->dice, 1000);
        fault.mutexes = draw_mutexes(&plan->dice);
        life.faults.push_back(fault);
    }
    life.end = draw(life.rig ? &plan->end_rig : &plan->end_fake, &plan->dice);
    return life;
}

int32_t locks_per_message(int32_t mutex) {
    // A motion mark per feed, and which output region to show.
    return mutex == kMutexOutput ? 4 : 2;
}
