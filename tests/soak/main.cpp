// soak MINUTES SEED [REPORT.json]: runs the real program under faults and says what came of it. Exit code 0 when it
// endured. Under a worker's name the same program stands in for that worker.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "tests/console/fake_worker.h"
#include "tests/soak/soak.h"

static constexpr uint64_t kRigBytes = uint64_t{9} << 30;  // five rings, and room for what fills them
static constexpr int32_t kFaultsPerLife = 12, kFaultsPerShortLife = 6, kFaultsPerLongLife = 150;
static constexpr uint32_t kLongRunMinutes = 30;

void soak_say(const Soak& soak, const std::string& what) {
    printf("%6.1f s  life %d  %s\n", static_cast<double>(GetTickCount64() - soak.started_ms) / 1000.0, soak.life,
           what.c_str());
    fflush(stdout);
}

void soak_fail(Soak* soak, const std::string& what) {
    soak->failures.push_back("life " + std::to_string(soak->life) + ": " + what);
    soak_say(*soak, "FAILURE: " + what);
}

std::string settings_path(const Soak& soak) {
    return installation_path(soak.settings, "settings.txt");
}

bool console_lives(const Soak& soak) {
    return soak.console.process != nullptr && WaitForSingleObject(soak.console.process, 0) == WAIT_TIMEOUT;
}

static std::string environment(const char* name) {
    const char* value = getenv(name);
    return value != nullptr ? value : "";
}

static bool has_memory_for_rig() {
    MEMORYSTATUSEX memory = {};
    memory.dwLength = sizeof memory;
    return GlobalMemoryStatusEx(&memory) && memory.ullAvailPhys >= kRigBytes;
}

// What grows slowly shows only in a life of a quarter of an hour; starts and ends want many lives. A long run has
// both: of four lives two are long, one with stand-ins and one on the rig.
static int32_t faults_of_next_life(const Soak& soak) {
    if (soak.minutes <= 1) return kFaultsPerShortLife;
    return soak.minutes >= kLongRunMinutes && soak.life % 4 >= 2 ? kFaultsPerLongLife : kFaultsPerLife;
}

int main(int argc, char** argv) {
    if (is_fake_worker()) return fake_worker_main(argc, argv);
    if (argc < 3) {
        fprintf(stderr, "soak MINUTES SEED [REPORT.json]\n");
        return 2;
    }
    const auto soak = std::make_unique<Soak>();
    soak->minutes = static_cast<uint32_t>(strtoul(argv[1], nullptr, 10));
    soak->seed = strtoull(argv[2], nullptr, 10);
    soak->report_path = argc > 3 ? argv[3] : "";
    soak->settings_folder = environment("ORVEK_SOAK_FOLDER");
    soak->clock_file = environment("ORVEK_SOAK_CLOCK");
    const std::string feeds = environment("ORVEK_SOAK_FEEDS");
    soak->rig_feeds = feeds.empty() ? kFeedCount : atoi(feeds.c_str());
    soak->limits = {soak->settings_folder.empty(), soak->clock_file.empty(), !has_memory_for_rig()};
    soak->started_ms = GetTickCount64();
    printf("seed %llu\n", static_cast<unsigned long long>(soak->seed));

    FaultPlan plan = fault_plan(soak->seed, soak->limits);
    const uint64_t end = soak->started_ms + uint64_t{soak->minutes} * 60000;
    // The last life is one on the rig, also where it is late.
    while (GetTickCount64() < end || (soak->lives_rig == 0 && !soak->limits.no_rig)) {
        if (!soak_live(soak.get(), next_life(&plan, faults_of_next_life(*soak)))) break;
        ++soak->life;
    }
    const bool endured = soak_report(soak.get());
    installations_clean_up();
    return endured ? 0 : 1;
}
