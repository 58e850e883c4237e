// Writes the help page of the settings from the table: "settings_help OUT.html". Runs while building, on the machine
// that builds, so that the page never says anything else than the program does.
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "settings/settings_line.h"
#include "settings/settings_values.h"

static constexpr char kHead[] =
    "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>Orvekline: settings</title>\n"
    "<style>\n"
    "body { font-family: \"Segoe UI\", sans-serif; margin: 2em; max-width: 70em; }\n"
    "table { border-collapse: collapse; width: 100%; margin-bottom: 2em; }\n"
    "th, td { border: 1px solid #c0c0c0; padding: 0.3em 0.6em; text-align: left; vertical-align: top; }\n"
    "td.key, td.value { font-family: Consolas, monospace; white-space: pre; }\n"
    "td.help { white-space: pre-line; }\n"
    "</style>\n</head>\n<body>\n<h1>Settings</h1>\n"
    "<p>Every line of <code>settings.txt</code> is <code>key=value</code>, with the keys below exactly as they "
    "stand: "
    "the <code>*</code> of a text, the <code>@</code> of a grid-line anchor and the blank in "
    "<code>@far[0][ 0]</code> belong to the key. A line that begins with <code>#</code> is a comment. Keys that are "
    "missing keep their defaults. Keys marked with \xE2\x80\xA0 are read but not saved: the program works them out "
    "itself.</p>\n";

static void append_html(std::string* out, std::string_view text) {
    for (const char c : text) {
        switch (c) {
            case '&':
                out->append("&amp;");
                break;
            case '<':
                out->append("&lt;");
                break;
            case '>':
                out->append("&gt;");
                break;
            case '\r':
                break;
            default:
                out->push_back(c);
        }
    }
}

static void append_row(std::string* out, const Settings* defaults, int32_t row) {
    static constexpr const char* kTypeNames[] = {"whole number", "number", "text", "pair x,y"};
    const SettingDescriptor& descriptor = kSettingTable[row];
    std::string value;
    format_setting_value(defaults, row, &value);
    out->append("<tr><td class=\"key\">");
    append_html(out, descriptor.key);
    if (!setting_row_is_saved(row)) out->append("\xE2\x80\xA0");
    out->append("</td><td>").append(kTypeNames[descriptor.type]).append("</td><td class=\"value\">");
    append_html(out, value);
    out->append("</td><td class=\"help\">");
    append_html(out, descriptor.description);
    out->append("</td></tr>\n");
}

static std::string settings_page() {
    const auto defaults = std::make_unique<Settings>();
    settings_init_defaults(defaults.get());
    std::string out = kHead;
    for (const char* category : kSettingCategories) {
        if (!category) break;
        out.append("<h2>");
        append_html(&out, category);
        out.append("</h2>\n<table>\n<tr><th>Key</th><th>Type</th><th>Default</th><th>Meaning</th></tr>\n");
        for (int32_t row = 0; row < kSettingRowCount; ++row)
            if (std::string_view(kSettingTable[row].category) == category) append_row(&out, defaults.get(), row);
        out.append("</table>\n");
    }
    out.append("</body>\n</html>\n");
    return out;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fputs("usage: settings_help OUT.html\n", stderr);
        return 2;
    }
    FILE* file = fopen(argv[1], "wb");
    const std::string page = settings_page();
    const bool written = file && fwrite(page.data(), 1, page.size(), file) == page.size();
    if (!file || fclose(file) != 0 || !written) {
        fprintf(stderr, "settings_help: cannot write '%s'\n", argv[1]);
        return 2;
    }
    return 0;
}
