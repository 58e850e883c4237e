#include "tests/support/html_check.h"

#include <vector>

std::string html_nesting_fault(std::string_view html) {
    std::vector<std::string> open;
    for (size_t at = html.find('<'); at != std::string_view::npos; at = html.find('<', at)) {
        const size_t end = html.find('>', at);
        if (end == std::string_view::npos) return "unfinished tag";
        const std::string_view tag = html.substr(at + 1, end - at - 1);
        at = end + 1;
        if (tag.empty() || tag.find('<') != std::string_view::npos) return "stray < at " + std::to_string(end);
        if (tag.front() == '!' || tag.back() == '/') continue;
        const std::string name(tag.substr(0, tag.find_first_of(" \n")));
        if (name.front() != '/') {
            open.push_back(name);
            continue;
        }
        if (open.empty() || open.back() != name.substr(1)) return "unexpected <" + name + ">";
        open.pop_back();
    }
    return open.empty() ? "" : "<" + open.back() + "> is never closed";
}

std::map<std::string, int> html_values(std::string_view html, std::string_view attribute) {
    std::map<std::string, int> values;
    const std::string start = " " + std::string(attribute) + "=\"";
    for (size_t at = html.find(start); at != std::string_view::npos; at = html.find(start, at + 1)) {
        const size_t from = at + start.size();
        ++values[std::string(html.substr(from, html.find('"', from) - from))];
    }
    return values;
}
