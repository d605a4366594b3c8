# Rendered arrays as file bytes: PNG for 8- and 16-bit outputs (the module's
# own encoder, which releases the GIL) and numpy's .npy for any output,
# float ones too.
import io

import numpy as np

from kvsubstance import encode_png


def encode_npy(array):
    buffer = io.BytesIO()
    np.save(buffer, array, allow_pickle=False)
    return buffer.getvalue()


ENCODERS = {"png": encode_png, "npy": encode_npy}
