// Shows what the controller would take from a start list, read by the controller's own reader.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "jumpers/jumper_file.h"
#include "tools/orvekctl.h"
#include "tools/printable.h"

static int32_t usage_error() {
    fputs("orvekctl: jumpers needs: check FILE\n", stderr);
    return kFailed;
}

// Returns 0 or why the file cannot be read.
static int read_list(const char* path, JumperFileReader* reader) {
    FILE* file = fopen(path, "rb");
    if (!file) return errno;
    std::string chunk(1 << 16, '\0');
    bool wanted = true;
    size_t got = 0;
    while (wanted && (got = fread(chunk.data(), 1, chunk.size(), file)) > 0) {
        wanted = jumper_file_feed(reader, chunk.data(), got);
    }
    const int error = ferror(file) ? errno : 0;
    fclose(file);
    jumper_file_finish(reader);
    return error;
}

static int32_t check_file(const char* path) {
    const auto reader = std::make_unique<JumperFileReader>();
    const int error = read_list(path, reader.get());
    if (error != 0) {
        fprintf(stderr, "orvekctl: cannot read '%s': %s\n", path, strerror(error));
        return kFailed;
    }
    std::string out;
    for (int32_t i = 0; i < reader->count; ++i) {
        const JumperEntry& entry = reader->entry[i];
        out.append(std::to_string(entry.bib));
        for (const char* text : {entry.name, entry.club, entry.extra}) {
            out.push_back('\t');
            append_printable(&out, text);
        }
        out.push_back('\n');
    }
    // The count as the controller tells it after loading: the forerunner is in every list.
    out.append("count ").append(std::to_string(1 + reader->count)).push_back('\n');
    fputs(out.c_str(), stdout);
    return kDone;
}

int32_t orvekctl_jumpers(int argc, char** argv) {
    if (argc == 2 && strcmp(argv[0], "check") == 0) return check_file(argv[1]);
    return usage_error();
}
