#include "tools/nt_query.h"

#include <windows.h>
#include <winternl.h>

#include "ipc/scoped_handle.h"

// What winternl.h leaves out of ntdll.
namespace {

constexpr ACCESS_MASK kQueryState = 0x0001;  // of a mutant, an event and a section alike
constexpr ULONG kBasicInformation = 0;

struct MutantBasicInformation {
    LONG current_count;  // 1: free; otherwise held, as often as it is below 1
    BOOLEAN owned_by_caller;
    BOOLEAN abandoned;  // its owner ended, and nobody has taken it since
};
static_assert(sizeof(MutantBasicInformation) == 8);

struct EventBasicInformation {
    LONG type;  // 0: manual reset, 1: auto reset
    LONG state;
};
static_assert(sizeof(EventBasicInformation) == 8);

struct SectionBasicInformation {
    void* base_address;
    ULONG attributes;
    LARGE_INTEGER maximum_size;
};
static_assert(sizeof(SectionBasicInformation) == 24);

}  // namespace

extern "C" {
NTSTATUS NTAPI NtQueryMutant(HANDLE mutant, ULONG what, void* information, ULONG size, ULONG* returned);
NTSTATUS NTAPI NtQueryEvent(HANDLE event, ULONG what, void* information, ULONG size, ULONG* returned);
NTSTATUS NTAPI NtQuerySection(HANDLE section, ULONG what, void* information, SIZE_T size, SIZE_T* returned);
}

// After a failed open: a name that nobody has, or one that we may not look at.
static bool name_is_missing() {
    return GetLastError() == ERROR_FILE_NOT_FOUND;
}

MutexState query_mutex(const char* name) {
    const ScopedHandle mutex(OpenMutexA(kQueryState, FALSE, name));
    if (!mutex.valid()) return name_is_missing() ? MutexState::missing : MutexState::unknown;
    MutantBasicInformation found = {};
    if (NtQueryMutant(mutex.get(), kBasicInformation, &found, sizeof found, nullptr) != 0) return MutexState::unknown;
    if (found.current_count < 1) return MutexState::held;
    return found.abandoned ? MutexState::abandoned : MutexState::free;
}

EventState query_event(const char* name, bool* manual_reset) {
    const ScopedHandle event(OpenEventA(kQueryState, FALSE, name));
    if (!event.valid()) return name_is_missing() ? EventState::missing : EventState::unknown;
    EventBasicInformation found = {};
    if (NtQueryEvent(event.get(), kBasicInformation, &found, sizeof found, nullptr) != 0) return EventState::unknown;
    *manual_reset = found.type == 0;
    return found.state != 0 ? EventState::signalled : EventState::clear;
}

StatusRegion query_region(const char* name) {
    // Not the query right alone: OpenFileMapping takes it for its own "copy on write" flag.
    const ScopedHandle mapping(OpenFileMappingA(kQueryState | FILE_MAP_READ, FALSE, name));
    StatusRegion region;
    region.present = mapping.valid() || !name_is_missing();
    if (!mapping.valid()) return region;
    SectionBasicInformation found = {};
    if (NtQuerySection(mapping.get(), kBasicInformation, &found, sizeof found, nullptr) != 0) return region;
    region.size_known = true;
    region.size = static_cast<uint64_t>(found.maximum_size.QuadPart);
    return region;
}
