#!/usr/bin/python3
# Throughput of kvsubstance.batch: variations per second of the default
# material at 512 (every output, PNG) in a plain loop in this process, and on
# a LocalCluster of one and of two single-threaded workers; then the ratio of
# two workers to one and the scheduling cost per variation: the wall time of
# the one-worker run less the time its worker spent in the tasks (which the
# manifest records), so that other load on the machine does not count; and
# the CPU time per variation, which stays the same with two workers when they
# do not get in each other's way, however busy the machine. Clusters are
# started and warmed up (package sent, material opened) before the clock;
# with --rounds the three take turns and the best of each is kept.
#
#   /usr/bin/python3 bench/batch_throughput.py [--build build/dev] [--count 60] [--size 512] [--rounds 1]
import argparse
import hashlib
import os
import pathlib
import shutil
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
# Variations per process rendered before the clock starts: imports done, material opened.
WARM_UP = 4


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", default=ROOT / "build" / "dev", type=pathlib.Path)
    parser.add_argument("--count", default=60, type=int, help="variations per measurement")
    parser.add_argument("--size", default=512, type=int)
    parser.add_argument("--rounds", default=1, type=int)
    args = parser.parse_args()
    python = str(args.build.resolve() / "python")
    # The workers are new processes: they find the package through the environment.
    os.environ["PYTHONPATH"] = os.pathsep.join(filter(None, [python, os.environ.get("PYTHONPATH")]))
    os.environ["KV_ENGINE_THREADS"] = "1"
    sys.path.insert(0, python)
    from kvsubstance import batch
    from kvsubstance.batch.render import PackageBytes, render_variation
    from kvsubstance.batch.runner import make_tasks, read_materials, start_client

    scratch = pathlib.Path(tempfile.mkdtemp(prefix="kv-batch-bench-"))

    def job(name, first, count=args.count):
        return batch.make_job({"packages": {"stone": str(args.build / "samples" / "stone_tiles.mpk")},
                               "variations": {"seed": f"{first}-{first + count - 1}"}, "size": args.size,
                               "destination": str(scratch / name)})

    def plain_loop():
        for name, first, count in (("loop-warm", 10_000, WARM_UP), ("loop", 1, args.count)):
            timed = job(name, first, count)
            timed.destination.mkdir(parents=True, exist_ok=True)
            materials = read_materials(timed, ["stone"])
            package = materials["stone"].package
            PackageBytes({hashlib.sha256(package).hexdigest(): package}).setup()
            tasks, _ = make_tasks(timed, materials, batch.manifest.Manifest(timed.destination))
            began = time.perf_counter()
            records = [render_variation(task) for task in tasks]
            seconds = time.perf_counter() - began
        assert all(r["status"] == "rendered" for r in records)
        return seconds, sum(r["cpu_seconds"] for r in records) / args.count

    def on_cluster(workers, round):
        timed = job(f"workers-{workers}-{round}", 1)
        client, cluster = start_client(None, workers)  # as the runner makes its own
        with cluster, client:
            batch.run(job(f"warm-{workers}-{round}", 10_000, WARM_UP * workers), client=client)
            summary = batch.run(timed, client=client)
        assert summary.rendered == args.count, summary
        records = batch.manifest.Manifest(timed.destination).records.values()
        in_tasks = sum(r["seconds"] for r in records)
        cpu = sum(r["cpu_seconds"] for r in records) / args.count
        return summary.seconds, (summary.seconds * workers - in_tasks) / args.count, cpu

    # Rounds of the three in turn: the machine's speed drifts within minutes, and all three should see alike.
    rounds = {"loop": [], "one": [], "two": []}
    try:
        for round in range(args.rounds):
            rounds["loop"].append(plain_loop())
            rounds["one"].append(on_cluster(1, round))
            rounds["two"].append(on_cluster(2, round))
        loop, one, two = (min(rounds[name]) for name in ("loop", "one", "two"))
    finally:
        shutil.rmtree(scratch)
    rate = {name: args.count / seconds for name, seconds in (("loop", loop[0]), ("one", one[0]), ("two", two[0]))}
    print(f"{args.count} variations at {args.size}, every output as PNG, best of {args.rounds}; "
          f"load average now: {os.getloadavg()[0]:.2f}")
    print(f"plain loop in one process: {rate['loop']:.2f} variations/s")
    print(f"1 worker:                  {rate['one']:.2f} variations/s")
    print(f"2 workers:                 {rate['two']:.2f} variations/s ({rate['two'] / rate['one']:.2f}x one worker)")
    print(f"scheduling cost per variation: {one[1] * 1000:.1f} ms with 1 worker, {two[1] * 1000:.1f} ms "
          f"per worker with 2 (1 worker against the loop: {(one[0] - loop[0]) / args.count * 1000:.1f} ms)")
    # Workers that got in each other's way would spend more CPU per variation with two than with one.
    print(f"CPU time per variation: {loop[1] * 1000:.0f} ms in the loop, {one[2] * 1000:.0f} ms on 1 worker, "
          f"{two[2] * 1000:.0f} ms on 2 workers")

if __name__ == "__main__":
    main()
