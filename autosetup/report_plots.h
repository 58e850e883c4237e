// The report's pictures, as SVG that stands in the page itself. However long a run was, a picture stays small: of
// many points it shows some, evenly spread, and says so.
#pragma once

#include <string>
#include <vector>

#include "autosetup/workspace.h"

inline constexpr int32_t kPlotPoints = 4000;  // blobs drawn per feed at most

// The blobs' columns over the frame number, the pauses between the jumps cut out. `feed` must have a jump.
void plot_blob_columns(const AutoSetupWorkspace* workspace, int32_t feed, std::string* html);

// Measurements side by side, with the value taken from them.
struct DotPlot {
    const char* id;               // for the page
    const char* title;            // may hold HTML entities
    const char* across;           // what `number` counts
    std::vector<int64_t> value;   // frames; at least one
    std::vector<int32_t> number;  // as many
    std::vector<bool> counted;    // as many; those left out are hollow
    bool has_median;
    int64_t median;
    int64_t low, high;  // the bounds for a single value; equal: none
    std::string caption;
};
void plot_dots(const DotPlot& plot, std::string* html);

// Highest and lowest blob row per column, and the rows that are watched before and after. `feed` must have blobs.
void plot_motion_band(const AutoSetupWorkspace* workspace, const Settings* before, int32_t feed, std::string* html);

// The three tables of a feed that has them.
void plot_pixel_frames(const Settings* settings, int32_t feed, std::string* html);
