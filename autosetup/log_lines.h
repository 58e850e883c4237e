// Reads a worker's log line by line, without copying and however long the log and its lines are. The workers' logs
// have always been read into a line buffer, so a line that does not fit arrives in pieces, and a key that such a cut
// goes through is not found. What a piece is depends on the buffer's size alone; none is allocated here.
//
// settings/text_pieces.h does the like for settings and is a thing of its own on purpose. Its pieces keep their line
// end and count CR LF as two characters, so a long line is cut in other places; it hands every piece to a function,
// while most lines of a log of gigabytes are passed over without looking for their ends, which needs the block itself.
// What the two could share is the few lines that move a rest to the front of a block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

inline constexpr size_t kLogBlock = size_t{64} * 1024;
inline constexpr size_t kLongestLineBuffer = 4096;

// Too large for a thread with a small stack.
struct LogLines {
    intptr_t file;
    size_t at, end;  // what of the block has not been handed out
    bool at_end;     // the file has nothing more
    char block[kLogBlock];
};

// -1 when there is no such file. Otherwise to be closed.
int32_t log_lines_open(LogLines* lines, const char* path);
void log_lines_close(LogLines* lines);

// The next line, or the next piece of `buffer_size` - 1 characters of a longer one; false at the end. LF and CR LF
// end a line and count as one character; they are not part of the piece. A NUL hides the rest of its piece. `piece`
// is valid until the next call. `buffer_size` is 2..kLongestLineBuffer and always the same for a log.
bool log_lines_next(LogLines* lines, size_t buffer_size, std::string_view* piece);

// The next piece that contains `text`, which is at least 2 characters without NUL and line end. Much faster than
// looking at each: most lines are never delimited.
bool log_lines_next_with(LogLines* lines, size_t buffer_size, std::string_view text, std::string_view* piece);
