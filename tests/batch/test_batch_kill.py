# Every worker process killed in the middle of a job: the scheduler reruns
# their tasks on the replacements the nannies start, which get the package
# bytes again, and the job still ends with every file whole and right and
# no temporary file behind.
import os
import signal
import threading
import time

from conftest import batch, distributed, kvsubstance, render_alone

OUTPUTS = ["Output"]  # all that the stack has


def finished_on_scheduler(dask_scheduler):
    return sum(task.state == "memory" for task in dask_scheduler.tasks.values())


def kill_busy_workers(client, pids, killed):
    """Once variations are done, kills every worker that is running one: results
    the runner has yet to fetch are lost with them."""
    deadline = time.monotonic() + 60
    while time.monotonic() < deadline:
        if client.run_on_scheduler(finished_on_scheduler) >= 1:
            busy = [address for address, tasks in client.processing().items() if tasks]
            for address in busy:
                os.kill(pids[address], signal.SIGKILL)
            killed.extend(busy)
            if busy:
                return
        time.sleep(0.005)


def test_killed_workers_mid_job_still_give_the_whole_result(samples, tmp_path):
    stone = str(samples / "stone_tiles.mpk")
    job = batch.make_job({"packages": {"stone": stone, "tinted": {"package": stone, "stack": str(samples / "tint.mpk")}},
                          "variations": {"seed": "1-20", "package": ["stone", "tinted"]}, "outputs": OUTPUTS,
                          "size": 256, "destination": str(tmp_path)})
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) \
            as cluster, distributed.Client(cluster) as client:
        killed = []
        killer = threading.Thread(target=kill_busy_workers,
                                  args=(client, client.run(os.getpid), killed))
        killer.start()
        summary = batch.run(job, client=client)
        killer.join()
    assert killed, "the job ended before a worker could be killed"
    assert (summary.rendered, summary.failed) == (40, 0), summary.failures[:3]
    records = batch.manifest.Manifest(tmp_path).records
    assert set(records) == {v.name for v in job.variations}
    assert not [p for p in tmp_path.iterdir() if ".partial-" in p.name]
    for variation in job.variations:
        files = records[variation.name]["files"]
        assert all(batch.files.sha256_of(tmp_path / f["file"]) == f["sha256"] for f in files.values())
        alone = render_alone(job, variation, OUTPUTS)
        # The encoder is a function of the pixels (its own tests decode it): equal bytes, equal pixels.
        assert all(files[o]["sha256"] == batch.files.sha256_hex(kvsubstance.encode_png(alone[o])) for o in alone), \
            variation
