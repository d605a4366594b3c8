# Result files: written under a temporary name and renamed into place, so a
# final name only ever holds a whole file; temporary files that a dead worker
# left behind are swept by the runner.
import hashlib
import os
import uuid

PARTIAL_MARK = ".partial-"


def write_atomic(path, data):
    """Writes bytes to path through a temporary file beside it."""
    temporary = path.with_name(f".{path.name}{PARTIAL_MARK}{uuid.uuid4().hex}")
    try:
        # No fsync: a resume checks every file's checksum, which catches what a crash of the machine spoiled.
        with open(temporary, "wb") as file:
            file.write(data)
        os.replace(temporary, path)
    except BaseException:
        temporary.unlink(missing_ok=True)
        raise


def remove_partials(folder):
    """Removes temporary files of writes that never finished; how many."""
    removed = 0
    for path in folder.glob(f".*{PARTIAL_MARK}*"):
        path.unlink(missing_ok=True)
        removed += 1
    return removed


def sha256_hex(data):
    return hashlib.sha256(data).hexdigest()


def sha256_of(path):
    """The file's SHA-256 in hex; None when it cannot be read."""
    digest = hashlib.sha256()
    try:
        with open(path, "rb") as file:
            for block in iter(lambda: file.read(1 << 20), b""):
                digest.update(block)
    except OSError:
        return None
    return digest.hexdigest()
