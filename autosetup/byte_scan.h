// Finds bytes many at a time, which is what makes gigabytes of log short work. Each instruction set has a file of the
// same functions, byte_scan_<set>.cpp; the plain one is the reference, and serves machines without the others.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// How many characters mark_bytes takes, and how many words it fills.
inline constexpr size_t kMarkedBytes = 4096;
inline constexpr size_t kMarkWords = kMarkedBytes / 64;

struct ByteScan {
    const char* name;
    // As text.find. Looks for the last two characters of `wanted`, so they should be rare; `wanted` has at least two.
    size_t (*find_text)(std::string_view text, std::string_view wanted);
    // As text.rfind.
    size_t (*find_last_byte)(std::string_view text, char c);
    // Bit i % 64 of marks[i / 64] tells whether text[i] is `c`, for all of the text and, cleared, for the rest of the
    // last word. At most kMarkedBytes characters.
    void (*mark_bytes)(std::string_view text, char c, uint64_t* marks);
};

// All that this machine can run, the best one last.
std::span<const ByteScan* const> byte_scans();
const ByteScan& best_byte_scan();

extern const ByteScan kPlainByteScan;
#ifdef __x86_64__
extern const ByteScan kSse2ByteScan;
extern const ByteScan kAvx2ByteScan;
#endif
