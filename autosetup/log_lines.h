// Reads a worker's log line by line, without copying and however long the log and its lines are. The workers' logs
// have always been read into a line buffer, so a line that does not fit arrives in pieces, and a key that such a cut
// goes through is not found. What a piece is depends on the buffer's size alone; none is allocated here.
//
// settings/text_pieces.h does the like for settings and is a thing of its own on purpose. Its pieces keep their line
// end and count CR LF as two characters, so a long line is cut in other places; it hands every piece to a function,
// while most lines of a log of gigabytes are passed over without looking for their ends, which needs the block
// itself. What the two could share is the few lines that move a rest to the front of a block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "autosetup/byte_scan.h"

inline constexpr size_t kLogBlock = size_t{128} * 1024;
inline constexpr size_t kLongestLineBuffer = 4096;
inline constexpr size_t kReadableBeyond = 16;

// Too large for a thread with a small stack.
struct LogLines {
    intptr_t file;
    const ByteScan* scan;
    size_t at, end;  // what of the block has not been handed out
    bool at_end;     // the file has nothing more
    char block[kLogBlock + kReadableBeyond];
};

// -1 when there is no such file. Otherwise to be closed.
int32_t log_lines_open(LogLines* lines, const char* path, const ByteScan& scan = best_byte_scan());
void log_lines_close(LogLines* lines);

// The next line, or the next piece of `buffer_size` - 1 characters of a longer one; false at the end. LF and CR LF
// end a line and count as one character; they are not part of the piece. A NUL hides the rest of its piece. `piece`
// is valid until the next call. `buffer_size` is 2..kLongestLineBuffer and always the same for a log.
bool log_lines_next(LogLines* lines, size_t buffer_size, std::string_view* piece);

// Moves on to a piece that may contain `text`, over pieces that do not; false when no piece does any more. `text` is
// at least 2 characters without NUL and line end; see ByteScan for what to choose. Much faster than looking at each
// piece: most lines are never delimited.
bool log_lines_seek(LogLines* lines, size_t buffer_size, std::string_view text);

// What is in memory of the log from the next piece on, with a NUL and kReadableBeyond bytes in all behind it, and the
// way over `size` bytes of it, which must be whole lines shorter than the buffer: for whoever recognises a line
// faster than its end is found.
std::string_view log_lines_ahead(const LogLines& lines);
void log_lines_pass(LogLines* lines, size_t size);
