# Runs a job on a Dask cluster: skips what the manifest shows done, sends
# each package's bytes to every worker once, submits one task per remaining
# variation and records each result as it arrives. A worker that dies has
# its tasks rerun elsewhere by the scheduler; a task that kills its workers
# again and again fails alone, with the scheduler's reason.
import dataclasses
import hashlib
import json
import logging
import os
import time

import dask
from distributed import Client, LocalCluster

import kvsubstance
from kvsubstance.batch.files import remove_partials
from kvsubstance.batch.job import JobError
from kvsubstance.batch.manifest import Manifest
from kvsubstance.batch.progress import Progress
from kvsubstance.batch.render import PackageBytes, render_variation_line


# Seconds the collector lets results gather between fetches; the progress line
# moves as often. A fetch costs the scheduler and each worker holding a result
# a round of messages: every 0.1 s, Dask took 5.4 ms of CPU per variation on
# two workers, every 0.5 s 4.5 ms.
COLLECT_PAUSE = 0.5
# How often the futures are looked at: every COLLECT_POLL when FEW_LEFT are
# left to finish, less often the more are left.
COLLECT_POLL, FEW_LEFT = 0.01, 8
# Settings of the clusters the runner starts (a user's cluster is left as it is).
CLUSTER_CONFIG = {
    # Dask's statistical profiler samples every thread's stack each 10 ms, and takes
    # the GIL from the task to do so: 58.9 against 69.1 variations per second on two workers.
    "distributed.worker.profile.enabled": False,
    # Periodic chores of the scheduler, the nannies (all in this process) and the
    # workers: the event loop's health check 50 times a second, host statistics for
    # dashboards nobody opens twice a second, memory checks ten times a second.
    # Together they cost this process 28 ms of CPU a second and each worker 15 ms,
    # taken from the renders; with these, 10 ms and 3 ms. A blocked event loop is
    # still reported, and a worker over its memory limit still stopped.
    "distributed.admin.tick.interval": "500ms",
    "distributed.admin.system-monitor.interval": "5s",
    "distributed.worker.memory.monitor-interval": "500ms",
}
# Future states that stay.
ENDED = ("finished", "error", "cancelled")


@dataclasses.dataclass
class Summary:
    total: int = 0
    rendered: int = 0
    skipped: int = 0
    failed: int = 0
    seconds: float = 0.0
    interrupted: bool = False
    failures: list = dataclasses.field(default_factory=list)  # (name, reason)

    @property
    def throughput(self):
        """Rendered variations per second of the run."""
        return self.rendered / self.seconds if self.seconds > 0 else 0.0

    def __str__(self):
        text = (f"rendered {self.rendered}, skipped {self.skipped}, failed {self.failed} of {self.total} "
                f"in {self.seconds:.1f} s ({self.throughput:.2f} variations/s)")
        return text + (": interrupted, run again to resume" if self.interrupted else "")


@dataclasses.dataclass
class Material:
    """A job's package as the runner sends it: bytes, digests, the outputs rendered."""
    package: bytes
    stack: bytes
    digest: str    # of the material: both parts
    parts: tuple   # SHA-256 of the package and of the stack (None without one)
    outputs: tuple


def read_materials(job, names):
    materials = {}
    for name in names:
        entry = job.packages[name]
        try:
            package = entry.path.read_bytes()
            stack = None if entry.stack is None else entry.stack.read_bytes()
            outputs = kvsubstance.open(package, stack=stack).outputs
        except OSError as error:
            raise JobError(f"packages: {name}: cannot read {error.filename}: {error.strerror}") from None
        except kvsubstance.PackageError as error:
            raise JobError(f"packages: {name}: {error}") from None
        unknown = sorted(set(job.outputs or ()) - set(outputs))
        if unknown:
            raise JobError(f"outputs: {name} has no output {', '.join(unknown)} (outputs: {', '.join(outputs)})")
        parts = tuple(None if part is None else hashlib.sha256(part).hexdigest() for part in (package, stack))
        digest = hashlib.sha256(repr(parts).encode()).hexdigest()
        materials[name] = Material(package, stack, digest, parts, tuple(job.outputs or outputs))
    return materials


def make_tasks(job, materials, manifest):
    """The tasks of variations not yet done, and how many were."""
    tasks, skipped = [], 0
    for variation in job.variations:
        material = materials[variation.package]
        name = variation.name
        if manifest.is_done(name, material.digest, job.format, material.outputs):
            skipped += 1
            continue
        tasks.append({"name": name, "settings": variation.settings(), "package": variation.package,
                      "parts": material.parts,
                      "state": None if variation.state is None else job.states[variation.state],
                      "digest": material.digest, "outputs": material.outputs, "format": job.format,
                      "destination": str(job.destination.resolve()), "engine_threads": job.engine_threads})
    return tasks, skipped


def start_client(scheduler, workers):
    """A client of the scheduler at the address, or of a new cluster on this machine; and the cluster."""
    if scheduler is not None:
        return Client(scheduler), None
    # One single-threaded worker process per core: a render runs on one core, and the GIL is not shared.
    # The scheduler, in this process, also listens in-process for this client, whose messages then
    # skip sockets and serialization: 2.1 instead of 2.3 ms of this process's CPU per variation.
    with dask.config.set(CLUSTER_CONFIG):
        cluster = LocalCluster(n_workers=workers or os.cpu_count(), threads_per_worker=1, processes=True,
                               dashboard_address=None, silence_logs=logging.ERROR,
                               scheduler_kwargs={"protocol": ["tcp://", "inproc://"], "host": ["127.0.0.1", None]})
    try:
        address = next(listener.contact_address for listener in cluster.scheduler.listeners
                       if listener.contact_address.startswith("inproc://"))
        return Client(address, loop=cluster.loop), cluster
    except BaseException:
        cluster.close()
        raise


def submit(client, tasks, materials):
    """The task of each future. The bytes of the packages go to the workers
    once, in a worker plugin: the scheduler hands it to every worker,
    replacements of dead ones too. (Scattered data would be lost for good
    with the workers holding it; a task's result can deadlock the 2022
    scheduler's queue when it must be made again.)"""
    parts = {}
    for name in {task["package"] for task in tasks}:
        material = materials[name]
        parts.update((digest, part) for digest, part in zip(material.parts, (material.package, material.stack))
                     if part is not None)
    plugin = f"kv-packages-{hashlib.sha256(''.join(sorted(parts)).encode()).hexdigest()}"
    client.register_worker_plugin(PackageBytes(parts), name=plugin)
    # One graph for all the tasks: a submit each costs the scheduler a message and a graph update each.
    futures = client.map(render_variation_line, [json.dumps(task).encode() for task in tasks], pure=False)
    return plugin, dict(zip(futures, tasks))


def failure_record(task, future):
    """The record of a task that never returned: its workers died, or it could not be run at all."""
    try:
        error = future.exception()
    except Exception as raised:  # noqa: BLE001 -- the scheduler forgot it: that is its reason
        error = raised
    return {"name": task["name"], "variation": task["settings"], "package_sha256": task["digest"],
            "format": task["format"], "status": "failed", "reason": f"{type(error).__name__}: {error}"}


def finished(pending):
    """{future: status} of the futures of pending that have ended, once
    there are some and COLLECT_PAUSE has passed, or all of them have.
    Futures are looked at, not waited for: Dask's as_completed runs a
    coroutine per future on the scheduler's event loop, which here takes
    its CPU from the renders."""
    until = time.monotonic() + COLLECT_PAUSE
    while True:
        done = {}
        for future in pending:
            status = future.status  # it changes under us: read once
            if status in ENDED:
                done[future] = status
        if len(done) == len(pending) or (done and time.monotonic() >= until):
            return done
        # Looked at more often as fewer are left: a look costs a little per future.
        time.sleep(min(COLLECT_PAUSE, COLLECT_POLL * max(1, (len(pending) - len(done)) / FEW_LEFT)))


def collect(client, pending, manifest, summary, progress):
    while pending:
        # Results fetched some at a time: each fetch costs the scheduler and
        # the workers several messages, more than a render's files at 512.
        # A result lost with its worker since is being made again: it stays
        # pending, and comes back.
        done = finished(pending)
        finished_now = [future for future, status in done.items() if status == "finished"]
        # By key: one lost from now on is made again within the gather, and
        # one that then fails comes back as None.
        results = client.gather({future.key: future for future in finished_now}, errors="skip") if finished_now else {}
        for future in done:
            task = pending.pop(future)
            line = results.get(future.key)
            record = failure_record(task, future) if line is None else json.loads(line)
            manifest.add(record)
            if record["status"] == "rendered":
                summary.rendered += 1
            else:
                summary.failed += 1
                summary.failures.append((record["name"], record["reason"]))
            progress.update(record["status"])


def run(job, scheduler=None, workers=None, client=None, progress=None):
    """Runs the job; a Summary. ``client``: a Dask client to use as it is,
    else one of ``scheduler`` (an address), else a LocalCluster of
    ``workers`` processes (one per core when None)."""
    began = time.perf_counter()
    job.destination.mkdir(parents=True, exist_ok=True)
    remove_partials(job.destination)
    materials = read_materials(job, {variation.package for variation in job.variations})
    manifest = Manifest(job.destination)
    tasks, skipped = make_tasks(job, materials, manifest)
    summary = Summary(total=len(job.variations), skipped=skipped)
    progress = progress or Progress(summary.total, skipped)
    own_client, cluster = client is None, None
    pending, plugin = {}, None
    try:
        if tasks:
            if own_client:
                client, cluster = start_client(scheduler, workers)
            plugin, pending = submit(client, tasks, materials)
            collect(client, pending, manifest, summary, progress)
    except KeyboardInterrupt:
        summary.interrupted = True
        for future in list(pending):
            future.cancel()
    finally:
        manifest.close([variation.name for variation in job.variations])
        if plugin is not None and cluster is None:
            client.unregister_worker_plugin(plugin)  # the workers outlive this run
        if own_client and client is not None:
            client.close()
        if cluster is not None:
            cluster.close()
        # Only now no worker of this run is writing.
        remove_partials(job.destination)
        summary.seconds = time.perf_counter() - began
        progress.finish()
    return summary
