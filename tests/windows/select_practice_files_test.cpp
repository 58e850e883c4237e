// The practice-file chooser, driven through its controls.
#include "settings/select_practice_files.h"

#include <gtest/gtest.h>

#include <dlgs.h>

#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/windows/modal_operator.h"

namespace {

class SelectPracticeFiles : public testing::Test {
protected:
    void SetUp() override {
        owner = CreateWindowExA(0, "STATIC", "owner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 1200, 600, nullptr,
                                nullptr, GetModuleHandleA(nullptr), nullptr);
        ASSERT_NE(owner, nullptr);
        log.take();
    }
    void TearDown() override {
        if (IsWindow(owner)) DestroyWindow(owner);
    }
    DialogResult choose(const std::function<void(HWND)>& operate) {
        std::thread person([&] {
            HWND window = shown_window("SkiJumpSelectPracticeFiles");
            EXPECT_NE(window, nullptr);
            operate(window);
        });
        const DialogResult result = select_practice_files(owner, paths);
        person.join();
        EXPECT_TRUE(IsWindowEnabled(owner));
        EXPECT_EQ(FindWindowA("SkiJumpSelectPracticeFiles", nullptr), nullptr);
        return result;
    }
    void expect_paths(const std::string& path0, const std::string& path1, const std::string& path2) const {
        EXPECT_EQ(paths[0], path0);
        EXPECT_EQ(paths[1], path1);
        EXPECT_EQ(paths[2], path2);
    }
    static void type(HWND window, int32_t feed, const std::string& text) {
        SendMessageA(GetDlgItem(window, kPracticePathId + feed), WM_SETTEXT, 0,
                     reinterpret_cast<LPARAM>(text.c_str()));
    }

    LogCapture log;
    HWND owner = nullptr;
    char paths[kSettingsFeeds][kSettingTextSize] = {"C:\\v\\top.mp4", "", "C:\\v\\l\u00e5g.mp4"};
};

}  // namespace

TEST_F(SelectPracticeFiles, EverythingStandsInItsPlace) {
    choose([&](HWND window) {
        EXPECT_EQ(text_in(window), "Select Practice Video Files");
        EXPECT_EQ(GetWindow(window, GW_OWNER), owner);
        EXPECT_FALSE(IsWindowEnabled(owner));
        EXPECT_EQ(captions_in(window),
                  (std::vector<std::string>{"Feed 0 video: 14,18 100x24", "Feed 1 video: 14,58 100x24",
                                            "Feed 2 video: 14,98 100x24"}));
        for (int32_t feed = 0; feed < 3; ++feed) {
            const std::string y = std::to_string(14 + 40 * feed);
            EXPECT_EQ(text_in(GetDlgItem(window, 3001 + feed)), paths[feed]);
            EXPECT_EQ(place_text(window, GetDlgItem(window, 3001 + feed)), "114," + y + " 720x26");
            EXPECT_EQ(text_in(GetDlgItem(window, 3011 + feed)), "Browse...");
            EXPECT_EQ(place_text(window, GetDlgItem(window, 3011 + feed)), "840," + y + " 72x24");
            EXPECT_EQ(text_in(GetDlgItem(window, 3021 + feed)), "Clear");
            EXPECT_EQ(place_text(window, GetDlgItem(window, 3021 + feed)), "916," + y + " 50x24");
        }
        EXPECT_EQ(text_in(GetDlgItem(window, 3031)), "OK");
        EXPECT_EQ(place_text(window, GetDlgItem(window, 3031)), "768,176 100x28");
        EXPECT_EQ(LOWORD(SendMessageA(window, DM_GETDEFID, 0, 0)), 3031);
        EXPECT_EQ(text_in(GetDlgItem(window, 3032)), "Cancel");
        EXPECT_EQ(place_text(window, GetDlgItem(window, 3032)), "878,176 100x28");
        RECT client = {};
        GetClientRect(window, &client);
        EXPECT_GE(client.right, 978);
        EXPECT_GE(client.bottom, 204);
        click(window, kPracticeCancelId);
    });
}

TEST_F(SelectPracticeFiles, OkHandsBackTheThreeTexts) {
    EXPECT_EQ(choose([](HWND window) {
                  type(window, 1, "D:\\middle.mp4");
                  click(window, kPracticeOkId);
              }),
              DialogResult::ok);
    expect_paths("C:\\v\\top.mp4", "D:\\middle.mp4", "C:\\v\\l\u00e5g.mp4");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(SelectPracticeFiles, ClearEmptiesItsFeedOnly) {
    EXPECT_EQ(choose([](HWND window) {
                  click(window, kPracticeClearId + 2);
                  EXPECT_EQ(text_in(GetDlgItem(window, kPracticePathId + 2)), "");
                  click(window, kPracticeOkId);
              }),
              DialogResult::ok);
    expect_paths("C:\\v\\top.mp4", "", "");
}

TEST_F(SelectPracticeFiles, CancelChangesNothing) {
    EXPECT_EQ(choose([](HWND window) {
                  type(window, 0, "other");
                  click(window, kPracticeClearId + 2);
                  click(window, kPracticeCancelId);
              }),
              DialogResult::cancelled);
    expect_paths("C:\\v\\top.mp4", "", "C:\\v\\l\u00e5g.mp4");
}

TEST_F(SelectPracticeFiles, EscAndCloseBoxCancel) {
    EXPECT_EQ(
        choose([](HWND window) { PostMessageA(GetDlgItem(window, kPracticePathId), WM_KEYDOWN, VK_ESCAPE, 1); }),
        DialogResult::cancelled);
    EXPECT_EQ(choose([](HWND window) { PostMessageA(window, WM_CLOSE, 0, 0); }), DialogResult::cancelled);
    expect_paths("C:\\v\\top.mp4", "", "C:\\v\\l\u00e5g.mp4");
}

TEST_F(SelectPracticeFiles, EnterPressesOk) {
    EXPECT_EQ(choose([](HWND window) {
                  type(window, 1, "typed");
                  PostMessageA(GetDlgItem(window, kPracticePathId + 1), WM_KEYDOWN, VK_RETURN, 1);
              }),
              DialogResult::ok);
    expect_paths("C:\\v\\top.mp4", "typed", "C:\\v\\l\u00e5g.mp4");
}

TEST_F(SelectPracticeFiles, LongTextKeeps255Characters) {
    EXPECT_EQ(choose([](HWND window) {
                  type(window, 0, std::string(300, 'x'));
                  type(window, 1, std::string(254, 'y') + "\u00e5");
                  click(window, kPracticeOkId);
              }),
              DialogResult::ok);
    expect_paths(std::string(255, 'x'), std::string(254, 'y'), "C:\\v\\l\u00e5g.mp4");
}

TEST_F(SelectPracticeFiles, CancelledBrowseLeavesTheBox) {
    for (int32_t feed = 0; feed < 3; ++feed) {
        EXPECT_EQ(choose([&](HWND window) {
                      PostMessageA(GetDlgItem(window, kPracticeBrowseId + feed), BM_CLICK, 0, 0);
                      const std::string title = "Select Feed " + std::to_string(feed) + " practice video";
                      HWND question = shown_window("#32770", title.c_str());
                      EXPECT_NE(question, nullptr) << title;
                      EXPECT_EQ(GetWindow(question, GW_OWNER), window);
                      PostMessageA(question, WM_COMMAND, IDCANCEL, 0);
                      look_until([&] { return !IsWindow(question); });
                      click(window, kPracticeOkId);
                  }),
                  DialogResult::ok);
    }
    expect_paths("C:\\v\\top.mp4", "", "C:\\v\\l\u00e5g.mp4");
}

TEST_F(SelectPracticeFiles, BrowsedFileReplacesTheText) {
    const TempDir dir;
    const std::string video = dir.file("video.mp4");
    write_whole_file(video, "");
    EXPECT_EQ(choose([&](HWND window) {
                  PostMessageA(GetDlgItem(window, kPracticeBrowseId + 1), BM_CLICK, 0, 0);
                  HWND question = shown_window("#32770", "Select Feed 1 practice video");
                  EXPECT_NE(question, nullptr);
                  HWND name = GetDlgItem(question, edt1);
                  if (!name) name = GetDlgItem(question, cmb13);
                  SendMessageA(name, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(video.c_str()));
                  PostMessageA(question, WM_COMMAND, IDOK, 0);
                  EXPECT_TRUE(look_until([&] { return !IsWindow(question); }));
                  EXPECT_TRUE(look_until([&] { return text_in(GetDlgItem(window, kPracticePathId + 1)) == video; }));
                  click(window, kPracticeOkId);
              }),
              DialogResult::ok);
    expect_paths("C:\\v\\top.mp4", video, "C:\\v\\l\u00e5g.mp4");
}

TEST_F(SelectPracticeFiles, TextThatIsNoFileNameCanStillBeBrowsed) {
    snprintf(paths[1], kSettingTextSize, "no|file?name");
    EXPECT_EQ(choose([](HWND window) {
                  PostMessageA(GetDlgItem(window, kPracticeBrowseId + 1), BM_CLICK, 0, 0);
                  HWND question = shown_window("#32770", "Select Feed 1 practice video");
                  EXPECT_NE(question, nullptr);
                  PostMessageA(question, WM_COMMAND, IDCANCEL, 0);
                  look_until([&] { return !IsWindow(question); });
                  click(window, kPracticeOkId);
              }),
              DialogResult::ok);
    expect_paths("C:\\v\\top.mp4", "no|file?name", "C:\\v\\l\u00e5g.mp4");
}
