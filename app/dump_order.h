// What a crashed controller orders of the second process that writes its dump. The order is that process's command
// line, and everybody can write a command line: it is refused unless every word of it is as a crashed one writes it.
#pragma once

#include <cstdint>
#include <string_view>

inline constexpr wchar_t kDumpOrderOption[] = L"--write-dump";

// "Orvek.exe --write-dump PROCESS THREAD POINTERS END_CODE FILE"
struct DumpOrder {
    uint32_t process, thread;  // who crashed
    uint64_t pointers;         // where in its memory EXCEPTION_POINTERS lies
    uint32_t end_code;         // what it is ended with when no dump comes about; 0: it is not
    std::wstring_view file;    // an absolute path, of a report's name; may hold blanks. Points into the command line
};

enum class DumpRequest { none, malformed, good };

// Reads a whole command line, the program's name included. `order` is filled in only when it is good.
DumpRequest dump_order_read(std::wstring_view command_line, DumpOrder* order);
