#include "tools/sync_names.h"

#include "ipc/control_block.h"
#include "ipc/sync_objects.h"

namespace {

struct Meaning {
    int32_t first;
    int32_t count;  // more than one: of a family, whose members are numbered from 0
    const char* words;
};

constexpr Meaning kMutexMeanings[] = {
    {kMutexChannel, 1, "channel"},
    {kMutexNw, kFeedCount, "nw"},
    {kMutexMotionIdx, kFeedCount, "motion_idx"},
    {kMutexOutput, 1, "output/sync offsets/motion/force_ack"},
    {kMutexForceResult, 1, "force_result"},
    {kMutexForceStart, 1, "force_start_seq"},
    {kMutexForceEnd, 1, "force_end_seq"},
    {kMutexOutputFrame, 1, "output_frame_idx"},
    {kMutexJumpers, 1, "jumpers"},
    {kMutexGrid, 1, "grid"},
    {kMutexPidSlot, kPidSlotCount, "pid_slot"},
};

constexpr Meaning kEventMeanings[] = {
    {kEventMotionWake, kFeedCount, "motion wake"},
    {kEventForceRequest, 1, "force request"},
    {kEventNewOutput, 1, "new output frame"},
    {kEventResume, 1, "resume"},
    {kEventGridClick, 1, "grid click"},
    {kEventCapfile, 1, "capfile"},
    {kEventNewFrame, 1, "new feed frame"},
};

}  // namespace

template <size_t n>
static std::string meaning_of(const Meaning (&meanings)[n], int32_t index) {
    for (const Meaning& meaning : meanings) {
        const int32_t member = index - meaning.first;
        if (member < 0 || member >= meaning.count) continue;
        return meaning.count == 1 ? meaning.words : std::string(meaning.words) + " " + std::to_string(member);
    }
    return "workers";
}

std::string mutex_meaning(int32_t index) {
    return meaning_of(kMutexMeanings, index);
}

std::string event_meaning(int32_t index) {
    return meaning_of(kEventMeanings, index);
}
