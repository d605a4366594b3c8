"""Procedural materials from Python, through the kvsubstance library.

Open a package (or two stacked), tweak its inputs, render its outputs into
numpy arrays, and save or restore its values as a state string::

    import kvsubstance
    m = kvsubstance.open("stone_tiles.mpk", stack="tint.mpk")
    m.inputs["wear"].value = 0.8
    m.seed, m.size = 7, 1024
    maps = m.render()            # {"Output": uint8 array (1024, 1024, 4), ...}
    open("out.png", "wb").write(kvsubstance.encode_png(maps["Output"]))

Errors: ``PackageError`` for packages the library refuses, ``ValueError``
for values, presets or states a material refuses, ``KeyError`` for unknown
inputs, outputs and presets.

The engine renders with one thread per hardware thread; the environment
variable ``KV_ENGINE_THREADS`` (a whole number from 1 up, read when a
material first renders) sets another count, as processes that each render
on one core do.

``kvsubstance.batch`` renders many variations of materials on a Dask
cluster (``python3 -m kvsubstance.batch JOB.json``); see its help.
"""
from kvsubstance._core import Input, Inputs, Material, PackageError, encode_png, open

__all__ = ["open", "Material", "Inputs", "Input", "PackageError", "encode_png"]

# The compiled objects introduce themselves as members of the package they are used through.
for _name in __all__:
    globals()[_name].__module__ = __name__
del _name
