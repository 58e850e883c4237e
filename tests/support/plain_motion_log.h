// What the motion logs mean, said as plainly as possible: the text in a line buffer, searched key by key from its
// start. Slow, and the measure for the fast reader. In a header, since tests and fuzz targets share it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "autosetup/workspace.h"

// The line buffer's contents in turn, each as the text functions see it.
inline std::vector<std::string> plain_log_pieces(std::string_view log, size_t buffer_size) {
    std::string text;
    text.reserve(log.size());
    for (size_t i = 0; i < log.size(); ++i)
        if (log[i] != '\r' || i + 1 == log.size() || log[i + 1] != '\n') text += log[i];
    std::vector<std::string> pieces;
    for (size_t at = 0; at < text.size();) {
        const size_t line_end = std::min(text.find('\n', at), text.size() - 1) + 1;
        std::string piece = text.substr(at, std::min(line_end - at, buffer_size - 1));
        at += piece.size();
        if (piece.back() == '\n') piece.pop_back();
        pieces.emplace_back(piece.c_str());  // which ends at the first NUL
    }
    return pieces;
}

// What a feed's log leaves behind.
struct PlainFeed {
    std::vector<MotionBlob> blobs;
    int32_t centroid_y_min = 1080, centroid_y_max = 0, bbox_y_min = 1080, bbox_y_max = 0, blob_size_max = 0;
    int32_t ycum_max = 0, ucum_max = 0, vcum_max = 0;
};

inline int32_t plain_narrow(int64_t value) {
    return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

// The number behind `key`, or `otherwise` when the line has no such key.
inline int64_t plain_number(const char* line, const char* key, int64_t otherwise) {
    const char* found = strstr(line, key);
    return found ? strtoll(found + strlen(key), nullptr, 10) : otherwise;
}

inline void plain_fourth(const char* line, const char* key, int32_t* maximum) {
    const char* at = strstr(line, key);
    if (!at) return;
    at += strlen(key);
    int32_t fourth = 0;
    for (int i = 0; i < 4; ++i) {
        if (i > 0 && *at++ != ',') return;
        char* end = nullptr;
        fourth = plain_narrow(strtoll(at, &end, 10));
        if (end == at) return;
        at = end;
    }
    *maximum = std::max(*maximum, fourth);
}

// `meters` is the feed's table, null without one.
inline PlainFeed plain_motion_log(std::string_view log, int32_t feed, int32_t min_size, const float* meters) {
    PlainFeed result;
    for (const std::string& piece : plain_log_pieces(log, 1024)) {
        const char* line = piece.c_str();
        if (!strstr(line, "blob0_sz=")) continue;
        if (strstr(line, " type=")) {
            if (plain_narrow(plain_number(line, " type=", 0)) == 0) continue;
        } else if (plain_narrow(plain_number(line, " blobs=", 1)) < 1) {
            continue;
        }
        const int32_t size = plain_narrow(plain_number(line, "blob0_sz=", 0));
        if (size < min_size) continue;
        if (!strstr(line, "blob0_x=")) continue;
        MotionBlob blob = {};
        blob.size = static_cast<uint32_t>(size);
        blob.x = plain_narrow(plain_number(line, "blob0_x=", 0));
        blob.y = plain_narrow(plain_number(line, "blob0_y=", 0));
        blob.first_y = plain_narrow(plain_number(line, "blob0_first_y=", blob.y));
        blob.last_y = plain_narrow(plain_number(line, "blob0_last_y=", blob.y));
        if (!strstr(line, "seq=") || !strstr(line, "feed ")) continue;
        blob.seq = plain_number(line, "seq=", 0);
        if (plain_narrow(plain_number(line, "feed ", -1)) != feed) continue;
        blob.ts = plain_number(line, " ts=", 0);
        if (meters) blob.meter = meters[std::clamp(blob.x, 0, 1919)];
        result.blobs.push_back(blob);
        result.centroid_y_min = std::min(result.centroid_y_min, blob.y);
        result.centroid_y_max = std::max(result.centroid_y_max, blob.y);
        result.bbox_y_min = std::min(result.bbox_y_min, blob.first_y);
        result.bbox_y_max = std::max(result.bbox_y_max, blob.last_y);
        result.blob_size_max = std::max(result.blob_size_max, size);
        plain_fourth(line, "ycum=", &result.ycum_max);
        plain_fourth(line, "ucum=", &result.ucum_max);
        plain_fourth(line, "vcum=", &result.vcum_max);
    }
    return result;
}

inline bool plain_same_blob(const MotionBlob& a, const MotionBlob& b) {
    return a.size == b.size && a.x == b.x && a.y == b.y && a.first_y == b.first_y && a.last_y == b.last_y &&
           a.seq == b.seq && a.ts == b.ts && memcmp(&a.meter, &b.meter, sizeof a.meter) == 0;
}

// Whether the workspace holds for the feed just what the plain reading found.
inline bool plain_matches(const AutoSetupWorkspace& w, int32_t feed, const PlainFeed& plain) {
    if (static_cast<size_t>(w.blob_count[feed]) != plain.blobs.size()) return false;
    for (size_t i = 0; i < plain.blobs.size(); ++i)
        if (!plain_same_blob(w.blobs[feed][i], plain.blobs[i])) return false;
    return w.centroid_y_min[feed] == plain.centroid_y_min && w.centroid_y_max[feed] == plain.centroid_y_max &&
           w.bbox_y_min[feed] == plain.bbox_y_min && w.bbox_y_max[feed] == plain.bbox_y_max &&
           w.blob_size_max[feed] == plain.blob_size_max && w.ycum_max[feed] == plain.ycum_max &&
           w.ucum_max[feed] == plain.ucum_max && w.vcum_max[feed] == plain.vcum_max;
}
