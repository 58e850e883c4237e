// The little JSON that orvekctl prints: one object on one line, keys in the order they are appended.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Begins a key behind whatever the object or array holds so far.
inline void append_key(std::string* out, const char* key) {
    if (out->back() != '{' && out->back() != '[') out->append(", ");
    out->append("\"").append(key).append("\": ");
}

inline void append_number(std::string* out, const char* key, int64_t value) {
    append_key(out, key);
    out->append(std::to_string(value));
}

template <class T, size_t n>
void append_values(std::string* out, const T (&values)[n]) {
    out->push_back('[');
    for (const T& value : values) {
        if (out->back() != '[') out->append(", ");
        out->append(std::to_string(static_cast<int64_t>(value)));
    }
    out->push_back(']');
}

template <class T, size_t n>
void append_array(std::string* out, const char* key, const T (&values)[n]) {
    append_key(out, key);
    append_values(out, values);
}
