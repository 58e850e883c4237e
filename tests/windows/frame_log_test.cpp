// The frame log's file as the preview writes it.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "app/commands.h"
#include "ipc/frame_ring.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"
#include "tests/windows/preview_rig.h"

namespace {

constexpr char kHeader[] =
    "time_ms,channel,f0_nw,f0_idx,f0_seq,f0_pts,f1_nw,f1_idx,f1_seq,f1_pts,f2_nw,f2_idx,f2_seq,f2_pts,"
    "f1_display_type,f1_motion_flags\r\n";
constexpr char kZeros[] = "0,0,518,0,0,0,518,0,0,0,518,0,0,0,0";  // of a run without frames, after the time

class FrameLogFile : public testing::Test {
protected:
    FrameLogFile() {
        GetCurrentDirectoryA(sizeof before_, before_);
        SetCurrentDirectoryA(dir_.path().c_str());
    }
    ~FrameLogFile() override {
        SetCurrentDirectoryA(before_);
    }
    // Only what the test asks for refreshes the preview.
    void create(PreviewRig* rig) {
        rig->answer = false;
        rig->create();
        preview_set_active(rig->panel.get(), true);
    }
    std::string file() const {
        return dir_.file("frame_log.csv");
    }
    std::string text() const {
        return read_whole_file(file());
    }
    // The file's last line without its time.
    std::string last_row() const {
        const std::string all = text();
        const size_t end = all.rfind("\r\n");
        if (end == std::string::npos || end == 0) return "";
        const size_t begin = all.rfind('\n', end - 1) + 1;
        return all.substr(all.find(',', begin) + 1, end - all.find(',', begin) - 1);
    }

    TempDir dir_;

private:
    char before_[MAX_PATH] = "";
};

}  // namespace

static FrameSlotHeader* header_of(const WorkerRegion& feed, uint32_t slot) {
    return reinterpret_cast<FrameSlotHeader*>(feed.bytes() + feed_slot_offset(slot));
}

static int lines_of(const std::string& text) {
    int lines = 0;
    for (const char c : text) lines += c == '\n' ? 1 : 0;
    return lines;
}

TEST_F(FrameLogFile, IsNotMadeWhileTheSettingIsOff) {
    PreviewRig rig;
    create(&rig);
    preview_refresh(rig.panel.get());
    EXPECT_FALSE(file_exists(file()));
}

TEST_F(FrameLogFile, GetsOneRowPerRefreshOfTheShownTabAtOnceOnTheDisk) {
    PreviewRig rig;
    rig.settings->debug_frame_log = 1;
    create(&rig);
    EXPECT_FALSE(file_exists(file())) << "nothing was refreshed yet";
    for (int rows = 1; rows <= 3; ++rows) {
        preview_refresh(rig.panel.get());
        EXPECT_TRUE(text().starts_with(kHeader)) << text();
        EXPECT_EQ(lines_of(text()), 1 + rows);
        EXPECT_EQ(last_row(), kZeros);
    }
    preview_set_active(rig.panel.get(), false);
    preview_refresh(rig.panel.get());
    preview_layout(rig.panel.get(), {0, 30, 1500, 800});
    EXPECT_EQ(lines_of(text()), 4);
}

TEST_F(FrameLogFile, ShowsWhatTheRefreshReadFromEachFeed) {
    const auto feed0 = make_feed(0, 2);
    const auto own0 = make_feed(0, 0);
    const auto feed1 = make_feed(1, 2);
    const auto own1 = make_feed(1, 0);
    const auto alone2 = make_feed(2, 2);  // without the pane's own channel there is no pane to show it
    PreviewRig rig;
    rig.settings->debug_frame_log = 1;
    create(&rig);
    ControlBlock* control = rig.control();
    control->channel = 2;
    control->feed[0][2].nw = 2;
    control->feed[1][2].nw = 523;
    control->feed[2][2].nw = 4;
    *header_of(*feed0, 0) = {};
    header_of(*feed0, 0)->seq = 11;
    header_of(*feed0, 0)->pts = 12;
    header_of(*feed0, 0)->display_type = 9;
    header_of(*feed0, 0)->motion_flags = 9;
    header_of(*feed1, 1)->seq = 5'000'000'001;
    header_of(*feed1, 1)->pts = 6'000'000'000;
    header_of(*feed1, 1)->display_type = 2;
    header_of(*feed1, 1)->motion_flags = 3;
    header_of(*alone2, 2)->seq = 99;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(last_row(), "2,2,0,11,12,523,1,5000000001,6000000000,4,2,0,0,2,3");
    control->feed[0][2].nw = 3;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(last_row(), "2,3,1,0,0,523,1,5000000001,6000000000,4,2,0,0,2,3");
}

TEST_F(FrameLogFile, WithoutAControlBlockTheCountersAreZero) {
    const auto feed0 = make_feed(0, 0);
    header_of(*feed0, 0)->seq = 5;
    const HANDLE blocker = CreateSemaphoreA(nullptr, 0, 1, kControlBlockName);
    PreviewRig rig;
    rig.settings->debug_frame_log = 1;
    create(&rig);
    ASSERT_EQ(rig.control(), nullptr);
    preview_refresh(rig.panel.get());
    CloseHandle(blocker);
    EXPECT_EQ(last_row(), "0,0,0,5,0,0,0,0,0,0,0,0,0,0,0");
}

TEST_F(FrameLogFile, StopsAtItsLimitForTheRestOfTheRun) {
    PreviewRig rig;
    rig.settings->debug_frame_log = 1;
    create(&rig);
    preview_refresh(rig.panel.get());
    rig.panel->frame_log.bytes_written = kFrameLogLimit - 1;
    preview_refresh(rig.panel.get());
    const std::string whole = text();
    const size_t stop = whole.find("# LOG STOPPED — reached ");
    ASSERT_NE(stop, std::string::npos) << whole;
    EXPECT_EQ(whole.substr(stop),
              "# LOG STOPPED — reached " + std::to_string(rig.panel->frame_log.bytes_written) + " bytes\r\n");
    EXPECT_EQ(lines_of(whole), 4);
    for (const int32_t setting : {1, 0, 1}) {
        rig.settings->debug_frame_log = setting;
        preview_refresh(rig.panel.get());
    }
    EXPECT_EQ(text(), whole);
    EXPECT_TRUE(DeleteFileA(file().c_str())) << "closed";
    preview_refresh(rig.panel.get());
    EXPECT_FALSE(file_exists(file()));
}

TEST_F(FrameLogFile, AFailureToOpenIsQuietAndTriedAgainAtTheNextRefresh) {
    ASSERT_TRUE(CreateDirectoryA(file().c_str(), nullptr));  // in its place
    PreviewRig rig;
    rig.settings->debug_frame_log = 1;
    create(&rig);
    LogCapture log;
    for (int i = 0; i < 5; ++i) preview_refresh(rig.panel.get());
    EXPECT_TRUE(log.take().empty());
    ASSERT_TRUE(RemoveDirectoryA(file().c_str()));
    preview_refresh(rig.panel.get());
    EXPECT_EQ(lines_of(text()), 2);
}

TEST_F(FrameLogFile, SwitchingOffDoesNotCloseItAndTheEndOfThePreviewDoes) {
    write_whole_file(file(), "left by an earlier run\r\n");
    PreviewRig rig;
    create(&rig);
    preview_refresh(rig.panel.get());
    EXPECT_EQ(text(), "left by an earlier run\r\n");
    rig.settings->debug_frame_log = 1;
    preview_refresh(rig.panel.get());
    EXPECT_TRUE(text().starts_with(kHeader)) << "emptied first";
    rig.settings->debug_frame_log = 0;
    preview_refresh(rig.panel.get());
    EXPECT_EQ(lines_of(text()), 3);
    preview_destroy(rig.panel.get());
    EXPECT_EQ(rig.panel->frame_log_file, nullptr);
}
