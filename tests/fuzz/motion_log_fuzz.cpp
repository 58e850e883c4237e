// Any bytes as feed 1's motion log: the fast reader must find just what reading through a line buffer does, also
// where the log straddles the edge of the block that is read at once.
#include <memory>
#include <string>

#include "autosetup/log_lines.h"
#include "autosetup/motion_log.h"
#include "settings/settings_values.h"
#include "tests/support/fuzz_folder.h"
#include "tests/support/plain_motion_log.h"

static constexpr int32_t kLeastSize = 10;
static constexpr size_t kOtherLineBuffer = 512;  // another reader of the same log

// Every piece, through the buffer of another size.
static void check_pieces(std::string_view log) {
    static const auto lines = std::make_unique<LogLines>();
    const std::string path = fuzz_folder() + "/motion_debug_1.log";
    fuzz_require(log_lines_open(lines.get(), path.c_str()) == 0);
    std::string_view piece;
    for (const std::string& expected : plain_log_pieces(log, kOtherLineBuffer)) {
        fuzz_require(log_lines_next(lines.get(), kOtherLineBuffer, &piece));
        fuzz_require(piece == expected);
    }
    fuzz_require(!log_lines_next(lines.get(), kOtherLineBuffer, &piece));
    log_lines_close(lines.get());
}

static void check_records(std::string_view log, const ByteScan& scan) {
    static const auto settings = [] {
        auto made = std::make_unique<Settings>();
        settings_init_defaults(made.get());
        made->min_blob_sizes[0] = kLeastSize;
        return made;
    }();
    AutoSetupWorkspace* const workspace = workspace_create(settings.get());
    fuzz_require(workspace != nullptr);
    workspace->log_dir = fuzz_folder().c_str();
    for (int32_t x = 0; x < kPixelColumns; ++x) workspace->meters_at_x[1][x] = static_cast<float>(x) / 16;
    workspace->grid_valid[1] = 1;
    const int32_t result = parse_motion_logs(workspace, settings.get(), {.scan = &scan});
    const PlainFeed plain = plain_motion_log(log, 1, kLeastSize, workspace->meters_at_x[1]);
    fuzz_require(plain_matches(*workspace, 1, plain));
    fuzz_require(result == (plain.blobs.empty() ? -1 : 0));
    workspace_destroy(workspace);
}

// What moves a log to where a block ends: lines of a hundred characters or one long line.
static std::string filler(size_t size, bool lines) {
    std::string text(size, '.');
    for (size_t i = 99; lines && i < size; i += 100) text[i] = '\n';
    return text;
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    fuzz_mute_log();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string log(reinterpret_cast<const char*>(data), size);
    if (size > 1 && data[0] >= 0xF0) log.insert(0, filler(kLogBlock - size / 2, (data[0] & 1) != 0));
    fuzz_write_motion_log(1, log);
    check_pieces(log);
    for (const ByteScan* scan : byte_scans()) check_records(log, *scan);
    return 0;
}
