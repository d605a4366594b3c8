// What the library adds to the engine, on the stone tiles sample with tint
// stacked on top: creation from package bytes, the first texture, a tweak of
// one input through the host interface, and the same tweak done by the bare
// engine on the same two packages linked the way the library links them.
// Library tweak minus engine tweak is the library's overhead per call: the
// render thread started and joined, input snapshots, the result copied into
// a host image. LibraryUnchanged, ResultConversion and the engine's tweak on
// a new thread per call time parts of it alone.
#include "EngineStack.h"
#include "SampleMaterial.h"

#include "bridge/SubstanceBridge.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using kvbench::EngineSession;
using kvbench::LinkedStack;
using kvSubstance::Substance;
using kvSubstance::SubstanceInput;

constexpr double kMiB = 1024.0 * 1024.0;

// Wall time per call; the CPU column counts every thread of the process (the
// library's render thread and the engine's workers too), and repetitions
// report their minimum beside mean and median, the figure least disturbed by
// other work on the machine.
void timed(benchmark::internal::Benchmark* benchmark) {
    benchmark->UseRealTime()->MeasureProcessCPUTime()->ComputeStatistics(
        "min", [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); });
}

// Minor page faults per iteration, counted from construction: memory the
// allocator gave back to the system and takes again shows here.
struct FaultCounter {
    long start = kvbench::minorFaults();
    void report(benchmark::State& state) const {
        state.counters["faults"] = benchmark::Counter(static_cast<double>(kvbench::minorFaults() - start),
                                                      benchmark::Counter::kAvgIterations);
    }
};

// A wear value not used before in this run, so that the tweak is never served whole from a cache.
float freshWear(unsigned& step) {
    const double golden = 0.6180339887498949;
    return static_cast<float>(0.2 + 0.6 * std::fmod(++step * golden, 1.0));
}

// The next value of a tweak: alternating between two values, or always a new one.
float nextWear(bool fresh, float last, unsigned& step) {
    return fresh ? freshWear(step) : (last == 0.5f ? 0.6f : 0.5f);
}

void LibraryCreate(benchmark::State& state) {
    const kvbench::SamplePackages& packages = kvbench::samplePackages();
    if (!packages.loaded()) {
        state.SkipWithError("sample packages not built");
        return;
    }
    const size_t residentBefore = kvbench::residentBytes();
    for (auto _ : state) {
        kv::Reference<Substance> material = kvSubstance::createSubstance(packages.base, packages.effect);
        benchmark::DoNotOptimize(material.get());
    }
    // The library keeps the package descriptions of every material until the process ends.
    const double kept = static_cast<double>(kvbench::residentBytes()) - static_cast<double>(residentBefore);
    state.counters["kept KiB"] = benchmark::Counter(kept / 1024.0, benchmark::Counter::kAvgIterations);
}
BENCHMARK(LibraryCreate)->Unit(benchmark::kMicrosecond)->Apply(timed);

// A fresh material per iteration: linking, loading and the whole render.
// "kept MiB" is resident memory that stays after each material is gone.
void LibraryFirstTexture(benchmark::State& state) {
    const int log2 = static_cast<int>(state.range(0));
    const size_t residentBefore = kvbench::residentBytes();
    for (auto _ : state) {
        state.PauseTiming();
        kv::Reference<Substance> material = kvbench::createSampleMaterial();
        if (!material || !kvbench::setOutputSize(material, log2)) {
            state.SkipWithError("no sample material");
            break;
        }
        state.ResumeTiming();
        const kv::TempReference<ilSIDImage> texture = kvSubstance::getTextureFromSubstance(material.get());
        state.PauseTiming();
        const bool rendered = static_cast<bool>(texture);
        material = kv::Reference<Substance>();
        state.ResumeTiming();
        if (!rendered) {
            state.SkipWithError("no texture");
            break;
        }
    }
    const double kept = static_cast<double>(kvbench::residentBytes()) - static_cast<double>(residentBefore);
    state.counters["kept MiB"] = benchmark::Counter(kept / kMiB, benchmark::Counter::kAvgIterations);
}
// One material per repetition, reported by the median: a process's first
// renders wait on the kernel for fresh huge pages, from 20 to 200 ms.
// python_overhead.py takes the median of as many.
BENCHMARK(LibraryFirstTexture)
    ->Arg(9)
    ->Arg(10)
    ->Iterations(1)
    ->Repetitions(10)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMillisecond)
    ->Apply(timed);

// Each tweak benchmark keeps one rig, a material or an engine handle, for
// all its repetitions, so that every repetition starts from the same caches.
template <typename Rig>
Rig& rigFor(bool fresh, int log2) {
    static std::map<std::pair<bool, int>, std::unique_ptr<Rig>> rigs;
    std::unique_ptr<Rig>& rig = rigs[{fresh, log2}];
    if (!rig)
        rig = std::make_unique<Rig>(fresh, log2);
    return *rig;
}

// Tweaks made before timing, so that both sides start from the same steady
// state: both alternating values cached; for new values, the engine's cache
// full (about ten tweaks at 1024) and its buffer pool serving the evictions.
constexpr int kWarmupTweaks = 16;

// One input changed, synchronised and rendered again through the host interface.
class LibraryRig {
public:
    LibraryRig(bool fresh, int log2) : fresh_(fresh), material_(kvbench::createSampleMaterial()) {
        if (!material_ || !kvbench::setOutputSize(material_, log2)) {
            failure_ = "no sample material";
            return;
        }
        last_ = kvSubstance::getTextureFromSubstance(material_.get());
        wear_ = material_->getInput("wear");
        if (!last_ || !wear_) {
            failure_ = "no first texture or no wear input";
            return;
        }
        value_ = wear_->getValueF(0);
        for (int i = 0; i < kWarmupTweaks && !failure_; ++i)
            failure_ = tweak();
    }

    const char* failure() const { return failure_; }

    // Whether a call with nothing changed hands back the last texture.
    bool unchanged() { return kvSubstance::getTextureFromSubstance(material_.get()) == last_; }

    const char* tweak() {
        value_ = nextWear(fresh_, value_, step_);
        wear_->setValueF(value_, 0);
        kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(material_, wear_);
        kv::TempReference<ilSIDImage> texture = kvSubstance::getTextureFromSubstance(material_.get());
        if (texture == last_)
            return "the tweak rendered nothing";
        last_ = texture;
        return nullptr;
    }

private:
    bool fresh_;
    kv::Reference<Substance> material_;
    kv::TempReference<ilSIDImage> last_;
    SubstanceInput* wear_ = nullptr;
    float value_ = 0.0f;
    unsigned step_ = 0;
    const char* failure_ = nullptr;
};

// The same tweak on the bare engine: push the value and the output, start, free the texture.
class EngineRig {
public:
    EngineRig(bool fresh, int log2)
        : fresh_(fresh), stack_(kvbench::linkStack(kvbench::samplePackages())), engine_(stack_.assembly) {
        if (!engine_.handle) {
            failure_ = "the sample packages do not link";
            return;
        }
        const std::map<std::string, SubstanceInputDesc> inputs = engine_.inputs();
        const auto size = inputs.find("$outputsize");
        const auto wear = inputs.find("wear");
        if (size == inputs.end() || wear == inputs.end()) {
            failure_ = "no $outputsize or wear input";
            return;
        }
        const int sides[2] = {log2, log2};
        substanceHandlePushSetInput(engine_.handle, 0, size->second.index, SubstanceInputType_Integer2, sides,
                                    0);
        wearIndex_ = wear->second.index;
        value_ = wear->second.defaultValue.f[0];
        if (!matchesLibrary(log2)) {
            failure_ = "the engine's texture differs from the library's";
            return;
        }
        for (int i = 0; i < kWarmupTweaks && !failure_; ++i)
            failure_ = tweak();
    }

    const char* failure() const { return failure_; }

    const char* tweak() {
        value_ = nextWear(fresh_, value_, step_);
        if (substanceHandlePushSetInput(engine_.handle, 0, wearIndex_, SubstanceInputType_Float, &value_,
                                        0) != 0 ||
            !engine_.render(stack_.outputUid))
            return "tweak failed";
        return nullptr;
    }

private:
    // The first render doubles as the check that this link is the library's.
    bool matchesLibrary(int log2) {
        kv::Reference<Substance> material = kvbench::createSampleMaterial();
        if (!material || !kvbench::setOutputSize(material, log2))
            return false;
        const kv::TempReference<ilSIDImage> reference = kvSubstance::getTextureFromSubstance(material.get());
        const auto* expected = dynamic_cast<const ilSPMemoryImg*>(reference.get());
        bool same = false;
        engine_.render(stack_.outputUid, [&](const SubstanceTexture& texture) {
            same = expected &&
                   expected->getDataSize() == size_t(texture.level0Width) * texture.level0Height * 4 &&
                   std::memcmp(expected->getData(), texture.buffer, expected->getDataSize()) == 0;
        });
        return same;
    }

    bool fresh_;
    LinkedStack stack_;
    EngineSession engine_;
    unsigned wearIndex_ = 0;
    float value_ = 0.0f;
    unsigned step_ = 0;
    const char* failure_ = nullptr;
};

// One tweak per iteration on the rig of this benchmark; stops at the first
// failure. With onNewThread each tweak runs on a thread started and joined
// for the call, as the library makes its renders: what that design costs,
// apart from the library's own work.
template <typename Rig>
void timeTweaks(benchmark::State& state, bool fresh, bool onNewThread = false) {
    Rig& rig = rigFor<Rig>(fresh, static_cast<int>(state.range(0)));
    if (rig.failure()) {
        state.SkipWithError(rig.failure());
        return;
    }
    const FaultCounter faults;
    for (auto _ : state) {
        const char* failure = nullptr;
        if (onNewThread) {
            std::thread render([&] { failure = rig.tweak(); });
            render.join();
        } else {
            failure = rig.tweak();
        }
        if (failure) {
            state.SkipWithError(failure);
            break;
        }
    }
    faults.report(state);
}

void LibraryTweak(benchmark::State& state) {
    timeTweaks<LibraryRig>(state, false);
}
void EngineTweak(benchmark::State& state) {
    timeTweaks<EngineRig>(state, false);
}
void LibraryTweakNewValue(benchmark::State& state) {
    timeTweaks<LibraryRig>(state, true);
}
void EngineTweakNewValue(benchmark::State& state) {
    timeTweaks<EngineRig>(state, true);
}
void EngineTweakOnNewThread(benchmark::State& state) {
    timeTweaks<EngineRig>(state, false, true);
}
void EngineTweakNewValueOnNewThread(benchmark::State& state) {
    timeTweaks<EngineRig>(state, true, true);
}
// A fixed count, so that the library and the engine go through the same values.
constexpr int kTweaks = 200;
BENCHMARK(LibraryTweak)->Arg(10)->Iterations(kTweaks)->Unit(benchmark::kMillisecond)->Apply(timed);
BENCHMARK(EngineTweak)->Arg(10)->Iterations(kTweaks)->Unit(benchmark::kMillisecond)->Apply(timed);
BENCHMARK(LibraryTweakNewValue)->Arg(10)->Iterations(kTweaks)->Unit(benchmark::kMillisecond)->Apply(timed);
BENCHMARK(EngineTweakNewValue)->Arg(10)->Iterations(kTweaks)->Unit(benchmark::kMillisecond)->Apply(timed);
BENCHMARK(EngineTweakOnNewThread)->Arg(10)->Iterations(kTweaks)->Unit(benchmark::kMillisecond)->Apply(timed);
BENCHMARK(EngineTweakNewValueOnNewThread)
    ->Arg(10)
    ->Iterations(kTweaks)
    ->Unit(benchmark::kMillisecond)
    ->Apply(timed);

// Nothing changed: the call still starts and joins the render thread and
// hands back the last texture. The material of the alternating tweak serves.
void LibraryUnchanged(benchmark::State& state) {
    LibraryRig& rig = rigFor<LibraryRig>(false, static_cast<int>(state.range(0)));
    if (rig.failure()) {
        state.SkipWithError(rig.failure());
        return;
    }
    const FaultCounter faults;
    for (auto _ : state) {
        if (!rig.unchanged()) {
            state.SkipWithError("an unchanged material rendered again");
            break;
        }
    }
    faults.report(state);
}
BENCHMARK(LibraryUnchanged)->Arg(10)->Unit(benchmark::kMicrosecond)->Apply(timed);

// The copy of an 8-bit RGBA result into a host image, as the library hands it over.
void ResultConversion(benchmark::State& state) {
    const int side = 1 << state.range(0);
    const std::vector<unsigned char> pixels(size_t(side) * size_t(side) * 4, 0x80);
    for (auto _ : state) {
        kv::TempReference<ilSPMemoryImg> image(
            new ilSPMemoryImg(ilSize(side, side, 1, 4), ilUChar, ilInterleaved, true));
        image->setTile(0, 0, 0, side, side, 1, pixels.data());
        benchmark::DoNotOptimize(image->getData());
    }
}
BENCHMARK(ResultConversion)->Arg(10)->Unit(benchmark::kMicrosecond)->Apply(timed);

} // namespace

BENCHMARK_MAIN();
