// Which simulated camera a device path means, and how one tells the cameras apart.
#include "rig/camera.h"

#include <gtest/gtest.h>

#include <vector>

#include "rig/common/scene.h"
#include "settings/camera_list.h"

namespace {
constexpr int32_t kRows = 540;

struct Planes {
    std::vector<uint8_t> y, u, v;
};
}  // namespace

static Planes grey_picture() {
    constexpr size_t kLuma = size_t{kSceneWidth} * kRows;
    return {std::vector<uint8_t>(kLuma, 128), std::vector<uint8_t>(kLuma / 4, 128),
            std::vector<uint8_t>(kLuma / 4, 128)};
}

static Planes numbered(int32_t camera) {
    Planes planes = grey_picture();
    draw_camera_number(camera, kRows, planes.y.data(), planes.u.data(), planes.v.data());
    return planes;
}

TEST(RigCamera, TheListingIsWhatTheCameraChooserReads) {
    const std::string text = camera_listing();
    CameraListReader reader{};
    EXPECT_TRUE(camera_list_feed(&reader, text.data(), text.size()));
    camera_list_finish(&reader);
    ASSERT_EQ(reader.list.count, kSimulatedCameras);
    for (int32_t i = 0; i < kSimulatedCameras; ++i) {
        EXPECT_STREQ(reader.list.device[i].name, simulated_camera(i).name);
        EXPECT_STREQ(reader.list.device[i].path, simulated_camera(i).path);
    }
    char item[kCameraItemSize];
    camera_item_text(&reader.list.device[2], item);
    EXPECT_STREQ(item, "Simulated camera, bottom of the hill  [sim-bottom]");
}

TEST(RigCamera, AListedPathMeansItsCameraOnEveryFeed) {
    for (int32_t camera = 0; camera < kSimulatedCameras; ++camera)
        for (int32_t feed = 0; feed < kSceneFeeds; ++feed)
            EXPECT_EQ(camera_of_path(simulated_camera(camera).path, feed), camera);
}

TEST(RigCamera, APathInOtherCaseIsTheSameCamera) {
    EXPECT_EQ(camera_of_path("\\\\?\\USB#VID_0000&PID_0003#SIM-Bottom#{Simulated}\\GLOBAL", 0), 2);
}

TEST(RigCamera, AnUnknownOrPartialPathMeansNoCamera) {
    EXPECT_EQ(camera_of_path("usb#one", 1), -1);
    EXPECT_EQ(camera_of_path("", 1), -1);
    const std::string path = simulated_camera(1).path;
    EXPECT_EQ(camera_of_path(path.substr(0, path.size() - 1).c_str(), 1), -1);
    EXPECT_EQ(camera_of_path((path + "x").c_str(), 1), -1);
}

TEST(RigCamera, WithoutAPathTheFeedsOwnCameraFilms) {
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) EXPECT_EQ(camera_of_path(nullptr, feed), feed);
}

TEST(RigCamera, EachCameraShowsAnotherNumberAndColour) {
    const Planes zero = numbered(0);
    const Planes one = numbered(1);
    const Planes two = numbered(2);
    EXPECT_NE(zero.y, one.y);
    EXPECT_NE(one.y, two.y);
    EXPECT_NE(zero.y, two.y);
    EXPECT_NE(zero.u, one.u);
    EXPECT_NE(one.u, two.u);
    EXPECT_NE(zero.v, two.v);
}

TEST(RigCamera, TheNumberStaysInTheLowerLeftCorner) {
    const Planes plain = grey_picture();
    for (int32_t camera = 0; camera < kSimulatedCameras; ++camera) {
        const Planes planes = numbered(camera);
        for (int32_t row = 0; row < kRows; ++row)
            for (int32_t x = 0; x < kSceneWidth; ++x) {
                if (x < 100 && row >= kRows - 100) continue;
                const size_t at = static_cast<size_t>(row) * kSceneWidth + static_cast<size_t>(x);
                ASSERT_EQ(planes.y[at], plain.y[at]) << x << "," << row;
            }
        for (int32_t row = 0; row < kRows / 2; ++row)
            for (int32_t x = 0; x < kSceneWidth / 2; ++x) {
                if (x < 50 && row >= kRows / 2 - 50) continue;
                const size_t at = static_cast<size_t>(row) * (kSceneWidth / 2) + static_cast<size_t>(x);
                ASSERT_EQ(planes.u[at], plain.u[at]) << x << "," << row;
                ASSERT_EQ(planes.v[at], plain.v[at]) << x << "," << row;
            }
    }
}
