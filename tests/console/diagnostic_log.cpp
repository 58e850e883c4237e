#include "tests/console/diagnostic_log.h"

#include <cctype>
#include <cstring>

std::vector<std::string> log_raw_lines(const Installation& installation, const char* file) {
    const std::string text = installation_read(installation, file);
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end = text.find('\n'); end != std::string::npos; start = end + 1, end = text.find('\n', start)) {
        const size_t length = end - start - (end > start && text[end - 1] == '\r' ? 1 : 0);
        lines.push_back(text.substr(start, length));
    }
    return lines;
}

static constexpr char kForm[] = "dd:dd:dd.ddd LLL [controller:0] ";
static constexpr size_t kLevelAt = 13;

bool log_line_is_well_formed(const std::string& raw_line) {
    if (raw_line.size() < sizeof kForm - 1) return false;
    const std::string level = raw_line.substr(kLevelAt, 3);
    if (level != "INF" && level != "WRN" && level != "ERR") return false;
    for (size_t i = 0; i < sizeof kForm - 1; ++i) {
        const char c = raw_line[i];
        if (kForm[i] == 'd' ? isdigit(static_cast<unsigned char>(c)) == 0 : kForm[i] != 'L' && kForm[i] != c)
            return false;
    }
    return true;
}

std::vector<std::string> log_lines(const Installation& installation, const char* file) {
    std::vector<std::string> lines;
    for (const std::string& raw : log_raw_lines(installation, file))
        lines.push_back(log_line_is_well_formed(raw) ? raw.substr(kLevelAt, 4) + raw.substr(sizeof kForm - 1)
                                                     : "malformed: " + raw);
    return lines;
}

static bool glob(const char* text, const char* pattern) {
    for (; *pattern != '\0' && *pattern != '*'; ++text, ++pattern)
        if (*text != *pattern) return false;
    if (*pattern == '\0') return *text == '\0';
    while (*pattern == '*') ++pattern;
    if (*pattern == '\0') return true;
    for (; *text != '\0'; ++text)
        if (glob(text, pattern)) return true;
    return false;
}

bool log_line_matches(const std::string& line, const std::string& pattern) {
    const bool has_level = pattern.starts_with("WRN ") || pattern.starts_with("ERR ") || pattern.starts_with("INF ");
    return glob(line.c_str(), has_level ? pattern.c_str() : ("INF " + pattern).c_str());
}

int32_t log_count(const Installation& installation, const std::string& pattern) {
    int32_t count = 0;
    for (const std::string& line : log_lines(installation)) count += log_line_matches(line, pattern) ? 1 : 0;
    return count;
}

static std::string tail(const std::vector<std::string>& lines, size_t count = 40) {
    std::string text;
    for (size_t i = lines.size() > count ? lines.size() - count : 0; i < lines.size(); ++i)
        text += "    " + lines[i] + "\n";
    return text;
}

testing::AssertionResult log_shows(const Installation& installation, const std::string& pattern, int32_t times,
                                   uint32_t patience_ms) {
    if (wait_until([&] { return log_count(installation, pattern) >= times; }, patience_ms))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "expected " << times << " log line(s) '" << pattern << "', got "
                                       << log_count(installation, pattern) << "; the log ends:\n"
                                       << tail(log_lines(installation));
}

size_t log_length(const Installation& installation) {
    return log_lines(installation).size();
}

testing::AssertionResult log_shows_in_order_from(const Installation& installation, size_t from,
                                                 const std::vector<std::string>& patterns) {
    const std::vector<std::string> lines = log_lines(installation);
    size_t at = from;
    for (size_t i = 0; i < patterns.size(); ++i) {
        while (at < lines.size() && !log_line_matches(lines[at], patterns[i])) ++at;
        if (at == lines.size())
            return testing::AssertionFailure()
                   << "expected log line '" << patterns[i] << "'"
                   << (i > 0 ? " after '" + patterns[i - 1] + "'" : std::string()) << "; the log ends:\n"
                   << tail(lines);
        ++at;
    }
    return testing::AssertionSuccess();
}

static int64_t log_time_of(const Installation& installation, const std::string& pattern) {
    const std::vector<std::string> lines = log_lines(installation);
    const std::vector<std::string> raw = log_raw_lines(installation);
    for (size_t i = 0; i < lines.size(); ++i) {
        int32_t hour = 0, minute = 0, second = 0, milli = 0;
        if (log_line_matches(lines[i], pattern) &&
            sscanf(raw[i].c_str(), "%d:%d:%d.%d", &hour, &minute, &second, &milli) == 4)
            return ((int64_t{hour} * 60 + minute) * 60 + second) * 1000 + milli;
    }
    return -1;
}

int64_t log_ms_between(const Installation& installation, const std::string& from, const std::string& to) {
    const int64_t start = log_time_of(installation, from);
    const int64_t end = log_time_of(installation, to);
    if (start < 0 || end < 0) return -1;
    constexpr int64_t kDay = 24 * 60 * 60 * 1000;
    return (end - start + kDay) % kDay;
}

std::string last_line_of(const std::vector<std::string>& lines, const std::string& start) {
    std::string found;
    for (const std::string& line : lines) {
        const size_t at = line.find(start);
        if (at != std::string::npos) found = line.substr(at + start.size());
    }
    return found;
}

testing::AssertionResult log_shows_in_order(const Installation& installation,
                                            const std::vector<std::string>& patterns) {
    return log_shows_in_order_from(installation, 0, patterns);
}
