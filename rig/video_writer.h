// A recording as it is being written: through ffmpeg.exe into an .mp4 file, or without it uncompressed into a .y4m
// file. Pictures are 1920 x 540 I420.
//
// The pictures go over a loopback connection, as those of VideoReader come. When this process dies the connection
// ends, ffmpeg takes that for the end of the video and finishes the file: a recorder that crashes loses no recording.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

struct VideoWriter {
    void* process;
    uintptr_t socket;  // ~0 when there is none
    FILE* file;        // the .y4m file
    // Asked at least ten times a second while ffmpeg keeps us waiting; false gives up.
    bool (*keep_trying)(void* context);
    void* context;
};

// Nothing is open.
VideoWriter video_writer_make(bool (*keep_trying)(void* context), void* context);
bool video_writer_is_open(const VideoWriter* writer);

// Starts ffmpeg, `quality` being its constant rate factor. Returns 0; -1, nothing left open, when it does not
// connect.
int32_t video_writer_open_ffmpeg(VideoWriter* writer, const std::string& ffmpeg, const std::string& path,
                                 int32_t quality);
int32_t video_writer_open_y4m(VideoWriter* writer, const std::string& path);

// One picture. False when it could not be handed over; close the writer then.
bool video_writer_write(VideoWriter* writer, const uint8_t* picture);

// Finishes the file. Returns 0 when it is whole, 1 when ffmpeg (or the disk) failed, 2 when ffmpeg was still at it
// after `wait_ms`; it then goes on by itself.
int32_t video_writer_close(VideoWriter* writer, uint32_t wait_ms);
