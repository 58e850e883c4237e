#include "tools/printable.h"

#include <cstdio>

void append_printable(std::string* out, std::string_view text) {
    for (const char c : text) {
        if ((static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f) {
            char escape[8];
            snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
            out->append(escape);
        } else {
            out->push_back(c);
        }
    }
}
