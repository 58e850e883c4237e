#include "autosetup/byte_scan.h"

std::span<const ByteScan* const> byte_scans() {
#ifdef __x86_64__
    static constexpr const ByteScan* kScans[] = {&kPlainByteScan, &kSse2ByteScan, &kAvx2ByteScan};
    return std::span(kScans).first(__builtin_cpu_supports("avx2") ? 3 : 2);
#else
    static constexpr const ByteScan* kScans[] = {&kPlainByteScan};
    return kScans;
#endif
}

const ByteScan& best_byte_scan() {
    return *byte_scans().back();
}
