#include "settings/text_pieces.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {
constexpr size_t kChunkSize = 65536;  // bytes read at once; any size above the largest piece would do
}  // namespace

size_t piece_length(std::string_view text, size_t buffer_size) {
    const size_t longest = std::min(text.size(), buffer_size - 1);
    const void* newline = memchr(text.data(), '\n', longest);
    return newline ? static_cast<size_t>(static_cast<const char*>(newline) - text.data()) + 1 : longest;
}

std::string_view piece_text(std::string_view piece) {
    const void* nul = memchr(piece.data(), '\0', piece.size());
    return nul ? piece.substr(0, static_cast<size_t>(static_cast<const char*>(nul) - piece.data())) : piece;
}

void for_each_piece(std::string_view text, size_t buffer_size, PieceFunction use, void* context) {
    while (!text.empty()) {
        const size_t length = piece_length(text, buffer_size);
        use(context, piece_text(text.substr(0, length)));
        text.remove_prefix(length);
    }
}

// The complete pieces at the front of `text`; a last one that may go on in the next chunk stays.
static std::string_view complete_pieces(std::string_view text, size_t buffer_size) {
    size_t length = 0;
    while (length < text.size()) {
        const size_t piece = piece_length(text.substr(length), buffer_size);
        if (text[length + piece - 1] != '\n' && piece < buffer_size - 1) break;
        length += piece;
    }
    return text.substr(0, length);
}

void for_each_piece_of_file(FILE* file, size_t buffer_size, PieceFunction use, void* context) {
    std::vector<char> chunk(kChunkSize);
    size_t held = 0;
    while (true) {
        const size_t got = fread(chunk.data() + held, 1, chunk.size() - held, file);
        held += got;
        const std::string_view text(chunk.data(), held);
        if (got == 0) {
            for_each_piece(text, buffer_size, use, context);
            return;
        }
        const std::string_view complete = complete_pieces(text, buffer_size);
        for_each_piece(complete, buffer_size, use, context);
        held -= complete.size();
        memmove(chunk.data(), chunk.data() + complete.size(), held);
    }
}
