// The rig's cameras at the console: what they show, and what becomes of one whose cable is pulled.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "rig/camera.h"
#include "rig/common/rig_options.h"
#include "rig/common/scene.h"
#include "settings/select_cameras.h"
#include "tests/console/console_test.h"

namespace {

constexpr int32_t kCameraMenu = 521;
constexpr int32_t kPlainRows = 400;  // from the top: above the camera's number
constexpr size_t kPlainLuma = size_t{kFrameWidth} * kPlainRows;

class SimulatedCamerasOnTheRig : public ConsoleTest {
protected:
    SimulatedCamerasOnTheRig() : ConsoleTest(true) {}

    void start_with_cameras(int32_t on_feed_1, int32_t on_feed_2);
    int32_t camera_shown(int32_t feed);
    testing::AssertionResult comes_to_show(int32_t feed, int32_t camera) {
        return becomes(("camera on feed " + std::to_string(feed)).c_str(), [&] { return camera_shown(feed); },
                       camera);
    }
    bool newest_frame(int32_t feed, int64_t* pts, std::vector<uint8_t>* luma);
};

}  // namespace

void SimulatedCamerasOnTheRig::start_with_cameras(int32_t on_feed_1, int32_t on_feed_2) {
    const std::string first = std::string("*camera_device_path[1]=") + simulated_camera(on_feed_1).path;
    const std::string second = std::string("*camera_device_path[2]=") + simulated_camera(on_feed_2).path;
    start_with({"feed_count=2", first.c_str(), second.c_str()});
    open_shared();
}

// The upper rows of the feed's newest complete frame. False while there is none.
bool SimulatedCamerasOnTheRig::newest_frame(int32_t feed, int64_t* pts, std::vector<uint8_t>* luma) {
    const uint32_t written = shared_load(shared.block->feed[feed][0].nw);
    char name[32];
    feed_region_name(name, feed, 0);
    HANDLE mapping = written < 2 ? nullptr : OpenFileMappingA(FILE_MAP_READ, FALSE, name);
    if (mapping == nullptr) return false;
    const auto* view = static_cast<const uint8_t*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
    if (view != nullptr) {
        const uint8_t* slot = view + feed_slot_offset((written - 2) % kRingSlots);
        *pts = shared_load(reinterpret_cast<const FrameSlotHeader*>(slot)->pts);
        luma->assign(slot + y_plane_offset(), slot + y_plane_offset() + kPlainLuma);
        UnmapViewOfFile(view);
    }
    CloseHandle(mapping);
    return view != nullptr;
}

// The camera whose view of that very moment the feed's newest frame is, pixel by pixel; -1 when it is none's.
int32_t SimulatedCamerasOnTheRig::camera_shown(int32_t feed) {
    int64_t pts = 0;
    std::vector<uint8_t> luma;
    if (!newest_frame(feed, &pts, &luma)) return -1;
    SceneConfig config;
    config.jumpers = 0;
    const auto scene = std::make_unique<Scene>();
    scene_init(scene.get(), config);
    const int32_t first_row = shared_load(shared.block->feed_offset_live[feed]);
    std::vector<uint8_t> y(kPlainLuma);
    std::vector<uint8_t> u(kPlainLuma / 4);
    std::vector<uint8_t> v(kPlainLuma / 4);
    for (int32_t camera = 0; camera < kSimulatedCameras; ++camera) {
        scene_prepare(scene.get(), camera);
        scene_render(scene.get(), camera, pts * 60 / 1'000'000, first_row, kPlainRows, y.data(), u.data(), v.data());
        if (y == luma) return camera;
    }
    return -1;
}

TEST_F(SimulatedCamerasOnTheRig, TwoThatTheOperatorSwapsGiveSwappedPictures) {
    start_with_cameras(1, 2);
    EXPECT_TRUE(comes_to_show(1, 1));
    EXPECT_TRUE(comes_to_show(2, 2));

    send_command(console, kCameraMenu);
    HWND chooser = nullptr;
    ASSERT_TRUE(wait_until([&] {
        chooser = FindWindowA("SkiJumpSelectCameras", nullptr);
        return chooser != nullptr &&
               SendMessageW(GetDlgItem(chooser, kCameraListId + 2), CB_GETCOUNT, 0, 0) > kSimulatedCameras;
    }));
    PostMessageW(GetDlgItem(chooser, kCameraSwapId + 2), BM_CLICK, 0, 0);
    PostMessageW(GetDlgItem(chooser, IDOK), BM_CLICK, 0, 0);
    ASSERT_TRUE(log_shows(installation, "Select Cameras: swapped feed 1 <-> feed 2"));
    ASSERT_TRUE(wait_until([&] { return !IsWindow(chooser) && IsWindowEnabled(console.window); }));
    EXPECT_EQ(installation_setting(installation, "*camera_device_path[1]"), simulated_camera(2).path);
    press_on(kTabProcesses, 202);
    ASSERT_TRUE(status_becomes(console, "All processes stopped"));
    ASSERT_TRUE(press(console, 201));
    EXPECT_TRUE(comes_to_show(1, 2));
    EXPECT_TRUE(comes_to_show(2, 1));
    EXPECT_EQ(log_count(installation, "ERR *"), 0);
}

TEST_F(SimulatedCamerasOnTheRig, OneWhoseCableIsPulledIsSeenAsFailedAndStaysSo) {
    installation_write(installation, "rig.txt", "unplug_after[2]=60\n");
    start_with_cameras(1, 2);
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    ASSERT_TRUE(log_shows(installation, "ERR capture[2] exited with code 1"));
    EXPECT_TRUE(running_children_become(console, "capture[1] motion[1] motion[2]"));
    const uint32_t frames = shared_load(shared.block->feed[2][0].nw);
    EXPECT_EQ(frames, 60u);
    Sleep(1500);
    std::string state;
    for (const ListRow& row : process_rows(console))
        if (row.process == "capture[2]") state += row.state + " " + row.restarts + ";";
    EXPECT_EQ(state, "Failed 0;") << "nobody plugs it in again";
    EXPECT_EQ(shared_load(shared.block->feed[2][0].nw), frames);
    EXPECT_EQ(shared_load(shared.block->source_ready[2]), 0);
    EXPECT_EQ(camera_shown(1), 1) << "the other one films on";
    const std::string log = installation_read(installation, "capture_2.log");
    EXPECT_NE(log.find("camera 2 was unplugged after 60 frames"), std::string::npos) << log;
}

TEST_F(SimulatedCamerasOnTheRig, ADevicePathThatNoCameraHasFailsAndIsExplained) {
    start_with({"feed_count=1", "*camera_device_path[1]=\\\\?\\usb#unknown"});
    ASSERT_TRUE(log_shows(installation, "ERR capture[1] exited with code 1"));
    const std::string log = installation_read(installation, "capture_1.log");
    EXPECT_NE(log.find("there is no camera with this device path"), std::string::npos) << log;
}
