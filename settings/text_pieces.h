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

// How much of a text to keep in `max` bytes so that no character is left in half. Bytes that are no UTF-8 are cut
// anywhere.
size_t text_cut(std::string_view text, size_t max);

using PieceFunction = void (*)(void* context, std::string_view piece);

// Calls `use` with the piece_text of every piece. The view ends with the call.
void for_each_piece(std::string_view text, size_t buffer_size, PieceFunction use, void* context);
void for_each_piece_of_file(FILE* file, size_t buffer_size, PieceFunction use, void* context);
