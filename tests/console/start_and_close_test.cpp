// The life of the program: what a start shows and writes, what a close leaves behind.
#include <string>
#include <vector>

#include "tests/console/console_test.h"

namespace {
class StartAndClose : public ConsoleTest {};

struct SavedWindow {
    std::vector<std::string> keys;
    int32_t x, y, width, height;
};
}  // namespace

static SavedWindow read_window_file(const Installation& installation) {
    SavedWindow saved = {};
    std::string text = installation_read(installation, "controller_window.ini");
    for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        std::string line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const size_t equals = line.find('=');
        const std::string key = line.substr(0, equals);
        saved.keys.push_back(key);
        if (equals == std::string::npos) continue;
        const int32_t value = atoi(line.c_str() + equals + 1);
        if (key == "x") saved.x = value;
        if (key == "y") saved.y = value;
        if (key == "width") saved.width = value;
        if (key == "height") saved.height = value;
    }
    return saved;
}

static SIZE window_size(HWND window) {
    RECT place = {};
    GetWindowRect(window, &place);
    return {place.right - place.left, place.bottom - place.top};
}

TEST_F(StartAndClose, TheWindowOpensReadyOnThePreviewTab) {
    start_with({});
    EXPECT_EQ(window_class(console.window), "SkiJumpController");
    EXPECT_TRUE(console_title(console) == "Orvek — Orvekline" || console_title(console).starts_with("[CH "))
        << console_title(console);
    EXPECT_EQ(tab_texts(console), (std::vector<std::string>{"Preview", "Processes", "Feeds", "Settings"}));
    EXPECT_EQ(current_tab(console), kTabPreview);
    EXPECT_EQ(status_text(console), "Ready");
    EXPECT_FALSE(is_shown(console, 500)) << "Setup Grid Lines starts hidden";
    EXPECT_EQ(button_text(console, 500), "Setup Grid Lines");
}

TEST_F(StartAndClose, TheTabControlLeavesTheBottom22PixelsToTheStatusBar) {
    start_with({});
    RECT client = {};
    GetClientRect(console.window, &client);
    const RECT tabs = client_place(console, control(console, 100));
    EXPECT_EQ(tabs.left, 0);
    EXPECT_EQ(tabs.top, 0);
    EXPECT_EQ(tabs.right, client.right);
    EXPECT_EQ(tabs.bottom, client.bottom - 22);
}

TEST_F(StartAndClose, TheMenusReadAsPlannedAndNothingIsGreyed) {
    start_with({});
    const std::vector<Menu> menus = read_menus(console);
    ASSERT_EQ(menus.size(), 3u);
    struct Expected {
        const char* menu;
        size_t item;
        const char* text;
        uint32_t id;
        bool enabled;
    };
    constexpr Expected kExpected[] = {
        {"&Capture", 0, "&Start File Capture...", 510, true},
        {"&Tools", 0, "&Select Practice Files...", 520, true},
        {"&Tools", 1, "Select &Cameras...", 521, true},
        {"&Help", 0, "Documentation\tF1", 501, true},
        {"&Help", 2, "About...", 502, true},
    };
    for (const Expected& expected : kExpected) {
        const Menu* menu = nullptr;
        for (const Menu& candidate : menus) menu = candidate.text == expected.menu ? &candidate : menu;
        ASSERT_NE(menu, nullptr) << expected.menu;
        ASSERT_GT(menu->items.size(), expected.item) << expected.text;
        EXPECT_EQ(menu->items[expected.item].text, expected.text);
        EXPECT_EQ(menu->items[expected.item].id, expected.id) << expected.text;
        EXPECT_EQ(menu->items[expected.item].enabled, expected.enabled) << expected.text;
    }
    EXPECT_EQ(menus[0].items.size(), 1u);
    EXPECT_EQ(menus[1].items.size(), 2u);
    EXPECT_EQ(menus[2].items.size(), 3u);
}

TEST_F(StartAndClose, AboutTellsWhatTheProgramIs) {
    start_with({});
    send_command(console, 502);
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }));
    HWND box = message_box(console);
    EXPECT_TRUE(wait_until([&] {
        const std::string text = message_box_text(box);
        return text.find("Real-time multi-camera ski jumping") != std::string::npos &&
               text.find("distance measurement system.") != std::string::npos;
    })) << message_box_text(box);
    PostMessageW(box, WM_CLOSE, 0, 0);
    EXPECT_TRUE(wait_until([&] { return message_box(console) == nullptr; }));
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(StartAndClose, TheLogTellsTheStartAndTheCloseInOrder) {
    start_with({"erase_shadows=1", "feed_sync_offset[0]=7", "feed_sync_offset[2]=-4", "feed_count=2"});
    ASSERT_EQ(console_close(&console), 0);
    const std::string folder = installation.folder;
    EXPECT_TRUE(log_shows_in_order(
        installation,
        {"starting controller, settings: " + folder + "\\settings.txt",
         "kill_stale: no existing shm_control region — clean startup",
         "settings: loaded from '" + folder + "\\settings.txt' (pixel_frames populated: 0/0/0)",
         "child process work_dir: " + folder + "*", "ipc: initialized 37 mutexes and 37 events",
         "ipc: reset 37 events to non-signaled state", "shmem: created 'Local\\SkiJumpControl' (9776 bytes)",
         "shm_control: reset to fresh-create state on Orvek startup (paused=1, erase_shadows_on=1, "
         "feed_sync_offset=[7,0,-4] sync_epoch_us=*)",
         "feed_preview: shmem not available for feed 0 channel 0",
         "feed_preview: shmem not available for feed 1 channel 0",
         "feed_preview: shmem not available for feed 2 channel 0",
         "settings: saved to '" + folder + "\\settings.txt'",
         "settings: saved pixel_frames to '" + folder + "\\pixel_frames.txt' (1920 x 3 entries)",
         "process manager shutting down", "controller exiting"}));
    for (const std::string& line : log_raw_lines(installation)) EXPECT_TRUE(log_line_is_well_formed(line)) << line;
    EXPECT_TRUE(log_line_matches(log_lines(installation).back(), "controller exiting"));
}

TEST_F(StartAndClose, ClosingSavesTheSettingsAndKeepsWhatWasLoaded) {
    start_with({"feed_count=2", "practice_max_jumpers=4711"});
    ASSERT_EQ(console_close(&console), 0);
    const std::string text = installation_read(installation, "settings.txt");
    EXPECT_NE(text.find("practice_max_jumpers"), std::string::npos);
    EXPECT_NE(text.find("4711"), std::string::npos);
    EXPECT_NE(text.find("min_blob_sizes[0]"), std::string::npos) << "a saved file holds every setting";
    EXPECT_TRUE(installation_has(installation, "pixel_frames.txt"));
    EXPECT_FALSE(installation_has(installation, "settings.txt.tmp"));
}

TEST_F(StartAndClose, TheControlBlockIsResetAndAtCloseTellsTheWorkersToLeave) {
    start_with({"feed_count=2", "erase_shadows=1"});
    open_shared();
    EXPECT_EQ(shared_load(shared.block->size), kControlBlockSize);
    EXPECT_EQ(shared_load(shared.block->num_feeds), 2u);
    EXPECT_EQ(shared_load(shared.block->num_channels), 3u);
    EXPECT_EQ(shared_load(shared.block->ring_slots), kRingSlots);
    EXPECT_EQ(shared_load(shared.block->paused), 1u);
    EXPECT_EQ(shared_load(shared.block->shutdown), 0u);
    EXPECT_EQ(shared_load(shared.block->erase_shadows_on), 1u);
    EXPECT_GT(shared_load(shared.block->sync_epoch_us), 0);
    EXPECT_EQ(shared_load(shared.block->force_frame), -1);
    for (int32_t slot = 0; slot < kPidSlotCount; ++slot) shared_store(shared.block->pid_slot[slot], 0u);
    ASSERT_TRUE(select_tab(console, kTabProcesses)) << "else the preview's waiter takes event 14 back";
    ASSERT_EQ(console_close(&console), 0);
    EXPECT_EQ(shared_load(shared.block->shutdown), 1u);
    for (int32_t slot = 0; slot < kPidSlotCount; ++slot)
        EXPECT_EQ(shared_load(shared.block->pid_slot[slot]), kPidSlotEmpty) << "slot " << slot;
    for (int32_t index :
         {kEventResume, kEventNewOutput, kEventMotionWake, kEventMotionWake + 1, kEventMotionWake + 2})
        EXPECT_TRUE(event_is_set(shared, index)) << "event " << index;
}

TEST_F(StartAndClose, TheNextRunKeepsThePreviousLog) {
    start_with({});
    ASSERT_EQ(console_close(&console), 0);
    const std::vector<std::string> first = log_raw_lines(installation);
    start();
    ASSERT_EQ(console_close(&console), 0);
    EXPECT_EQ(log_raw_lines(installation, "controller_debug.log.old"), first);
}

TEST_F(StartAndClose, WithoutAWindowFileTheWindowOpens1600By900) {
    start_with({});
    EXPECT_EQ(window_size(console.window).cx, 1600);
    EXPECT_EQ(window_size(console.window).cy, 900);
}

TEST_F(StartAndClose, AWindowFileWithASillyWidthOpens1600Wide) {
    installation_write(installation, "controller_window.ini", "# note\nx=40\ny=30\nwidth=300\nheight=700\nother=5\n");
    start_with({});
    EXPECT_EQ(window_size(console.window).cx, 1600);
    EXPECT_EQ(window_size(console.window).cy, 700);
}

TEST_F(StartAndClose, TheWindowFileOfACloseHoldsTheRestoredPlacement) {
    installation_write(installation, "controller_window.ini",
                       "x=120\ny=90\nwidth=1300\nheight=800\njumper_panel_width=50\n");
    start_with({});
    EXPECT_EQ(window_size(console.window).cx, 1300);
    EXPECT_EQ(window_size(console.window).cy, 800);
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof placement;
    GetWindowPlacement(console.window, &placement);
    const RECT normal = placement.rcNormalPosition;
    ASSERT_EQ(console_close(&console), 0);
    const SavedWindow saved = read_window_file(installation);
    EXPECT_EQ(saved.keys,
              (std::vector<std::string>{"# Orvekline controller window state", "x", "y", "width", "height",
                                        "maximized", "preview_panel_width", "jumper_panel_width"}));
    EXPECT_EQ(saved.x, normal.left);
    EXPECT_EQ(saved.y, normal.top);
    EXPECT_EQ(saved.width, normal.right - normal.left);
    EXPECT_EQ(saved.height, normal.bottom - normal.top);
    const std::string text = installation_read(installation, "controller_window.ini");
    EXPECT_NE(text.find("maximized=0"), std::string::npos) << text;
    EXPECT_NE(text.find("jumper_panel_width=280"), std::string::npos) << text;
}

TEST_F(StartAndClose, AMovedWindowIsSavedTwoSecondsAfterTheLastMove) {
    start_with({});
    const auto move_to = [&](int32_t x) {
        SetWindowPos(console.window, nullptr, x, 60, 1500, 850, SWP_NOZORDER | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS);
        wait_until([&] { return window_size(console.window).cx == 1500; });
    };
    move_to(200);
    Sleep(1200);  // restarts the two seconds, so that the first place is never saved
    const uint64_t moved_at = GetTickCount64();
    SetWindowPos(console.window, nullptr, 260, 64, 1480, 840, SWP_NOZORDER | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS);
    ASSERT_TRUE(wait_until([&] { return read_window_file(installation).width == 1480; }));
    EXPECT_GE(GetTickCount64() - moved_at, 1900u);
    EXPECT_EQ(read_window_file(installation).height, 840);
}

TEST_F(StartAndClose, AMaximisedWindowComesBackMaximisedAndKeepsItsRestoredSize) {
    installation_write(installation, "controller_window.ini", "x=70\ny=60\nwidth=1200\nheight=750\nmaximized=1\n");
    start_with({});
    EXPECT_TRUE(IsZoomed(console.window));
    ASSERT_EQ(console_close(&console), 0);
    const SavedWindow saved = read_window_file(installation);
    EXPECT_EQ(saved.width, 1200);
    EXPECT_EQ(saved.height, 750);
    EXPECT_NE(installation_read(installation, "controller_window.ini").find("maximized=1"), std::string::npos);
}
