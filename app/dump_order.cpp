#include "app/dump_order.h"

#include <iterator>

#include "app/crash_text.h"

// Without the program's name, which stands in quotes when it holds blanks.
static std::wstring_view arguments_of(std::wstring_view line) {
    size_t end = line.starts_with(L'"') ? line.find(L'"', 1) : line.find(L' ');
    if (end == std::wstring_view::npos) return {};
    if (line[end] == L'"') ++end;
    const size_t first = line.find_first_not_of(L' ', end);
    return first == std::wstring_view::npos ? std::wstring_view() : line.substr(first);
}

// Takes the first word off, and the one blank behind it.
static std::wstring_view take_word(std::wstring_view* line) {
    const size_t end = line->find(L' ');
    const std::wstring_view word = line->substr(0, end);
    line->remove_prefix(end == std::wstring_view::npos ? line->size() : end + 1);
    return word;
}

static bool take_number(std::wstring_view* line, uint32_t base, uint64_t most, uint64_t* number) {
    static constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
    const std::wstring_view word = take_word(line);
    uint64_t value = 0;
    for (const wchar_t c : word) {
        const size_t digit = kDigits.find(c);
        if (digit >= base || value > (most - digit) / base) return false;
        value = value * base + digit;
    }
    *number = value;
    return !word.empty();
}

static bool is_absolute(std::wstring_view path) {
    const bool has_drive = path.size() > 3 && path[1] == L':' && path[2] == L'\\';
    return has_drive || path.starts_with(L"\\\\");
}

static bool names_a_dump(std::wstring_view path) {
    const std::wstring_view name = path.substr(path.rfind(L'\\') + 1);
    char narrow[kCrashFileNameSize];
    if (name.size() >= std::size(narrow)) return false;
    size_t length = 0;
    for (const wchar_t c : name) narrow[length++] = c < 0x80 ? static_cast<char>(c) : '?';
    return is_crash_file({narrow, length}, "dmp");
}

DumpRequest dump_order_read(std::wstring_view command_line, DumpOrder* order) {
    std::wstring_view rest = arguments_of(command_line);
    if (take_word(&rest) != kDumpOrderOption) return DumpRequest::none;
    uint64_t process = 0, thread = 0, pointers = 0, end_code = 0;
    if (!take_number(&rest, 10, UINT32_MAX, &process) || !take_number(&rest, 10, UINT32_MAX, &thread) ||
        !take_number(&rest, 16, UINT64_MAX, &pointers) || !take_number(&rest, 10, UINT32_MAX, &end_code))
        return DumpRequest::malformed;
    if (process == 0 || thread == 0 || pointers == 0 || !is_absolute(rest) || !names_a_dump(rest))
        return DumpRequest::malformed;
    *order = {static_cast<uint32_t>(process), static_cast<uint32_t>(thread), pointers,
              static_cast<uint32_t>(end_code), rest};
    return DumpRequest::good;
}
