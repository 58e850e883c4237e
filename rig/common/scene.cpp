#include "rig/common/scene.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "rig/common/scene_paint.h"
#include "rig/common/scene_random.h"

namespace {

// Column = pixels_per_metre * metre - column_at_zero. Whole numbers, so that the anchors of whole metres are exact.
// The views overlap by about 4 m (feeds 0, 1) and 3.4 m (1, 2): a dozen frames in which two cameras see the jumper.
struct View {
    int32_t pixels_per_metre;
    int32_t column_at_zero;
    int32_t path_left, path_right;      // rows of the jumper's centroid at the picture's edges
    int32_t shadow_left, shadow_right;  // rows from the jumper down to his shadow
};
constexpr View kViews[kSceneFeeds] = {
    {90, 3000, 380, 420, 56, 50}, {100, 5050, 372, 440, 56, 34}, {95, 6300, 384, 450, 34, 34}};

constexpr int32_t kNoiseVariants = 4;
constexpr int32_t kFramesPerSecond = 60;
constexpr int32_t kFarRow = 300, kNearRow = 520, kLineSlant = 18;
constexpr int32_t kStartJitter = 60, kEarliestStart = 12;
constexpr int32_t kOffPicture = 200;  // a jumper this far outside cannot touch the picture
constexpr int32_t kFlagColumn = 70, kFlagRow = 256, kFlagWidth = 76, kFlagHeight = 36;
constexpr uint64_t kSaltSpeed = 1, kSaltStart = 2, kSaltRow = 3, kSaltSuit = 4, kSaltNoise = 5, kSaltVariant = 6;

struct Run {  // one jumper's motion
    double start_tick, metres_per_tick, row_shift;
    int32_t suit;
};

}  // namespace

static double first_metre() {
    return scene_metre_of_column(0, 0);
}

static double last_metre() {
    return scene_metre_of_column(kSceneFeeds - 1, kSceneWidth - 1);
}

// Every jumper has a time slot of the same length: who jumps at a tick is a division, not a search.
static int64_t slot_ticks(const SceneConfig& config) {
    const double slowest = config.speed * 0.9 / kFramesPerSecond;
    const int64_t crossing = static_cast<int64_t>(std::ceil((last_metre() - first_metre()) / slowest));
    return crossing + config.pause_frames + kEarliestStart + kStartJitter;
}

static Run run_of(const SceneConfig& config, int32_t jumper) {
    const uint64_t who = static_cast<uint64_t>(jumper) * 16;
    const double factor = 0.9 + 0.2 * scene_unit(config.seed, who + kSaltSpeed);
    const int64_t slot_start = config.lead_in_frames + jumper * slot_ticks(config);
    const int32_t jitter = kEarliestStart + scene_pick(config.seed, who + kSaltStart, kStartJitter);
    return Run{static_cast<double>(slot_start + jitter), config.speed * factor / kFramesPerSecond,
               24 * scene_unit(config.seed, who + kSaltRow) - 12,
               scene_pick(config.seed, who + kSaltSuit, kSceneSuits)};
}

static int32_t jumper_of_tick(const SceneConfig& config, int64_t tick) {
    const int64_t since = tick - config.lead_in_frames;
    if (since < 0) return -1;
    const int64_t jumper = since / slot_ticks(config);
    return config.jumpers > 0 && jumper >= config.jumpers ? -1 : static_cast<int32_t>(jumper);
}

static SceneJumper place_jumper(const Run& run, int32_t jumper, int32_t feed, int64_t tick) {
    const double metre = first_metre() + (static_cast<double>(tick) - run.start_tick) * run.metres_per_tick;
    const double x = scene_column_of_metre(feed, metre);
    const View& view = kViews[feed];
    const double row = view.path_left + (view.path_right - view.path_left) * x / kSceneWidth + run.row_shift;
    return SceneJumper{jumper, x, row, metre};
}

void scene_init(Scene* scene, const SceneConfig& config) {
    *scene = Scene{};
    scene->config = config;
    scene->config.pause_frames = std::max(config.pause_frames, 30);
    scene->config.speed = std::clamp(config.speed, 5.0, 60.0);
}

void scene_prepare(Scene* scene, int32_t feed) {
    const uint64_t seed = scene->config.seed;
    const ScenePicture clean = scene_paint_landscape(feed, seed);
    scene->background[feed].clear();
    for (int32_t variant = 0; variant < kNoiseVariants; ++variant) {
        const uint64_t salt = static_cast<uint64_t>(feed * kNoiseVariants + variant) * 16 + kSaltNoise;
        scene->background[feed].push_back(scene_add_noise(clean, scene_hash(seed, salt)));
    }
    scene->sprite[feed].clear();
    for (int32_t suit = 0; suit < kSceneSuits; ++suit) scene->sprite[feed].push_back(scene_paint_jumper(feed, suit));
}

double scene_column_of_metre(int32_t feed, double metre) {
    return kViews[feed].pixels_per_metre * metre - kViews[feed].column_at_zero;
}

double scene_metre_of_column(int32_t feed, double column) {
    return (column + kViews[feed].column_at_zero) / kViews[feed].pixels_per_metre;
}

SceneAnchor scene_anchor(int32_t feed, int32_t metre) {
    const int32_t column = kViews[feed].pixels_per_metre * metre - kViews[feed].column_at_zero;
    const bool visible = column >= kLineSlant && column < kSceneWidth - kLineSlant;
    return SceneAnchor{visible, column + kLineSlant, kFarRow, column - kLineSlant, kNearRow};
}

bool scene_jumper_at(const Scene* scene, int32_t feed, int64_t tick, SceneJumper* jumper) {
    const int32_t who = jumper_of_tick(scene->config, tick);
    if (who < 0) return false;
    const SceneJumper found = place_jumper(run_of(scene->config, who), who, feed, tick);
    if (found.x < 0 || found.x > kSceneWidth - 1) return false;
    *jumper = found;
    return true;
}

uint32_t scene_display_type(const Scene* scene, int64_t tick) {
    const int32_t who = jumper_of_tick(scene->config, tick);
    if (who < 0) return 0;
    const double metre = place_jumper(run_of(scene->config, who), who, 1, tick).metre;
    return metre >= scene_metre_of_column(1, kSceneWidth / 2.0) && metre <= last_metre() + 5 ? 2 : 0;
}

double scene_tick_of_column(const Scene* scene, int32_t jumper, int32_t feed, double column) {
    const Run run = run_of(scene->config, jumper);
    return run.start_tick + (scene_metre_of_column(feed, column) - first_metre()) / run.metres_per_tick;
}

ScenePassage scene_passage(const Scene* scene, int32_t jumper, int32_t feed) {
    const Run run = run_of(scene->config, jumper);
    ScenePassage passage{
        static_cast<int64_t>(std::ceil(scene_tick_of_column(scene, jumper, feed, 0))) - 1,
        static_cast<int64_t>(std::floor(scene_tick_of_column(scene, jumper, feed, kSceneWidth - 1))) + 1};
    // The closed form may be off by a rounding at the very edge; the placing itself decides.
    while (place_jumper(run, jumper, feed, passage.entry).x < 0) ++passage.entry;
    while (place_jumper(run, jumper, feed, passage.exit).x > kSceneWidth - 1) --passage.exit;
    return passage;
}

int64_t scene_end_tick(const Scene* scene) {
    if (scene->config.jumpers <= 0) return -1;
    return scene_passage(scene, scene->config.jumpers - 1, kSceneFeeds - 1).exit + kFramesPerSecond;
}

int64_t scene_feed_start(const Scene* scene, int32_t feed) {
    const int32_t* offset = scene->config.feed_offset;
    return std::max({offset[0], offset[1], offset[2]}) - offset[feed];
}

int64_t scene_gap(const Scene* scene, int32_t jumper, int32_t pair) {
    return scene_passage(scene, jumper, pair + 1).entry - scene_passage(scene, jumper, pair).exit;
}

// Clouds pass: all of the picture grows a little brighter and darker over some forty seconds.
static int32_t brightness_at(int32_t feed, int64_t tick) {
    const double phase = static_cast<double>(tick) / (40.0 * kFramesPerSecond) * 6.283185307179586;
    return static_cast<int32_t>(std::lround(3 * std::sin(phase + feed * 0.1)));
}

// The painted values leave room for the drift, so that plain addition never wraps.
static void copy_brightened(uint8_t* __restrict to, const uint8_t* __restrict from, size_t count, int32_t add) {
    if (add == 0) {
        memcpy(to, from, count);
        return;
    }
    const uint8_t step = static_cast<uint8_t>(add);
    for (size_t i = 0; i < count; ++i) to[i] = static_cast<uint8_t>(from[i] + step);
}

namespace {

struct Canvas {  // the part of a picture that is being rendered
    uint8_t *y, *u, *v;
    int32_t first_row, rows;
};

}  // namespace

static uint8_t blend(uint8_t below, uint8_t above, int32_t cover) {
    return static_cast<uint8_t>((below * (255 - cover) + above * cover + 127) / 255);
}

// A pixel of the full picture, its chroma along with it when it is the one that carries it.
static void put_pixel(const Canvas& canvas, int32_t x, int32_t row, uint8_t luma, uint8_t u, uint8_t v) {
    const int32_t line = row - canvas.first_row;
    if (x < 0 || x >= kSceneWidth || line < 0 || line >= canvas.rows) return;
    canvas.y[static_cast<size_t>(line) * kSceneWidth + x] = luma;
    const int32_t chroma_line = row / 2 - canvas.first_row / 2;
    if (chroma_line >= canvas.rows / 2) return;
    const size_t at = static_cast<size_t>(chroma_line) * (kSceneWidth / 2) + x / 2;
    canvas.u[at] = u;
    canvas.v[at] = v;
}

static void draw_flag(const Canvas& canvas, int32_t feed, int64_t tick) {
    const double phase = static_cast<double>(tick) * 0.11 + feed;
    for (int32_t column = 0; column < kFlagWidth; ++column) {
        const double swing = 5.0 * std::sin(phase - column * 0.12) * column / kFlagWidth;
        const int32_t top = kFlagRow + static_cast<int32_t>(std::lround(swing));
        for (int32_t row = 0; row < kFlagHeight; ++row) {
            const bool stripe = row / 12 == 1;
            put_pixel(canvas, kFlagColumn + column, top + row, stripe ? 230 : 85, stripe ? 128 : 95,
                      stripe ? 128 : 205);
        }
    }
}

// Darkens the snow by less than any sensible threshold: a shadow is to be seen, not to be measured.
static void draw_shadow(const Canvas& canvas, int32_t feed, const SceneJumper& jumper, int32_t width) {
    const View& view = kViews[feed];
    const double drop = view.shadow_left + (view.shadow_right - view.shadow_left) * jumper.x / kSceneWidth;
    const int32_t centre_x = static_cast<int32_t>(std::lround(jumper.x)) - width / 10;
    const int32_t centre_row = static_cast<int32_t>(std::lround(jumper.y + drop));
    const int32_t half_width = width * 2 / 5;
    constexpr int32_t kHalfHeight = 5;
    for (int32_t dy = -kHalfHeight; dy <= kHalfHeight; ++dy) {
        const int32_t line = centre_row + dy - canvas.first_row;
        if (line < 0 || line >= canvas.rows) continue;
        for (int32_t dx = -half_width; dx <= half_width; ++dx) {
            const int32_t x = centre_x + dx;
            if (x < 0 || x >= kSceneWidth) continue;
            const int32_t away =
                dx * dx * 100 / (half_width * half_width) + dy * dy * 100 / (kHalfHeight * kHalfHeight);
            if (away >= 100) continue;
            uint8_t& luma = canvas.y[static_cast<size_t>(line) * kSceneWidth + x];
            luma = static_cast<uint8_t>(luma - (100 - away) * 16 / 100);
        }
    }
}

static void draw_sprite(const Canvas& canvas, const SceneSprite& sprite, double x, double row) {
    const int32_t left = static_cast<int32_t>(std::lround(x - sprite.anchor_x));
    const int32_t top = static_cast<int32_t>(std::lround(row - sprite.anchor_y));
    for (int32_t sy = 0; sy < sprite.height; ++sy) {
        const int32_t line = top + sy - canvas.first_row;
        if (line < 0 || line >= canvas.rows) continue;
        for (int32_t sx = 0; sx < sprite.width; ++sx) {
            const int32_t column = left + sx;
            if (column < 0 || column >= kSceneWidth) continue;
            const size_t at = static_cast<size_t>(sy) * sprite.width + sx;
            uint8_t& luma = canvas.y[static_cast<size_t>(line) * kSceneWidth + column];
            luma = blend(luma, sprite.luma[at], sprite.cover[at]);
        }
    }
    for (int32_t sy = 0; sy < sprite.height / 2; ++sy) {
        const int32_t line = top / 2 + sy - canvas.first_row / 2;
        if (line < 0 || line >= canvas.rows / 2) continue;
        for (int32_t sx = 0; sx < sprite.width / 2; ++sx) {
            const int32_t column = (left + kSceneWidth) / 2 - kSceneWidth / 2 + sx;
            if (column < 0 || column >= kSceneWidth / 2) continue;
            const size_t from = static_cast<size_t>(sy) * (sprite.width / 2) + sx;
            const size_t to = static_cast<size_t>(line) * (kSceneWidth / 2) + column;
            canvas.u[to] = blend(canvas.u[to], sprite.u[from], sprite.chroma_cover[from]);
            canvas.v[to] = blend(canvas.v[to], sprite.v[from], sprite.chroma_cover[from]);
        }
    }
}

void scene_render(const Scene* scene, int32_t feed, int64_t tick, int32_t first_row, int32_t rows, uint8_t* y,
                  uint8_t* u, uint8_t* v) {
    const int32_t variant =
        scene_pick(scene->config.seed, static_cast<uint64_t>(tick) * 16 + kSaltVariant, kNoiseVariants);
    const ScenePicture& picture = scene->background[feed][static_cast<size_t>(variant)];
    const size_t luma_start = static_cast<size_t>(first_row) * kSceneWidth;
    const size_t chroma_start = static_cast<size_t>(first_row / 2) * (kSceneWidth / 2);
    const size_t chroma_bytes = static_cast<size_t>(rows / 2) * (kSceneWidth / 2);
    copy_brightened(y, picture.y.data() + luma_start, static_cast<size_t>(rows) * kSceneWidth,
                    brightness_at(feed, tick));
    memcpy(u, picture.u.data() + chroma_start, chroma_bytes);
    memcpy(v, picture.v.data() + chroma_start, chroma_bytes);

    const Canvas canvas{y, u, v, first_row, rows};
    draw_flag(canvas, feed, tick);
    const int32_t who = jumper_of_tick(scene->config, tick);
    if (who < 0) return;
    const Run run = run_of(scene->config, who);
    const SceneJumper jumper = place_jumper(run, who, feed, tick);
    if (jumper.x < -kOffPicture || jumper.x > kSceneWidth + kOffPicture) return;
    const SceneSprite& sprite = scene->sprite[feed][static_cast<size_t>(run.suit)];
    draw_shadow(canvas, feed, jumper, sprite.width);
    draw_sprite(canvas, sprite, jumper.x, jumper.y);
}
