// Whether a host that keeps tweaking one material keeps its memory bounded:
// the stacked sample material (stone tiles under tint) is rendered once at
// 1024x1024, then tweaked many times at random (any numerical input, any
// value in its range, $randomseed included, $outputsize between 8,8 and
// 10,10), each tweak synchronised and rendered through the host interface.
// Prints the resident peak after the first render, the peak after the
// tweaks and their ratio, one line each; exits 1 when the ratio exceeds 1.5,
// 2 when the material cannot be made or rendered.
//
//   kv_memory_bound [TWEAKS [SEED]]     (defaults: 1000 tweaks, seed 1)
#include "SampleMaterial.h"

#include "bridge/SubstanceBridge.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using kvSubstance::Substance;
using kvSubstance::SubstanceInput;

constexpr double kMaxRatio = 1.5;
constexpr int kMinLog2Size = 8;
constexpr int kMaxLog2Size = 10;

double mebibytes(size_t bytes) {
    return static_cast<double>(bytes) / (1024.0 * 1024.0);
}

// Every numerical input of the material, each once.
std::vector<SubstanceInput*> numericalInputs(Substance& material) {
    std::vector<SubstanceInput*> inputs;
    for (const auto* entry = material.getInputs().first(); entry; entry = material.getInputs().next(entry)) {
        SubstanceInput* input = entry->value.get();
        if ((input->getType() & 0x30) != 0)
            inputs.push_back(input);
    }
    return inputs;
}

// A random value for one component within the input's range. Inputs without
// a usable range (colours, system inputs) get 0..1, or the output sizes the
// run is meant to cover.
void randomise(SubstanceInput& input, int component, std::mt19937& random) {
    const bool isInteger = (input.getType() & 0x20) != 0;
    if (input.getIdentifier() == kvString::CString("$outputsize")) {
        input.setValueI(std::uniform_int_distribution<int>(kMinLog2Size, kMaxLog2Size)(random), component);
    } else if (isInteger) {
        const bool ranged =
            input.hasMin() && input.hasMax() && input.getMaxI(component) > input.getMinI(component);
        const int low = ranged ? input.getMinI(component) : 0;
        const int high = ranged ? input.getMaxI(component) : 1;
        input.setValueI(std::uniform_int_distribution<int>(low, high)(random), component);
    } else {
        const bool ranged =
            input.hasMin() && input.hasMax() && input.getMaxF(component) > input.getMinF(component);
        const float low = ranged ? input.getMinF(component) : 0.0f;
        const float high = ranged ? input.getMaxF(component) : 1.0f;
        input.setValueF(std::uniform_real_distribution<float>(low, high)(random), component);
    }
}

// The input's value, component by component, to tell whether a tweak changed it.
std::vector<float> valueOf(const SubstanceInput& input) {
    std::vector<float> values;
    for (int k = 0; k < (input.getType() & 7); ++k)
        values.push_back((input.getType() & 0x20) != 0 ? static_cast<float>(input.getValueI(k))
                                                       : input.getValueF(k));
    return values;
}

// Gives the input a new random value; a draw equal to the current value is drawn again.
void tweak(SubstanceInput& input, std::mt19937& random) {
    const std::vector<float> before = valueOf(input);
    for (int attempt = 0; attempt < 16 && valueOf(input) == before; ++attempt)
        for (int k = 0; k < (input.getType() & 7); ++k)
            randomise(input, k, random);
}

} // namespace

int main(int argc, char** argv) {
    const int tweaks = argc > 1 ? std::atoi(argv[1]) : 1000;
    const unsigned seed = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) : 1u;

    kv::Reference<Substance> material = kvbench::createSampleMaterial();
    if (!material || !kvbench::setOutputSize(material, kMaxLog2Size)) {
        std::fprintf(stderr, "kv_memory_bound: no sample material (build the samples target)\n");
        return 2;
    }
    kv::TempReference<ilSIDImage> last = kvSubstance::getTextureFromSubstance(material.get());
    if (!last) {
        std::fprintf(stderr, "kv_memory_bound: the first render gave no texture\n");
        return 2;
    }
    const size_t firstPeak = kvbench::residentPeakBytes();
    std::printf("peak resident after the first render at 1024: %.1f MiB\n", mebibytes(firstPeak));

    const std::vector<SubstanceInput*> inputs = numericalInputs(*material);
    std::mt19937 random(seed);
    std::uniform_int_distribution<size_t> pick(0, inputs.size() - 1);
    int rendered = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < tweaks; ++i) {
        SubstanceInput& input = *inputs[pick(random)];
        tweak(input, random);
        kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(material, &input);
        const kv::TempReference<ilSIDImage> texture = kvSubstance::getTextureFromSubstance(material.get());
        if (!texture) {
            std::fprintf(stderr, "kv_memory_bound: tweak %d of %s gave no texture\n", i,
                         input.getIdentifier().asChar());
            return 2;
        }
        rendered += texture != last ? 1 : 0;
        last = texture;
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const size_t tweakedPeak = kvbench::residentPeakBytes();
    const double ratio = static_cast<double>(tweakedPeak) / static_cast<double>(firstPeak);

    std::printf("tweaks: %d (%d rendered a new texture) in %.1f s\n", tweaks, rendered, seconds);
    std::printf("peak resident after the tweaks: %.1f MiB\n", mebibytes(tweakedPeak));
    std::printf("resident at the end: %.1f MiB\n", mebibytes(kvbench::residentBytes()));
    std::printf("peak ratio: %.2f (limit %.2f)\n", ratio, kMaxRatio);
    return ratio > kMaxRatio ? 1 : 0;
}
