"""Many variations of materials, rendered on a Dask cluster.

A job names packages, the variations to render, the outputs, a file format
and a destination folder. As JSON (paths relative to the job file)::

    {"packages": {"stone": "stone_tiles.mpk",
                  "tinted": {"package": "stone_tiles.mpk", "stack": "tint.mpk"}},
     "states": {"worn": "worn.state"},
     "variations": {"package": ["stone", "tinted"], "seed": "1-50",
                    "preset": [null, "Old courtyard"], "state": [null, "worn"],
                    "size": [256, [512, 256]], "values": [{}, {"wear": 0.9}]},
     "outputs": ["Output", "height"],
     "size": 512, "format": "png", "destination": "out/batch", "engine_threads": 1}

``variations`` is either the cartesian product of lists of settings (as
above; ``seed`` also takes a range "FIRST-LAST") or an explicit list of
objects with the same keys (``{"package": "stone", "seed": 4}``). A
variation starts from the material's defaults, then applies its state (by
name from ``states``), preset, values (input identifier -> value), seed and
size (a side or [width, height]; ``size`` of the job by default), in that
order. ``package`` may be left out when the job has one. ``outputs``: null
or absent for every output. ``format``: "png" (8- and 16-bit outputs) or
"npy" (numpy arrays, any output). ``engine_threads``: the engine's threads
in each worker, 1 by default (a worker renders on one core); 0 for all.

Each output becomes ``DESTINATION/NAME.OUTPUT.FORMAT``, where NAME is made
of the package, seed, size, preset and state, then a digest of every
setting. Files are written under a temporary name and renamed, and
``DESTINATION/manifest.jsonl`` gets one JSON line per variation: its
settings, files and their SHA-256, render time and worker, or the reason it
failed. Running a job again renders only the variations whose files are
missing or differ from their checksums, so an interrupted job resumes.

From Python::

    from kvsubstance import batch
    summary = batch.run(batch.load_job("job.json"), scheduler="tcp://host:8786")
    print(summary)   # rendered, skipped, failed, throughput

``run`` starts a LocalCluster when given neither a scheduler address nor a
client. From a shell: ``python3 -m kvsubstance.batch JOB.json [--scheduler
ADDRESS] [--workers N]``.
"""
from kvsubstance.batch.job import Job, JobError, Package, Variation, load_job, make_job
from kvsubstance.batch.runner import Summary, run

__all__ = ["load_job", "make_job", "run", "Job", "Package", "Variation", "Summary", "JobError"]
