#include "app/help_search.h"

#include <cstring>
#include <string>

int32_t help_page_find(const char* exe_dir, const char* page, FileExists exists, void* context, char* path,
                       size_t path_size) {
    const std::string own = exe_dir;
    const std::string relative = std::string("doc\\help\\") + page;
    std::string candidates[3] = {own + "\\" + relative, "", relative};
    const size_t cut = own.rfind('\\');
    if (cut != std::string::npos) candidates[1] = own.substr(0, cut) + "\\" + relative;

    for (const std::string& candidate : candidates) {
        if (candidate.empty() || candidate.size() >= path_size) continue;
        if (!exists(context, candidate.c_str())) continue;
        memcpy(path, candidate.c_str(), candidate.size() + 1);
        return 0;
    }
    return -1;
}
