# The batch's parts without a cluster: how variations expand and are named,
# the mistakes a job file can hold, the manifest's reading of a torn file,
# the PNG writer against an independent reader, and the progress bar.
import io
import json

import pytest

from conftest import batch, np, read_png
from kvsubstance.batch.images import encode_png
from kvsubstance.batch.manifest import Manifest
from kvsubstance.batch.progress import Progress


def stone_job(samples, tmp_path, **entries):
    return batch.make_job({"packages": {"stone": str(samples / "stone_tiles.mpk")}, "destination": str(tmp_path),
                           **entries})


def test_a_product_expands_to_every_combination_with_stable_distinct_names(samples, tmp_path):
    product = {"seed": "3-5", "preset": [None, "Old courtyard"], "size": [16, [32, 16]], "values": [{}, {"wear": 1}]}
    job = stone_job(samples, tmp_path, variations=product)
    assert len(job.variations) == 3 * 2 * 2 * 2
    assert len({v.name for v in job.variations}) == len(job.variations)
    assert {v.seed for v in job.variations} == {3, 4, 5}
    assert {v.size for v in job.variations} == {(16, 16), (32, 16)}
    # The same settings by the explicit list: the same variations, named alike; repeats count once.
    listed = [v.settings() for v in job.variations]
    again = stone_job(samples, tmp_path, variations=listed + listed[:5])
    assert [v.name for v in again.variations] == [v.name for v in job.variations]
    name = next(v.name for v in job.variations if v.preset and v.size == (32, 16) and v.seed == 4)
    assert name.startswith("stone_s4_32x16_old-courtyard_")


def test_a_job_file_resolves_paths_from_its_folder(samples, tmp_path):
    (tmp_path / "worn.state").write_text("state text\n")
    (tmp_path / "job.json").write_text(json.dumps({
        "packages": {"tinted": {"package": str(samples / "stone_tiles.mpk"), "stack": str(samples / "tint.mpk")}},
        "states": {"worn": "worn.state"}, "variations": [{"state": "worn"}], "destination": "out"}))
    job = batch.load_job(tmp_path / "job.json")
    assert job.destination == tmp_path / "out" and job.states == {"worn": "state text\n"}
    assert job.packages["tinted"].stack == samples / "tint.mpk"
    assert job.variations[0].package == "tinted" and job.variations[0].size == (512, 512)


BAD_JOBS = [
    ({"variations": [{}], "destination": "d"}, "packages"),
    ({"packages": {"a b": "x.mpk"}, "variations": [{}], "destination": "d"}, "'a b'"),
    ({"packages": {"s": {"stack": "x"}}, "variations": [{}], "destination": "d"}, "packages: s"),
    ({"packages": {"s": "x.mpk"}, "variations": [], "destination": "d"}, "variations"),
    ({"packages": {"s": "x.mpk"}, "variations": {"colour": [1]}, "destination": "d"}, "'colour'"),
    ({"packages": {"s": "x.mpk"}, "variations": {"seed": "9-2"}, "destination": "d"}, "FIRST-LAST"),
    ({"packages": {"s": "x.mpk"}, "variations": {"seed": list(range(1001)), "size": list(range(1001))},
      "destination": "d"}, "more than"),
    ({"packages": {"s": "x.mpk", "t": "y.mpk"}, "variations": [{}], "destination": "d"}, "package None"),
    ({"packages": {"s": "x.mpk"}, "variations": [{"state": "worn"}], "destination": "d"}, "state 'worn'"),
    ({"packages": {"s": "x.mpk"}, "states": {"worn": "missing.state"}, "variations": [{}], "destination": "d"},
     "states: worn"),
    ({"packages": {"s": "x.mpk"}, "variations": [{"size": [1, 2, 3]}], "destination": "d"}, "variations[0]: size"),
    ({"packages": {"s": "x.mpk"}, "variations": [{"values": [1]}], "destination": "d"}, "values"),
    ({"packages": {"s": "x.mpk"}, "variations": [{}], "outputs": [], "destination": "d"}, "outputs"),
    ({"packages": {"s": "x.mpk"}, "variations": [{}], "format": "tiff", "destination": "d"}, "'tiff'"),
    ({"packages": {"s": "x.mpk"}, "variations": [{}]}, "destination"),
    ({"packages": {"s": "x.mpk"}, "variations": [{}], "destination": "d", "engine_threads": -1}, "engine_threads"),
    ({"packages": {"s": "x.mpk"}, "variations": [{}], "destination": "d", "colour": 1}, "'colour'"),
    ([1, 2], "a job is an object"),
]


@pytest.mark.parametrize("data, place", BAD_JOBS)
def test_a_faulty_job_names_its_place(data, place, tmp_path):
    with pytest.raises(batch.JobError) as raised:
        batch.make_job(data, base=tmp_path)
    assert place in str(raised.value)


def test_a_job_file_that_is_not_json_or_not_there_is_a_job_error(tmp_path):
    (tmp_path / "job.json").write_bytes(b"{\"packages\": ")
    for path in (tmp_path / "job.json", tmp_path / "absent.json"):
        with pytest.raises(batch.JobError, match=path.name):
            batch.load_job(path)


def test_the_manifest_drops_a_torn_last_line_and_keeps_the_latest_record(tmp_path):
    records = [{"name": "a", "status": "failed"}, {"name": "b", "status": "rendered"},
               {"name": "a", "status": "rendered"}]
    text = "".join(json.dumps(r) + "\n" for r in records)
    (tmp_path / "manifest.jsonl").write_text(text + '{"name": "c", "sta')
    manifest = Manifest(tmp_path)
    assert {n: r["status"] for n, r in manifest.records.items()} == {"a": "rendered", "b": "rendered"}
    manifest.add({"name": "c", "status": "failed"})
    assert (tmp_path / "manifest.jsonl").read_text() == text + json.dumps({"name": "c", "status": "failed"},
                                                                          separators=(",", ":")) + "\n"
    manifest.close(["c", "b", "a"])
    assert [json.loads(line)["name"] for line in (tmp_path / "manifest.jsonl").open()] == ["c", "b", "a"]
    (tmp_path / "manifest.jsonl").write_text("not json\n")
    with pytest.raises(ValueError, match="manifest.jsonl:1"):
        Manifest(tmp_path)


@pytest.mark.parametrize("dtype, channels", [(np.uint8, 1), (np.uint8, 2), (np.uint8, 3), (np.uint8, 4),
                                             (np.uint16, 1), (np.uint16, 2), (np.uint16, 4)])
def test_png_files_hold_the_arrays_exactly(dtype, channels, tmp_path):
    rng = np.random.default_rng(channels)
    array = rng.integers(0, np.iinfo(dtype).max, size=(9, 13, channels), endpoint=True).astype(dtype)
    # Smooth rows too, where the Paeth predictor's choices matter.
    array[4:] = np.add.outer(np.arange(5), np.arange(13))[:, :, None] * (np.iinfo(dtype).max // 20)
    for name, given in (("whole", array), ("reversed view", array[:, ::-1]), ("one pixel", array[:1, :1])):
        (tmp_path / "a.png").write_bytes(encode_png(given))
        decoded = read_png(tmp_path / "a.png")
        assert decoded.dtype == dtype and np.array_equal(decoded, given), name
    (tmp_path / "b.png").write_bytes(encode_png(array[:, :, 0]))
    assert np.array_equal(read_png(tmp_path / "b.png")[:, :, 0], array[:, :, 0])


@pytest.mark.parametrize("array, reason", [(np.zeros((4, 4, 4), np.float32), "uint8 and uint16"),
                                           (np.zeros((4, 4, 5), np.uint8), "1 to 4 channels"),
                                           (np.zeros((0, 4, 1), np.uint8), "at least one pixel"),
                                           (np.zeros(4, np.uint8), "shape")])
def test_png_refuses_what_it_cannot_hold(array, reason):
    with pytest.raises(ValueError, match=reason):
        encode_png(array)


class Terminal(io.StringIO):
    def isatty(self):
        return True


def test_the_progress_bar_shows_on_a_terminal_only(monkeypatch):
    monkeypatch.setattr("kvsubstance.batch.progress.REDRAW_SECONDS", 0)
    terminal, log = Terminal(), io.StringIO()
    for stream in (terminal, log):
        progress = Progress(total=10, skipped=4, stream=stream)
        for status in ("rendered", "failed", "rendered"):
            progress.update(status)
        progress.finish()
    lines = terminal.getvalue().split("\r")
    assert lines[1].startswith("[" + "#" * 15 + "." * 15 + "] 5/10 rendered 1 skipped 4 failed 0")
    assert lines[-1].startswith("[" + "#" * 21 + "." * 9 + "] 7/10 rendered 2 skipped 4 failed 1")
    assert terminal.getvalue().endswith("\n") and log.getvalue() == ""
