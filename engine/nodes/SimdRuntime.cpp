// The part of Highway's run time that dispatch needs: which targets this CPU
// runs, and the target chosen among them. The engine answers these itself
// instead of linking Highway's shared library, whose load-time timer
// calibration (65,536 timer reads) cost every process start 4 to 7 ms in a
// virtual machine: more than rendering a small texture.
#include "hwy/targets.h"

#include <atomic>
#include <cstdint>

#if HWY_ARCH_X86 && (defined(__GNUC__) || defined(__clang__))
#include <cpuid.h>
#define KV_DETECT_X86 1
#endif

namespace hwy {

namespace {

#if defined(KV_DETECT_X86)

struct CpuidRegisters {
    uint32_t a = 0, b = 0, c = 0, d = 0;
};

CpuidRegisters cpuid(uint32_t leaf, uint32_t subleaf = 0) {
    CpuidRegisters r;
    if (!__get_cpuid_count(leaf, subleaf, &r.a, &r.b, &r.c, &r.d))
        return {};
    return r;
}

// The state components the OS saves on a context switch (XCR0).
uint32_t savedStateComponents() {
    uint32_t low = 0, high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

constexpr bool all(uint32_t reg, uint32_t bits) {
    return (reg & bits) == bits;
}
constexpr uint32_t bit(int index) {
    return uint32_t(1) << index;
}

// A target runs when the CPU has every extension Highway compiles it with
// (BMI, BMI2, FMA and F16C come with AVX2 unless Highway was told otherwise)
// and the OS saves the registers it uses.
int64_t detectX86() {
    int64_t targets = 0;
    const CpuidRegisters basic = cpuid(1);
    const uint32_t ssse3 = bit(0) | bit(9);                             // SSE3, SSSE3
    const uint32_t sse4 = ssse3 | bit(1) | bit(19) | bit(20) | bit(25); // + CLMUL, SSE4.1/4.2, AES
    const uint32_t sse2 = bit(25) | bit(26);
    if (!all(basic.d, sse2) || !all(basic.c, ssse3))
        return targets;
    targets |= HWY_SSSE3;
    if (!all(basic.c, sse4))
        return targets;
    targets |= HWY_SSE4;

    const bool osSavesState = all(basic.c, bit(27)); // OSXSAVE
    if (!osSavesState)
        return targets;
    const uint32_t xcr0 = savedStateComponents();
    uint32_t avx = bit(28); // AVX
#if !defined(HWY_DISABLE_BMI2_FMA)
    avx |= bit(12); // FMA
#endif
#if !defined(HWY_DISABLE_F16C)
    avx |= bit(29); // F16C
#endif
    const CpuidRegisters extended = cpuid(7);
    uint32_t avx2 = bit(5); // AVX2
#if !defined(HWY_DISABLE_BMI2_FMA)
    avx2 |= bit(3) | bit(8); // BMI, BMI2
#endif
    const bool lzcnt = all(cpuid(0x80000001).c, bit(5));
    if (!all(xcr0, 0x6) || !all(basic.c, avx) || !all(extended.b, avx2) || !lzcnt)
        return targets;
    targets |= HWY_AVX2;

    const uint32_t avx512 = bit(16) | bit(17) | bit(30) | bit(31); // F, DQ, BW, VL
    if (!all(xcr0, 0xE0) || !all(extended.b, avx512))
        return targets;
    targets |= HWY_AVX3;

    // VBMI, VBMI2, VAES, VPCLMULQDQ, VNNI, BITALG, VPOPCNTDQ
    const uint32_t avx512dl = bit(1) | bit(6) | bit(9) | bit(10) | bit(11) | bit(12) | bit(14);
    if (all(extended.c, avx512dl))
        targets |= HWY_AVX3_DL;
    return targets;
}

#endif

int64_t detectTargets() {
    int64_t targets = HWY_SCALAR | HWY_EMU128 | HWY_STATIC_TARGET;
#if defined(KV_DETECT_X86)
    targets |= detectX86();
#endif
    return targets;
}

std::atomic<int64_t> targetsForTest{0};

} // namespace

int64_t SupportedTargets() {
    static const int64_t detected = detectTargets();
    const int64_t forTest = targetsForTest.load();
    return forTest != 0 ? forTest : detected;
}

void SetSupportedTargetsForTest(int64_t targets) {
    targetsForTest.store(targets);
    GetChosenTarget().DeInit();
}

ChosenTarget& GetChosenTarget() {
    static ChosenTarget chosen;
    return chosen;
}

} // namespace hwy
