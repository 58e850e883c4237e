#include "settings/text_pieces.h"

#include <algorithm>
#include <cstdint>
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

static bool is_continuation(char byte) {
    return (static_cast<uint8_t>(byte) & 0xC0) == 0x80;
}

size_t text_cut(std::string_view text, size_t max) {
    if (text.size() <= max) return text.size();
    if (!is_continuation(text[max])) return max;
    size_t lead = max;
    while (lead > 0 && max - lead < 3 && is_continuation(text[lead])) --lead;
    return static_cast<uint8_t>(text[lead]) >= 0xC2 ? lead : max;
}

size_t next_piece(std::string_view text, size_t buffer_size, bool at_end, std::string_view* piece) {
    const std::string_view whole = text.substr(0, piece_length(text, buffer_size));
    if (!at_end && whole.back() != '\n' && whole.size() < buffer_size - 1) return 0;
    *piece = piece_text(whole);
    return whole.size();
}

// Uses the pieces of `text` and returns the length of what was used. Unless the text is at its end, a last piece that
// may go on in the next chunk is left.
static size_t use_pieces(std::string_view text, size_t buffer_size, bool at_end, PieceFunction use, void* context) {
    const bool has_nul = !text.empty() && memchr(text.data(), '\0', text.size()) != nullptr;
    size_t used = 0;
    while (used < text.size()) {
        const std::string_view piece = text.substr(used, piece_length(text.substr(used), buffer_size));
        if (!at_end && piece.back() != '\n' && piece.size() < buffer_size - 1) break;
        use(context, has_nul ? piece_text(piece) : piece);
        used += piece.size();
    }
    return used;
}

void for_each_piece(std::string_view text, size_t buffer_size, PieceFunction use, void* context) {
    use_pieces(text, buffer_size, true, use, context);
}

void for_each_block_of_file(FILE* file, BlockFunction use, void* context) {
    std::vector<char> chunk(kChunkSize);
    size_t held = 0;
    bool at_end = false;
    while (!at_end) {
        const size_t got = fread(chunk.data() + held, 1, chunk.size() - held, file);
        at_end = got == 0;
        held += got;
        const size_t used = use(context, {chunk.data(), held}, at_end);
        held -= used;
        memmove(chunk.data(), chunk.data() + used, held);
    }
}

namespace {

struct PieceUser {
    size_t buffer_size;
    PieceFunction use;
    void* context;
};

}  // namespace

static size_t use_block(void* context, std::string_view block, bool at_end) {
    const auto* user = static_cast<const PieceUser*>(context);
    return use_pieces(block, user->buffer_size, at_end, user->use, user->context);
}

void for_each_piece_of_file(FILE* file, size_t buffer_size, PieceFunction use, void* context) {
    PieceUser user{buffer_size, use, context};
    for_each_block_of_file(file, use_block, &user);
}
