// The simulated cameras: what there is to be listed, which of them a device path means, and the number that each
// shows in its picture, so that swapped cables are seen.
//
// A camera stands at its place on the hill; which feed it serves is the console's choice. So camera n takes the
// scene's view n, whatever the feed.
#pragma once

#include <cstdint>
#include <string>

inline constexpr int32_t kSimulatedCameras = 3;

struct SimulatedCamera {
    const char* name;
    const char* path;
};

const SimulatedCamera& simulated_camera(int32_t camera);

// One line per camera: number, name and device path between TABs; lines that begin with "#" explain.
std::string camera_listing();

// The camera of that device path, upper and lower case being one; -1 when there is none. Null, no camera named: the
// one that stands where `feed` belongs.
int32_t camera_of_path(const char* device_path, int32_t feed);

// Draws the camera's number on a plate into the lower left corner of a picture as wide as the scene. `rows` is even
// and at least 100.
void draw_camera_number(int32_t camera, int32_t rows, uint8_t* y, uint8_t* u, uint8_t* v);
