// The two ways to touch a field that another process may write. Relaxed, because the named mutexes and events give
// the ordering; atomic, so that no compiler may tear, cache or invent an access.
#pragma once

#include <atomic>

// Reads `field` once. Keep the result in a local: a second read may see another value.
template <class T>
T shared_load(const T& field) {
    return std::atomic_ref<T>(const_cast<T&>(field)).load(std::memory_order_relaxed);
}

// Writes `field` once, whole.
template <class T>
void shared_store(T& field, T value) {
    std::atomic_ref<T>(field).store(value, std::memory_order_relaxed);
}
