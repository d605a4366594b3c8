# Rendered arrays as file bytes: PNG for 8- and 16-bit outputs (lossless, no
# dependency beyond zlib) and numpy's .npy for any output, float ones too.
import io
import struct
import zlib

import numpy as np

# PNG colour type by channel count: grey, grey + alpha, RGB, RGBA.
PNG_COLOUR_TYPES = {1: 0, 2: 4, 3: 2, 4: 6}
PNG_DEPTHS = {np.dtype(np.uint8): 8, np.dtype(np.uint16): 16}
# Fast settings: a batch writes many files, and level 6 costs twice the time for a few percent.
PNG_COMPRESSION = 3


def png_chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def encode_png(array):
    """PNG bytes of an (height, width, channels) uint8 or uint16 array."""
    height, width, channels = array.shape
    depth = PNG_DEPTHS.get(array.dtype)
    if depth is None:
        raise ValueError(f"PNG holds 8- and 16-bit outputs, not {array.dtype}: use the format npy")
    rows = np.ascontiguousarray(array, dtype=">u2" if depth == 16 else np.uint8).view(np.uint8)
    # Every row starts with its filter type, 0 (none).
    raw = np.zeros((height, 1 + rows.size // height), dtype=np.uint8)
    raw[:, 1:] = rows.reshape(height, -1)
    header = struct.pack(">IIBBBBB", width, height, depth, PNG_COLOUR_TYPES[channels], 0, 0, 0)
    return b"".join([b"\x89PNG\r\n\x1a\n", png_chunk(b"IHDR", header),
                     png_chunk(b"IDAT", zlib.compress(raw.tobytes(), PNG_COMPRESSION)), png_chunk(b"IEND", b"")])


def encode_npy(array):
    buffer = io.BytesIO()
    np.save(buffer, array, allow_pickle=False)
    return buffer.getvalue()


ENCODERS = {"png": encode_png, "npy": encode_npy}
