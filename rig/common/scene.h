// A ski jump whose truth is known: three cameras side by side along a snowy hill, jumpers that pass all of them at
// constant speed, everything derived from one seed. The sources show it, and a test can ask where the jumper is.
//
// Time is counted in ticks, 60 per second, common to all cameras. Each camera numbers its frames from its own start:
// frame number = tick - scene_feed_start(). Neighbouring views overlap by some metres, so that the same spot is seen
// by two cameras for a few frames; that overlap is what allows the cameras to be aligned from the pictures.
#pragma once

#include <cstdint>
#include <vector>

inline constexpr int32_t kSceneWidth = 1920;
inline constexpr int32_t kSceneHeight = 1080;
inline constexpr int32_t kSceneFeeds = 3;
inline constexpr int32_t kSceneSuits = 6;

struct SceneConfig {
    uint64_t seed = 1;
    int32_t jumpers = 12;          // 0: they never end
    int32_t lead_in_frames = 150;  // empty hill before the first jumper
    int32_t pause_frames = 240;    // between a jumper's end and the next one's start, plus up to a second
    double speed = 20.0;           // metres per second; each jumper differs by up to 10 %
    int32_t feed_offset[kSceneFeeds] = {9, 0, -14};  // how far a feed's frame counter is ahead of feed 1's
};

struct ScenePicture {  // planes of one picture
    std::vector<uint8_t> y, u, v;
};

struct SceneSprite {  // a jumper, with coverage 0..255 per pixel; the anchor is the centroid of the covered pixels
    int32_t width, height;  // even
    double anchor_x, anchor_y;
    std::vector<uint8_t> cover, luma, chroma_cover, u, v;
};

struct Scene {
    SceneConfig config;
    std::vector<ScenePicture> background[kSceneFeeds];  // the same view under different noise; empty = not prepared
    std::vector<SceneSprite> sprite[kSceneFeeds];       // one per suit
};

// A jumper in a feed's picture at one tick: centroid in the full 1920 x 1080 picture.
struct SceneJumper {
    int32_t index;  // 0, 1, ...
    double x, y;
    double metre;
};

// When a jumper's centroid is inside a feed's picture, in ticks, both ends included.
struct ScenePassage {
    int64_t entry, exit;
};

struct SceneAnchor {
    bool visible;                          // the metre line crosses the picture
    int32_t far_x, far_y, near_x, near_y;  // full-picture pixels; the mean column shows the metre exactly
};

void scene_init(Scene* scene, const SceneConfig& config);
// Draws what `scene_render` needs for `feed` (some tens of milliseconds and 12 MB).
void scene_prepare(Scene* scene, int32_t feed);

// Renders rows first_row .. first_row + rows - 1 of the feed's full picture into I420 planes without padding. `rows`
// is even; an odd first_row takes the chroma from the row pair it lies in. The feed must be prepared.
void scene_render(const Scene* scene, int32_t feed, int64_t tick, int32_t first_row, int32_t rows, uint8_t* y,
                  uint8_t* u, uint8_t* v);

// The jumper whose centroid lies inside the feed's picture at `tick`; false when there is none.
bool scene_jumper_at(const Scene* scene, int32_t feed, int64_t tick, SceneJumper* jumper);
// 2 while a jumper is nearer to feed 2 than to feed 0, else 0.
uint32_t scene_display_type(const Scene* scene, int64_t tick);

ScenePassage scene_passage(const Scene* scene, int32_t jumper, int32_t feed);
// When his centroid passes a column, as a fraction of ticks; columns outside the picture are allowed.
double scene_tick_of_column(const Scene* scene, int32_t jumper, int32_t feed, double column);
// First tick at which the last jumper has gone and the hill has been empty for a second; -1 when they never end.
int64_t scene_end_tick(const Scene* scene);

// The linear scale: the column of a metre and back.
double scene_column_of_metre(int32_t feed, double metre);
double scene_metre_of_column(int32_t feed, double column);
SceneAnchor scene_anchor(int32_t feed, int32_t metre);

// The tick at which feed f takes its frame 0, so that the frame counters are `feed_offset` apart. 0 for the earliest.
int64_t scene_feed_start(const Scene* scene, int32_t feed);

// Frames between leaving feed `pair` and entering the next, negative while both see the jumper.
int64_t scene_gap(const Scene* scene, int32_t jumper, int32_t pair);

// Writes everything known as text: seed, offsets, scale, gaps, per jumper and feed the passage and the column per
// frame. Of an endless scene the first 50 jumpers. Returns 0 or -1.
int32_t scene_write_truth(const Scene* scene, const char* path);
// Writes a settings.txt that fits the scene: regions, offsets, thresholds, anchors. Returns 0 or -1.
int32_t scene_write_settings(const char* path);
