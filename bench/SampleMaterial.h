// The material the library benchmarks share: the stone tiles sample package
// with the tint sample package stacked on top, both as compiled by the build
// into <build>/samples, plus the process's resident memory figures.
#pragma once

#include "material/Substance.h"
#include "platform/base/Reference.h"
#include "platform/base/Vector.h"

#include <cstddef>

namespace kvbench {

struct SamplePackages {
    kv::vector<char> base;   // stone_tiles.mpk
    kv::vector<char> effect; // tint.mpk

    bool loaded() const { return !base.empty() && !effect.empty(); }
};

// Read once; empty buffers when the samples were not built.
const SamplePackages& samplePackages();

// A fresh stacked material made from the package bytes; null when the
// samples are missing or do not make a material with graphs.
kv::Reference<kvSubstance::Substance> createSampleMaterial();

// Sets $outputsize to log2,log2 on the material and hands it to the renderer.
bool setOutputSize(const kv::Reference<kvSubstance::Substance>& material, int log2);

// Resident set size now and at its peak (VmRSS and VmHWM), in bytes; 0 when unknown.
std::size_t residentBytes();
std::size_t residentPeakBytes();
// Minor page faults of the whole process so far: fresh memory being touched.
long minorFaults();

} // namespace kvbench
