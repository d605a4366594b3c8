# Rendering into arrays: element types and shapes by output format, the
# texture call, changes showing in the pixels, the GIL released meanwhile,
# and renders the engine refuses raising instead of crashing.
import copy
import threading
import time

import pytest

from conftest import SAMPLES, compile_source, kvsubstance

np = pytest.importorskip("numpy", reason="KV-SKIP: numpy is not installed (python3-numpy)")

# Format of the source -> (array element, channels).
FORMATS = {"rgba8": (np.uint8, 4), "rgbx8": (np.uint8, 3), "l8": (np.uint8, 1), "rgb16": (np.uint16, 3),
           "l16": (np.uint16, 1), "rgba16": (np.uint16, 4), "rgba32f": (np.float32, 4),
           "rgba16f": (np.float32, 4), "l16f": (np.float32, 1), "l32f": (np.float32, 1)}


def test_every_output_comes_back_with_its_formats_element_and_channels(stone, stone_source):
    stone.size = (64, 32)
    arrays = stone.render()
    assert list(arrays) == sorted(stone.outputs)
    for output in stone_source["outputs"]:
        element, channels = FORMATS[output.get("format", "rgba8")]
        array = arrays[output["identifier"]]
        assert array.dtype == element and array.shape == (32, 64, channels)


def test_float_and_sixteen_bit_formats(kvs_tool, stone_source, tmp_path):
    source = {"graphs": [copy.deepcopy(stone_source)]}
    # A URL of its own: the library keeps the descriptions it has seen by URL.
    source["graphs"][0]["url"] += "_formats"
    chosen = ["rgba16f", "l32f", "rgb16", "rgbx8", "rgba32f"]
    for output, fmt in zip(source["graphs"][0]["outputs"], chosen):
        output["format"] = fmt
    material = kvsubstance.open(compile_source(kvs_tool, source, tmp_path, "formats"))
    material.size = 32
    arrays = material.render()
    for output, fmt in zip(source["graphs"][0]["outputs"], chosen):
        element, channels = FORMATS[fmt]
        array = arrays[output["identifier"]]
        assert array.dtype == element and array.shape == (32, 32, channels), fmt
        if element == np.float32:
            assert np.isfinite(array).all() and 0 <= array.min() and array.max() <= 1.0001
    # The same output at 8 bits agrees with its float render.
    eight = kvsubstance.open(SAMPLES / "stone_tiles.mpk")
    eight.size = 32
    base = eight.render("Output")["Output"].astype(np.float32) / 255
    assert np.abs(base - arrays["Output"]).max() < 1 / 255 + 1e-3


def test_outputs_can_be_chosen_and_unknown_ones_raise(stone):
    assert list(stone.render("normal")) == ["normal"]
    assert sorted(stone.render(["height", "Output"])) == ["Output", "height"]
    with pytest.raises(KeyError, match="normal"):
        stone.render(["nromal"])


def test_a_tweak_changes_only_what_it_should(stone):
    before = stone.render()
    stone.inputs["roughness"].value = 0.1
    after = stone.render()
    assert not np.array_equal(before["roughness"], after["roughness"])
    assert np.array_equal(before["height"], after["height"])
    stone.inputs["roughness"].reset()
    assert np.array_equal(before["roughness"], stone.render()["roughness"])
    stone.seed = 11
    assert not np.array_equal(before["Output"], stone.render()["Output"])


def test_the_texture_is_the_output_called_output(stone):
    texture = stone.texture()
    assert texture.dtype == np.uint8 and texture.shape == (64, 64, 4)
    assert np.array_equal(texture, stone.render("Output")["Output"])
    stone.inputs["wear"].value = 0.9
    assert not np.array_equal(texture, stone.texture())


def test_the_texture_is_a_read_only_view_that_outlives_later_renders(stone):
    # The library's own image, shared with the material's cached texture: not to be edited in place.
    first = stone.texture()
    assert not first.flags.writeable
    with pytest.raises(ValueError):
        first[...] = 0
    kept = first.copy()
    kept[...] = 0  # a copy is the caller's own
    assert np.array_equal(stone.texture(), first)
    # A later render makes a new image; the array keeps the old one alive and unchanged.
    before = first.copy()
    stone.inputs["wear"].value = 0.9
    assert not np.array_equal(stone.texture(), before)
    del stone
    assert np.array_equal(first, before)


def test_other_threads_run_while_the_engine_works(stone):
    # With the GIL held, this thread would stall for the whole render.
    stone.size = 1024
    done = threading.Event()
    span = []

    def render():
        begin = time.perf_counter()
        stone.render()
        span.append(time.perf_counter() - begin)
        done.set()

    worker = threading.Thread(target=render)
    worker.start()
    last, longest = time.perf_counter(), 0.0
    while not done.is_set():
        now = time.perf_counter()
        longest, last = max(longest, now - last), now
    worker.join()
    assert longest < span[0] / 2


def test_a_size_the_engine_refuses_raises(stone):
    stone.inputs["$outputsize"].value = (14, 14)
    with pytest.raises(kvsubstance.PackageError, match="not rendered"):
        stone.render("Output")
    stone.size = 16
    assert stone.render("Output")["Output"].shape == (16, 16, 4)


def test_a_stack_renders_the_effect_over_the_material(samples):
    base = kvsubstance.open(samples / "stone_tiles.mpk")
    stacked = kvsubstance.open(samples / "stone_tiles.mpk", stack=samples / "tint.mpk")
    base.size = stacked.size = 32
    plain = base.render("Output")["Output"]
    tinted = stacked.render("Output")["Output"]
    assert plain.shape == tinted.shape and not np.array_equal(plain, tinted)
    stacked.inputs["amount"].value = 0
    assert np.abs(stacked.render("Output")["Output"].astype(int) - plain).max() <= 1  # no tint: the base
    stacked.inputs["amount"].value = 1
    stacked.apply_preset("Old courtyard")  # a preset of the graph below reaches it through the stack
    assert not np.array_equal(stacked.render("Output")["Output"], tinted)
    again = kvsubstance.open(samples / "stone_tiles.mpk", stack=samples / "tint.mpk")
    again.state = stacked.state
    assert np.array_equal(again.render("Output")["Output"], stacked.render("Output")["Output"])
