# Opening materials: paths, bytes, stacks, and packages the library refuses.
import io
import random
import zipfile

import pytest

from conftest import kvsubstance


def test_a_path_bytes_and_a_path_object_open_the_same_material(samples):
    path = samples / "stone_tiles.mpk"
    materials = [kvsubstance.open(str(path)), kvsubstance.open(path), kvsubstance.open(path.read_bytes()),
                 kvsubstance.open(bytearray(path.read_bytes()))]
    assert len({m.url for m in materials}) == 1
    assert len({m.state for m in materials}) == 1
    assert sorted(materials[0].outputs) == ["Output", "ambient_occlusion", "height", "normal", "roughness"]
    assert materials[0].label


def test_a_stack_puts_the_effect_on_top(samples):
    alone = kvsubstance.open(samples / "stone_tiles.mpk")
    stacked = kvsubstance.open(samples / "stone_tiles.mpk", stack=samples / "tint.mpk")
    assert "amount" in stacked.inputs and "amount" not in alone.inputs
    assert "wear" in stacked.inputs
    # The stack carries the presets of both graphs.
    assert {"Old courtyard", "Sepia"} <= set(stacked.presets)
    from_bytes = kvsubstance.open((samples / "stone_tiles.mpk").read_bytes(),
                                  stack=(samples / "tint.mpk").read_bytes())
    assert from_bytes.state == stacked.state


@pytest.mark.parametrize("content", [b"", b"not a package", b"PK\x03\x04" + b"\0" * 100])
def test_bytes_that_are_no_package_raise_the_librarys_reason(content):
    with pytest.raises(kvsubstance.PackageError) as raised:
        kvsubstance.open(content)
    assert str(raised.value).startswith("package: ") and len(str(raised.value)) > len("package: ")


def test_a_truncated_package_and_a_bad_stack_raise(samples):
    good = (samples / "stone_tiles.mpk").read_bytes()
    with pytest.raises(kvsubstance.PackageError):
        kvsubstance.open(good[: len(good) // 2])
    with pytest.raises(kvsubstance.PackageError, match="^stack: "):
        kvsubstance.open(good, stack=b"garbage")


def test_files_and_arguments_that_cannot_be_read_raise(tmp_path):
    with pytest.raises(FileNotFoundError):
        kvsubstance.open(tmp_path / "missing.mpk")
    with pytest.raises(IsADirectoryError):
        kvsubstance.open(tmp_path)
    with pytest.raises(TypeError):
        kvsubstance.open(42)


def test_every_public_name_has_a_docstring():
    public = [getattr(kvsubstance, n) for n in dir(kvsubstance) if not n.startswith("_")]
    assert kvsubstance.__doc__ and len(public) >= 5
    for item in public:
        assert item.__doc__, item
        if isinstance(item, type) and item.__module__ == "kvsubstance":
            for name, member in vars(item).items():
                if not name.startswith("_") and not isinstance(member, type(kvsubstance.__dict__.get("__doc__"))):
                    assert member.__doc__, f"{item.__name__}.{name}"


def test_damaged_packages_open_or_raise_but_never_crash(samples):
    # Damage inside the container, where its checksums cannot catch it: the
    # description's text and the assembly's bytes.
    good = (samples / "stone_tiles.mpk").read_bytes()
    with zipfile.ZipFile(io.BytesIO(good)) as package:
        entries = {name: package.read(name) for name in package.namelist()}
    rng = random.Random(5)
    outcomes = set()
    for _ in range(80):
        damaged_name = rng.choice(sorted(entries))
        damaged = bytearray(entries[damaged_name])
        for _ in range(rng.randint(1, 4)):
            damaged[rng.randrange(len(damaged))] = rng.randrange(256)
        buffer = io.BytesIO()
        with zipfile.ZipFile(buffer, "w") as package:
            for name, content in entries.items():
                package.writestr(name, bytes(damaged) if name == damaged_name else content)
        try:
            material = kvsubstance.open(buffer.getvalue())
            material.inputs["$outputsize"].value = 4
            material.render()
            repr(material), list(material.inputs.items()), material.presets, material.state
            outcomes.add("rendered")
        except kvsubstance.PackageError:
            outcomes.add("refused")
        except KeyError:
            outcomes.add("no size input")
    assert {"rendered", "refused"} <= outcomes


def test_names_that_are_not_utf8_read_with_replacement_characters(samples):
    good = (samples / "stone_tiles.mpk").read_bytes()
    buffer = io.BytesIO()
    with zipfile.ZipFile(io.BytesIO(good)) as package, zipfile.ZipFile(buffer, "w") as damaged:
        for name in package.namelist():
            content = package.read(name)
            if name == "description.xml":
                content = content.replace(b'identifier="roughness"', b'identifier="rough\x92ness"')
            damaged.writestr(name, content)
    material = kvsubstance.open(buffer.getvalue())
    material.size = 16
    assert "rough\ufffdness" in material.outputs
    assert "rough\ufffdness" in material.render()
