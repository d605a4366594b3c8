#!/usr/bin/python3
# What kvsubstance adds to the library: the work of kv_library_bench's
# LibraryCreate, LibraryFirstTexture/10 and LibraryTweak/10 done through the
# Python module, on the same stacked sample (stone_tiles.mpk with tint.mpk)
# at 1024. Each round runs the C++ bench and a fresh Python process, in
# alternating order, so that a burst of load on the shared machine falls on
# both; the table holds the medians over rounds and their ratio.
#
#   /usr/bin/python3 bench/python_overhead.py [--build build/py] [--rounds 7]
import argparse
import contextlib
import json
import os
import pathlib
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
SIZE = 1024
# As LibraryBench.cpp: fresh materials per first texture (their median), tweaks before the clock, tweaks timed.
FIRST_TEXTURES = 10
WARMUP_TWEAKS = 16
TWEAKS = 200
# Like the C++ bench's minimum time: creations are repeated for this long.
CREATE_SECONDS = 0.5

# Row label, C++ benchmark name (its prefix in kv_library_bench).
ROWS = [("open from package bytes", "LibraryCreate"),
        (f"first texture at {SIZE}", "LibraryFirstTexture/10"),
        (f"one input changed + texture at {SIZE}", "LibraryTweak/10")]


class Stopwatch:
    """Wall time and the process's CPU time (every thread) over the spans it times."""

    def __init__(self):
        self.wall = self.cpu = 0.0

    @contextlib.contextmanager
    def running(self):
        wall, cpu = time.perf_counter(), time.process_time()
        yield
        self.wall += time.perf_counter() - wall
        self.cpu += time.process_time() - cpu

    def per_call_ms(self, calls):
        return [self.wall * 1000 / calls, self.cpu * 1000 / calls]


def python_side(build):
    """The three figures through kvsubstance in this process: [wall, CPU] ms per call."""
    sys.path.insert(0, str(build / "python"))
    import kvsubstance
    import numpy  # noqa: F401  the module imports it with its first array: not the texture's cost
    base = (build / "samples" / "stone_tiles.mpk").read_bytes()
    tint = (build / "samples" / "tint.mpk").read_bytes()

    def material():
        m = kvsubstance.open(base, stack=tint)
        m.size = SIZE
        return m

    create, count = Stopwatch(), 0
    with create.running():
        began = time.perf_counter()
        while time.perf_counter() - began < CREATE_SECONDS:
            kvsubstance.open(base, stack=tint)
            count += 1

    firsts = []
    for _ in range(FIRST_TEXTURES):
        m = material()
        first = Stopwatch()
        with first.running():
            texture = m.texture()
        assert texture is not None and texture.shape == (SIZE, SIZE, 4), "no first texture"
        firsts.append(first.per_call_ms(1))
        del m, texture  # as the C++ side, whose image goes with its iteration

    # The C++ tweak alternates wear between 0.5 and 0.6, both cached after the warm-up.
    m = material()
    m.texture()
    wear, value, last = m.inputs["wear"], None, {}
    for _ in range(WARMUP_TWEAKS):
        value = wear.value = 0.6 if value == 0.5 else 0.5
        last[value] = m.texture()
    assert (last[0.5] != last[0.6]).any(), "changing wear changes nothing"
    tweak = Stopwatch()
    with tweak.running():
        for _ in range(TWEAKS):
            value = wear.value = 0.6 if value == 0.5 else 0.5
            m.texture()
    return {"LibraryCreate": create.per_call_ms(count), "LibraryFirstTexture/10": [statistics.median(f[kind] for f in firsts) for kind in (0, 1)],
            "LibraryTweak/10": tweak.per_call_ms(TWEAKS)}


def output_of(command):
    """The standard output of a command; exits with its last error line when it fails."""
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode != 0:
        reason = (done.stderr.strip().splitlines() or [f"exit status {done.returncode}"])[-1]
        sys.exit(f"python_overhead: {pathlib.Path(command[0]).name} failed: {reason}")
    return done.stdout


def run_python(build):
    return json.loads(output_of([sys.executable, __file__, "--build", str(build), "--python-side"]))


def run_cpp(bench):
    pattern = "^(" + "|".join(name for _, name in ROWS) + ")/"
    out = output_of([str(bench), f"--benchmark_filter={pattern}", "--benchmark_format=json"])
    to_ms = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}
    times = {}
    for result in json.loads(out)["benchmarks"]:
        if result.get("run_type") == "aggregate" and result.get("aggregate_name") != "median":
            continue
        if result.get("error_occurred"):
            sys.exit(f"python_overhead: {result['name']}: {result['error_message']}")
        name = next(n for _, n in ROWS if (result["name"] + "/").startswith(n + "/"))
        times[name] = [result[kind] * to_ms[result["time_unit"]] for kind in ("real_time", "cpu_time")]
    return times


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", default=ROOT / "build" / "py", type=pathlib.Path)
    parser.add_argument("--rounds", default=7, type=int)
    parser.add_argument("--python-side", action="store_true", help=argparse.SUPPRESS)
    args = parser.parse_args()
    build = args.build.resolve()
    if args.python_side:
        print(json.dumps(python_side(build)))
        return
    bench = build / "bench" / "kv_library_bench"
    needed = [bench, build / "samples" / "tint.mpk", build / "python" / "kvsubstance" / "__init__.py"]
    missing = [str(path) for path in needed if not path.exists()]
    if missing or not list((build / "python" / "kvsubstance").glob("_core*.so")):
        sys.exit(f"python_overhead: {build} lacks {', '.join(missing) or 'kvsubstance/_core'}; build the targets "
                 "kv_library_bench, kvsubstance_python and samples with -DKV_BUILD_BENCH=ON")

    rounds = {"C++": [], "Python": []}
    for r in range(args.rounds):
        sides = [("C++", lambda: run_cpp(bench)), ("Python", lambda: run_python(build))]
        for side, run in sides if r % 2 == 0 else reversed(sides):
            rounds[side].append(run())
    print(f"{args.rounds} rounds, C++ and Python alternating, medians in ms per call; CPU: the process's, "
          f"every thread; load average now {os.getloadavg()[0]:.1f}")
    print("| work | C++ wall | Python wall | Python / C++ | C++ CPU | Python CPU | Python / C++ |")
    print("|---|---:|---:|---:|---:|---:|---:|")
    for label, name in ROWS:
        cells = []
        for kind in (0, 1):
            cpp = statistics.median(times[name][kind] for times in rounds["C++"])
            py = statistics.median(times[name][kind] for times in rounds["Python"])
            cells += [f"{cpp:.3f}", f"{py:.3f}", f"{py / cpp:.3f}"]
        print(f"| {label} | " + " | ".join(cells) + " |")


if __name__ == "__main__":
    main()
