#include "rig/video_writer.h"

#include <winsock2.h>

#include "ipc/frame_ring.h"
#include "rig/common/ffmpeg_pipe.h"

static constexpr uintptr_t kNoSocket = ~uintptr_t{0};
static constexpr long kPatienceUs = 50'000;  // between two questions whether to keep trying
static constexpr int kBuffer = 4 << 20;      // room for two pictures on either side: few and large calls

VideoWriter video_writer_make(bool (*keep_trying)(void* context), void* context) {
    return {nullptr, kNoSocket, nullptr, keep_trying, context};
}

bool video_writer_is_open(const VideoWriter* writer) {
    return writer->file != nullptr || writer->process != nullptr;
}

// Waits until the socket can be read from or written to. False when it is not worth waiting any longer.
static bool wait_for(const VideoWriter* writer, SOCKET socket, bool to_write) {
    for (;;) {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(socket, &set);
        timeval limit{0, kPatienceUs};
        const int ready = select(0, to_write ? nullptr : &set, to_write ? &set : nullptr, nullptr, &limit);
        if (ready != 0) return ready > 0;
        if (WaitForSingleObject(writer->process, 0) == WAIT_OBJECT_0) return false;
        if (!writer->keep_trying(writer->context)) return false;
    }
}

int32_t video_writer_open_ffmpeg(VideoWriter* writer, const std::string& ffmpeg, const std::string& path,
                                 int32_t quality) {
    uint16_t port = 0;
    const uintptr_t listener = loopback_listen(&port);
    if (listener == kNoSocket) return -1;
    // ultrafast and a single thread each: three of these run beside everything else. Hardly any key frames, because
    // the picture pulses at each, which detectors take for motion when the recording is played to them.
    writer->process = ffmpeg_start(
        "\"" + ffmpeg + "\" -v error -nostdin -f rawvideo -pix_fmt yuv420p -s 1920x540 -r 60 -i \"tcp://127.0.0.1:" +
        std::to_string(port) + "?recv_buffer_size=" + std::to_string(kBuffer) +
        "\" -an -c:v libx264 -preset ultrafast -threads 1 -crf " + std::to_string(quality) +
        " -g 36000 -pix_fmt yuv420p -r 60 -n \"" + path + "\"");
    if (writer->process != nullptr && wait_for(writer, listener, false))
        writer->socket = accept(listener, nullptr, nullptr);
    closesocket(listener);
    if (writer->socket == kNoSocket) {
        if (writer->process != nullptr) TerminateProcess(writer->process, 1);
        (void)video_writer_close(writer, 0);
        return -1;
    }
    setsockopt(writer->socket, SOL_SOCKET, SO_SNDBUF, reinterpret_cast<const char*>(&kBuffer), sizeof kBuffer);
    u_long without_waiting = 1;
    ioctlsocket(writer->socket, static_cast<long>(FIONBIO), &without_waiting);
    return 0;
}

int32_t video_writer_open_y4m(VideoWriter* writer, const std::string& path) {
    writer->file = fopen(path.c_str(), "wb");
    if (writer->file == nullptr) return -1;
    fputs("YUV4MPEG2 W1920 H540 F60:1 Ip A1:1 C420jpeg\n", writer->file);
    return 0;
}

static bool send_all(VideoWriter* writer, const uint8_t* bytes, size_t count) {
    while (count > 0) {
        const int sent = send(writer->socket, reinterpret_cast<const char*>(bytes), static_cast<int>(count), 0);
        if (sent > 0) {
            bytes += sent;
            count -= static_cast<size_t>(sent);
        } else if (WSAGetLastError() != WSAEWOULDBLOCK || !wait_for(writer, writer->socket, true)) {
            return false;
        }
    }
    return true;
}

bool video_writer_write(VideoWriter* writer, const uint8_t* picture) {
    constexpr size_t kSize = picture_bytes(kFeedHeight);
    if (writer->file == nullptr) return send_all(writer, picture, kSize);
    fputs("FRAME\n", writer->file);
    return fwrite(picture, 1, kSize, writer->file) == kSize;
}

int32_t video_writer_close(VideoWriter* writer, uint32_t wait_ms) {
    int32_t result = 0;
    if (writer->file != nullptr) {
        const bool failed = ferror(writer->file) != 0;
        result = fclose(writer->file) != 0 || failed ? 1 : 0;
    }
    if (writer->socket != kNoSocket) closesocket(writer->socket);
    if (writer->process != nullptr) {
        DWORD code = 0;
        if (WaitForSingleObject(writer->process, wait_ms) != WAIT_OBJECT_0)
            result = 2;
        else if (GetExitCodeProcess(writer->process, &code) == 0 || code != 0)
            result = 1;
        CloseHandle(writer->process);
    }
    *writer = video_writer_make(writer->keep_trying, writer->context);
    return result;
}
