// The practice player on videos: what it makes of a feed's recording. The test plays the console.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/shared_access.h"
#include "tests/support/temp_dir.h"
#include "tests/windows/worker_stage.h"

namespace {

constexpr DWORD kPatienceMs = 60'000;
constexpr uint32_t kFrames = 40;
constexpr size_t kBandLuma = size_t{kFrameWidth} * kFeedHeight;
constexpr size_t kBandBytes = kBandLuma * 3 / 2;
constexpr uint8_t kBlack = 16;

class PlayerOfRecordings : public testing::Test {
protected:
    void SetUp() override;
    void make_recording();
    void play(int32_t overlay_offset);
    const uint8_t* slot(uint32_t index) const {
        return ring + feed_slot_offset(index);
    }

    TempDir dir;
    StageRegion control_region, ring_region;
    ControlBlock* control = nullptr;
    const uint8_t* ring = nullptr;
    std::string recording;  // its frames as ffmpeg itself decodes them
};

}  // namespace

// Returns the exit code; 259 when it does not end.
static DWORD run(std::string command, const std::string& folder) {
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child{};
    if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, folder.c_str(),
                        &startup, &child))
        return GetLastError();
    if (WaitForSingleObject(child.hProcess, kPatienceMs) != WAIT_OBJECT_0) TerminateProcess(child.hProcess, 259);
    WaitForSingleObject(child.hProcess, kPatienceMs);
    DWORD code = 0;
    GetExitCodeProcess(child.hProcess, &code);
    CloseHandle(child.hProcess);
    CloseHandle(child.hThread);
    return code;
}

void PlayerOfRecordings::SetUp() {
    if (!file_exists(beside_this_program("ffmpeg.exe"))) GTEST_SKIP() << "there is no ffmpeg.exe beside this program";
    control_region = stage_region(kControlBlockName, kControlBlockSize);
    control = reinterpret_cast<ControlBlock*>(control_region.view);
    ASSERT_NE(control, nullptr);
    std::memset(static_cast<void*>(control), 0, kControlBlockSize);
    char name[32];
    feed_region_name(name, 1, 0);
    ring_region = stage_region(name, kFeedRegionSize);
    ring = ring_region.view;
    ASSERT_NE(ring, nullptr);
    make_recording();
}

void PlayerOfRecordings::make_recording() {
    const std::string ffmpeg = "\"" + beside_this_program("ffmpeg.exe") + "\" -v error -nostdin -y ";
    ASSERT_EQ(run(ffmpeg + "-f lavfi -i testsrc2=s=1920x540:r=60 -frames:v " + std::to_string(kFrames) +
                      " -c:v libx264 -preset ultrafast -crf 20 -pix_fmt yuv420p feed.mp4",
                  dir.path()),
              0u);
    ASSERT_EQ(run(ffmpeg + "-i feed.mp4 -f rawvideo -pix_fmt yuv420p feed.raw", dir.path()), 0u);
    recording = read_whole_file(dir.file("feed.raw"));
    ASSERT_EQ(recording.size(), kFrames * kBandBytes);
    write_whole_file(dir.file("settings.txt"),
                     "feed_count=1\npractice_video_sync_offset[1]=0\n"
                     "*practice_video_path[1]=" +
                         dir.file("feed.mp4") + "\n");
}

void PlayerOfRecordings::play(int32_t overlay_offset) {
    shared_store(control->feed_offset_live[1], overlay_offset);
    ASSERT_EQ(run("\"" + beside_this_program("practice_player.exe") + "\"", dir.path()), 0u);
    ASSERT_EQ(shared_load(control->feed[1][0].nw), kFrames) << read_whole_file(dir.file("practice_player.log"));
}

TEST_F(PlayerOfRecordings, ShowsEveryFrameWholeAndInTheVideosTime) {
    play(0);
    const int64_t first_pts = reinterpret_cast<const FrameSlotHeader*>(slot(0))->pts;
    for (uint32_t frame = 0; frame < kFrames; ++frame) {
        SCOPED_TRACE("frame " + std::to_string(frame));
        const auto* header = reinterpret_cast<const FrameSlotHeader*>(slot(frame));
        EXPECT_EQ(header->seq, int64_t{frame});
        EXPECT_EQ(header->pts - first_pts, int64_t{frame} * 1'000'000 / 60);
        const char* expected = recording.data() + frame * kBandBytes;
        EXPECT_EQ(std::memcmp(slot(frame) + y_plane_offset(), expected, kBandLuma), 0);
        EXPECT_EQ(std::memcmp(slot(frame) + u_plane_offset(kFeedHeight), expected + kBandLuma, kBandLuma / 4), 0);
        EXPECT_EQ(std::memcmp(slot(frame) + v_plane_offset(kFeedHeight), expected + kBandLuma * 5 / 4, kBandLuma / 4),
                  0);
    }
}

TEST_F(PlayerOfRecordings, ShowsBlackBelowTheRecordingWhereTheOffsetReachesPastIt) {
    constexpr size_t kOffset = 100;
    play(kOffset);
    constexpr size_t kShown = (kFeedHeight - kOffset) * kFrameWidth;
    const uint8_t* luma = slot(7) + y_plane_offset();
    EXPECT_EQ(std::memcmp(luma, recording.data() + 7 * kBandBytes + kOffset * kFrameWidth, kShown), 0);
    EXPECT_EQ(std::vector<uint8_t>(luma + kShown, luma + kBandLuma),
              std::vector<uint8_t>(kOffset * kFrameWidth, kBlack));
}
