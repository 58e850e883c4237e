#include "tools/status_requests.h"

#include <cstdarg>
#include <cstdio>

#include "app/log.h"

using Requests = std::vector<std::string>;

static void add(Requests* requests, const char* format, ...) ORVEK_PRINTF(2, 3);
static void add(Requests* requests, const char* format, ...) {
    char text[160];
    va_list values;
    va_start(values, format);
    // The analyzer forgets va_start when it checks several files in one run.
    vsnprintf(text, sizeof text, format, values);  // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(values);
    requests->emplace_back(text);
}

// Posting clears the answer, taking clears the request and acknowledges it, the finished movie is the answer.
static void add_forced_movie(const ControlBlock& block, Requests* requests) {
    const auto start = static_cast<long long>(block.force_start_seq);
    const auto end = static_cast<long long>(block.force_end_seq);
    bool taken = false;
    for (const uint32_t ack : block.force_ack) taken = taken || ack != 0;
    if (block.force_request != 0) {
        add(requests, "force video: frames %lld to %lld not taken yet", start, end);
    } else if (taken && block.force_result < 0) {
        add(requests, "force video: frames %lld to %lld taken but no movie yet", start, end);
    }
}

static void add_grid_click(const ControlBlock& block, Requests* requests) {
    if (block.grid_click_wait == 0) return;
    const char* const point = block.grid_near != 0 ? "near" : "far";
    if (block.grid_click_ready != 0) {
        add(requests, "grid: line %u %s on feed %u clicked at %d/%d but not taken yet", block.grid_line, point,
            block.grid_feed, block.grid_click_x, block.grid_click_y);
    } else {
        add(requests, "grid: click wanted for line %u %s on feed %u", block.grid_line, point, block.grid_feed);
    }
}

std::vector<std::string> status_requests(const ControlBlock& block) {
    Requests requests;
    if (block.shutdown != 0) add(&requests, "shutdown: every worker is to exit");
    add_forced_movie(block, &requests);
    add_grid_click(block, &requests);
    for (int32_t f = 0; f < kFeedCount; ++f) {
        if (block.capfile_shutdown[f] != 0) add(&requests, "capfile %d: finish the file and exit", f);
        if (block.capfile_paused[f] != 0) add(&requests, "capfile %d: pause", f);
        if (block.motion_paused[f] != 0) add(&requests, "motion %d: pause", f);
    }
    return requests;
}
