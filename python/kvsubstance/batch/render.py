# What runs on a worker: one variation from package bytes to files and a
# manifest record. Each worker process keeps the materials it opened, by the
# digest of their package bytes, so consecutive variations of a material
# reuse its renderer state and the engine's caches; a variation starts from
# the material's default state, so nothing of the one before leaks into it.
import collections
import ctypes
import json
import os
import pathlib
import threading
import time

from distributed import WorkerPlugin

import kvsubstance
from kvsubstance.batch.files import sha256_hex, write_atomic
from kvsubstance.batch.images import ENCODERS

# Materials kept per worker process; a job with more packages reopens the oldest.
CACHE_SIZE = 16
# glibc's mallopt parameters, and what a worker sets them to (see keep_freed_memory).
M_TRIM_THRESHOLD, M_MMAP_THRESHOLD = -1, -3
KEPT_FREE_BYTES, LARGEST_HEAP_BLOCK = 256 << 20, 32 << 20


class OpenMaterial:
    def __init__(self, package, stack):
        self.material = kvsubstance.open(package, stack=stack)
        self.default_state = self.material.state
        # A worker with several threads may run two variations of one material at once.
        self.lock = threading.Lock()


# Package bytes by their SHA-256, given to this process by PackageBytes.
_packages = {}


class PackageBytes(WorkerPlugin):
    """The package bytes of a job, for every worker of the cluster."""

    def __init__(self, parts):
        self.parts = parts  # SHA-256 -> bytes

    def setup(self, worker=None):
        _packages.update(self.parts)

    def teardown(self, worker=None):
        for digest in self.parts:
            _packages.pop(digest, None)


_materials = collections.OrderedDict()
_materials_lock = threading.Lock()
_memory_kept = False


def cached_material(digest, parts):
    with _materials_lock:
        if digest in _materials:
            _materials.move_to_end(digest)
            return _materials[digest]
    package, stack = (None if part is None else _packages[part] for part in parts)
    opened = OpenMaterial(package, stack)
    with _materials_lock:
        opened = _materials.setdefault(digest, opened)
        while len(_materials) > CACHE_SIZE:
            _materials.popitem(last=False)
    return opened


def keep_freed_memory():
    """Lets the C library keep freed memory for the next render.

    Dask's nanny starts workers with MALLOC_TRIM_THRESHOLD_ set low, which
    also pins glibc's mmap threshold at 128 KiB: every image buffer of every
    render is then mapped and zero-filled afresh. A worker renders alike
    sizes again and again, so it keeps freed memory up to KEPT_FREE_BYTES
    and serves blocks up to LARGEST_HEAP_BLOCK from its heap: at 512, 0.21
    to 0.25 s of CPU per variation instead of 0.34 s (0.27 to 0.29 s with
    glibc's defaults). Other C libraries are left as they are.
    """
    mallopt = getattr(ctypes.CDLL(None), "mallopt", None)
    if mallopt is not None:
        mallopt(M_MMAP_THRESHOLD, LARGEST_HEAP_BLOCK)
        mallopt(M_TRIM_THRESHOLD, KEPT_FREE_BYTES)


def use_engine_threads(count):
    """Sets the engine's thread count for the materials this process opens from now on."""
    wanted = str(count) if count else None
    if os.environ.get("KV_ENGINE_THREADS") != wanted:
        if wanted is None:
            del os.environ["KV_ENGINE_THREADS"]
        else:
            os.environ["KV_ENGINE_THREADS"] = wanted


def apply(material, settings, state_text):
    """Applies a variation's settings in the order the job format documents."""
    if state_text is not None:
        material.state = state_text
    if settings["preset"] is not None:
        material.apply_preset(settings["preset"])
    for identifier, value in settings["values"].items():
        material.inputs[identifier].value = value
    if settings["seed"] is not None:
        material.seed = settings["seed"]
    material.size = tuple(settings["size"])


def worker_name():
    try:
        from distributed import get_worker
        return get_worker().address
    except (ImportError, ValueError):
        return f"local:{os.getpid()}"


def render_variation(task):
    """Renders one variation and writes its files; the manifest record.

    ``task``: name, settings, state text, the digests of the material and of
    its package bytes (which PackageBytes brought), outputs, format and
    destination (made by the runner).
    A failure becomes a record with its reason instead of an exception, so
    one bad variation does not stop the others.
    """
    record = {"name": task["name"], "variation": task["settings"], "package_sha256": task["digest"],
              "format": task["format"], "worker": worker_name()}
    began, cpu_began = time.perf_counter(), time.process_time()
    global _memory_kept
    try:
        if not _memory_kept:
            keep_freed_memory()
            _memory_kept = True
        use_engine_threads(task["engine_threads"])
        opened = cached_material(task["digest"], task["parts"])
        with opened.lock:
            opened.material.state = opened.default_state
            apply(opened.material, task["settings"], task["state"])
            arrays = opened.material.render(list(task["outputs"]))
        record["render_seconds"] = round(time.perf_counter() - began, 6)
        encode = ENCODERS[task["format"]]
        files = {}
        for output in task["outputs"]:
            data = encode(arrays[output])
            path = pathlib.Path(task["destination"]) / f"{task['name']}.{output}.{task['format']}"
            write_atomic(path, data)
            files[output] = {"file": path.name, "sha256": sha256_hex(data)}
        record.update(status="rendered", files=files)
    except Exception as error:  # noqa: BLE001 -- any fault of one variation is its own record
        reason = error.args[0] if isinstance(error, KeyError) and error.args else error
        record.update(status="failed", reason=f"{type(error).__name__}: {reason}")
    record["seconds"] = round(time.perf_counter() - began, 6)
    # CPU time of the whole worker process meanwhile: wall time less what other load took from it.
    record["cpu_seconds"] = round(time.process_time() - cpu_began, 6)
    return record


def render_variation_line(task):
    """render_variation as the runner's task: the task as JSON bytes in, the
    record as one JSON line out.

    Bytes cost Dask next to nothing to size, walk, send and receive; a
    nested dict is walked for keys when submitted, sized item by item when
    stored and again when sent, and each of its values pickled apart. With
    the record as a dict, the worker's event loop took 3.5 ms of CPU per
    variation instead of 2.7, the client's process 4.1 instead of 3.4, on
    two workers.
    """
    return json.dumps(render_variation(json.loads(task)), separators=(",", ":")).encode()
