// The two ways to touch a field that another process may write. Relaxed, because the named mutexes and events give
// the ordering; atomic, so that no compiler may tear, cache or invent an access. Built on what GCC and Clang offer
// since C++11, because workers are built with older standards than we are.
#pragma once

// Reads `field` once. Keep the result in a local: a second read may see another value.
template <class T>
T shared_load(const T& field) {
    T value;
    __atomic_load(&field, &value, __ATOMIC_RELAXED);
    return value;
}

// Writes `field` once, whole.
template <class T>
void shared_store(T& field, T value) {
    __atomic_store(&field, &value, __ATOMIC_RELAXED);
}
