// Repeats the end of an Auto Setup run on a folder of motion logs: the controller's own analysis, and what it would
// save. The logs may lie on a read-only disk or come from another rig, hence settings and destination of one's own.
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#include "app/log.h"
#include "autosetup/analyze.h"
#include "autosetup/report.h"
#include "procs/worker_commands.h"
#include "settings/atomic_file.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"
#include "settings/text_numbers.h"
#include "tools/json_text.h"
#include "tools/orvekctl.h"
#include "tools/orvekctl_settings.h"

namespace {

struct AnalyzeArguments {
    const char* settings_file;  // null: the log folder's
    const char* out_dir;        // null: the log folder
    const char* report_file;    // null: none
    const char* log_dir;
    int32_t motion_end_x;  // -1: not given
};

}  // namespace

static int32_t usage_error() {
    fputs("orvekctl: analyze needs: [--settings FILE] [--out DIR] [--motion-end-x 0..1919] [--report FILE] LOG_DIR\n",
          stderr);
    return kFailed;
}

static bool read_column(const char* text, int32_t* column) {
    if (!text_is_int(text)) return false;
    const int32_t value = text_to_int(text);
    if (value < 0 || value >= kPixelColumns) return false;
    *column = value;
    return true;
}

static bool read_arguments(int argc, char** argv, AnalyzeArguments* arguments) {
    *arguments = {nullptr, nullptr, nullptr, nullptr, -1};
    const struct {
        const char* name;
        const char** value;
    } kTextOptions[] = {{"--settings", &arguments->settings_file},
                        {"--out", &arguments->out_dir},
                        {"--report", &arguments->report_file}};
    for (int i = 0; i < argc; ++i) {
        const bool is_option = strncmp(argv[i], "--", 2) == 0;
        if (!is_option) {
            if (arguments->log_dir) return false;
            arguments->log_dir = argv[i];
            continue;
        }
        if (i + 1 >= argc) return false;
        const char* value = argv[i + 1];
        bool known = strcmp(argv[i], "--motion-end-x") == 0;
        if (known && !read_column(value, &arguments->motion_end_x)) return false;
        for (const auto& option : kTextOptions) {
            if (strcmp(argv[i], option.name) != 0) continue;
            *option.value = value;
            known = true;
        }
        if (!known) return false;
        ++i;
    }
    return arguments->log_dir != nullptr;
}

static std::string path_in(const char* directory, const char* name) {
    std::string path = directory;
    if (path.back() != '/' && path.back() != '\\') path.push_back('/');
    return path + name;
}

// Windows does not find a folder whose name ends in a separator, unless it is a root.
static bool is_directory(const char* path) {
    std::string name = path;
    struct stat found = {};
    if (stat(name.c_str(), &found) != 0) {
        while (name.size() > 1 && (name.back() == '/' || name.back() == '\\')) name.pop_back();
        if (stat(name.c_str(), &found) != 0) return false;
    }
    if ((found.st_mode & S_IFMT) == S_IFDIR) return true;
    errno = ENOTDIR;
    return false;
}

static bool require_directory(const char* path) {
    errno = ENOENT;
    if (*path != '\0' && is_directory(path)) return true;
    fprintf(stderr, "orvekctl: cannot open the folder '%s': %s\n", path, strerror(errno));
    return false;
}

// A named file must be there; the log folder's own may be missing, as beside a controller that never saved.
static std::unique_ptr<Settings> settings_for(const AnalyzeArguments& arguments) {
    if (arguments.settings_file) return load_settings_record(arguments.settings_file);
    const std::string beside = path_in(arguments.log_dir, "settings.txt");
    struct stat found = {};
    if (stat(beside.c_str(), &found) == 0) return load_settings_record(beside.c_str());
    log_info("orvekctl: no settings.txt in %s, using defaults", arguments.log_dir);
    auto settings = std::make_unique<Settings>();
    settings_init_defaults(settings.get());
    return settings;
}

static void take_final_column(AutoSetupWorkspace* workspace, int32_t column) {
    if (column < 0) return;
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed)
        if (feed_is_active(workspace->feed_count, feed)) workspace->region_end_x[feed] = column;
}

static std::string analysis_as_json(AnalysisEnd end, int32_t phase, bool saved, const Settings& settings) {
    std::string out = "{";
    append_number(&out, "result", end.result);
    append_number(&out, "phase", phase);
    append_number(&out, "saved", saved ? 1 : 0);
    append_array(&out, "feed_video_frames", settings.feed_video_frames);
    append_array(&out, "frames_before_first_blob", settings.frames_before_first_blob);
    append_array(&out, "frames_after_last_blob", settings.frames_after_last_blob);
    append_array(&out, "motion_start_x", settings.motion_start_x);
    append_array(&out, "motion_start_y", settings.motion_start_y);
    append_array(&out, "motion_end_x", settings.motion_end_x);
    append_array(&out, "motion_end_y", settings.motion_end_y);
    append_array(&out, "feed_sync_offset", settings.feed_sync_offset);
    append_array(&out, "inter_feed_gap_frames", settings.inter_feed_gap_frames);
    append_array(&out, "center_of_blob_scene_trigger", settings.center_of_blob_scene_trigger);
    append_number(&out, "min_type2_frames", settings.min_type2_frames);
    append_number(&out, "max_blob_size", settings.max_blob_size);
    append_number(&out, "max_diff_y", settings.max_diff_y);
    append_number(&out, "max_diff_u", settings.max_diff_u);
    append_number(&out, "max_diff_v", settings.max_diff_v);
    append_array(&out, "pixel_frames_populated", settings.pixel_frames_populated);
    out.append("}\n");
    return out;
}

static void write_report(const char* path, const AutoSetupWorkspace* workspace, const Settings* before,
                         const Settings* after, AnalysisEnd end) {
    char date[32] = "";
    const time_t now = time(nullptr);
    if (const tm* local = localtime(&now)) strftime(date, sizeof date, "%Y-%m-%d %H:%M", local);
    std::string html;
    auto_setup_report(workspace, before, after, end, date, &html);
    (void)write_text_atomic(path, html, "auto setup report");
}

int32_t orvekctl_analyze(int argc, char** argv) {
    AnalyzeArguments arguments;
    if (!read_arguments(argc, argv, &arguments)) return usage_error();
    const char* out_dir = arguments.out_dir ? arguments.out_dir : arguments.log_dir;
    if (!require_directory(arguments.log_dir) || !require_directory(out_dir)) return kFailed;
    const std::unique_ptr<Settings> settings = settings_for(arguments);
    if (!settings) return kFailed;
    const auto before = std::make_unique<Settings>(*settings);

    const WorkspacePtr workspace(workspace_create(settings.get()));
    if (!workspace) {
        fputs("orvekctl: out of memory\n", stderr);
        return kSaysNo;
    }
    workspace->log_dir = arguments.log_dir;
    take_final_column(workspace.get(), arguments.motion_end_x);
    const AnalysisEnd end = auto_setup_conclude(workspace.get(), settings.get(), false);
    const bool wanted = end.outcome != kAnalysisNothing;
    const bool saved = wanted && settings_save(settings.get(), path_in(out_dir, "settings.txt").c_str()) == 0;
    if (saved || !wanted) auto_setup_log_end(end);
    if (arguments.report_file)
        write_report(arguments.report_file, workspace.get(), before.get(), settings.get(), end);
    fputs(analysis_as_json(end, workspace->phase, saved, *settings).c_str(), stdout);
    return saved ? kDone : kSaysNo;
}
