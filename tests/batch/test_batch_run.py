# Jobs on a cluster of two worker processes on this machine: the files hold
# what rendering each variation alone gives, a rerun renders only what is
# missing or spoiled, a bad value fails its variation alone, and the command
# reports it all with its exit status.
import json
import subprocess
import sys

from conftest import batch, kvsubstance, np, read_png, render_alone


def manifest_of(folder):
    return [json.loads(line) for line in (folder / "manifest.jsonl").open()]


def leftovers(folder):
    return [p.name for p in folder.iterdir() if ".partial-" in p.name]


def test_every_file_holds_the_variation_rendered_alone(client, samples, tmp_path):
    stone, tint = samples / "stone_tiles.mpk", samples / "tint.mpk"
    job = batch.make_job({
        "packages": {"stone": str(stone), "tinted": {"package": str(stone), "stack": str(tint)}},
        "variations": {"package": ["stone", "tinted"], "seed": "1-3", "preset": [None, "Old courtyard"],
                       "size": [32, [64, 16]], "values": [{}, {"wear": 0.9}]},
        "destination": str(tmp_path)})
    summary = batch.run(job, client=client)
    assert (summary.rendered, summary.skipped, summary.failed, summary.total) == (48, 0, 0, 48)
    records = {r["name"]: r for r in manifest_of(tmp_path)}
    assert list(records) == [v.name for v in job.variations]
    assert {r["worker"] for r in records.values()} == set(client.scheduler_info()["workers"])
    for variation in job.variations:
        record = records[variation.name]
        assert record["status"] == "rendered" and record["render_seconds"] > 0
        alone = render_alone(job, variation, kvsubstance.open(stone, stack=tint if variation.package == "tinted"
                                                              else None).outputs)
        assert sorted(record["files"]) == sorted(alone)
        for output, array in alone.items():
            path = tmp_path / record["files"][output]["file"]
            assert np.array_equal(read_png(path), array), (variation, output)
            assert batch.files.sha256_of(path) == record["files"][output]["sha256"]
    assert not leftovers(tmp_path)


def test_a_rerun_renders_only_what_is_missing_or_spoiled(client, samples, tmp_path):
    def job(seeds):
        return batch.make_job({"packages": {"stone": str(samples / "stone_tiles.mpk")}, "outputs": ["normal"],
                               "variations": {"seed": seeds}, "size": 32, "format": "npy",
                               "destination": str(tmp_path)})

    # An interrupted run: the first half of the seeds.
    assert batch.run(job("1-6"), client=client).rendered == 6
    full = job("1-12")
    first = batch.run(full, client=client)
    assert (first.rendered, first.skipped) == (6, 6)
    files = {v.name: tmp_path / f"{v.name}.normal.npy" for v in full.variations}
    times = {name: path.stat().st_mtime_ns for name, path in files.items()}
    names = list(files)
    files[names[2]].unlink()
    spoiled = bytearray(files[names[7]].read_bytes())
    spoiled[-1] ^= 1
    files[names[7]].write_bytes(spoiled)
    (tmp_path / f".{names[3]}.normal.npy.partial-0123").write_bytes(b"half a file")  # left by a dead worker
    with open(tmp_path / "manifest.jsonl", "a") as manifest:
        manifest.write('{"name": "torn')
    # By the scheduler's address, as on a cluster of several machines.
    second = batch.run(full, scheduler=client.scheduler.address)
    assert (second.rendered, second.skipped, second.failed) == (2, 10, 0)
    assert not client.run_on_scheduler(lambda dask_scheduler: list(dask_scheduler.worker_plugins))
    for index, name in enumerate(names):
        assert (files[name].stat().st_mtime_ns == times[name]) == (index not in (2, 7)), name
        assert np.array_equal(np.load(files[name]), render_alone(full, full.variations[index], ["normal"])["normal"])
    assert [r["name"] for r in manifest_of(tmp_path)] == names and not leftovers(tmp_path)
    # Nothing left to do: no cluster is even asked.
    third = batch.run(full, client=None, scheduler="tcp://127.0.0.1:9")
    assert (third.rendered, third.skipped) == (0, 12)


BAD_VARIATIONS = [({"values": {"wear": "very"}}, "ValueError"), ({"values": {"nosuch": 1}}, "nosuch"),
                  ({"preset": "Nope"}, "Nope"), ({"size": 1000}, "1000"), ({"seed": "x"}, "ValueError")]


def test_a_bad_value_fails_its_variation_alone_with_its_reason(client, samples, tmp_path):
    variations = [{"seed": 1}] + [bad for bad, _ in BAD_VARIATIONS] + [{"seed": 2}]
    job = batch.make_job({"packages": {"stone": str(samples / "stone_tiles.mpk")}, "variations": variations,
                          "size": 16, "destination": str(tmp_path)})
    summary = batch.run(job, client=client)
    assert (summary.rendered, summary.failed) == (2, len(BAD_VARIATIONS))
    records = manifest_of(tmp_path)
    assert [r["status"] for r in records] == ["rendered"] + ["failed"] * len(BAD_VARIATIONS) + ["rendered"]
    for record, (_, reason) in zip(records[1:], BAD_VARIATIONS):
        assert reason in record["reason"] and not list(tmp_path.glob(record["name"] + ".*")), record
    assert dict(summary.failures) == {r["name"]: r["reason"] for r in records[1:-1]}
    # The good ones after the bad ones are right: nothing of a failed variation stayed in the worker's material.
    last = job.variations[-1]
    assert np.array_equal(read_png(tmp_path / records[-1]["files"]["Output"]["file"]),
                          render_alone(job, last, ["Output"])["Output"])


def run_command(*args, cwd):
    return subprocess.run([sys.executable, "-m", "kvsubstance.batch", *map(str, args)], cwd=cwd,
                          capture_output=True, text=True, timeout=90)


def test_the_command_reports_the_summary_and_exits_by_outcome(samples, tmp_path):
    job = {"packages": str(samples / "stone_tiles.mpk"), "variations": [{"seed": 1}, {"size": 3}, {"seed": 2}],
           "size": 16, "outputs": "Output", "destination": "out"}
    (tmp_path / "job.json").write_text(json.dumps(job))
    ran = run_command("job.json", "--workers", "1", cwd=tmp_path)
    assert ran.returncode == 1, ran.stderr
    assert "rendered 2, skipped 0, failed 1 of 3" in ran.stdout
    assert "failed: stone_tiles_default_3_" in ran.stderr and "powers of two" in ran.stderr
    assert len(list((tmp_path / "out").glob("*.Output.png"))) == 2
    job["outputs"] = ["Output", "glow"]
    (tmp_path / "bad.json").write_text(json.dumps(job))
    for args, reason in ((["bad.json"], "no output glow"), (["absent.json"], "cannot read the job absent.json"),
                         (["job.json", "--workers", "0"], "--workers takes a number from 1 up")):
        ran = run_command(*args, cwd=tmp_path)
        assert ran.returncode == 2 and "Traceback" not in ran.stderr and not ran.stdout, ran.stderr
        assert "kvsubstance.batch" in ran.stderr.splitlines()[-1] and reason in ran.stderr, ran.stderr
