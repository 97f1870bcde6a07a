// What the processor running the binary offers beyond plain x86-64, asked once. Loops
// compiled a second time for AVX2 are chosen with it; both forms do the same operations
// on every pixel, so the results are the same bits. LUMISK_NO_AVX2 set in the
// environment keeps the plain forms, so that they can be checked on any machine.
#ifndef TAVLIN_BASIS_CPUFEATURES_H
#define TAVLIN_BASIS_CPUFEATURES_H

#include <cstdlib>

namespace Tavlin
{

inline bool CpuHasAvx2()
{
#if defined(__x86_64__) || defined(__i386__)
    static const bool has = __builtin_cpu_supports("avx2") && !std::getenv("LUMISK_NO_AVX2");
    return has;
#else
    return false;
#endif
}

// AVX-512 with 32 vector registers, for loops that hold more sums than AVX2 has
// registers; LUMISK_NO_AVX512 keeps the AVX2 forms.
inline bool CpuHasAvx512()
{
#if defined(__x86_64__) || defined(__i386__)
    static const bool has = CpuHasAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
                            !std::getenv("LUMISK_NO_AVX512");
    return has;
#else
    return false;
#endif
}

} // namespace Tavlin

#if defined(__x86_64__) || defined(__i386__)
#define TAVLIN_TARGET_AVX2 __attribute__((target("avx2")))
#define TAVLIN_TARGET_AVX512 __attribute__((target("avx512f,avx512vl")))
#else
#define TAVLIN_TARGET_AVX2
#define TAVLIN_TARGET_AVX512
#endif
#define TAVLIN_ALWAYS_INLINE inline __attribute__((always_inline))

#endif
