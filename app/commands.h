// Every command id and control id of the main window, once. Buttons, menus, accelerators and the unattended runs all
// speak these numbers, and so does whoever drives the window from outside: a number is never given a second meaning.
#pragma once

#include <cstdint>

// Children of the main window that are no commands.
inline constexpr int32_t kIdTabs = 100;
inline constexpr int32_t kIdStatusBar = 101;
inline constexpr int32_t kIdPreviewPicture = 110;
inline constexpr int32_t kIdPage = 120;          // plain ground between the tab control and the controls on it
inline constexpr int32_t kIdProcessList = 200;   // Processes tab
inline constexpr int32_t kIdFeedCamera = 310;    // + feed, Feeds tab: the assigned camera
inline constexpr int32_t kIdFeedCounters = 320;  // + feed: counters and rate

// Processes tab. The stop of a single worker is its start + 3 (per feed) or + 1.
inline constexpr int32_t kCmdStartAll = 201;
inline constexpr int32_t kCmdStopAll = 202;
inline constexpr int32_t kCmdStartCapture = 210;  // + feed
inline constexpr int32_t kCmdStopCapture = 213;   // + feed
inline constexpr int32_t kCmdStartMotion = 220;   // + feed
inline constexpr int32_t kCmdStopMotion = 223;    // + feed
inline constexpr int32_t kCmdStartVideogen = 230;
inline constexpr int32_t kCmdStopVideogen = 231;
inline constexpr int32_t kCmdStartViewer = 232;
inline constexpr int32_t kCmdStopViewer = 233;

// Feeds tab.
inline constexpr int32_t kCmdToggleMotion = 300;  // + feed

// Menus and hidden buttons.
inline constexpr int32_t kCmdGridLines = 500;
inline constexpr int32_t kCmdHelp = 501;
inline constexpr int32_t kCmdAbout = 502;
inline constexpr int32_t kCmdFileCapture = 510;
inline constexpr int32_t kCmdSelectPracticeFiles = 520;
inline constexpr int32_t kCmdSelectCameras = 521;

// Jumper panel, on the Preview tab.
inline constexpr int32_t kIdJumperList = 600;
inline constexpr int32_t kIdJumperBib = 601;
inline constexpr int32_t kIdJumperRound = 602;
inline constexpr int32_t kCmdRoundDown = 603;
inline constexpr int32_t kCmdRoundUp = 604;
inline constexpr int32_t kCmdLoadJumpers = 605;

// Preview tab.
inline constexpr int32_t kCmdPlay = 700;
inline constexpr int32_t kCmdLaunchPractice = 701;
inline constexpr int32_t kCmdGoLive = 702;
inline constexpr int32_t kCmdFeedButton = 705;  // + feed; acts as kCmdToggleMotion + feed
inline constexpr int32_t kCmdSetRegion = 710;   // + feed
inline constexpr int32_t kCmdSaveRegions = 713;
inline constexpr int32_t kCmdForceVideo = 714;
inline constexpr int32_t kCmdSyncFeeds = 715;
inline constexpr int32_t kCmdHighlight = 716;
inline constexpr int32_t kCmdLogOn = 717;
inline constexpr int32_t kCmdCircles = 718;
inline constexpr int32_t kCmdSaveMotionRange = 719;
inline constexpr int32_t kCmdAutoSetup = 720;
inline constexpr int32_t kCmdIgnoreRegion = 721;  // + feed
inline constexpr int32_t kCmdShadowRemoval = 724;
inline constexpr int32_t kCmdFeedOffset = 725;  // + feed
inline constexpr int32_t kCmdCaptureFeeds = 728;
inline constexpr int32_t kCmdPauseRecording = 729;

// Settings tab: 800 is its list, 801..809 its buttons (settings/settings_tab.h).

// Accelerators.
inline constexpr int32_t kCmdSaveSettings = 1001;
inline constexpr int32_t kCmdLoadSettings = 1002;

// The File Capture panel's own buttons are 1100 and 1101 (procs/capture_panel_view.h).

// Messages between our own threads and windows, from WM_APP (0x8000) on.
inline constexpr uint32_t kMsgPreviewRefresh = 0x8001;
