// The pages below doc/: every log line they quote is one the program writes, every link leads somewhere.
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/temp_dir.h"

namespace {
constexpr size_t kMessageLength = 500;  // longer than any log call in the sources
}

static std::string path_in_project(const std::string& name) {
    return std::string(ORVEK_TEST_DATA) + "/../../" + name;
}

static std::vector<std::string> lines_of(const std::string& page) {
    std::vector<std::string> lines;
    std::istringstream text(read_whole_file(path_in_project(page)));
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

// A source with every quoted text that goes on in the next line put together, and quotation marks without backslash.
static std::string joined_source(const std::string& path) {
    const std::string source = read_whole_file(path);
    std::string joined;
    for (size_t i = 0; i < source.size(); ++i) {
        if (source[i] == '\\' && i + 1 < source.size() && source[i + 1] == '"') {
            joined += source[++i];
            continue;
        }
        const size_t next = source[i] == '"' ? source.find_first_not_of(" \r\n", i + 1) : std::string::npos;
        if (next != std::string::npos && next > i + 1 && source[next] == '"' && source.find('\n', i) < next) {
            i = next;
            continue;
        }
        joined += source[i];
    }
    return joined;
}

static const std::vector<std::string>& sources() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> texts;
        for (const char* room : {"app", "settings", "ipc", "procs", "preview", "autosetup", "jumpers"})
            for (const auto& entry : std::filesystem::directory_iterator(path_in_project(room)))
                if (entry.path().extension() == ".cpp") texts.push_back(joined_source(entry.path().string()));
        return texts;
    }();
    return all;
}

// "a ... b" in its pieces. A single character between two numbers says nothing and is left out.
static std::vector<std::string> pieces_of(const std::string& quote) {
    std::vector<std::string> pieces;
    for (size_t at = 0; at <= quote.size();) {
        const size_t end = std::min(quote.find("...", at), quote.size());
        if (end - at > 1) pieces.push_back(quote.substr(at, end - at));
        at = end + 3;
    }
    return pieces;
}

// Whether the source has the pieces in this order, close together.
static bool has_message(const std::string& source, const std::vector<std::string>& pieces) {
    for (size_t start = source.find(pieces[0]); start != std::string::npos;
         start = source.find(pieces[0], start + 1)) {
        size_t at = start + pieces[0].size();
        bool whole = true;
        for (size_t i = 1; whole && i < pieces.size(); ++i) {
            const size_t found = source.find(pieces[i], at);
            whole = found != std::string::npos && found - start < kMessageLength;
            at = found + pieces[i].size();
        }
        if (whole) return true;
    }
    return false;
}

static bool is_written_somewhere(const std::string& quote) {
    const std::vector<std::string> pieces = pieces_of(quote);
    if (pieces.empty()) return false;
    return std::any_of(sources().begin(), sources().end(),
                       [&](const std::string& source) { return has_message(source, pieces); });
}

TEST(Documentation, EveryLogLineThatThePageOfSymptomsQuotesIsInTheSources) {
    int32_t quotes = 0;
    for (const std::string& line : lines_of("doc/when-something-is-wrong.md")) {
        if (!line.starts_with("> ")) continue;
        ++quotes;
        EXPECT_TRUE(is_written_somewhere(line.substr(2))) << line;
    }
    EXPECT_GT(quotes, 40);
}

TEST(Documentation, EveryLogLineThatThePageOfUnattendedRunsNamesIsInTheSources) {
    int32_t quotes = 0;
    bool in_table = false;
    for (const std::string& line : lines_of("doc/unattended.md")) {
        if (line.starts_with("## ")) in_table = line == "## What to look for in the log";
        const size_t begin = line.find("| `");
        if (!in_table || begin == std::string::npos) continue;
        ++quotes;
        const size_t text = begin + 3;
        EXPECT_TRUE(is_written_somewhere(line.substr(text, line.find('`', text) - text))) << line;
    }
    EXPECT_GT(quotes, 10);
}

TEST(Documentation, ALineThatNobodyWritesIsNoticed) {
    EXPECT_FALSE(is_written_somewhere("preview: the projector is on fire"));
    EXPECT_FALSE(is_written_somewhere("restarting ... (attempt ...) for the last time"));
    EXPECT_TRUE(is_written_somewhere("restarting ... (attempt ...)"));
}

// "#nothing-starts" for "## Nothing starts", as the sites that show such pages make it.
static std::string anchor_of(const std::string& heading) {
    std::string anchor;
    for (const char c : heading.substr(heading.find(' ') + 1)) {
        if (c == ' ')
            anchor += '-';
        else if (isalnum(static_cast<unsigned char>(c)) || c == '-')
            anchor += static_cast<char>(tolower(static_cast<unsigned char>(c)));
    }
    return anchor;
}

static std::set<std::string> anchors_of(const std::string& page) {
    std::set<std::string> anchors;
    for (const std::string& line : lines_of(page))
        if (line.starts_with("#")) anchors.insert(anchor_of(line));
    return anchors;
}

static std::vector<std::string> links_of(const std::string& page) {
    std::vector<std::string> links;
    for (const std::string& line : lines_of(page)) {
        for (size_t at = line.find("]("); at != std::string::npos; at = line.find("](", at + 1)) {
            const size_t begin = at + 2;
            links.push_back(line.substr(begin, line.find(')', begin) - begin));
        }
    }
    return links;
}

TEST(Documentation, EveryLinkOfThePagesLeadsSomewhere) {
    int32_t links = 0;
    for (const std::string& page :
         std::vector<std::string>{"README.md", "doc/unattended.md", "doc/when-something-is-wrong.md"}) {
        const std::string folder = page.substr(0, page.rfind('/') + 1);
        for (const std::string& link : links_of(page)) {
            if (link.starts_with("http")) continue;
            ++links;
            const size_t hash = std::min(link.find('#'), link.size());
            const std::string target = hash == 0 ? page : folder + link.substr(0, hash);
            EXPECT_TRUE(std::filesystem::exists(path_in_project(target))) << page << " -> " << link;
            if (hash == link.size()) continue;
            EXPECT_EQ(anchors_of(target).count(link.substr(hash + 1)), 1u) << page << " -> " << link;
        }
    }
    EXPECT_GT(links, 20);
}
