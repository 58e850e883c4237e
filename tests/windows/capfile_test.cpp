// The recorder as a real process on a real ring. The test writes frames whose number stands on them in broad bars,
// and reads the recording back.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/shared_access.h"
#include "tests/support/temp_dir.h"
#include "tests/support/video_probe.h"
#include "tests/support/wait.h"
#include "tests/windows/worker_stage.h"

namespace {

constexpr int32_t kFeed = 1;
constexpr int32_t kBars = 16;  // one per bit of the frame's number
constexpr DWORD kStillRunning = 259;

}  // namespace

// The numbers on the pictures, in the file's order.
static std::vector<int32_t> numbers_in(const std::string& video) {
    std::vector<int32_t> numbers;
    for (const std::vector<uint8_t>& bars : video_brightness(video, kBars, 1)) {
        int32_t number = 0;
        for (int32_t bit = 0; bit < kBars; ++bit) number |= bars[static_cast<size_t>(bit)] > 128 ? 1 << bit : 0;
        numbers.push_back(number);
    }
    return numbers;
}

static std::vector<int32_t> range(int32_t first, int32_t end) {
    std::vector<int32_t> numbers;
    for (int32_t number = first; number < end; ++number) numbers.push_back(number);
    return numbers;
}

static std::vector<int32_t> operator+(std::vector<int32_t> a, const std::vector<int32_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A whole film of 60 pictures per second with just these numbers on them.
static void expect_recording(const std::string& video, const std::vector<int32_t>& numbers) {
    const VideoFacts facts = probe_video(video);
    EXPECT_TRUE(facts.whole) << video << ": " << facts.complaints;
    EXPECT_EQ(facts.codec, "h264");
    EXPECT_EQ(facts.width, kFrameWidth);
    EXPECT_EQ(facts.height, kFeedHeight);
    EXPECT_EQ(facts.rate, "60/1");
    EXPECT_EQ(facts.frames, static_cast<int64_t>(numbers.size()));
    EXPECT_NEAR(facts.seconds, static_cast<double>(numbers.size()) / 60.0, 0.001);
    EXPECT_EQ(numbers_in(video), numbers);
}

class Capfile : public testing::Test {
protected:
    void SetUp() override {
        if (find_video_tool("ffmpeg.exe").empty() || find_video_tool("ffprobe.exe").empty())
            GTEST_SKIP() << "no ffmpeg.exe or no ffprobe.exe: ./dev setup fetches them";
        control_region = stage_region(kControlBlockName, kControlBlockSize);
        ASSERT_NE(control_region.view, nullptr);
        control = reinterpret_cast<ControlBlock*>(control_region.view);
        std::memset(control_region.view, 0, kControlBlockSize);
        char name[32];
        feed_region_name(name, kFeed, 0);
        ring = stage_region(name, kFeedRegionSize);
        ASSERT_NE(ring.view, nullptr);
        std::memset(ring.view, 0, kSlotHeaderSize);
        settings("");
    }

    void TearDown() override {
        if (child.hProcess != nullptr) {
            TerminateProcess(child.hProcess, 9);
            WaitForSingleObject(child.hProcess, kPatienceMs);
            CloseHandle(child.hProcess);
            CloseHandle(child.hThread);
        }
    }

    void settings(const std::string& more) {
        write_whole_file(dir.file("settings.txt"), "*capfile_output_dir=" + dir.file("films") + "\n" + more);
    }

    void start(const std::string& program = beside_this_program("capfile.exe")) {
        std::string line = "\"" + program + "\" 1";
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        ASSERT_TRUE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                                   dir.path().c_str(), &startup, &child))
            << line << " error " << GetLastError();
        ASSERT_TRUE(log_shows("ready to record")) << log();
    }

    std::string log() {
        return read_whole_file(dir.file("capfile_1.log"));
    }

    bool log_shows(const std::string& text) {
        return wait_until([&] { return log().find(text) != std::string::npos; });
    }

    // Appends a frame; its number is its place in the ring's history. `late` shifts its time stamp by frame times.
    void write_frame(double late = 0) {
        const uint32_t nw = control->feed[kFeed][0].nw;
        uint8_t* slot = ring.view + feed_slot_offset(nw % kRingSlots);
        auto* header = reinterpret_cast<FrameSlotHeader*>(slot);
        header->seq = nw;
        header->pts = 5'000'000 + static_cast<int64_t>((nw + late) * 1'000'000 / 60);
        uint8_t* luma = slot + y_plane_offset();
        for (int32_t bar = 0; bar < kBars; ++bar)
            std::memset(luma + bar * (kFrameWidth / kBars), (nw >> bar & 1) != 0 ? 220 : 30, kFrameWidth / kBars);
        for (int32_t row = 1; row < kFeedHeight; ++row) std::memcpy(luma + row * kFrameWidth, luma, kFrameWidth);
        std::memset(slot + u_plane_offset(kFeedHeight), 128, size_t{kFrameWidth} * kFeedHeight / 2);
        shared_store(control->feed[kFeed][0].nw, nw + 1);
    }

    void write_frames(int32_t count, DWORD pace_ms = 4) {
        for (int32_t i = 0; i < count; ++i) {
            write_frame();
            Sleep(pace_ms);
        }
    }

    void set_paused(bool paused) {
        shared_store(control->capfile_paused[kFeed], paused ? 1u : 0u);
        Sleep(300);  // for the recorder to notice, between two frames
    }

    DWORD wait_ended(DWORD limit_ms) {
        DWORD code = 0;
        WaitForSingleObject(child.hProcess, limit_ms);
        GetExitCodeProcess(child.hProcess, &code);
        return code;
    }

    // Asks the recorder to finish and returns its exit code.
    DWORD finish() {
        shared_store(control->capfile_shutdown[kFeed], 1u);
        return wait_ended(8000);
    }

    std::vector<std::string> films(const std::string& ending = ".mp4") {
        return files_in_folder(dir.file("films"), ending);
    }

    TempDir dir;
    StageRegion control_region, ring;
    ControlBlock* control = nullptr;
    PROCESS_INFORMATION child{};
};

TEST_F(Capfile, RecordsEveryFrameInOrderAtSixtyPerSecond) {
    start();
    write_frames(301, 16);
    EXPECT_EQ(finish(), 0u) << log();
    ASSERT_EQ(films().size(), 1u) << log();
    expect_recording(films()[0], range(0, 300));  // the newest one is not read, it might be under the writer's pen
    const std::string name = films()[0].substr(films()[0].find_last_of('\\') + 1);
    EXPECT_EQ(name.rfind("cap_1_20", 0), 0u) << name;
    EXPECT_EQ(name.size(), strlen("cap_1_20260131_170509.mp4")) << name;
}

TEST_F(Capfile, WhatIsStillInTheRingAtTheRequestIsWrittenBeforeItLeaves) {
    start();
    write_frames(201, 0);
    EXPECT_EQ(finish(), 0u) << log();
    ASSERT_EQ(films().size(), 1u);
    expect_recording(films()[0], range(0, 200));
}

TEST_F(Capfile, FramesBeforeItsStartDoNotBelongToTheRecording) {
    write_frames(50, 0);
    start();
    write_frames(31);
    EXPECT_EQ(finish(), 0u);
    ASSERT_EQ(films().size(), 1u);
    expect_recording(films()[0], range(49, 80));
}

TEST_F(Capfile, APauseIsCutOutOfTheOneFile) {
    start();
    write_frames(61);
    set_paused(true);
    write_frames(100);
    set_paused(false);
    write_frames(60);
    EXPECT_EQ(finish(), 0u) << log();
    ASSERT_EQ(films().size(), 1u);
    expect_recording(films()[0], range(0, 60) + range(160, 220));
}

TEST_F(Capfile, WithoutStitchingEveryStretchHasItsOwnFile) {
    settings("capfile_stitch_across_pause=0\n");
    start();
    write_frames(61);
    set_paused(true);
    write_frames(100);
    set_paused(false);
    write_frames(60);
    EXPECT_EQ(finish(), 0u) << log();
    ASSERT_EQ(films().size(), 2u);
    expect_recording(films()[0], range(0, 60));
    expect_recording(films()[1], range(160, 220));
}

TEST_F(Capfile, AHoleInTheTimeStampsIsFilledWithTheLastPicture) {
    start();
    write_frames(30);
    for (int32_t i = 0; i < 31; ++i) write_frame(10);  // ten frames never came
    EXPECT_EQ(finish(), 0u);
    ASSERT_EQ(films().size(), 1u);
    expect_recording(films()[0], range(0, 30) + std::vector<int32_t>(10, 29) + range(30, 60));
}

TEST_F(Capfile, ARecorderThatNeverSawAFrameLeavesNoFile) {
    shared_store(control->capfile_paused[kFeed], 1u);
    start();
    write_frames(60);
    EXPECT_EQ(finish(), 0u);
    EXPECT_TRUE(films().empty());
    EXPECT_NE(log().find("finished: 0 files, 0 frames"), std::string::npos) << log();
}

TEST_F(Capfile, AShutdownMeantForTheOthersDoesNotEndTheRecording) {
    shared_store(control->shutdown, 1u);
    start();
    write_frames(61);
    EXPECT_EQ(wait_ended(500), kStillRunning);
    EXPECT_EQ(finish(), 0u);
    ASSERT_EQ(films().size(), 1u);
    expect_recording(films()[0], range(0, 60));
}

TEST_F(Capfile, ARecorderThatWasOverrunSaysHowManyFramesAreLost) {
    start();
    write_frames(10);
    // The recorder stands still while the ring goes round.
    ASSERT_TRUE(log_shows("records into"));
    Sleep(300);
    SuspendThread(child.hThread);
    write_frames(700, 0);
    ResumeThread(child.hThread);
    EXPECT_EQ(finish(), 0u) << log();
    EXPECT_NE(log().find("overrun: "), std::string::npos) << log();
    ASSERT_EQ(films().size(), 1u);
    const VideoFacts facts = probe_video(films()[0]);
    EXPECT_TRUE(facts.whole) << facts.complaints;
    // Every picture stands at its own time; where frames are lost the last one before them stands still.
    const std::vector<int32_t> numbers = numbers_in(films()[0]);
    int32_t standing = 0;
    for (size_t place = 1; place < numbers.size(); ++place) {
        if (numbers[place] == numbers[place - 1]) ++standing;
        const int32_t expected = static_cast<int32_t>(place);
        EXPECT_TRUE(numbers[place] == expected || numbers[place] == numbers[place - 1]) << place;
    }
    EXPECT_GT(standing, 100);
    EXPECT_LE(numbers.size(), 709u);
}

TEST_F(Capfile, ToldSoByRigTxtItIgnoresTheRequest) {
    write_whole_file(dir.file("rig.txt"), "capfile_ignores_shutdown=1\n");
    start();
    write_frames(31);
    shared_store(control->capfile_shutdown[kFeed], 1u);
    EXPECT_EQ(wait_ended(2000), kStillRunning);
    write_frames(30);
    Sleep(500);
    // Ended from outside; ffmpeg finishes the file all the same.
    TerminateProcess(child.hProcess, 1);
    ASSERT_EQ(films().size(), 1u);
    EXPECT_TRUE(wait_until([&] { return probe_video(films()[0]).whole; }));
    expect_recording(films()[0], range(0, 60));
}

TEST_F(Capfile, ToldSoByRigTxtItDiesAndTheFileIsStillWhole) {
    write_whole_file(dir.file("rig.txt"), "capfile_dies_after=20\n");
    start();
    write_frames(61);
    EXPECT_EQ(wait_ended(8000), 3u);
    ASSERT_EQ(films().size(), 1u);
    EXPECT_TRUE(wait_until([&] { return probe_video(films()[0]).whole; }));
    expect_recording(films()[0], range(0, 20));
}

TEST_F(Capfile, WithoutFfmpegItRecordsUncompressedAndSaysSo) {
    const std::string alone = dir.file("capfile.exe");
    ASSERT_TRUE(CopyFileA((beside_this_program("capfile.exe")).c_str(), alone.c_str(), TRUE));
    start(alone);
    write_frames(31);
    EXPECT_EQ(finish(), 0u);
    EXPECT_NE(log().find("no ffmpeg.exe"), std::string::npos) << log();
    EXPECT_TRUE(films().empty());
    ASSERT_EQ(films(".y4m").size(), 1u);
    EXPECT_EQ(probe_video(films(".y4m")[0]).rate, "60/1");
    EXPECT_EQ(numbers_in(films(".y4m")[0]), range(0, 30));
}

TEST_F(Capfile, WithoutAFolderInTheSettingsItMakesCapturedVideos) {
    write_whole_file(dir.file("settings.txt"), "feed_count=3\n");
    start();
    write_frames(31);
    EXPECT_EQ(finish(), 0u);
    EXPECT_EQ(files_in_folder(dir.file("CapturedVideos"), ".mp4").size(), 1u);
}

TEST_F(Capfile, AFolderThatCannotBeMadeEndsItWithAnError) {
    write_whole_file(dir.file("films"), "not a folder");
    start();
    write_frames(31);
    EXPECT_EQ(finish(), 1u) << log();
}

TEST_F(Capfile, AFileCutShortIsNotTakenForWhole) {
    start();
    write_frames(61);
    EXPECT_EQ(finish(), 0u);
    ASSERT_EQ(films().size(), 1u);
    const std::string bytes = read_whole_file(films()[0]);
    const std::string cut = dir.file("cut.mp4");
    write_whole_file(cut, bytes.substr(0, bytes.size() / 2));
    EXPECT_FALSE(probe_video(cut).whole) << "as a killed encoder leaves it, without an index";
    EXPECT_FALSE(probe_video(dir.file("none.mp4")).whole);
}
