# Shared fixtures of the kvsubstance module tests: the sample packages built
# by the build, their sources, and the kvs tool that compiles variants.
import json
import os
import pathlib
import subprocess

import pytest

SOURCE_ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD_DIR = pathlib.Path(os.environ.get("KV_BUILD_DIR", SOURCE_ROOT / "build" / "py"))
SAMPLES = pathlib.Path(os.environ.get("KV_SAMPLES", BUILD_DIR / "samples"))

import kvsubstance  # noqa: E402  (built with the project: its absence is a failure)

try:
    import numpy as np
except ImportError:
    np = None


def pytest_collection_modifyitems(items):
    if np is None:
        for item in items:
            item.add_marker(pytest.mark.skip(reason="KV-SKIP: numpy is not installed (python3-numpy)"))


@pytest.fixture(scope="session")
def samples():
    assert (SAMPLES / "stone_tiles.mpk").exists(), f"no sample packages in {SAMPLES}: build the samples target"
    return SAMPLES


@pytest.fixture(scope="session")
def stone_source():
    """The package source of stone_tiles, the reference for what the module reports."""
    return json.loads((SOURCE_ROOT / "samples" / "stone_tiles.json").read_text())["graphs"][0]


@pytest.fixture
def stone(samples):
    material = kvsubstance.open(samples / "stone_tiles.mpk")
    material.size = 64  # small renders keep the suite quick
    return material


@pytest.fixture(scope="session")
def kvs_tool():
    tool = BUILD_DIR / "tools" / "kvs" / "kvs"
    assert tool.exists(), f"no kvs tool at {tool}"
    return tool


def compile_source(kvs_tool, source, directory, name):
    """Compiles a package source (a dict) with kvs; the package's path."""
    path = directory / f"{name}.json"
    path.write_text(json.dumps(source))
    package = directory / f"{name}.mpk"
    subprocess.run([str(kvs_tool), "compile", str(path), "-o", str(package)], check=True, capture_output=True)
    return package
