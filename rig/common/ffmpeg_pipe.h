// Raw 1920 x 1080 I420 frames to and from ffmpeg.exe, which lies beside the workers or on the PATH.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// Full path of ffmpeg.exe; empty when there is none.
std::string ffmpeg_find();
bool file_exists(const char* path);

// A socket on the loopback address that waits for one caller, and the port it was given; ~0 when there is none to be
// had.
uintptr_t loopback_listen(uint16_t* port);
// Starts a command line without a window. The process handle, null when it does not start.
void* ffmpeg_start(std::string command);

// A video as it is being decoded. Frames come over a loopback connection: three full-size feeds are half a gigabyte
// per second, more than a pipe between processes carries everywhere.
struct VideoReader {
    void* process;
    uintptr_t socket;  // ~0 when there is none
};

// Starts decoding `video` from frame `first_frame` on, at 60 frames per second. A recording of a feed (1920 x 540) is
// the upper half of the picture, above black. Returns 0; -1 when ffmpeg does not start or does not connect
// within ten seconds. The caller closes it either way.
int32_t video_reader_open(VideoReader* reader, const std::string& ffmpeg, const char* video, int64_t first_frame);
// Reads exactly `count` bytes. False at the end of the video.
bool video_reader_read(VideoReader* reader, uint8_t* to, size_t count);
// Ends the decoder too; harmless on one that was never opened with success.
void video_reader_close(VideoReader* reader);

// A pipe that takes frames and makes `video` of them; null when it cannot be started.
FILE* ffmpeg_open_writer(const std::string& ffmpeg, const char* video);
// Returns ffmpeg's exit code.
int32_t ffmpeg_close_writer(FILE* pipe);
