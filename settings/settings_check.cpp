#include "settings/settings_check.h"

#include <array>
#include <memory>

#include "settings/descriptor_table.h"
#include "settings/setting_suggestion.h"
#include "settings/settings_file.h"
#include "settings/settings_line.h"
#include "settings/settings_values.h"
#include "settings/text_numbers.h"
#include "settings/text_pieces.h"

namespace {

struct Piece {
    std::string_view raw;   // with its line end
    std::string_view text;  // what a reader sees of it
    int32_t line;
    bool whole_line;   // neither cut off at its end nor the rest of such a line
    bool starts_line;  // the first piece of its line
};

struct Walk {
    std::string_view rest;
    int32_t line = 1;
    bool starts_line = true;
};

// The same file as the loader leaves it, before and after values are brought into range, and who set each row last.
struct Outcome {
    Settings parsed;
    Settings normalised;
    std::array<int32_t, kSettingRowCount> last_line{};
};

}  // namespace

static bool next_piece(Walk* walk, Piece* piece) {
    if (walk->rest.empty()) return false;
    const size_t length = piece_length(walk->rest, kSettingsLineBuffer);
    piece->raw = walk->rest.substr(0, length);
    piece->text = piece_text(piece->raw);
    piece->line = walk->line;
    piece->starts_line = walk->starts_line;
    const bool ends_line = piece->raw.back() == '\n' || length == walk->rest.size();
    piece->whole_line = piece->starts_line && ends_line;
    walk->rest.remove_prefix(length);
    walk->starts_line = piece->raw.back() == '\n';
    if (walk->starts_line) ++walk->line;
    return true;
}

static std::unique_ptr<Outcome> load_outcome(std::string_view text) {
    auto outcome = std::make_unique<Outcome>();
    settings_init_defaults(&outcome->parsed);
    Walk walk{text};
    Piece piece{};
    while (next_piece(&walk, &piece)) {
        const SettingsLine line = apply_settings_line(&outcome->parsed, piece.text);
        if (line.row >= 0) outcome->last_line[line.row] = piece.line;
    }
    outcome->normalised = outcome->parsed;
    settings_normalise(&outcome->normalised, true);
    return outcome;
}

static std::string value_text(const Settings* settings, int32_t row) {
    std::string text;
    format_setting_value(settings, row, &text);
    return text;
}

static bool is_number(std::string_view text) {
    size_t used = 0;
    text_to_float(text, &used);
    return used == text.size();
}

static bool is_pair(std::string_view text) {
    const size_t comma = text.find(',');
    return comma != std::string_view::npos && text_is_int(text.substr(0, comma)) &&
           text_is_int(text.substr(comma + 1));
}

// Empty when the loader takes the value exactly as it is written.
static std::string value_reason(const SettingsLine& line, int32_t number, const Outcome& outcome) {
    std::string reason;
    const auto add = [&reason](std::string_view words) { reason.append(reason.empty() ? "" : "; ").append(words); };
    const SettingType type = kSettingTable[line.row].type;
    if (type == SETTING_INT && !text_is_int(line.value)) add("not a whole number of 32 bits");
    if (type == SETTING_FLOAT && !is_number(line.value)) add("not a number");
    if (type == SETTING_PAIR && !is_pair(line.value)) add("not a pair x,y of whole numbers");
    if (type == SETTING_STRING && line.value.size() >= static_cast<size_t>(kSettingTextSize))
        add("longer than 255 bytes: cut");
    const int32_t last = outcome.last_line[line.row];
    if (last != number) {
        add("set again in line " + std::to_string(last));
        return reason;
    }
    const std::string parsed = value_text(&outcome.parsed, line.row);
    const std::string normalised = value_text(&outcome.normalised, line.row);
    if (parsed != normalised) add("out of range");
    if (!reason.empty() && type != SETTING_STRING) add("loads as " + normalised);
    return reason;
}

static std::string unknown_key_reason(std::string_view key, std::string_view reason) {
    std::string text(reason);
    const int32_t nearest = setting_row_nearest(key);
    if (nearest >= 0) text.append("; nearest is '").append(kSettingTable[nearest].key).append("'");
    return text;
}

// An empty text is written as a line without value; that loading ignores the line matters only when the setting is
// not empty afterwards.
static std::string no_value_reason(const SettingsLine& line, const Outcome& outcome) {
    const int32_t row = setting_row_find(line.key);
    if (row < 0) return unknown_key_reason(line.key, "unknown key, no value");
    const std::string loaded = value_text(&outcome.normalised, row);
    if (loaded.empty()) return "";
    return "no value; stays " + loaded;
}

static std::string line_reason(const SettingsLine& line, int32_t number, const Outcome& outcome) {
    switch (line.kind) {
        case LineKind::nothing:
        case LineKind::pixel_entry:
            return "";
        case LineKind::no_equals:
            return "no '='";
        case LineKind::no_value:
            return no_value_reason(line, outcome);
        case LineKind::unknown_key:
            return unknown_key_reason(line.key, "unknown key");
        case LineKind::bad_pixel_entry:
            return "not a pixel-frame entry of feed 0..2 and column 0..1919 with three numbers";
        case LineKind::setting:
            return value_reason(line, number, outcome);
    }
    return "";
}

static std::string piece_reason(const Piece& piece, const Outcome& outcome, Settings* scratch) {
    const SettingsLine line = apply_settings_line(scratch, piece.text);
    std::string reason = line_reason(line, piece.line, outcome);
    // The rest of a long comment or text is silent; a rest that happens to be a setting is not.
    if (!piece.starts_line) return line.row >= 0 ? "rest of a long line, read as a setting" : "";
    if (!piece.whole_line)
        reason.insert(0, reason.empty() ? "too long: read in pieces" : "too long: read in pieces; ");
    if (piece.text.size() != piece.raw.size())
        reason.insert(
            0, reason.empty() ? "NUL character: the rest is not read" : "NUL character: the rest is not read; ");
    return reason;
}

int32_t settings_check(std::string_view text, SettingsFindingFunction report, void* context) {
    const std::unique_ptr<Outcome> outcome = load_outcome(text);
    const auto scratch = std::make_unique<Settings>(outcome->parsed);
    int32_t count = 0;
    Walk walk{text};
    Piece piece{};
    while (next_piece(&walk, &piece)) {
        const std::string reason = piece_reason(piece, *outcome, scratch.get());
        if (reason.empty()) continue;
        std::string_view shown = piece.raw;
        while (!shown.empty() && (shown.back() == '\n' || shown.back() == '\r')) shown.remove_suffix(1);
        report(context, {piece.line, reason, shown});
        ++count;
    }
    return count;
}
