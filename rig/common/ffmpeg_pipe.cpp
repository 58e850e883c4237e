#include "rig/common/ffmpeg_pipe.h"

#include <windows.h>
#include <winsock2.h>

#include <algorithm>

namespace {

constexpr char kRawFormat[] = "-f rawvideo -pix_fmt yuv420p -s 1920x1080 -r 60";
// A recorded feed is half a picture high and stays as it is, above black; everything else is made to fit.
constexpr char kFullPicture[] =
    "-vf \"scale=1920:'if(eq(iw,1920)*eq(ih,540),540,1080)',pad=1920:1080:0:0\" -f rawvideo -pix_fmt yuv420p -r 60";
constexpr uintptr_t kNoSocket = ~uintptr_t{0};
constexpr long kConnectSeconds = 10;
// Room for a whole frame on either side, and none of ffmpeg's own small buffers between: few and large calls.
constexpr int32_t kReceiveBuffer = 4 << 20;
constexpr int32_t kSendBuffer = 4 << 20;

}  // namespace

bool file_exists(const char* path) {
    const DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::string ffmpeg_find() {
    char path[MAX_PATH];
    const DWORD length = GetModuleFileNameA(nullptr, path, sizeof path);
    if (length > 0 && length < sizeof path) {
        std::string beside(path);
        beside.resize(beside.find_last_of("\\/") + 1);
        beside += "ffmpeg.exe";
        if (file_exists(beside.c_str())) return beside;
    }
    const DWORD found = SearchPathA(nullptr, "ffmpeg.exe", nullptr, sizeof path, path, nullptr);
    return found > 0 && found < sizeof path ? std::string(path) : std::string();
}

uintptr_t loopback_listen(uint16_t* port) {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) return INVALID_SOCKET;
    const SOCKET listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (listener == INVALID_SOCKET) return INVALID_SOCKET;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int length = sizeof address;
    setsockopt(listener, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char*>(&kReceiveBuffer),
               sizeof kReceiveBuffer);
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) == 0 && listen(listener, 1) == 0 &&
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        *port = ntohs(address.sin_port);
        return listener;
    }
    closesocket(listener);
    return INVALID_SOCKET;
}

// cppcheck-suppress passedByValue ; CreateProcessA writes into the command line.
void* ffmpeg_start(std::string command) {
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION information{};
    if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr, &startup,
                       &information) == 0)
        return nullptr;
    CloseHandle(information.hThread);
    return information.hProcess;
}

static SOCKET accept_one(SOCKET listener) {
    fd_set waiting;
    FD_ZERO(&waiting);
    FD_SET(listener, &waiting);
    timeval limit{kConnectSeconds, 0};
    return select(0, &waiting, nullptr, nullptr, &limit) == 1 ? accept(listener, nullptr, nullptr) : INVALID_SOCKET;
}

int32_t video_reader_open(VideoReader* reader, const std::string& ffmpeg, const char* video, int64_t first_frame) {
    *reader = VideoReader{nullptr, kNoSocket};
    uint16_t port = 0;
    const SOCKET listener = loopback_listen(&port);
    if (listener == INVALID_SOCKET) return -1;
    char seek[48];
    snprintf(seek, sizeof seek, "%.6f", static_cast<double>(std::max<int64_t>(first_frame, 0)) / 60.0);
    reader->process =
        ffmpeg_start("\"" + ffmpeg + "\" -v error -nostdin -threads 1 -ss " + seek + " -i \"" + video + "\" -an " +
                     kFullPicture + " -avioflags direct tcp://127.0.0.1:" + std::to_string(port) +
                     "?send_buffer_size=" + std::to_string(kSendBuffer));
    const SOCKET connection = reader->process != nullptr ? accept_one(listener) : INVALID_SOCKET;
    closesocket(listener);
    if (connection == INVALID_SOCKET) return -1;
    reader->socket = connection;
    return 0;
}

bool video_reader_read(VideoReader* reader, uint8_t* to, size_t count) {
    while (count > 0) {
        const int chunk = static_cast<int>(std::min<size_t>(count, size_t{1} << 24));
        const int got = recv(reader->socket, reinterpret_cast<char*>(to), chunk, 0);
        if (got <= 0) return false;
        to += got;
        count -= static_cast<size_t>(got);
    }
    return true;
}

void video_reader_close(VideoReader* reader) {
    if (reader->process == nullptr) return;
    if (reader->socket != kNoSocket) closesocket(reader->socket);
    TerminateProcess(reader->process, 0);
    CloseHandle(reader->process);
    *reader = VideoReader{nullptr, kNoSocket};
}

// cmd.exe takes the outermost pair of quotes away when the line begins with one.
FILE* ffmpeg_open_writer(const std::string& ffmpeg, const char* video) {
    const std::string command = "\"" + ffmpeg + "\" -v error -y " + kRawFormat +
                                " -i - -an -c:v libx264 -preset ultrafast -tune fastdecode -crf 26 -g 60 "
                                "-pix_fmt yuv420p \"" +
                                video + "\"";
    return _popen(("\"" + command + "\"").c_str(), "wb");
}

int32_t ffmpeg_close_writer(FILE* pipe) {
    return _pclose(pipe);
}
