// The control block: the one small region through which the controller and every worker exchange flags, counters and
// requests. Separately built programs map the same bytes, so every offset below is part of the interface and
// asserted.
//
// Each field names its writer and its lock. "controller" and "workers" say who changes it in normal operation; "both"
// that either does. A number is the index of the mutex that guards it, "-" that it has a single writer and is read
// racily. What the controller puts back before each run does not make it a writer. Take at most one of these mutexes
// at a time. Bytes named workers_N belong to the workers; the controller zeroes them with the whole block at start-up
// and never looks at them again.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr char kControlBlockName[] = "Local\\SkiJumpControl";
inline constexpr uint32_t kControlBlockSize = 9776;
inline constexpr int32_t kFeedCount = 3;     // feeds 0 (top), 1 (middle, the reference), 2 (bottom)
inline constexpr int32_t kChannelCount = 3;  // frame regions per feed; `channel` says which one is live
inline constexpr int32_t kPidSlotCount = 8;
inline constexpr uint32_t kPidSlotEmpty = 0xFFFFFFFFu;  // as empty as 0

// Readiness values: a worker counts as ready from kWorkerReady on.
inline constexpr int32_t kWorkerNotStarted = 0, kWorkerStarting = 1, kWorkerAttached = 2, kWorkerReady = 3;

// A 64-bit field inside a block that starts on a multiple of four only. In the region it is 8-aligned all the same.
using int64_in_4_byte_block [[gnu::aligned(4)]] = int64_t;

struct FeedChannelBlock {  // 56 bytes, one per feed and channel
    uint32_t nw;           //   0  workers, mutex 3+feed: frames written so far into this channel's ring
    uint8_t workers_4[16];
    int64_in_4_byte_block frame_seq;  //  20  workers, -: seq of the newest frame, plus 1
    uint8_t workers_28[28];
};
static_assert(sizeof(FeedChannelBlock) == 56 && alignof(FeedChannelBlock) == 4);
static_assert(offsetof(FeedChannelBlock, nw) == 0 && offsetof(FeedChannelBlock, frame_seq) == 20);

struct ControlBlock {
    uint32_t size;  //    0  controller, -: 9776
    uint8_t workers_4[4];
    uint32_t num_feeds;     //    8  controller, -: cameras in use, 1..4
    uint32_t num_channels;  //   12  controller, -: 3
    uint32_t shutdown;      //   16  controller, -: 1 = every worker must exit
    uint32_t paused;        //   20  controller, -: 1 = playback and processing paused
    uint8_t workers_24[4];
    uint32_t ring_slots;  //   28  controller, -: frames per ring, 520
    uint8_t workers_32[32];
    uint32_t output_active;        //   64  workers, 9: output region being written (0, 1); readers show the other
    uint32_t force_ack[3];         //   68  both, 9: per channel; cleared by the poster of a Force Video request
    int32_t output_frame_idx;      //   80  workers, 15: newest finished slot of the output shown; negative = none
    uint32_t feed_frame_count[3];  //   84  workers, -: per feed, a running frame counter
    uint8_t workers_96[8];
    int8_t channel;  //  104  workers, 2: live channel 0..2; the controller follows it
    uint8_t workers_105[7];
    int64_t force_start_seq;  //  112  controller, 12: first frame of the movie asked for
    int64_t force_end_seq;    //  120  controller, 13: last frame of it
    int64_t force_result;     //  128  both, 11: -1 when a request is posted
    uint8_t workers_136[184];
    uint32_t movie_published_count;   //  320  workers, -: movies published since the block was created
    int32_t source_ready[3];          //  324  workers, -: readiness of the frame source of each feed
    int32_t motion_ready[3];          //  336  workers, -: readiness of each feed's motion worker
    int32_t videogen_state;           //  348  workers, -: readiness of the movie builder
    int32_t viewer_state;             //  352  workers, -: readiness of the viewer
    uint32_t grid_setup_active;       //  356  controller, 20: 1 while the grid panel is open
    uint32_t grid_feed;               //  360  controller, 20: feed whose anchor is wanted
    uint32_t grid_line;               //  364  controller, 20: line 0..29
    uint32_t grid_near;               //  368  controller, 20: 0 far point, 1 near point
    uint32_t grid_click_wait;         //  372  both, 20: 1 = the viewer takes the next click on that feed
    uint32_t grid_click_ready;        //  376  both, 20: 1 = the click is there
    int32_t grid_click_x;             //  380  workers, 20: in feed-picture pixels
    int32_t grid_click_y;             //  384  workers, 20: likewise
    uint32_t grid_generation;         //  388  controller, 20: rises after each stored anchor
    uint32_t motion_idx[3];           //  392  workers, 6+feed: frames the motion worker has looked at
    int32_t feed_sync_offset[3];      //  404  both, 9: frames that align the feeds; feed 1 holds 0
    uint32_t motion_slow[3];          //  416  workers, -: non-zero while the feed's motion worker runs slow
    uint32_t motion_active[3];        //  428  workers, 9: 1 while the motion worker reports motion
    uint32_t motion_paused[3];        //  440  both, -: 1 = detection paused
    uint32_t motion_trial_frames[3];  //  452  both, -: frames timed during a width trial
    uint32_t motion_slow_frames[3];   //  464  both, -: of those, frames over the time limit
    uint32_t settings_generation;     //  476  controller, -: rises when settings.txt was rewritten for the workers
    uint32_t capfile_paused[3];       //  480  controller, -: 1 = recording paused; event 35 tells of a change
    uint32_t capfile_shutdown[3];     //  492  controller, -: 1 = finish the file and exit
    uint8_t workers_504[12];
    int32_t feed_offset_live[3];  //  516  controller, -: overlay offset 0..540: first of the 540 rows shown
    uint32_t diag_logging;        //  528  controller, -: 1 = workers write diagnostic logs
    uint32_t blob_circles;        //  532  controller, -: 1 = draw blob circles
    uint32_t erase_shadows_on;    //  536  controller, -: 1 = motion shadow removal on
    uint8_t workers_540[148];
    int64_t movie_serial;    //  688  workers, -: serial number of the newest movie
    uint32_t pid_slot[8];    //  696  both, 27+slot: process ids of workers, ended ones too; 0 or kPidSlotEmpty = none
    int64_t sync_epoch_us;   //  728  controller, -: common time origin, microseconds of the performance counter
    int64_t epoch_reserved;  //  736  controller, -: 0
    uint8_t workers_744[20];
    FeedChannelBlock feed[kFeedCount][kChannelCount];  //  764  workers, see below: counters of each ring
    uint8_t workers_1268[8492];
    int32_t force_frame;     // 9760  workers, -: the movie builder's own; -1 at start-up
    uint32_t force_state;    // 9764  workers, -: the movie builder's own; 0 at start-up
    uint32_t force_request;  // 9768  both, -: 1 = a Force Video request is posted, then event 13; 0 = taken
    uint8_t workers_9772[4];
};

static_assert(sizeof(ControlBlock) == kControlBlockSize);
#define ORVEK_AT(field, offset) static_assert(offsetof(ControlBlock, field) == (offset))
ORVEK_AT(size, 0);
ORVEK_AT(num_feeds, 8);
ORVEK_AT(num_channels, 12);
ORVEK_AT(shutdown, 16);
ORVEK_AT(paused, 20);
ORVEK_AT(ring_slots, 28);
ORVEK_AT(output_active, 64);
ORVEK_AT(force_ack, 68);
ORVEK_AT(output_frame_idx, 80);
ORVEK_AT(feed_frame_count, 84);
ORVEK_AT(channel, 104);
ORVEK_AT(force_start_seq, 112);
ORVEK_AT(force_end_seq, 120);
ORVEK_AT(force_result, 128);
ORVEK_AT(movie_published_count, 320);
ORVEK_AT(source_ready, 324);
ORVEK_AT(motion_ready, 336);
ORVEK_AT(videogen_state, 348);
ORVEK_AT(viewer_state, 352);
ORVEK_AT(grid_setup_active, 356);
ORVEK_AT(grid_feed, 360);
ORVEK_AT(grid_line, 364);
ORVEK_AT(grid_near, 368);
ORVEK_AT(grid_click_wait, 372);
ORVEK_AT(grid_click_ready, 376);
ORVEK_AT(grid_click_x, 380);
ORVEK_AT(grid_click_y, 384);
ORVEK_AT(grid_generation, 388);
ORVEK_AT(motion_idx, 392);
ORVEK_AT(feed_sync_offset, 404);
ORVEK_AT(motion_slow, 416);
ORVEK_AT(motion_active, 428);
ORVEK_AT(motion_paused, 440);
ORVEK_AT(motion_trial_frames, 452);
ORVEK_AT(motion_slow_frames, 464);
ORVEK_AT(settings_generation, 476);
ORVEK_AT(capfile_paused, 480);
ORVEK_AT(capfile_shutdown, 492);
ORVEK_AT(feed_offset_live, 516);
ORVEK_AT(diag_logging, 528);
ORVEK_AT(blob_circles, 532);
ORVEK_AT(erase_shadows_on, 536);
ORVEK_AT(movie_serial, 688);
ORVEK_AT(pid_slot, 696);
ORVEK_AT(sync_epoch_us, 728);
ORVEK_AT(epoch_reserved, 736);
ORVEK_AT(feed, 764);
ORVEK_AT(force_frame, 9760);
ORVEK_AT(force_state, 9764);
ORVEK_AT(force_request, 9768);
#undef ORVEK_AT
static_assert((offsetof(ControlBlock, feed) + offsetof(FeedChannelBlock, frame_seq)) % 8 == 0 &&
                  sizeof(FeedChannelBlock) % 8 == 0,
              "every frame_seq is 8-aligned in the region, so that its access is atomic");
