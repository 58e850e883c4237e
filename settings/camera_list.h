// The cameras that `capture.exe --list` names, and which of them films which feed: what the camera chooser knows and
// decides, without its window.
//
// The listing comes from another program, which talks to drivers: it may be endless, binary or cut off anywhere.
// So it is read piece by piece into fixed space.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "settings/settings.h"

inline constexpr int32_t kMaxCameras = 16;
inline constexpr int32_t kCameraLineSize = 1024;   // a line of the listing with its terminating NUL
inline constexpr int32_t kCameraItemSize = 520;    // a line of a feed's list, terminated
inline constexpr int32_t kCameraMessageSize = 96;  // what the chooser says about its search, terminated

// UTF-8, cut between two characters when too long.
struct CameraDevice {
    char name[kSettingTextSize];
    char path[kSettingTextSize];  // the device's symbolic link, which names it to capture.exe
};

struct CameraList {
    int32_t count;
    CameraDevice device[kMaxCameras];
};

// Collects the listing as it arrives. Starts as zeros.
struct CameraListReader {
    CameraList list;
    char piece[kCameraLineSize];
    int32_t piece_length;
};

// False when no more is wanted: the list is full. A line is a device's number, name and path between TABs; lines
// without two TABs, empty ones and those that begin with "#" say nothing. Of a line longer than 1,023 bytes every
// 1,023 count as a line; a NUL hides the rest of its line.
bool camera_list_feed(CameraListReader* reader, const char* bytes, size_t size);
// Takes the last line, which may lack its line end.
void camera_list_finish(CameraListReader* reader);

// How a feed's list shows the device: its name and, of the path, what tells two cameras of one make apart.
void camera_item_text(const CameraDevice* device, char (&text)[kCameraItemSize]);

// The three feeds' cameras while the operator chooses.
struct CameraChoice {
    CameraList list;
    char path[kSettingsFeeds][kSettingTextSize];  // also of a camera that is not plugged in now; "" for none
    int32_t shown[kSettingsFeeds];                // item of the feed's list: 0 "(unused)", n the device n - 1
};

// Takes over a listing; each feed shows its camera where that is listed.
void camera_choice_refill(CameraChoice* choice, const CameraList* list);

// The operator picked an item for the feed. A camera films one feed only: when another feed shows the picked one,
// that feed gets this one's camera, and its number is returned; -1 when no other feed changed.
int32_t camera_choice_pick(CameraChoice* choice, int32_t feed, int32_t item);

void camera_choice_swap(CameraChoice* choice, int32_t feed, int32_t other);

// The path of the camera that the feed's list shows; "" for "(unused)". Valid until the choice changes.
const char* camera_choice_result(const CameraChoice* choice, int32_t feed);

// How the search for cameras stands.
enum class CameraSearch : int32_t {
    running = 0,
    complete = 1,
    not_started = 2,  // the program is missing or no program
    ended_late = 3,   // it did not end by itself in time
};
// One sentence for the operator.
void camera_search_message(CameraSearch search, int32_t count, char (&text)[kCameraMessageSize]);

// The text of the file that keeps the chooser's place on the screen.
inline constexpr int32_t kCameraPositionSize = 40;
void camera_position_text(int32_t x, int32_t y, char (&text)[kCameraPositionSize]);
