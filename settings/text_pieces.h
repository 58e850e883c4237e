// Cuts a text into what a line reader with a fixed buffer would get: a line with its "\n", or, of a line too long for
// the buffer, one buffer-full after the other. Files are cut while they are read, so that neither their size nor an
// endless line costs memory.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string_view>

// Length of the first piece of `text`, which is not empty; the "\n" belongs to it. A buffer of n bytes holds n - 1.
size_t piece_length(std::string_view text, size_t buffer_size);

// What is seen of a piece: a NUL ends it early, as it ends every C string.
std::string_view piece_text(std::string_view piece);

// Finds the first piece of `text`, which is not empty and goes on behind its end unless at_end. Returns its length
// and what is seen of it, or 0 when the rest is needed to tell where it ends.
size_t next_piece(std::string_view text, size_t buffer_size, bool at_end, std::string_view* piece);

// How much of a text to keep in `max` bytes so that no character is left in half. Bytes that are no UTF-8 are cut
// anywhere.
size_t text_cut(std::string_view text, size_t max);

using PieceFunction = void (*)(void* context, std::string_view piece);

// Calls `use` with the piece_text of every piece. The view ends with the call.
void for_each_piece(std::string_view text, size_t buffer_size, PieceFunction use, void* context);
void for_each_piece_of_file(FILE* file, size_t buffer_size, PieceFunction use, void* context);

// Uses the beginning of a text and returns how much; all of it when at_end. What is left comes again with more behind
// it, so at least every piece that fits a buffer of 64 KB has to be used.
using BlockFunction = size_t (*)(void* context, std::string_view block, bool at_end);
void for_each_block_of_file(FILE* file, BlockFunction use, void* context);
