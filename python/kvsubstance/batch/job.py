# A batch job as data: which packages, which variations of them, which
# outputs in which file format, and where the files go. Read from JSON or
# built from Python objects; every mistake is a JobError naming its place.
import dataclasses
import hashlib
import itertools
import json
import os
import pathlib
import re

FORMATS = ("png", "npy")
# A variation's settings, in the order a worker applies them.
SETTINGS = ("package", "state", "preset", "values", "seed", "size")
KNOWN_KEYS = {"packages", "states", "variations", "outputs", "size", "format", "destination", "engine_threads"}
# No job of ours comes near this; a bigger one is a mistake (a runaway product).
MAX_VARIATIONS = 1_000_000


class JobError(ValueError):
    """A job description that cannot be run; the message names the faulty entry."""


@dataclasses.dataclass(frozen=True)
class Package:
    """A material: a package file, optionally with a second one stacked on it."""
    path: pathlib.Path
    stack: pathlib.Path = None


@dataclasses.dataclass(frozen=True)
class Variation:
    """One render: a package's material with its settings, by name."""
    package: str
    seed: int = None
    preset: str = None
    state: str = None
    size: tuple = (512, 512)
    values: tuple = ()  # (identifier, value) pairs, sorted

    def settings(self):
        """The variation as JSON-ready data (the manifest's record of it)."""
        data = dataclasses.asdict(self)
        data["size"] = list(self.size)
        data["values"] = dict(self.values)
        return data

    @property
    def name(self):
        """A file-name stem: the readable settings, then a digest of all of them."""
        canonical = json.dumps(self.settings(), sort_keys=True, separators=(",", ":"), default=repr)
        digest = hashlib.sha256(canonical.encode()).hexdigest()[:10]
        width, height = self.size
        parts = [self.package, "default" if self.seed is None else f"s{self.seed}",
                 str(width) if width == height else f"{width}x{height}"]
        parts += [slug(str(text)) for text in (self.preset, self.state) if text is not None]
        return "_".join(parts + [digest])


@dataclasses.dataclass(frozen=True)
class Job:
    """A job ready to run, as load_job and make_job make it after checking it."""
    packages: dict         # name -> Package
    states: dict           # name -> state string text
    variations: tuple      # of Variation, each name once
    outputs: tuple = None  # output identifiers; None for every output of each material
    format: str = "png"
    destination: pathlib.Path = pathlib.Path("batch")
    engine_threads: int = 1  # per worker; 0 for the engine's default (every hardware thread)


def slug(text):
    return re.sub(r"[^A-Za-z0-9]+", "-", text).strip("-").lower() or "x"


def load_job(path):
    """Reads a job file (JSON); relative paths in it are taken from its folder."""
    path = pathlib.Path(path)
    try:
        data = json.loads(path.read_text())
    except OSError as error:
        raise JobError(f"cannot read the job {path}: {error.strerror}") from None
    except (json.JSONDecodeError, UnicodeDecodeError) as error:
        raise JobError(f"{path} is not JSON: {error}") from None
    return make_job(data, base=path.parent)


def make_job(data, base="."):
    """A Job from a dict of the job file's shape (see kvsubstance.batch)."""
    if not isinstance(data, dict):
        raise JobError("a job is an object with packages, variations and destination")
    unknown = sorted(set(data) - KNOWN_KEYS)
    if unknown:
        raise JobError(f"unknown job entries {unknown} (known: {sorted(KNOWN_KEYS)})")
    base = pathlib.Path(base)
    packages = read_packages(data.get("packages"), base)
    states = read_states(data.get("states", {}), base)
    size = read_size(data.get("size", 512), "size")
    variations = read_variations(data.get("variations"), packages, states, size)
    outputs = data.get("outputs")
    if outputs is not None:
        outputs = (outputs,) if isinstance(outputs, str) else tuple(outputs)
        if not outputs or not all(isinstance(o, str) and o for o in outputs):
            raise JobError("outputs: a list of output identifiers, or null for all")
    fmt = data.get("format", "png")
    if fmt not in FORMATS:
        raise JobError(f"format: {fmt!r} is not one of {list(FORMATS)}")
    if not isinstance(data.get("destination"), (str, os.PathLike)):
        raise JobError("destination: the folder the files go to is missing")
    threads = data.get("engine_threads", 1)
    if not isinstance(threads, int) or isinstance(threads, bool) or not 0 <= threads <= 256:
        raise JobError(f"engine_threads: a whole number from 0 to 256, not {threads!r}")
    return Job(packages, states, variations, outputs, fmt, base / data["destination"], threads)


def read_packages(entries, base):
    if isinstance(entries, (str, os.PathLike)):
        entries = {pathlib.Path(entries).stem: entries}
    if not isinstance(entries, dict) or not entries:
        raise JobError("packages: an object of name -> package path or {package, stack}")
    packages = {}
    for name, entry in entries.items():
        if not re.fullmatch(r"[A-Za-z0-9_-]+", name):
            raise JobError(f"packages: the name {name!r} takes letters, digits, '-' and '_' only")
        if isinstance(entry, (str, os.PathLike)):
            entry = {"package": entry}
        if not isinstance(entry, dict) or not isinstance(entry.get("package"), (str, os.PathLike)) \
                or set(entry) - {"package", "stack"}:
            raise JobError(f"packages: {name}: a path, or {{\"package\": path, \"stack\": path}}")
        stack = entry.get("stack")
        packages[name] = Package(base / entry["package"], None if stack is None else base / stack)
    return packages


def read_states(entries, base):
    if not isinstance(entries, dict):
        raise JobError("states: an object of name -> state file")
    states = {}
    for name, path in entries.items():
        try:
            states[name] = (base / path).read_text()
        except (OSError, TypeError, UnicodeDecodeError) as error:
            raise JobError(f"states: {name}: cannot read {path!r}: {error}") from None
    return states


def read_size(value, place):
    """(width, height) from a side or a pair; the worker checks they are powers of two."""
    sides = [value, value] if isinstance(value, int) else value
    if not isinstance(sides, (list, tuple)) or len(sides) != 2 or \
            not all(isinstance(s, int) and not isinstance(s, bool) for s in sides):
        raise JobError(f"{place}: a side or [width, height] in pixels, not {value!r}")
    return tuple(sides)


def read_seeds(value):
    """A list of seeds, or a text "FIRST-LAST" for a range, as kvs --seeds takes."""
    if isinstance(value, str):
        match = re.fullmatch(r"(\d+)-(\d+)", value)
        if not match or int(match[1]) > int(match[2]):
            raise JobError(f"variations: seed: {value!r} is not a range FIRST-LAST")
        return list(range(int(match[1]), int(match[2]) + 1))
    return value


def read_variations(entries, packages, states, size):
    """The explicit list, or the cartesian product of lists of settings."""
    if isinstance(entries, dict):
        axes = {key: read_seeds(value) if key == "seed" else value for key, value in entries.items()}
        for key, values in axes.items():
            if key not in SETTINGS or not isinstance(values, list) or not values:
                raise JobError(f"variations: {key!r} must be one of {list(SETTINGS)} with a non-empty list")
        count = 1
        for values in axes.values():
            count *= len(values)
        if count > MAX_VARIATIONS:
            raise JobError(f"variations: the product has {count} variations, more than {MAX_VARIATIONS}")
        entries = [dict(zip(axes, chosen)) for chosen in itertools.product(*axes.values())]
    if not isinstance(entries, list) or not entries:
        raise JobError("variations: a list of variations, or an object of setting -> list of values")
    variations, seen = [], set()
    for index, entry in enumerate(entries):
        variation = read_variation(entry, packages, states, size, f"variations[{index}]")
        if variation.name not in seen:
            seen.add(variation.name)
            variations.append(variation)
    return tuple(variations)


def read_variation(entry, packages, states, size, place):
    if not isinstance(entry, dict) or set(entry) - set(SETTINGS):
        raise JobError(f"{place}: an object with some of {list(SETTINGS)}")
    package = entry.get("package", next(iter(packages)) if len(packages) == 1 else None)
    if package not in packages:
        raise JobError(f"{place}: package {package!r} is not one of {list(packages)}")
    state = entry.get("state")
    if state is not None and state not in states:
        raise JobError(f"{place}: state {state!r} is not one of the job's states {list(states)}")
    values = entry.get("values") or {}
    if not isinstance(values, dict):
        raise JobError(f"{place}: values: an object of input identifier -> value")
    # The worker judges the values themselves: a bad one fails its variation alone.
    return Variation(package, entry.get("seed"), entry.get("preset"), state,
                     read_size(entry.get("size", size), f"{place}: size"),
                     tuple(sorted((k, tuple(v) if isinstance(v, list) else v) for k, v in values.items())))
