#include <windows.h>

#include <array>
#include <cstdlib>
#include <thread>

#include "app/commands.h"
#include "ipc/jumper_region.h"
#include "tests/console/diagnostic_log.h"
#include "tests/soak/soak.h"
#include "tests/support/wait.h"

// ------------------------------------------------------------------------------------------------------ the workers

// What every stand-in does when no fault is under way: ready at once, findable by its process id, a recorder that
// finishes when told.
static std::string standing_orders() {
    std::string text =
        "motion ready\nvideogen ready\nviewer ready\npractice_player ready\ncapture ready\n"
        "videogen pid_slot 3\ncapfile finish 300\n";
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        const std::string number = std::to_string(feed);
        text += "motion[" + number + "] pid_slot " + number + "\n";
        text += "capture[" + number + "] pid_slot " + std::to_string(4 + feed) + "\n";
    }
    return text;
}

void order_workers(const Soak& soak, const std::string& more) {
    installation_write(soak.installation, "fake.txt", standing_orders() + more);
}

uint32_t worker_pid(const Soak& soak, const std::string& name) {
    const std::string text = last_line_of(log_lines(soak.installation), "INF launched " + name + " (PID ");
    return static_cast<uint32_t>(strtoul(text.c_str(), nullptr, 10));
}

static int32_t feed_of(const Soak& soak, const PlannedFault& fault) {
    if (!soak.rig || soak.rig_feeds == 3) return fault.feed;
    return soak.rig_feeds == 1 ? 1 : 1 + fault.feed % 2;
}

static std::string motion_of(const Soak& soak, const PlannedFault& fault) {
    return "motion[" + std::to_string(feed_of(soak, fault)) + "]";
}

// Those that the console starts again.
static std::string victim_of(const Soak& soak, const PlannedFault& fault) {
    return fault.flavour % 4 == 3 ? "videogen" : motion_of(soak, fault);
}

static std::vector<ExpectedLine> lines_of_an_end(const Soak& soak, const std::string& worker, int32_t code,
                                                 int32_t times = 1) {
    return {one_more(soak, "ERR " + worker + " exited with code " + std::to_string(code), times),
            one_more(soak, "restarting " + worker + " (attempt *", times),
            one_more(soak, "launched " + worker + " (PID *", times)};
}

static void kill_worker(Soak* soak, const PlannedFault& fault) {
    const std::string worker = victim_of(*soak, fault);
    const auto lines = lines_of_an_end(*soak, worker, 77);
    if (!end_process(worker_pid(*soak, worker))) soak_say(*soak, "no " + worker + " there to be killed");
    operator_works(soak, fault.lasts_ms / 2);
    fault_done(soak, fault.fault, lines);
}

static bool set_frozen(uint32_t pid, bool frozen) {
    using Operation = LONG(WINAPI*)(HANDLE);
    const auto operation = reinterpret_cast<Operation>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleA("ntdll.dll"), frozen ? "NtSuspendProcess" : "NtResumeProcess")));
    HANDLE process = OpenProcess(PROCESS_SUSPEND_RESUME, FALSE, pid);
    if (process == nullptr) return false;
    const bool done = operation(process) == 0;
    CloseHandle(process);
    return done;
}

// One in two wakes again by itself, which leaves no line; the others are ended while they are frozen.
static void freeze_worker(Soak* soak, const PlannedFault& fault) {
    const std::string worker = victim_of(*soak, fault);
    const uint32_t pid = worker_pid(*soak, worker);
    if (!set_frozen(pid, true)) soak_fail(soak, "could not freeze " + worker);
    operator_works(soak, fault.lasts_ms);
    std::vector<ExpectedLine> lines;
    if (fault.flavour % 2 == 0) {
        set_frozen(pid, false);
    } else {
        lines = lines_of_an_end(*soak, worker, 77);
        end_process(pid);
    }
    operator_works(soak, 1000);
    fault_done(soak, fault.fault, lines);
}

static void loop_in_crash(Soak* soak, const PlannedFault& fault) {
    const std::string worker = motion_of(*soak, fault);
    const auto lines = lines_of_an_end(*soak, worker, 3, 2);
    order_workers(*soak, worker + " exit 3\n");
    end_process(worker_pid(*soak, worker));
    operator_works(soak, fault.lasts_ms);
    fault_done(soak, fault.fault, lines);
    order_workers(*soak, "");
    operator_works(soak, 1000);
}

// ------------------------------------------------------------------------------------------------------ the mutexes

static std::string numbers_of(const std::vector<int32_t>& mutexes) {
    std::string text;
    for (int32_t mutex : mutexes) text += " " + std::to_string(mutex);
    return text;
}

static void expect_waiting_for(Soak* soak, const PlannedFault& fault) {
    uint32_t allowed = kMachineSlackMs;
    for (int32_t mutex : fault.mutexes) allowed += static_cast<uint32_t>(locks_per_message(mutex)) * kLockTimeoutMs;
    silence_meter_expect(&soak->meter, allowed, "mutex held:" + numbers_of(fault.mutexes));
}

static std::vector<ExpectedLine> lines_of_waiting(const Soak& soak, const PlannedFault& fault) {
    std::vector<ExpectedLine> lines;
    for (int32_t mutex : fault.mutexes)
        lines.push_back(one_more(soak, "WRN ipc: mutex " + std::to_string(mutex) + " *"));
    return lines;
}

// Long enough for every mutex to have been waited for, on the tab where all of them are.
static void watch_preview(Soak* soak, const PlannedFault& fault) {
    operator_tidies(soak);
    const uint64_t end = GetTickCount64() + fault.lasts_ms + 2000 * fault.mutexes.size();
    while (GetTickCount64() < end && console_lives(*soak)) {
        PostMessageW(soak->console.window, kRefreshMessage, 0, 0);
        console_answers(soak->console, kPatienceMs);
        pause_ms(kGlanceMs);
    }
    operator_works(soak, fault.lasts_ms);
}

// On the rig nobody obeys orders: a thread of this program keeps the mutexes.
static void hold_on_the_rig(Soak* soak, const PlannedFault& fault) {
    const auto lines = lines_of_waiting(*soak, fault);
    HANDLE enough = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::thread holder([&] {
        for (int32_t mutex : fault.mutexes) WaitForSingleObject(soak->shared.mutex[mutex], kPatienceMs);
        WaitForSingleObject(enough, INFINITE);
        for (int32_t mutex : fault.mutexes) ReleaseMutex(soak->shared.mutex[mutex]);
    });
    watch_preview(soak, fault);
    fault_done(soak, fault.fault, lines);
    SetEvent(enough);
    holder.join();
    CloseHandle(enough);
}

static void hold_mutexes(Soak* soak, const PlannedFault& fault) {
    expect_waiting_for(soak, fault);
    if (soak->rig) {
        hold_on_the_rig(soak, fault);
        return;
    }
    const std::string worker = motion_of(*soak, fault);
    const auto lines = lines_of_waiting(*soak, fault);
    order_workers(*soak, worker + " hold" + numbers_of(fault.mutexes) + "\n");
    end_process(worker_pid(*soak, worker));
    watch_preview(soak, fault);
    fault_done(soak, fault.fault, lines);
    order_workers(*soak, "");
    end_process(worker_pid(*soak, worker));
    operator_works(soak, 1000);
}

static void die_holding_mutex(Soak* soak, const PlannedFault& fault) {
    const std::string worker = motion_of(*soak, fault);
    const auto lines = lines_of_an_end(*soak, worker, 5);
    order_workers(*soak, worker + " die_holding " + std::to_string(fault.mutexes[0]) + "\n");
    end_process(worker_pid(*soak, worker));
    operator_works(soak, fault.lasts_ms);
    fault_done(soak, fault.fault, lines);
    order_workers(*soak, "");
    operator_works(soak, 1000);
}

// ------------------------------------------------------------------------------------------------------ the regions

static HANDLE small_region(const char* name) {
    return CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name);
}

// The next feed that has no ring yet; -1 when all have. Of a life's three one may be spoilt, so that there is room
// for good ones.
static int32_t feed_without_ring(const Soak& soak, int32_t first) {
    for (int32_t i = 0; i < kFeedCount; ++i) {
        const int32_t feed = (first + i) % kFeedCount;
        if (soak.ring[feed].mapping == nullptr && !soak.ring_spoilt[feed]) return feed;
    }
    return -1;
}

static void wait_for_ring(Soak* soak, const PlannedFault& fault, const ExpectedLine& line) {
    for (int32_t look = 0; look < 3; ++look) {
        operator_works(soak, fault.lasts_ms / 3);
        operator_tidies(soak);
    }
    fault_done(soak, fault.fault, {line}, kPinningAllowedMs);
}

// One that comes after the program asked for it for a while; it stays for the rest of the life, as rings do.
static void bring_ring_late(Soak* soak, const PlannedFault& fault) {
    const int32_t feed = feed_without_ring(*soak, fault.feed);
    if (feed < 0) return;
    silence_meter_expect(&soak->meter, kPinningAllowedMs, "a fresh ring");
    const auto line = one_more(*soak, "preview: reconnected feed " + std::to_string(feed) + " (attempt *");
    if (!test_ring_create(&soak->ring[feed], feed, 0)) soak_fail(soak, "no memory for a ring");
    wait_for_ring(soak, fault, line);
}

static void bring_small_ring(Soak* soak, const PlannedFault& fault) {
    const int32_t feed = feed_without_ring(*soak, fault.feed);
    for (bool spoilt : soak->ring_spoilt)
        if (spoilt) return;
    if (feed < 0) return;
    soak->ring_spoilt[feed] = true;
    char name[32];
    feed_region_name(name, feed, 0);
    const auto line = one_more(*soak, std::string("ERR preview: '") + name + "' is too small *");
    HANDLE region = small_region(name);
    wait_for_ring(soak, fault, line);
    CloseHandle(region);
}

HANDLE fault_at_start(Fault fault) {
    if (fault == Fault::block_late) return CreateSemaphoreA(nullptr, 0, 1, kControlBlockName);
    if (fault == Fault::block_too_small) return small_region(kControlBlockName);
    if (fault == Fault::jumpers_too_small) return small_region(kJumperRegionName);
    return nullptr;
}

void fault_start_over(Soak* soak, Fault fault, HANDLE holder) {
    if (holder == nullptr) return;
    operator_works(soak, 3000);
    CloseHandle(holder);
    operator_tidies(soak);
    std::vector<ExpectedLine> lines;
    if (fault == Fault::block_late)
        lines.push_back({"ERR shmem: CreateFileMapping failed for 'Local\\SkiJumpControl', error=*", 1});
    if (fault == Fault::block_too_small) lines.push_back({"ERR preview: 'Local\\SkiJumpControl' is too small *", 1});
    if (fault == Fault::jumpers_too_small)
        lines.push_back({"WRN jumper panel: shared memory not available", 1});
    else
        lines.push_back({"shmem: created 'Local\\SkiJumpControl' (9776 bytes)", 1});
    fault_done(soak, fault, lines);
}

// ---------------------------------------------------------------------------------------------------------- one of
// all

void throw_fault(Soak* soak, const PlannedFault& fault) {
    silence_meter_expect(&soak->meter, kMachineSlackMs, std::string(fault_name(fault.fault)));
    switch (fault.fault) {
        case Fault::worker_killed:
            kill_worker(soak, fault);
            break;
        case Fault::worker_frozen:
            freeze_worker(soak, fault);
            break;
        case Fault::crash_loop:
            loop_in_crash(soak, fault);
            break;
        case Fault::mutex_held:
            hold_mutexes(soak, fault);
            break;
        case Fault::died_holding:
            die_holding_mutex(soak, fault);
            break;
        case Fault::ring_late:
            bring_ring_late(soak, fault);
            break;
        case Fault::ring_too_small:
            bring_small_ring(soak, fault);
            break;
        default:
            throw_file_fault(soak, fault);
            break;
    }
    silence_meter_expect(&soak->meter, kMachineSlackMs, "nothing");
}
