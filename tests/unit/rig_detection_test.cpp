// The simulated motion worker's eyes: pictures with known content in, blobs out.
#include "rig/detection.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "ipc/frame_ring.h"

namespace {

struct Picture {
    std::vector<uint8_t> y, u, v;
};

struct Body {
    int32_t x0, y0, x1, y1;  // inclusive
    uint8_t y, u, v;
};

constexpr Body kJumper{600, 200, 659, 239, 150, 150, 110};  // 60 x 40

}  // namespace

static Picture snow(uint32_t seed, int32_t luma_noise, int32_t chroma_noise) {
    Picture picture;
    picture.y.assign(size_t{kFrameWidth} * kFeedHeight, 210);
    picture.u.assign(size_t{kFrameWidth / 2} * (kFeedHeight / 2), 128);
    picture.v = picture.u;
    uint32_t state = seed * 2654435761u + 1;
    const auto shake = [&state](std::vector<uint8_t>& plane, int32_t amount) {
        if (amount == 0) return;
        for (uint8_t& sample : plane) {
            state = state * 1664525u + 1013904223u;
            sample = static_cast<uint8_t>(sample + static_cast<int32_t>((state >> 16) % (2u * amount + 1)) - amount);
        }
    };
    shake(picture.y, luma_noise);
    shake(picture.u, chroma_noise);
    shake(picture.v, chroma_noise);
    return picture;
}

static void paint(Picture* picture, const Body& body) {
    for (int32_t row = body.y0; row <= body.y1; ++row)
        for (int32_t x = body.x0; x <= body.x1; ++x) {
            picture->y[static_cast<size_t>(row * kFrameWidth + x)] = body.y;
            const size_t cell = static_cast<size_t>(row / 2 * (kFrameWidth / 2) + x / 2);
            picture->u[cell] = body.u;
            picture->v[cell] = body.v;
        }
}

static Body moved(Body body, int32_t dx, int32_t dy) {
    return {body.x0 + dx, body.y0 + dy, body.x1 + dx, body.y1 + dy, body.y, body.u, body.v};
}

static DetectionSettings default_settings() {
    DetectionSettings settings{};
    settings.y_min = 35;
    settings.u_min = 5;
    settings.v_min = 6;
    settings.y_max = settings.u_max = settings.v_max = 128;
    settings.min_blob_size = 200;
    return settings;
}

static Detection look(Detector* detector, const DetectionSettings& settings, const Picture& picture) {
    return detector_step(detector, settings, picture.y.data(), picture.u.data(), picture.v.data());
}

class RigDetection : public testing::Test {
protected:
    void SetUp() override {
        detector_init(&detector);
        look(&detector, settings, snow(1, 0, 0));
    }
    Detection look_at(std::initializer_list<Body> bodies) {
        Picture picture = snow(1, 0, 0);
        for (const Body& body : bodies) paint(&picture, body);
        return look(&detector, settings, picture);
    }
    Detector detector{};
    DetectionSettings settings = default_settings();
};

TEST_F(RigDetection, FirstPictureBecomesTheBackgroundAndShowsNothing) {
    detector_forget(&detector);
    const Detection found = look_at({kJumper});
    EXPECT_TRUE(found.restarted);
    EXPECT_EQ(found.type, 0);
    EXPECT_EQ(found.size, 0);
}

TEST_F(RigDetection, ReportsPlaceExtentAndSizeInFullPixels) {
    const Detection found = look_at({kJumper});
    EXPECT_EQ(found.type, 1);
    EXPECT_EQ(found.blob_count, 1);
    EXPECT_EQ(found.size, 60 * 40);
    EXPECT_NEAR(found.x, 629, 1);
    EXPECT_NEAR(found.y, 219, 1);
    EXPECT_EQ(found.first_y, 200);
    EXPECT_EQ(found.last_y, 239);
}

TEST_F(RigDetection, NoiseAloneGivesNoUsableBlob) {
    detector_forget(&detector);
    for (uint32_t frame = 0; frame < 40; ++frame) {
        const Detection found = look(&detector, settings, snow(frame, 8, 2));
        EXPECT_EQ(found.type, 0) << "frame " << frame << " size " << found.size;
    }
}

TEST_F(RigDetection, FollowsAJumperThroughNoiseWithoutSeeingHimTwice) {
    detector_forget(&detector);
    look(&detector, settings, snow(1000, 6, 1));
    for (int32_t frame = 0; frame < 60; ++frame) {
        Picture picture = snow(static_cast<uint32_t>(frame), 6, 1);
        paint(&picture, moved(kJumper, 14 * frame - 400, 2 * frame));
        const Detection found = look(&detector, settings, picture);
        EXPECT_EQ(found.type, 1) << "frame " << frame;
        EXPECT_EQ(found.blob_count, 1) << "frame " << frame;
        EXPECT_NEAR(found.x, 229 + 14 * frame, 4) << "frame " << frame;
        EXPECT_NEAR(found.y, 219 + 2 * frame, 4) << "frame " << frame;
    }
}

TEST_F(RigDetection, LargestOfSeveralBlobsIsReportedAndAllAreCounted) {
    const Detection found =
        look_at({kJumper, {1200, 300, 1219, 319, 150, 128, 128}, {1700, 10, 1703, 13, 90, 128, 128}});
    EXPECT_EQ(found.blob_count, 2) << "the third is below the smallest size";
    EXPECT_EQ(found.size, 60 * 40);
}

TEST_F(RigDetection, TooSmallABlobIsMeasuredButHasTypeZero) {
    settings.min_blob_size = 60 * 40 + 4;
    const Detection found = look_at({kJumper});
    EXPECT_EQ(found.type, 0);
    EXPECT_EQ(found.blob_count, 0);
    EXPECT_EQ(found.size, 60 * 40);
}

TEST_F(RigDetection, OnePlaneOverItsThresholdSuffices) {
    EXPECT_EQ(look_at({{600, 200, 659, 239, 210, 133, 128}}).type, 1);
    EXPECT_EQ(look_at({{600, 200, 659, 239, 210, 128, 122}}).type, 1);
    EXPECT_EQ(look_at({{600, 200, 659, 239, 210, 132, 123}}).type, 0) << "both just below";
    EXPECT_EQ(look_at({{600, 200, 659, 239, 174, 128, 128}}).type, 1);
}

TEST_F(RigDetection, DifferenceAboveAPlanesMaximumIsNotTheJumper) {
    EXPECT_EQ(look_at({{600, 200, 659, 239, 82, 128, 128}}).type, 1) << "difference 128";
    EXPECT_EQ(look_at({{600, 200, 659, 239, 80, 128, 128}}).type, 0) << "difference 130";
}

TEST_F(RigDetection, OnlyTheMotionRegionIsLookedAt) {
    settings.region = {0, 0, 599, 0};
    EXPECT_EQ(look_at({kJumper}).size, 0);
    settings.region = {0, 0, 629, 0};
    const Detection half = look_at({kJumper});
    EXPECT_EQ(half.size, 30 * 40);
    settings.region = {0, 220, 1919, 539};
    EXPECT_EQ(look_at({kJumper}).first_y, 220);
}

TEST_F(RigDetection, AnAxisWithoutExtentMeansAllOfIt) {
    settings.region = {0, 30, 0, 529};
    EXPECT_EQ(look_at({kJumper}).size, 60 * 40);
    settings.region = {0, 0, 1919, 0};
    EXPECT_EQ(look_at({kJumper}).size, 60 * 40);
}

TEST_F(RigDetection, IgnoreRegionIsBlind) {
    settings.ignore = {580, 190, 700, 250};
    EXPECT_EQ(look_at({kJumper}).size, 0);
    settings.ignore = {0, 0, 629, 539};
    EXPECT_EQ(look_at({kJumper}).size, 30 * 40);
}

TEST_F(RigDetection, StoredRowsLoseTheOverlayOffset) {
    const PixelBox box = region_in_picture({10, 112, 1900, 300}, 12);
    EXPECT_EQ(box.y0, 100);
    EXPECT_EQ(box.y1, 288);
    EXPECT_EQ(box.x0, 10);
    const PixelBox whole = region_in_picture({0, 0, 0, 0}, 12);
    EXPECT_EQ(whole.y0, 0);
    EXPECT_EQ(whole.y1, 0);
}

TEST_F(RigDetection, CumulativeCountsEndWithTheWholePicture) {
    const Detection found = look_at({kJumper, {1500, 200, 1519, 219, 100, 128, 128}});
    EXPECT_EQ(found.y_cumulative[0], 0);
    EXPECT_EQ(found.y_cumulative[1], 60 * 40);
    EXPECT_EQ(found.y_cumulative[2], 60 * 40);
    EXPECT_EQ(found.y_cumulative[3], 60 * 40 + 20 * 20);
    EXPECT_EQ(found.u_cumulative[3], 60 * 40);
    EXPECT_EQ(found.v_cumulative[3], 60 * 40);
}

TEST_F(RigDetection, ADifferentPictureAltogetherIsTakenAsBackground) {
    Picture dark = snow(1, 0, 0);
    for (uint8_t& sample : dark.y) sample = 120;
    EXPECT_TRUE(look(&detector, settings, dark).restarted);
    const Detection next = look(&detector, settings, dark);
    EXPECT_FALSE(next.restarted);
    EXPECT_EQ(next.size, 0);
}

TEST_F(RigDetection, WhatStaysBecomesBackground) {
    int32_t frames = 0;
    while (look_at({kJumper}).type == 1 && frames < 1000) ++frames;
    EXPECT_GT(frames, 30) << "a jumper who is seen for half a second must not fade";
    EXPECT_LT(frames, 400);
}

TEST_F(RigDetection, ANarrowHoleDoesNotSplitTheJumper) {
    const Detection found = look_at({{600, 200, 629, 239, 150, 128, 128}, {634, 200, 659, 239, 150, 128, 128}});
    EXPECT_EQ(found.blob_count, 1);
    EXPECT_EQ(found.size, 30 * 40 + 26 * 40);
}

TEST_F(RigDetection, TouchingTheLastColumnsAndRowsStaysInside) {
    const Detection found = look_at({{1900, 520, 1919, 539, 150, 128, 128}});
    EXPECT_EQ(found.size, 400);
    EXPECT_EQ(found.last_y, 539);
    EXPECT_NEAR(found.x, 1909, 1);
}
