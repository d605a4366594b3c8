# Inputs as a mapping: what each reports against the package source, values
# checked and clamped as the model does, presets, seed and size.
import math

import pytest

from conftest import kvsubstance

WIDGETS = {"slider": "slider", "angle": "angle", "togglebutton": "toggle", "color": "color",
           "combobox": "combobox", "none": "none"}


def as_reported(numbers):
    if numbers is None:
        return None
    return tuple(numbers) if isinstance(numbers, list) else numbers


def test_the_mapping_holds_the_inputs_of_the_source_and_the_system_ones(stone, stone_source):
    declared = {i["identifier"] for i in stone_source["inputs"]}
    assert set(stone.inputs) == declared | {"$outputsize"}
    assert list(stone.inputs) == stone.inputs.keys()
    assert len(stone.inputs) == len(list(stone.inputs.items())) == len(stone.inputs.values())
    assert "nothing" not in stone.inputs and stone.inputs.get("nothing") is None
    with pytest.raises(KeyError, match="wear"):
        stone.inputs["waer"]


def test_each_input_reports_what_its_source_declares(stone, stone_source):
    for declared in stone_source["inputs"]:
        gui = declared["gui"]
        reported = stone.inputs[declared["identifier"]]
        assert reported.identifier == declared["identifier"]
        assert reported.type == declared["type"]
        assert reported.default == pytest.approx(as_reported(declared["default"]))
        assert reported.value == reported.default
        assert reported.widget == WIDGETS[gui["widget"]]
        assert reported.label == gui["label"]
        assert reported.description == gui.get("description", "")
        assert reported.clamp == gui.get("clamp", False)
        first = lambda v: v[0] if isinstance(v, tuple) else v  # noqa: E731
        if "min" in gui:
            low, high = reported.range
            assert (first(low), first(high)) == pytest.approx((gui["min"], gui["max"]))
        if "step" in gui:
            assert first(reported.step) == pytest.approx(gui["step"])
        assert reported.combo_items == {i["value"]: i["text"] for i in gui.get("items", [])}


def test_values_are_written_read_and_clamped_only_when_the_input_asks(stone):
    inputs = stone.inputs
    inputs["wear"].value = 0.25
    assert inputs["wear"].value == pytest.approx(0.25)
    inputs["wear"].value = 5
    assert inputs["wear"].value == 1.0  # clamped to its range
    inputs["grain_angle"].value = 1.5
    assert inputs["grain_angle"].value == 1.5  # its widget does not clamp
    inputs["tiles"].value = (3, 40)
    assert inputs["tiles"].value == (3, 16)
    inputs["tiles"].value = 2
    assert inputs["tiles"].value == (2, 2)
    inputs["stone_color"].value = [0.1, 0.2, 0.3]
    assert inputs["stone_color"].value == pytest.approx((0.1, 0.2, 0.3))
    inputs["layout"].value = 1
    inputs["cracks"].value = False
    assert (inputs["layout"].value, inputs["cracks"].value) == (1, 0)
    inputs["wear"].reset()
    assert inputs["wear"].value == inputs["wear"].default


@pytest.mark.parametrize("identifier, value", [
    ("wear", math.nan), ("wear", math.inf), ("wear", "0.5"), ("wear", None), ("wear", [0.1, 0.2]),
    ("tiles", 2.5), ("tiles", (1, 2, 3)), ("tiles", 10 ** 30), ("layout", 7), ("stone_color", [0.1] * 9),
    ("grain_angle", 1e300), ("$randomseed", -(2 ** 40)),
])
def test_bad_values_raise_value_error_and_change_nothing(stone, identifier, value):
    before = stone.state
    with pytest.raises(ValueError):
        stone.inputs[identifier].value = value
    assert stone.state == before


def test_presets_apply_by_label(stone, stone_source):
    assert stone.presets == [p["label"] for p in stone_source["presets"]]
    preset = stone_source["presets"][0]
    stone.apply_preset(preset["label"])
    for identifier, value in preset["values"].items():
        assert stone.inputs[identifier].value == pytest.approx(as_reported(value), abs=1e-6)
    with pytest.raises(KeyError, match="Old courtyard"):
        stone.apply_preset("Old courtyrad")


def test_seed_and_size_are_the_system_inputs(stone):
    stone.seed = 7
    assert stone.seed == 7 and stone.inputs["$randomseed"].value == 7
    stone.size = (128, 32)
    assert stone.size == (128, 32) and stone.inputs["$outputsize"].value == (7, 5)
    stone.size = 16
    assert stone.size == (16, 16)
    for bad in (300, 0, 16384, -4, (16, 16, 16), "big"):
        with pytest.raises(ValueError):
            stone.size = bad
    assert stone.size == (16, 16)


def test_a_state_round_trip_gives_identical_bytes_and_renders(samples, stone):
    stone.inputs["wear"].value = 0.8
    stone.apply_preset("Old courtyard")
    stone.seed = 3
    state = stone.state
    fresh = kvsubstance.open(samples / "stone_tiles.mpk")
    fresh.state = state
    assert fresh.state == state
    first, again = stone.render(), fresh.render()
    assert all((first[k] == again[k]).all() for k in first)


def test_a_state_of_another_package_is_refused(samples, stone):
    other = kvsubstance.open(samples / "cracked_earth.mpk")
    before = stone.state
    for bad in (other.state, "", "garbage", "\n".join(before.split("\n")[1:])):
        with pytest.raises(ValueError):
            stone.state = bad
    assert stone.state == before


def test_inputs_behave_as_a_read_only_mapping(stone):
    import collections.abc
    inputs = stone.inputs
    assert isinstance(inputs, collections.abc.Mapping)
    assert dict(inputs.items()).keys() == set(inputs)
    assert all(inputs[k].identifier == k for k in inputs)
    with pytest.raises(TypeError):
        inputs["wear"] = 0.5
    assert repr(inputs["wear"]).startswith("<kvsubstance.Input wear float = ")
