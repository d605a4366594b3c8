#!/usr/bin/python3
# Throughput of kvsubstance.batch: variations per second of the default
# material at 512 (every output, PNG) in a plain loop in this process, and on
# a LocalCluster of one and of two single-threaded workers; then the ratio of
# two workers to one and the scheduling cost per variation (one worker
# against the loop, which does the same work without Dask). Clusters are
# started and warmed up (packages sent, materials opened) before the clock.
#
#   /usr/bin/python3 bench/batch_throughput.py [--build build/dev] [--count 60] [--size 512]
import argparse
import hashlib
import os
import pathlib
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", default=ROOT / "build" / "dev", type=pathlib.Path)
    parser.add_argument("--count", default=60, type=int, help="variations per measurement")
    parser.add_argument("--size", default=512, type=int)
    args = parser.parse_args()
    python = str(args.build.resolve() / "python")
    # The workers are new processes: they find the package through the environment.
    os.environ["PYTHONPATH"] = os.pathsep.join(filter(None, [python, os.environ.get("PYTHONPATH")]))
    os.environ["KV_ENGINE_THREADS"] = "1"
    sys.path.insert(0, python)
    from distributed import Client, LocalCluster

    from kvsubstance import batch
    from kvsubstance.batch.render import PackageBytes, render_variation
    from kvsubstance.batch.runner import make_tasks, read_materials

    scratch = pathlib.Path(tempfile.mkdtemp(prefix="kv-batch-bench-"))

    def job(name, first):
        return batch.make_job({"packages": {"stone": str(args.build / "samples" / "stone_tiles.mpk")},
                               "variations": {"seed": f"{first}-{first + args.count - 1}"}, "size": args.size,
                               "destination": str(scratch / name)})

    def plain_loop():
        for name, first in (("loop-warm", 10_000), ("loop", 1)):
            timed = job(name, first)
            timed.destination.mkdir(parents=True)
            materials = read_materials(timed, ["stone"])
            package = materials["stone"].package
            PackageBytes({hashlib.sha256(package).hexdigest(): package}).setup()
            tasks, _ = make_tasks(timed, materials, batch.manifest.Manifest(timed.destination))
            began = time.perf_counter()
            for task in tasks:
                assert render_variation(task)["status"] == "rendered"
            seconds = time.perf_counter() - began
        return seconds

    def on_cluster(workers):
        with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, dashboard_address=None) \
                as cluster, Client(cluster) as client:
            batch.run(job(f"warm-{workers}", 10_000 + workers * 1000), client=client)
            summary = batch.run(job(f"workers-{workers}", 1), client=client)
        assert summary.rendered == args.count, summary
        return summary.seconds

    loop, one, two = plain_loop(), on_cluster(1), on_cluster(2)
    rate = {name: args.count / seconds for name, seconds in (("loop", loop), ("one", one), ("two", two))}
    print(f"{args.count} variations at {args.size}, every output as PNG; load: {os.getloadavg()[0]:.2f}")
    print(f"plain loop in one process: {rate['loop']:.2f} variations/s")
    print(f"1 worker:                  {rate['one']:.2f} variations/s")
    print(f"2 workers:                 {rate['two']:.2f} variations/s ({rate['two'] / rate['one']:.2f}x one worker)")
    print(f"scheduling cost per variation: {(one - loop) / args.count * 1000:.1f} ms")


if __name__ == "__main__":
    main()
