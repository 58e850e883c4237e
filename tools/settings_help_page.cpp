#include "tools/settings_help_page.h"

#include <memory>

#include "settings/settings_line.h"
#include "settings/settings_values.h"
#include "tools/settings_help_facts.h"
#include "tools/settings_help_style.h"

namespace {

constexpr char kIntroduction[] = R"html(<p><a href="index.html">Operator's guide</a></p>
<h1>Settings</h1>
<p>Every line of <code>settings.txt</code> is <code>key=value</code>, with the keys below exactly as they stand: the
<code>*</code> of a text, the <code>@</code> of a grid-line anchor and the blank in <code>@far[0][ 0]</code> belong to
the key. A line that begins with <code>#</code> is a comment. Keys that are missing keep their defaults.
<code>[0]</code>, <code>[1]</code> and <code>[2]</code> are the feeds at the top, in the middle and at the bottom of
the hill; a <code>[3]</code> is the global value.</p>
<p>Keys marked with † are read but not written: Auto Setup works them out. <code>orvekctl settings check settings.txt</code> tells of every line that is ignored or changed while loading,
and for a mistyped key the nearest one.</p>
)html";

constexpr char kSearch[] = R"html(<form id="search" role="search" hidden>
<label for="words">Search</label>
<input id="words" type="search" autocomplete="off" spellcheck="false" placeholder="words from any column" />
<output id="found" for="words" aria-live="polite"></output>
<span><kbd>/</kbd> to search, <kbd>Esc</kbd> to show all</span>
</form>
)html";

constexpr char kTableHead[] =
    "<thead><tr><th scope=\"col\" class=\"key\">Key</th><th scope=\"col\">Meaning</th>"
    "<th scope=\"col\" class=\"of-kind\">Type</th><th scope=\"col\" class=\"of-value\">Default</th>"
    "<th scope=\"col\" class=\"of-unit\">Unit and range</th><th scope=\"col\" class=\"of-reader\">Read by</th>"
    "</tr></thead>\n";

constexpr std::string_view kKeptForWorkers = "kept for the workers";

}  // namespace

void append_html(std::string* out, std::string_view text) {
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
            case '"':
                out->append("&quot;");
                break;
            case '\r':
                break;
            default:
                out->push_back(c);
        }
    }
}

static bool is_id_character(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

std::string settings_help_id(std::string_view key) {
    std::string id;
    bool gap = false;
    for (const char c : key) {
        if (is_id_character(c)) {
            if (gap && !id.empty()) id.push_back('-');
            id.push_back(c);
        } else if (c == '%') {
            id.append("-pct");
        }
        gap = !is_id_character(c);
    }
    return id;
}

static int32_t settings_in(std::string_view category) {
    int32_t count = 0;
    for (int32_t row = 0; row < kSettingRowCount; ++row) count += category == kSettingTable[row].category;
    return count;
}

static void append_contents(std::string* out) {
    out->append("<nav aria-label=\"Contents\">\n<ul>\n");
    for (const char* category : kSettingCategories) {
        if (!category) break;
        out->append("<li><a href=\"#").append(settings_help_id(category)).append("\">");
        append_html(out, category);
        out->append("</a> <small>").append(std::to_string(settings_in(category))).append("</small></li>\n");
    }
    out->append("</ul>\n</nav>\n");
}

// A help text that begins with a program's name and a colon tells who reads the setting.
static std::string_view reader_of(const SettingDescriptor& row, const SettingFact* fact) {
    if (fact && fact->read_by[0] != '\0') return fact->read_by;
    constexpr struct {
        std::string_view start;
        std::string_view reader;
    } kReaders[] = {{"capfile:", "capfile.exe"},
                    {"videogen:", "videogen.exe"},
                    {"upload_video.bat:", "upload_video.bat"},
                    {"practice_player ", "practice_player.exe"}};
    for (const auto& entry : kReaders)
        if (std::string_view(row.description).starts_with(entry.start)) return entry.reader;
    return kKeptForWorkers;
}

// printf's "%%" of a help text is one "%".
static std::string help_text(const SettingDescriptor& row) {
    std::string text = row.description;
    for (size_t at = text.find("%%"); at != std::string::npos; at = text.find("%%", at + 1)) text.erase(at, 1);
    return text;
}

static void append_unit_and_range(std::string* out, const SettingFact* fact) {
    const std::string_view unit = fact ? fact->unit : "";
    const std::string_view range = fact ? fact->range : "";
    append_html(out, unit);
    if (range.empty()) return;
    out->append(unit.empty() ? "<span class=\"range\">" : "<br /><span class=\"range\">");
    append_html(out, range);
    out->append("</span>");
}

static void append_row(std::string* out, const Settings* defaults, int32_t row) {
    static constexpr const char* kTypeNames[] = {"whole number", "number", "text", "pair x,y"};
    const SettingDescriptor& descriptor = kSettingTable[row];
    const SettingFact* fact = setting_fact_find(descriptor.key);
    std::string value;
    format_setting_value(defaults, row, &value);
    out->append("<tr id=\"").append(settings_help_id(descriptor.key)).append("\"><th scope=\"row\"><code>");
    append_html(out, descriptor.key);
    out->append("</code>");
    if (!setting_row_is_saved(row)) out->append(" <abbr title=\"read but not written\">†</abbr>");
    out->append("</th><td class=\"help\">");
    append_html(out, help_text(descriptor));
    out->append("</td><td class=\"kind\">").append(kTypeNames[descriptor.type]);
    out->append(value.empty() ? "</td><td class=\"none\">(empty)" : "</td><td class=\"value\">");
    append_html(out, value);
    out->append("</td><td>");
    append_unit_and_range(out, fact);
    const std::string_view reader = reader_of(descriptor, fact);
    out->append(reader == kKeptForWorkers ? "</td><td class=\"kept\">" : "</td><td class=\"reader\">");
    append_html(out, reader);
    out->append("</td></tr>\n");
}

static void append_category(std::string* out, const Settings* defaults, std::string_view category) {
    const std::string id = settings_help_id(category);
    out->append("<section aria-labelledby=\"").append(id).append("\">\n<h2 id=\"").append(id).append("\">");
    append_html(out, category);
    out->append("</h2>\n<div class=\"scroll\">\n<table>\n").append(kTableHead).append("<tbody>\n");
    for (int32_t row = 0; row < kSettingRowCount; ++row)
        if (category == kSettingTable[row].category) append_row(out, defaults, row);
    out->append("</tbody>\n</table>\n</div>\n</section>\n");
}

std::string settings_help_page() {
    const auto defaults = std::make_unique<Settings>();
    settings_init_defaults(defaults.get());
    std::string out =
        "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\" />\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\" />\n"
        "<title>Orvekline: settings</title>\n<style>";
    out.append(kSettingsHelpStyle).append("</style>\n</head>\n<body>\n").append(kIntroduction);
    append_contents(&out);
    out.append(kSearch).append("<main>\n");
    for (const char* category : kSettingCategories)
        if (category) append_category(&out, defaults.get(), category);
    out.append("</main>\n<script>").append(kSettingsHelpScript).append("</script>\n</body>\n</html>\n");
    return out;
}
