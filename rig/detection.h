// Finding the jumper in a 1920x540 I420 picture, cheaply enough for three cameras at 60 frames a second on two cores.
//
// The picture is looked at on the chroma grid: one cell per 2x2 luma pixels, so that Y, U and V line up and a quarter
// of the luma is read. Each cell keeps a running background per plane that follows the picture by one level every few
// frames (a sigma-delta estimate). Comparing with a background instead of an earlier frame shows the jumper once,
// where he is now; a frame difference would show him twice. He crosses a cell far too quickly to leave a trace in it,
// while daylight and a moved camera are absorbed within seconds.
//
// Sizes and places are reported in full pixels of the picture.
#pragma once

#include <cstdint>
#include <vector>

struct PixelBox {  // inclusive pixels of the picture
    int32_t x0, y0, x1, y1;
};

struct DetectionSettings {
    // A plane speaks for a cell when its difference from the background lies within [min, max]; one plane suffices.
    int32_t y_min, u_min, v_min;
    int32_t y_max, u_max, v_max;
    int32_t min_blob_size;  // full pixels; a smaller blob is reported with type 0
    PixelBox region;        // where the jumper is looked for; an axis with end <= start means all of it
    PixelBox ignore;        // cells in here are never looked at; empty unless both axes have end > start
};

struct Detection {
    int32_t type;        // 1: the largest blob is large enough; 0: nothing usable
    int32_t blob_count;  // blobs that are large enough
    // The largest blob, also when it is too small; all zero when there is none.
    int32_t size;  // full pixels
    int32_t x, y;  // centroid
    int32_t first_y, last_y;
    // Pixels that differ per plane, cumulated over the quarters of the width from the left; [3] is the whole picture.
    int32_t y_cumulative[4], u_cumulative[4], v_cumulative[4];
    bool restarted;  // the picture as a whole was a different one: background taken anew, no blob reported
};

struct BlobRun {  // a stretch of differing cells in one row of the grid
    int32_t row, first, last, cells;
    int32_t parent;
};

struct Detector {
    bool has_background;
    uint32_t frame;
    std::vector<uint8_t> y, u, v;  // background, one byte per cell
    std::vector<uint8_t> mask;     // one row of cells
    std::vector<BlobRun> runs;
    std::vector<int32_t> blob_cells;  // cells per root run
};

// Storage for one camera. The next step takes its picture as the background.
void detector_init(Detector* detector);

// Forgets the background, for when the pictures come from somewhere else or the region changed.
void detector_forget(Detector* detector);

// Looks at one picture. The planes are tightly packed (1920x540 and 960x270) and only read.
Detection detector_step(Detector* detector, const DetectionSettings& settings, const uint8_t* y_plane,
                        const uint8_t* u_plane, const uint8_t* v_plane);

// A stored region's rows include the feed's overlay offset; the picture's do not. An all-zero box stays all-zero.
PixelBox region_in_picture(PixelBox stored, int32_t overlay_offset);
