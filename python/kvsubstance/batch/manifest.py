# The manifest of a destination folder: one JSON line per finished variation
# (its settings, files and their SHA-256, render time, worker; or the reason
# it failed). Lines are appended as results arrive, so an interrupted batch
# keeps what it finished; the last line about a variation is the one that
# counts, and a closing rewrite leaves one line per variation.
import json

from kvsubstance.batch.files import sha256_of, write_atomic

MANIFEST_NAME = "manifest.jsonl"


class Manifest:
    def __init__(self, folder):
        self.path = folder / MANIFEST_NAME
        self.records = {}  # name -> latest record
        self.file = None
        if self.path.exists():
            self._read()

    def _read(self):
        text = self.path.read_bytes()
        # A process stopped mid-line leaves a torn last line: it is dropped for good.
        whole = text[:text.rfind(b"\n") + 1]
        if len(whole) != len(text):
            with open(self.path, "r+b") as file:
                file.truncate(len(whole))
        for number, line in enumerate(whole.decode(errors="replace").splitlines(), 1):
            try:
                record = json.loads(line)
                self.records[record["name"]] = record
            except (json.JSONDecodeError, KeyError, TypeError):
                raise ValueError(f"{self.path}:{number}: not a manifest record") from None

    def is_done(self, name, digest, fmt, outputs):
        """Whether the variation's files are all there with the checksums recorded."""
        record = self.records.get(name)
        if record is None or record.get("status") != "rendered" or record.get("package_sha256") != digest \
                or record.get("format") != fmt or sorted(record.get("files", {})) != sorted(outputs):
            return False
        folder = self.path.parent
        return all(sha256_of(folder / f["file"]) == f["sha256"] for f in record["files"].values())

    def add(self, record):
        if self.file is None:
            self.file = open(self.path, "a")
        self.file.write(json.dumps(record, separators=(",", ":")) + "\n")
        self.file.flush()
        self.records[record["name"]] = record

    def close(self, order):
        """Rewrites the manifest with one line per variation: `order` (names) first, then the rest."""
        if self.file is not None:
            self.file.close()
            self.file = None
        if not self.records:
            return
        ranked = {name: rank for rank, name in enumerate(order)}
        names = sorted(self.records, key=lambda name: ranked.get(name, len(ranked)))
        lines = "".join(json.dumps(self.records[name], separators=(",", ":")) + "\n" for name in names)
        write_atomic(self.path, lines.encode())

