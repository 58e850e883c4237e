// The way between our UTF-8 and what the `...W` interfaces take. The `...A` interfaces take UTF-8 themselves; these
// two are for where they do not: what GDI draws for us, and texts whose every character must survive in a list or a
// box.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

// Bytes that are no UTF-8 become U+FFFD.
inline std::wstring utf16_from(std::string_view utf8) {
    const int size = static_cast<int>(utf8.size());
    std::wstring wide(utf8.size(), L'\0');  // no byte makes more than one unit
    wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), size)));
    return wide;
}

// Half a surrogate pair becomes U+FFFD.
inline std::string utf8_from(std::wstring_view wide) {
    std::string utf8(wide.size() * 3, '\0');  // no unit makes more
    utf8.resize(
        static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), utf8.data(),
                                                static_cast<int>(utf8.size()), nullptr, nullptr)));
    return utf8;
}
