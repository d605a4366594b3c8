# Shared pieces of the batch tests: the sample packages, a Dask cluster on
# this machine, a PNG reader independent of the batch's writer, and the
# reference render of a variation made alone through the module.
import os
import pathlib
import struct
import zlib

import pytest

SOURCE_ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD_DIR = pathlib.Path(os.environ.get("KV_BUILD_DIR", SOURCE_ROOT / "build" / "py"))
SAMPLES = pathlib.Path(os.environ.get("KV_SAMPLES", BUILD_DIR / "samples"))

import kvsubstance  # noqa: E402  (built with the project: its absence is a failure)

np = pytest.importorskip("numpy", reason="KV-SKIP: numpy is not installed (python3-numpy)")
distributed = pytest.importorskip("distributed", reason="KV-SKIP: Dask is not installed (python3-distributed)")

from kvsubstance import batch  # noqa: E402


@pytest.fixture(scope="session")
def samples():
    assert (SAMPLES / "stone_tiles.mpk").exists(), f"no sample packages in {SAMPLES}: build the samples target"
    return SAMPLES


@pytest.fixture(scope="module")
def client():
    """Two single-threaded worker processes, as the runner makes them."""
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) \
            as cluster, distributed.Client(cluster) as connected:
        yield connected


def unfiltered(kind, row, above, step):
    """A PNG row with its filter undone; step: bytes per texel."""
    if kind == 0:
        return row
    if kind == 2:
        return (row + above) & 0xff
    out = bytearray(row.astype(np.uint8).tobytes())
    for i in range(len(out)):
        a = out[i - step] if i >= step else 0
        b, c = int(above[i]), int(above[i - step]) if i >= step else 0
        if kind == 1:
            predicted = a
        elif kind == 3:
            predicted = (a + b) // 2
        else:  # Paeth
            p = a + b - c
            pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
            predicted = a if pa <= pb and pa <= pc else b if pb <= pc else c
        out[i] = (out[i] + predicted) & 0xff
    return np.frombuffer(bytes(out), np.uint8).astype(np.int64)


def read_png(path):
    """The pixels of a non-interlaced PNG as (height, width, channels); slow, for small images."""
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    chunks, at = {}, 8
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + length]
        assert struct.unpack(">I", data[at + 8 + length:at + 12 + length])[0] == zlib.crc32(kind + body), kind
        chunks[kind] = chunks.get(kind, b"") + body
        at += 12 + length
    width, height, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", chunks[b"IHDR"])
    assert interlace == 0
    channels = {0: 1, 4: 2, 2: 3, 6: 4}[colour]
    filtered = np.frombuffer(zlib.decompress(chunks[b"IDAT"]), np.uint8).reshape(height, -1).astype(np.int64)
    step = channels * depth // 8
    rows, above = [], np.zeros(filtered.shape[1] - 1, np.int64)
    for line in filtered:
        above = unfiltered(int(line[0]), line[1:], above, step)
        rows.append(above)
    element = np.dtype(">u2") if depth == 16 else np.dtype(np.uint8)
    pixels = np.array(rows, np.uint8).view(element).reshape(height, width, channels)
    return pixels.astype(element.newbyteorder("="))


def render_alone(job, variation, outputs):
    """A variation rendered by a material of its own, its settings applied in the documented order."""
    package = job.packages[variation.package]
    material = kvsubstance.open(package.path, stack=package.stack)
    if variation.state is not None:
        material.state = job.states[variation.state]
    if variation.preset is not None:
        material.apply_preset(variation.preset)
    for identifier, value in variation.values:
        material.inputs[identifier].value = value
    if variation.seed is not None:
        material.seed = variation.seed
    material.size = variation.size
    return material.render(list(outputs))
