// measure.exe: a measuring program reduced to its last step. It writes one distance into the start list of a running
// console, under the list's mutex as they all do, and leaves. It appends nobody: whom the list does not have cannot
// be measured. Exit codes: 0 written, 1 no list or no such jumper, 2 bad usage.
#include <cstdio>

#include <windows.h>

#include "ipc/sync_objects.h"
#include "rig/common/worker_runtime.h"
#include "rig/measurement.h"

static constexpr char kUsage[] =
    "usage: measure BIB ROUND METRES [--invalid]\n"
    "       measure --index INDEX ROUND METRES [--invalid]\n"
    "\n"
    "Writes a measured distance into the start list of the running console.\n"
    "  BIB        the jumper's start number, 0 for the forerunner\n"
    "  INDEX      the jumper's record, 0 for the forerunner\n"
    "  ROUND      0 practice, 1 or 2\n"
    "  --invalid  writes the distance but clears its valid flag: the console shows no result\n";

static int32_t write_locked(JumperRegion* region, const Measurement& measurement) {
    char name[64];
    snprintf(name, sizeof name, "%s%d", kMutexNamePrefix, kMutexJumpers);
    HANDLE mutex = CreateMutexA(nullptr, FALSE, name);
    if (mutex != nullptr) WaitForSingleObject(mutex, kLockTimeoutMs);
    const int32_t index = measurement_write(region, measurement);
    if (mutex != nullptr) {
        ReleaseMutex(mutex);
        CloseHandle(mutex);
    }
    return index;
}

int main(int argc, char** argv) {
    Measurement measurement;
    if (!measurement_parse(argc - 1, argv + 1, &measurement)) {
        fputs(kUsage, stderr);
        return 2;
    }
    WorkerRegion region;
    if (worker_open_region(kJumperRegionName, &region) != 0 || region.size < kJumperRegionSize) {
        fputs("measure: no start list; is the console running?\n", stderr);
        return 1;
    }
    const int32_t index = write_locked(reinterpret_cast<JumperRegion*>(region.view), measurement);
    worker_close_region(&region);
    if (index < 0) {
        fprintf(stderr, "measure: the list has no jumper with %s %d\n", measurement.by_index ? "index" : "bib",
                measurement.jumper);
        return 1;
    }
    printf("record %d, round %d: %.2f m%s\n", index, measurement.round, static_cast<double>(measurement.metres),
           measurement.valid ? "" : ", not valid");
    return 0;
}
