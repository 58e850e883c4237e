// The camera chooser, driven through its controls, with the test program in capture.exe's place.
#include "settings/select_cameras.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/child_role.h"
#include "tests/support/log_capture.h"
#include "tests/windows/modal_operator.h"

namespace {

constexpr char kThree[] =
    "# number\tname\tdevice path\n"
    "0\tCam A\t\\\\?\\usb#vid#aaa#{g}\\global\r\n"
    "1\tCam B\t\\\\?\\usb#vid#bbb#{g}\\global\n"
    "2\tCam C\tplain-c\n";
constexpr char kA[] = "\\\\?\\usb#vid#aaa#{g}\\global";
constexpr char kB[] = "\\\\?\\usb#vid#bbb#{g}\\global";
constexpr char kC[] = "plain-c";
constexpr char kEnumerated3[] = "INF Select Cameras: enumerated 3 USB capture device(s) via capture.exe --list";
constexpr char kEnumerated0[] = "INF Select Cameras: enumerated 0 USB capture device(s) via capture.exe --list";

using Three = std::array<std::string, 3>;
using Lines = std::vector<std::string>;

class SelectCameras : public testing::Test {
protected:
    void SetUp() override {
        owner = CreateWindowExA(0, "STATIC", "owner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 1200, 600, nullptr,
                                nullptr, GetModuleHandleA(nullptr), nullptr);
        ASSERT_NE(owner, nullptr);
        ASSERT_TRUE(CopyFileA(own_program_path().c_str(), dir.file("capture.exe").c_str(), FALSE));
        says(kThree);
        log.take();
    }
    void TearDown() override {
        if (IsWindow(owner)) DestroyWindow(owner);
    }
    void says(const std::string& bytes) const {
        DeleteFileA(dir.file("cameras.txt").c_str());
        write_whole_file(dir.file("cameras.txt"), bytes);
    }
    void seed(const char* path0, const char* path1, const char* path2) {
        snprintf(paths[0], kSettingTextSize, "%s", path0);
        snprintf(paths[1], kSettingTextSize, "%s", path1);
        snprintf(paths[2], kSettingTextSize, "%s", path2);
    }
    // `operate` runs once the window is there, with the search still going on or not.
    DialogResult choose_at_once(const std::function<void(HWND)>& operate) {
        std::thread person([&] {
            HWND window = shown_window("SkiJumpSelectCameras");
            EXPECT_NE(window, nullptr);
            operate(window);
        });
        const DialogResult result = select_cameras(owner, dir.path().c_str(), paths);
        person.join();
        EXPECT_TRUE(IsWindowEnabled(owner));
        EXPECT_EQ(FindWindowA("SkiJumpSelectCameras", nullptr), nullptr);
        return result;
    }
    // `operate` runs once the search has ended.
    DialogResult choose(const std::function<void(HWND)>& operate) {
        return choose_at_once([&](HWND window) {
            EXPECT_TRUE(searched(window));
            operate(window);
        });
    }
    static std::string status(HWND window) {
        return text_in(GetDlgItem(window, kCameraStatusId));
    }
    static bool searched(HWND window) {
        return look_until([&] { return status(window) != "Looking for cameras..."; }) &&
               IsWindowEnabled(GetDlgItem(window, kCameraRefreshId));
    }
    static Lines items(HWND window, int32_t feed) {
        return items_in(GetDlgItem(window, kCameraListId + feed), CB_GETCOUNT, CB_GETLBTEXT);
    }
    static Three selections(HWND window) {
        Three texts;
        for (int32_t feed = 0; feed < 3; ++feed)
            texts[static_cast<size_t>(feed)] = text_in(GetDlgItem(window, kCameraListId + feed));
        return texts;
    }
    static void pick(HWND window, int32_t feed, int32_t item) {
        HWND list = GetDlgItem(window, kCameraListId + feed);
        SendMessageA(list, CB_SETCURSEL, static_cast<WPARAM>(item), 0);
        SendMessageA(window, WM_COMMAND, MAKEWPARAM(kCameraListId + feed, CBN_SELCHANGE),
                     reinterpret_cast<LPARAM>(list));
    }
    static void accept(HWND window) {
        click(window, IDOK);
    }
    static void cancel(HWND window) {
        click(window, IDCANCEL);
    }
    Three chosen() const {
        return {paths[0], paths[1], paths[2]};
    }

    LogCapture log;
    TempDir dir;
    HWND owner = nullptr;
    char paths[kSettingsFeeds][kSettingTextSize] = {};
};

}  // namespace

TEST_F(SelectCameras, EverythingStandsInItsPlace) {
    choose([&](HWND window) {
        EXPECT_EQ(text_in(window), "Select USB Cameras for Live Capture");
        EXPECT_EQ(GetWindow(window, GW_OWNER), owner);
        EXPECT_FALSE(IsWindowEnabled(owner));
        EXPECT_EQ(captions_in(window), (Lines{"Feed 0  (TOP): 14,18 120x24", "Feed 1  (MIDDLE): 14,62 120x24",
                                              "Feed 2  (BOTTOM): 14,106 120x24"}));
        for (int32_t feed = 0; feed < 3; ++feed) {
            const RECT list = place_in(window, GetDlgItem(window, kCameraListId + feed));
            EXPECT_EQ(list.left, 140);
            EXPECT_EQ(list.top, 14 + 44 * feed);
            EXPECT_EQ(list.right - list.left, 620);
        }
        const struct {
            int32_t id;
            const char *text, *place;
        } buttons[] = {{kCameraSwapId,
                        "Swap 0\u2194"
                        "1",
                        "14,176 90x26"},
                       {kCameraSwapId + 1,
                        "Swap 0\u2194"
                        "2",
                        "112,176 90x26"},
                       {kCameraSwapId + 2,
                        "Swap 1\u2194"
                        "2",
                        "210,176 90x26"},
                       {kCameraRefreshId, "Refresh List", "14,212 120x26"},
                       {IDOK, "OK", "658,212 90x26"},
                       {IDCANCEL, "Cancel", "756,212 90x26"}};
        for (const auto& button : buttons) {
            EXPECT_EQ(text_in(GetDlgItem(window, button.id)), button.text);
            EXPECT_EQ(place_text(window, GetDlgItem(window, button.id)), button.place) << button.text;
        }
        EXPECT_EQ(LOWORD(SendMessageA(window, DM_GETDEFID, 0, 0)), IDOK);
        cancel(window);
    });
    EXPECT_EQ(log.take(), Lines{kEnumerated3});
}

TEST_F(SelectCameras, ListsHoldUnusedAndEveryDevice) {
    choose([&](HWND window) {
        for (int32_t feed = 0; feed < 3; ++feed)
            EXPECT_EQ(items(window, feed), (Lines{"(unused)", "Cam A  [aaa]", "Cam B  [bbb]", "Cam C  [plain-c]"}));
        EXPECT_EQ(status(window), "3 cameras found.");
        cancel(window);
    });
}

TEST_F(SelectCameras, FeedsShowTheirCamerasAndOkHandsThemBackAsListed) {
    seed("PLAIN-C", "", kA);
    EXPECT_EQ(choose([&](HWND window) {
                  EXPECT_EQ(selections(window), (Three{"Cam C  [plain-c]", "(unused)", "Cam A  [aaa]"}));
                  accept(window);
              }),
              DialogResult::ok);
    EXPECT_EQ(chosen(), (Three{kC, "", kA}));
}

TEST_F(SelectCameras, CameraThatIsNotPluggedInShowsAsUnusedAndGoesWithOk) {
    seed("unplugged", kB, "");
    choose([&](HWND window) {
        EXPECT_EQ(selections(window), (Three{"(unused)", "Cam B  [bbb]", "(unused)"}));
        accept(window);
    });
    EXPECT_EQ(chosen(), (Three{"", kB, ""}));
}

TEST_F(SelectCameras, PickingAnotherFeedsCameraMovesThisOnesThere) {
    seed(kA, kB, "");
    choose([&](HWND window) {
        log.take();
        pick(window, 1, 1);
        EXPECT_EQ(selections(window), (Three{"Cam B  [bbb]", "Cam A  [aaa]", "(unused)"}));
        EXPECT_EQ(log.take(), Lines{"INF Select Cameras: auto-swapped feed 1 <-> feed 0 (operator picked duplicate "
                                    "device)"});
        accept(window);
    });
    EXPECT_EQ(chosen(), (Three{kB, kA, ""}));
}

TEST_F(SelectCameras, PickedDeviceAndPickedUnusedAreHandedBack) {
    seed(kA, kB, "");
    choose([&](HWND window) {
        pick(window, 0, 0);
        pick(window, 2, 3);
        accept(window);
    });
    EXPECT_EQ(chosen(), (Three{"", kB, kC}));
}

TEST_F(SelectCameras, SwapButtonsExchangeTwoFeeds) {
    seed(kA, kB, kC);
    choose([&](HWND window) {
        log.take();
        click(window, kCameraSwapId);
        EXPECT_EQ(selections(window), (Three{"Cam B  [bbb]", "Cam A  [aaa]", "Cam C  [plain-c]"}));
        click(window, kCameraSwapId + 1);
        EXPECT_EQ(selections(window), (Three{"Cam C  [plain-c]", "Cam A  [aaa]", "Cam B  [bbb]"}));
        click(window, kCameraSwapId + 2);
        EXPECT_EQ(selections(window), (Three{"Cam C  [plain-c]", "Cam B  [bbb]", "Cam A  [aaa]"}));
        EXPECT_EQ(log.take(), (Lines{"INF Select Cameras: swapped feed 0 <-> feed 1",
                                     "INF Select Cameras: swapped feed 0 <-> feed 2",
                                     "INF Select Cameras: swapped feed 1 <-> feed 2"}));
        accept(window);
    });
    EXPECT_EQ(chosen(), (Three{kC, kB, kA}));
}

TEST_F(SelectCameras, CancelChangesNothing) {
    seed(kA, kB, "unplugged");
    EXPECT_EQ(choose([&](HWND window) {
                  pick(window, 0, 3);
                  click(window, kCameraSwapId + 2);
                  cancel(window);
              }),
              DialogResult::cancelled);
    EXPECT_EQ(chosen(), (Three{kA, kB, "unplugged"}));
}

TEST_F(SelectCameras, RefreshListLooksAgainAndKeepsTheChoice) {
    seed(kA, "", "");
    choose([&](HWND window) {
        pick(window, 1, 2);
        says(std::string(kThree) + "3\tCam D\tplain-d\n");
        click(window, kCameraRefreshId);
        EXPECT_TRUE(searched(window));
        EXPECT_EQ(status(window), "4 cameras found.");
        EXPECT_EQ(items(window, 2).back(), "Cam D  [plain-d]");
        EXPECT_EQ(selections(window), (Three{"Cam A  [aaa]", "Cam B  [bbb]", "(unused)"}));
        accept(window);
    });
    EXPECT_EQ(chosen(), (Three{kA, kB, ""}));
}

TEST_F(SelectCameras, MissingProgramShowsNoDevicesAndSaysSo) {
    DeleteFileA(dir.file("capture.exe").c_str());
    seed(kA, "", "");
    choose([&](HWND window) {
        EXPECT_EQ(status(window), "capture.exe could not be started. Cancel keeps the cameras as they are.");
        EXPECT_EQ(items(window, 0), Lines{"(unused)"});
        cancel(window);
    });
    EXPECT_EQ(log.take(),
              Lines{"ERR Select Cameras: _popen failed for '\"" + dir.path() + "\\capture.exe\" --list 2>&1'"});
    EXPECT_EQ(chosen(), (Three{kA, "", ""}));
}

TEST_F(SelectCameras, FileThatIsNoProgramShowsNoDevices) {
    DeleteFileA(dir.file("capture.exe").c_str());
    write_whole_file(dir.file("capture.exe"), "not a program");
    choose([&](HWND window) {
        EXPECT_EQ(items(window, 0), Lines{"(unused)"});
        cancel(window);
    });
    ASSERT_EQ(log.take().size(), 1u);
}

TEST_F(SelectCameras, BinaryOutputShowsNoDevices) {
    std::string bytes;
    for (int32_t i = 0; i < 300'000; ++i) bytes += static_cast<char>(i * 37 % 251 | 0x80);
    says(bytes);
    choose([&](HWND window) {
        EXPECT_EQ(status(window), "0 cameras found.");
        cancel(window);
    });
    EXPECT_EQ(log.take(), Lines{kEnumerated0});
}

TEST_F(SelectCameras, OfTwoThousandDevicesSixteenAreShown) {
    std::string bytes;
    for (int32_t i = 0; i < 2000; ++i) bytes += "0\tCam " + std::to_string(i) + "\tpath\n";
    says(bytes);
    choose([&](HWND window) {
        EXPECT_EQ(items(window, 1).size(), 17u);
        cancel(window);
    });
    EXPECT_EQ(log.take(), Lines{"INF Select Cameras: enumerated 16 USB capture device(s) via capture.exe --list"});
}

TEST_F(SelectCameras, ProgramThatHangsIsEndedAndWhatItSaidIsShown) {
    write_whole_file(dir.file("cameras_hang.txt"), "");
    seed(kA, "", "");
    const ULONGLONG start = GetTickCount64();
    choose([&](HWND window) {
        EXPECT_EQ(status(window), "capture.exe did not finish and was ended. 3 cameras found.");
        EXPECT_EQ(selections(window), (Three{"Cam A  [aaa]", "(unused)", "(unused)"}));
        accept(window);
    });
    EXPECT_GE(GetTickCount64() - start, 10'000u);
    EXPECT_EQ(log.take(),
              (Lines{"WRN Select Cameras: capture.exe --list did not finish in time and was ended", kEnumerated3}));
    EXPECT_EQ(chosen(), (Three{kA, "", ""}));
    EXPECT_TRUE(look_until([&] { return DeleteFileA(dir.file("capture.exe").c_str()) != FALSE; })) << "still runs";
}

TEST_F(SelectCameras, WhileItLooksOnlyCancelWorksAndEndsTheProgram) {
    write_whole_file(dir.file("cameras_hang.txt"), "");
    seed(kA, kB, "");
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(choose_at_once([&](HWND window) {
                  EXPECT_TRUE(look_until([&] { return status(window) == "Looking for cameras..."; }));
                  for (const int32_t id : {kCameraListId, kCameraSwapId, kCameraRefreshId, int32_t{IDOK}})
                      EXPECT_FALSE(IsWindowEnabled(GetDlgItem(window, id))) << id;
                  SendMessageA(window, WM_COMMAND, IDOK, 0);
                  SendMessageA(window, WM_COMMAND, kCameraSwapId, 0);
                  EXPECT_TRUE(IsWindow(window));
                  cancel(window);
              }),
              DialogResult::cancelled);
    EXPECT_LT(GetTickCount64() - start, 5'000u);
    EXPECT_EQ(chosen(), (Three{kA, kB, ""}));
    EXPECT_TRUE(look_until([&] { return DeleteFileA(dir.file("capture.exe").c_str()) != FALSE; })) << "still runs";
}

TEST_F(SelectCameras, ProgramThatPrintsWithoutEndLeavesTheWindowsServed) {
    says("");
    write_whole_file(dir.file("cameras_flood.txt"), "");
    choose_at_once([&](HWND window) {
        for (int32_t i = 0; i < 20; ++i) {
            DWORD_PTR result = 0;
            EXPECT_NE(SendMessageTimeoutA(owner, WM_NULL, 0, 0, SMTO_NORMAL, 2'000, &result), 0);
            Sleep(20);
        }
        cancel(window);
    });
}

TEST_F(SelectCameras, WindowComesBackWhereItWasClosed) {
    choose([&](HWND window) {
        SetWindowPos(window, nullptr, 333, 222, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
        RECT place = {};
        look_until([&] { return GetWindowRect(window, &place) && place.left == 333 && place.top == 222; });
        cancel(window);
    });
    EXPECT_EQ(read_whole_file(dir.file("select_cameras_window.ini")), "x=333\r\ny=222\r\n");
    choose([&](HWND window) {
        RECT place = {};
        GetWindowRect(window, &place);
        EXPECT_EQ(place.left, 333);
        EXPECT_EQ(place.top, 222);
        accept(window);
    });
}

TEST_F(SelectCameras, PlaceOffTheScreensIsNotTaken) {
    write_whole_file(dir.file("select_cameras_window.ini"), "x=-30000\ny=90000\n");
    choose([&](HWND window) {
        RECT place = {};
        GetWindowRect(window, &place);
        EXPECT_GE(place.left, 0);
        EXPECT_LT(place.top, GetSystemMetrics(SM_CYSCREEN));
        cancel(window);
    });
}
