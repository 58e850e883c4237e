// Owners for handles that live as long as a function. What lives as long as the program is a plain field with a close
// function instead.
#pragma once

#include <utility>

#include <windows.h>

// Kind supplies Handle, none() and close(): files fail as INVALID_HANDLE_VALUE, everything else as null.
template <class Kind>
class Scoped {
public:
    using Handle = typename Kind::Handle;

    Scoped() = default;
    explicit Scoped(Handle handle) : handle_(handle) {}
    Scoped(Scoped&& other) noexcept : handle_(other.release()) {}
    Scoped& operator=(Scoped&& other) noexcept {
        reset(other.release());
        return *this;
    }
    ~Scoped() {
        reset();
    }

    Handle get() const {
        return handle_;
    }
    bool valid() const {
        return handle_ != Kind::none();
    }
    Handle release() {
        return std::exchange(handle_, Kind::none());
    }
    void reset(Handle handle = Kind::none()) {
        const Handle old = std::exchange(handle_, handle);
        if (old != Kind::none()) Kind::close(old);
    }

private:
    Handle handle_ = Kind::none();
};

struct KernelHandleKind {  // processes, threads, mappings, mutexes, events
    using Handle = HANDLE;
    static Handle none() {
        return nullptr;
    }
    static void close(Handle handle) {
        CloseHandle(handle);
    }
};

struct FileHandleKind {
    using Handle = HANDLE;
    static Handle none() {
        return INVALID_HANDLE_VALUE;
    }
    static void close(Handle handle) {
        CloseHandle(handle);
    }
};

struct MappedViewKind {
    using Handle = const void*;
    static Handle none() {
        return nullptr;
    }
    static void close(Handle view) {
        UnmapViewOfFile(view);
    }
};

using ScopedHandle = Scoped<KernelHandleKind>;
using ScopedFile = Scoped<FileHandleKind>;
using ScopedView = Scoped<MappedViewKind>;
