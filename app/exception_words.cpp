#include "app/exception_words.h"

namespace {

struct ExceptionName {
    uint32_t code;
    const char* words;
};

constexpr ExceptionName kExceptions[] = {
    {0x20474343, "unhandled C++ exception"},  // as GCC's programs throw it
    {0x40000015, "aborted"},
    {0x40010005, "ended by Ctrl+C"},
    {0x80000002, "misaligned data"},
    {0x80000003, "breakpoint"},
    {0xC0000005, "access violation"},
    {0xC0000006, "page could not be read from disk"},
    {0xC0000008, "invalid handle"},
    {0xC0000017, "out of memory"},
    {0xC000001D, "illegal instruction"},
    {0xC000008C, "array bounds exceeded"},
    {0xC000008E, "floating-point division by zero"},
    {0xC0000094, "integer division by zero"},
    {0xC0000095, "integer overflow"},
    {0xC0000096, "privileged instruction"},
    {0xC00000FD, "stack overflow"},
    {0xC0000135, "DLL not found"},
    {0xC0000139, "DLL entry point not found"},
    {0xC000013A, "ended by Ctrl+C"},
    {0xC0000142, "DLL failed to start"},
    {0xC0000374, "heap corruption"},
    {0xC0000409, "stopped itself (fast fail)"},
    {0xC000041D, "fault in a window callback"},
    {0xC0000420, "assertion failed"},
    {0xE06D7363, "unhandled C++ exception"},  // as Microsoft's do
};

}  // namespace

const char* exception_words(uint32_t code) {
    for (const ExceptionName& exception : kExceptions)
        if (exception.code == code) return exception.words;
    return nullptr;
}
