#include "rig/common/scene_paint.h"

#include <algorithm>
#include <cmath>

#include "rig/common/scene_random.h"

namespace {

struct Colour {
    int32_t y, u, v;
};

constexpr Colour kSuits[kSceneSuits] = {{84, 100, 205}, {72, 185, 100}, {96, 88, 96},
                                        {56, 158, 104}, {112, 72, 186}, {76, 168, 158}};
constexpr Colour kHelmet = {150, 60, 150}, kSkis = {92, 92, 178};
constexpr Colour kLine = {188, 148, 114}, kPost = {120, 110, 150}, kBoard = {228, 126, 130}, kInk = {50, 128, 128};
constexpr Colour kFence[] = {{96, 176, 106}, {214, 128, 128}, {100, 100, 196}, {214, 128, 128}};
constexpr int32_t kFenceTop = 620, kFenceHeight = 44, kFencePanel = 240;
constexpr int32_t kMetreStep = 5, kFirstLine = 30, kLastLine = 90;
constexpr double kSkiLength[kSceneFeeds] = {66, 100, 92};

// Digits of the distance boards, five columns by seven rows, a byte per row.
constexpr uint8_t kDigits[10][7] = {
    {14, 17, 19, 21, 25, 17, 14}, {4, 12, 4, 4, 4, 4, 14},    {14, 17, 1, 6, 8, 16, 31},  {30, 1, 1, 14, 1, 1, 30},
    {2, 6, 10, 18, 31, 2, 2},     {31, 16, 30, 1, 1, 17, 14}, {6, 8, 16, 30, 17, 17, 14}, {31, 1, 2, 4, 8, 8, 8},
    {14, 17, 17, 14, 17, 17, 14}, {14, 17, 17, 15, 1, 2, 12}};

struct Limb {  // a line with round ends, in ski lengths around the middle of the figure; x forward, y down
    double x0, y0, x1, y1, radius;
    int32_t part;  // 0 suit, 1 skis, 2 helmet
};
constexpr Limb kFlight[] = {{-0.47, 0.10, 0.50, -0.02, 0.016, 1}, {-0.45, 0.15, 0.47, 0.25, 0.017, 1},
                            {0.02, 0.10, 0.06, -0.08, 0.034, 0},  {0.05, 0.15, 0.08, -0.06, 0.034, 0},
                            {0.06, -0.08, 0.32, -0.22, 0.052, 0}, {0.30, -0.19, 0.10, -0.02, 0.022, 0},
                            {0.38, -0.26, 0.385, -0.262, 0.05, 2}};
constexpr Limb kLanded[] = {{-0.48, 0.27, 0.48, 0.31, 0.018, 1},  {-0.44, 0.31, 0.46, 0.35, 0.017, 1},
                            {0.00, 0.28, 0.10, 0.12, 0.038, 0},   {0.10, 0.12, -0.07, 0.02, 0.042, 0},
                            {-0.07, 0.02, 0.09, -0.19, 0.056, 0}, {0.07, -0.17, -0.18, -0.10, 0.024, 0},
                            {0.09, -0.17, 0.30, -0.08, 0.024, 0}, {0.14, -0.28, 0.145, -0.282, 0.052, 2}};

}  // namespace

// Smooth noise of a given grain, -1 .. 1.
static double grain(uint64_t seed, double x, double y) {
    const double cell_x = std::floor(x);
    const double cell_y = std::floor(y);
    auto corner = [&](double cx, double cy) {
        const uint64_t at = static_cast<uint64_t>(static_cast<int64_t>(cx) + 4096) * 8192 +
                            static_cast<uint64_t>(static_cast<int64_t>(cy) + 4096);
        return scene_unit(seed, at) * 2 - 1;
    };
    const double fx = x - cell_x;
    const double fy = y - cell_y;
    const double sx = fx * fx * (3 - 2 * fx);
    const double sy = fy * fy * (3 - 2 * fy);
    const double top = corner(cell_x, cell_y) * (1 - sx) + corner(cell_x + 1, cell_y) * sx;
    const double bottom = corner(cell_x, cell_y + 1) * (1 - sx) + corner(cell_x + 1, cell_y + 1) * sx;
    return top * (1 - sy) + bottom * sy;
}

int32_t scene_snow_line(int32_t feed, int32_t column) {
    return 204 + 4 * feed + column * 30 / kSceneWidth;
}

// The scenery continues from one camera to the next.
static double world_x(int32_t feed, int32_t column) {
    return column + feed * 1750.0;
}

static bool is_tree(uint64_t seed, int32_t feed, int32_t column, int32_t row, int32_t snow_line) {
    constexpr int32_t kSpacing = 34;
    const int32_t here = static_cast<int32_t>(world_x(feed, column)) / kSpacing;
    for (int32_t tree = here - 1; tree <= here + 1; ++tree) {
        const uint64_t who = static_cast<uint64_t>(tree) + 100;
        const double trunk = (tree + 0.2 + 0.6 * scene_unit(seed, who)) * kSpacing;
        const double height = 46 + 40 * scene_unit(seed + 1, who);
        const double down = row - (snow_line + 6 - height);  // below the tip
        if (down < 0) continue;
        const double branch = std::fmod(down, 11.0) / 11.0;  // tiers of branches
        const double half_width = 2 + down * 0.22 * (0.72 + 0.42 * branch);
        if (std::abs(world_x(feed, column) - trunk) < half_width) return true;
    }
    return false;
}

static Colour snow_at(uint64_t seed, int32_t feed, int32_t column, int32_t row, int32_t snow_line) {
    const double x = world_x(feed, column);
    const double hills = grain(seed + 2, x / 210, row / 90.0) * 5;
    const double bumps = grain(seed + 3, x / 23, row / 9.0) * 2.5;
    // Groomed tracks run down the slope, slightly askew.
    const double tracks = std::sin((row - 0.06 * x) * 0.42) * 1.6;
    const double depth = std::min((row - snow_line) / 40.0, 4.0);
    return Colour{static_cast<int32_t>(std::lround(206 + depth + hills + bumps + tracks)), 131, 125};
}

static Colour landscape_at(uint64_t seed, int32_t feed, int32_t column, int32_t row) {
    const int32_t snow_line = scene_snow_line(feed, column);
    if (row >= snow_line) return snow_at(seed, feed, column, row, snow_line);
    if (is_tree(seed, feed, column, row, snow_line)) {
        const double needle = grain(seed + 4, world_x(feed, column) / 3, row / 3.0);
        const bool frosted = needle > 0.45;
        return Colour{static_cast<int32_t>(std::lround(58 + needle * 14 + (frosted ? 46 : 0))), 124, 118};
    }
    const double x = world_x(feed, column);
    const double ridge = 108 + grain(seed + 5, x / 420, 0) * 34 + grain(seed + 6, x / 90, 0) * 10;
    if (row > ridge) {
        const double rock = grain(seed + 7, x / 40, row / 26.0);
        return Colour{static_cast<int32_t>(std::lround(168 + rock * 14)), 138, 122};
    }
    const double cloud = std::max(0.0, grain(seed + 8, x / 300, row / 60.0)) * 22;
    return Colour{static_cast<int32_t>(std::lround(176 + row * 0.14 + cloud)),
                  static_cast<int32_t>(std::lround(150 - cloud * 0.6)), 112};
}

static void set_pixel(ScenePicture* picture, int32_t x, int32_t row, const Colour& colour) {
    if (x < 0 || x >= kSceneWidth || row < 0 || row >= kSceneHeight) return;
    picture->y[static_cast<size_t>(row) * kSceneWidth + x] = static_cast<uint8_t>(colour.y);
    const size_t chroma = static_cast<size_t>(row / 2) * (kSceneWidth / 2) + x / 2;
    picture->u[chroma] = static_cast<uint8_t>(colour.u);
    picture->v[chroma] = static_cast<uint8_t>(colour.v);
}

static void fill(ScenePicture* picture, int32_t x, int32_t row, int32_t width, int32_t height, const Colour& colour) {
    for (int32_t dy = 0; dy < height; ++dy)
        for (int32_t dx = 0; dx < width; ++dx) set_pixel(picture, x + dx, row + dy, colour);
}

static void draw_number(ScenePicture* picture, int32_t x, int32_t row, int32_t number, int32_t scale) {
    const int32_t digits[2] = {number / 10 % 10, number % 10};
    for (int32_t d = 0; d < 2; ++d)
        for (int32_t line = 0; line < 7; ++line)
            for (int32_t bit = 0; bit < 5; ++bit)
                if ((kDigits[digits[d]][line] >> (4 - bit) & 1) != 0)
                    fill(picture, x + (d * 6 + bit) * scale, row + line * scale, scale, scale, kInk);
}

// A line of dye across the landing hill at every fifth metre, and a board that names it.
static void draw_distance_marks(ScenePicture* picture, int32_t feed) {
    for (int32_t metre = kFirstLine; metre <= kLastLine; metre += kMetreStep) {
        const SceneAnchor anchor = scene_anchor(feed, metre);
        if (!anchor.visible) continue;
        const int32_t length = anchor.near_y - anchor.far_y;
        for (int32_t step = 0; step <= length; ++step) {
            const int32_t x = anchor.far_x + (anchor.near_x - anchor.far_x) * step / length;
            fill(picture, x - 1, anchor.far_y + step, 2 + step * 2 / length, 1, kLine);
        }
        fill(picture, anchor.near_x - 2, anchor.near_y, 4, 62, kPost);
        fill(picture, anchor.near_x - 30, anchor.near_y + 10, 60, 40, kBoard);
        draw_number(picture, anchor.near_x - 22, anchor.near_y + 16, metre, 4);
    }
}

static void draw_fence(ScenePicture* picture, int32_t feed) {
    for (int32_t column = 0; column < kSceneWidth; ++column) {
        const int32_t x = static_cast<int32_t>(world_x(feed, column));
        const Colour& panel = kFence[x / kFencePanel % 4];
        const bool gap = x % kFencePanel < 5;
        fill(picture, column, kFenceTop, 1, kFenceHeight, gap ? kPost : panel);
        fill(picture, column, kFenceTop + kFenceHeight, 1, 3, kPost);
    }
}

ScenePicture scene_paint_landscape(int32_t feed, uint64_t seed) {
    ScenePicture picture;
    constexpr size_t kPixels = static_cast<size_t>(kSceneWidth) * kSceneHeight;
    picture.y.resize(kPixels);
    picture.u.resize(kPixels / 4);
    picture.v.resize(kPixels / 4);
    for (int32_t row = 0; row < kSceneHeight; ++row)
        for (int32_t column = 0; column < kSceneWidth; ++column)
            set_pixel(&picture, column, row, landscape_at(seed, feed, column, row));
    draw_distance_marks(&picture, feed);
    draw_fence(&picture, feed);
    fill(&picture, 64, 244, 6, 150, kPost);  // the flag's pole
    return picture;
}

static std::vector<uint8_t> noisy(const std::vector<uint8_t>& clean, uint64_t seed, int32_t coins) {
    std::vector<uint8_t> out(clean.size());
    uint64_t bits = 0;
    int32_t left = 0;
    uint64_t draws = 0;
    for (size_t i = 0; i < clean.size(); ++i) {
        if (left < coins) {
            bits = scene_hash(seed, draws++);
            left = 64;
        }
        // The number of heads among some coins: nearly a bell curve, and sixty-four coins cost one hash.
        const int32_t heads = __builtin_popcountll(bits & ((1ull << coins) - 1));
        bits >>= coins;
        left -= coins;
        out[i] = static_cast<uint8_t>(std::clamp(clean[i] + heads - coins / 2, 16, 240));
    }
    return out;
}

ScenePicture scene_add_noise(const ScenePicture& clean, uint64_t seed) {
    return ScenePicture{noisy(clean.y, seed, 16), noisy(clean.u, seed + 1, 2), noisy(clean.v, seed + 2, 2)};
}

static double distance_to(const Limb& limb, double x, double y) {
    const double dx = limb.x1 - limb.x0;
    const double dy = limb.y1 - limb.y0;
    const double along = std::clamp(((x - limb.x0) * dx + (y - limb.y0) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
    return std::hypot(x - limb.x0 - along * dx, y - limb.y0 - along * dy);
}

// The part of the figure at a point, in ski lengths; -1 for none. The first limb that covers the point is in front.
template <int32_t Count>
static int32_t part_at(const Limb (&limbs)[Count], double x, double y) {
    int32_t part = -1;
    for (const Limb& limb : limbs)
        if (distance_to(limb, x, y) <= limb.radius) part = limb.part;
    return part;
}

static const Colour& part_colour(int32_t part, int32_t suit) {
    if (part == 1) return kSkis;
    return part == 2 ? kHelmet : kSuits[suit];
}

// Averages the colour and counts the coverage over four by four points per pixel.
static void sample_pixel(SceneSprite* sprite, std::vector<Colour>* colours, int32_t feed, int32_t suit, int32_t x,
                         int32_t y) {
    constexpr int32_t kPoints = 4;
    const double length = kSkiLength[feed];
    int32_t covered = 0;
    Colour sum = {0, 0, 0};
    for (int32_t point = 0; point < kPoints * kPoints; ++point) {
        const int32_t point_x = point % kPoints;
        const int32_t point_y = point / kPoints;
        const double px = x + (point_x + 0.5) / kPoints - sprite->width / 2.0;
        const double py = y + (point_y + 0.5) / kPoints - sprite->height / 2.0;
        const int32_t part = feed == kSceneFeeds - 1 ? part_at(kLanded, px / length, py / length)
                                                     : part_at(kFlight, px / length, py / length);
        if (part < 0) continue;
        const Colour& colour = part_colour(part, suit);
        sum = Colour{sum.y + colour.y, sum.u + colour.u, sum.v + colour.v};
        ++covered;
    }
    const size_t at = static_cast<size_t>(y) * sprite->width + x;
    sprite->cover[at] = static_cast<uint8_t>(covered * 255 / (kPoints * kPoints));
    if (covered == 0) return;
    (*colours)[at] = Colour{sum.y / covered, sum.u / covered, sum.v / covered};
    sprite->luma[at] = static_cast<uint8_t>((*colours)[at].y);
}

static void reduce_chroma(SceneSprite* sprite, const std::vector<Colour>& colours) {
    for (int32_t cy = 0; cy < sprite->height / 2; ++cy) {
        for (int32_t cx = 0; cx < sprite->width / 2; ++cx) {
            int32_t cover = 0;
            int32_t u = 0;
            int32_t v = 0;
            for (int32_t quarter = 0; quarter < 4; ++quarter) {
                const int32_t x = 2 * cx + quarter % 2;
                const int32_t y = 2 * cy + quarter / 2;
                const size_t at = static_cast<size_t>(y) * sprite->width + x;
                cover += sprite->cover[at];
                u += sprite->cover[at] * colours[at].u;
                v += sprite->cover[at] * colours[at].v;
            }
            if (cover == 0) continue;
            const size_t to = static_cast<size_t>(cy) * (sprite->width / 2) + cx;
            sprite->chroma_cover[to] = static_cast<uint8_t>(cover / 4);
            sprite->u[to] = static_cast<uint8_t>(u / cover);
            sprite->v[to] = static_cast<uint8_t>(v / cover);
        }
    }
}

static void find_anchor(SceneSprite* sprite) {
    double weight = 0;
    for (int32_t y = 0; y < sprite->height; ++y) {
        for (int32_t x = 0; x < sprite->width; ++x) {
            const double cover = sprite->cover[static_cast<size_t>(y) * sprite->width + x];
            weight += cover;
            sprite->anchor_x += cover * x;
            sprite->anchor_y += cover * y;
        }
    }
    sprite->anchor_x /= weight;
    sprite->anchor_y /= weight;
}

SceneSprite scene_paint_jumper(int32_t feed, int32_t suit) {
    SceneSprite sprite{};
    sprite.width = static_cast<int32_t>(kSkiLength[feed] * 0.55) * 2;
    sprite.height = static_cast<int32_t>(kSkiLength[feed] * 0.40) * 2;
    const size_t pixels = static_cast<size_t>(sprite.width) * sprite.height;
    sprite.cover.resize(pixels);
    sprite.luma.resize(pixels);
    sprite.chroma_cover.resize(pixels / 4);
    sprite.u.resize(pixels / 4);
    sprite.v.resize(pixels / 4);
    std::vector<Colour> colours(pixels, Colour{0, 128, 128});
    for (int32_t y = 0; y < sprite.height; ++y)
        for (int32_t x = 0; x < sprite.width; ++x) sample_pixel(&sprite, &colours, feed, suit, x, y);
    reduce_chroma(&sprite, colours);
    find_anchor(&sprite);
    return sprite;
}
