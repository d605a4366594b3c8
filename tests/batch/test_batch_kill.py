# A worker process killed in the middle of a job: the scheduler reruns its
# tasks on the other worker and on its replacement, and the job still ends
# with every file whole and right and no temporary file behind.
import os
import signal
import threading
import time

from conftest import batch, distributed, read_png, render_alone


def test_killing_a_worker_mid_job_still_gives_the_whole_result(samples, tmp_path):
    job = batch.make_job({"packages": {"stone": str(samples / "stone_tiles.mpk")}, "variations": {"seed": "1-40"},
                          "outputs": ["Output", "height"], "size": 128, "destination": str(tmp_path)})
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) \
            as cluster, distributed.Client(cluster) as client:
        pids = client.run(os.getpid)
        killed = []

        def kill_one_when_busy():
            manifest = tmp_path / "manifest.jsonl"
            deadline = time.monotonic() + 60
            while time.monotonic() < deadline:
                if manifest.exists() and manifest.read_text().count("\n") >= 5:
                    busy = [address for address, tasks in client.processing().items() if tasks]
                    if busy:
                        os.kill(pids[busy[0]], signal.SIGKILL)
                        killed.append(busy[0])
                        return
                time.sleep(0.005)

        killer = threading.Thread(target=kill_one_when_busy)
        killer.start()
        summary = batch.run(job, client=client)
        killer.join()
    assert killed, "the job ended before a worker could be killed"
    assert (summary.rendered, summary.failed) == (40, 0)
    records = {r["name"]: r for r in batch.manifest.Manifest(tmp_path).records.values()}
    assert set(records) == {v.name for v in job.variations}
    assert not [p for p in tmp_path.iterdir() if ".partial-" in p.name]
    for variation in job.variations:
        files = records[variation.name]["files"]
        assert all(batch.files.sha256_of(tmp_path / f["file"]) == f["sha256"] for f in files.values())
        alone = render_alone(job, variation, ["Output", "height"])
        assert all((read_png(tmp_path / files[o]["file"]) == alone[o]).all() for o in alone), variation
