// The engine's own answer to "which SIMD targets does this CPU run", checked
// against the kernel's view of the CPU.
#include "engine/nodes/SimdTarget.h"

#include "hwy/targets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace kvengine {
namespace {

// The feature flags of the first CPU in /proc/cpuinfo; empty elsewhere.
std::set<std::string> cpuFlags() {
    std::ifstream cpuinfo("/proc/cpuinfo");
    std::string line;
    while (std::getline(cpuinfo, line)) {
        if (line.rfind("flags", 0) != 0)
            continue;
        std::istringstream words(line.substr(line.find(':') + 1));
        std::set<std::string> flags;
        for (std::string flag; words >> flag;)
            flags.insert(flag);
        return flags;
    }
    return {};
}

bool hasAll(const std::set<std::string>& flags, std::initializer_list<const char*> wanted) {
    return std::all_of(wanted.begin(), wanted.end(), [&](const char* f) { return flags.count(f) != 0; });
}

TEST(SimdRuntime, OffersExactlyTheCompiledTargetsTheCpuRuns) {
#if !HWY_ARCH_X86 || !defined(__linux__)
    GTEST_SKIP() << "checked against the x86 flags of /proc/cpuinfo";
#else
    const std::set<std::string> flags = cpuFlags();
    ASSERT_FALSE(flags.empty());
    // The kernel's flags already leave out what the OS does not save. Some
    // hypervisors hide LZCNT ("abm") from them while CPUID has it, so it is
    // not asked for here.
    const bool ssse3 = hasAll(flags, {"sse2", "pni", "ssse3"});
    const bool sse4 = ssse3 && hasAll(flags, {"sse4_1", "sse4_2", "pclmulqdq", "aes"});
    const bool avx2 = sse4 && hasAll(flags, {"avx", "avx2", "fma", "f16c", "bmi1", "bmi2"});
    const bool avx3 = avx2 && hasAll(flags, {"avx512f", "avx512dq", "avx512bw", "avx512vl"});
    const bool avx3dl = avx3 && hasAll(flags, {"avx512vbmi", "avx512_vbmi2", "vaes", "vpclmulqdq",
                                               "avx512_vnni", "avx512_bitalg", "avx512_vpopcntdq"});
    const struct {
        int64_t target;
        bool runs;
    } expected[] = {
        {HWY_SSSE3, ssse3}, {HWY_SSE4, sse4}, {HWY_AVX2, avx2}, {HWY_AVX3, avx3}, {HWY_AVX3_DL, avx3dl}};

    const std::vector<int64_t> offered = simdTargets();
    for (const auto& e : expected) {
        if ((HWY_TARGETS & e.target) == 0)
            continue; // not compiled
        const bool isOffered = std::find(offered.begin(), offered.end(), e.target) != offered.end();
        EXPECT_EQ(isOffered, e.runs) << hwy::TargetName(e.target);
    }
    // Kernels dispatch to the best of them.
    ASSERT_FALSE(offered.empty());
    EXPECT_STREQ(simdTargetName(), hwy::TargetName(offered.front()));
#endif
}

} // namespace
} // namespace kvengine
