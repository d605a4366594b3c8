# python3 -m kvsubstance.batch JOB.json [--scheduler ADDRESS] [--workers N]:
# runs a job, with a progress bar on a terminal and a summary at the end.
# Exit status: 0 when every variation is done, 1 when some failed, 2 for a
# job or command line that cannot run, 130 when interrupted.
import argparse
import signal
import sys

# Failures printed one per line; the manifest has them all.
SHOWN_FAILURES = 10


def interrupt(signum, frame):
    raise KeyboardInterrupt


def main(argv=None):
    parser = argparse.ArgumentParser(prog="python3 -m kvsubstance.batch",
                                     description="Renders the variations of a job on a Dask cluster "
                                                 "(help(kvsubstance.batch) describes jobs).")
    parser.add_argument("job", help="the job file (JSON)")
    parser.add_argument("--scheduler", metavar="ADDRESS", help="a running scheduler, e.g. tcp://host:8786; "
                                                               "without it, a cluster on this machine")
    parser.add_argument("--workers", metavar="N", type=int, help="worker processes of the cluster on this "
                                                                 "machine (default: one per core)")
    args = parser.parse_args(argv)
    if args.workers is not None and args.workers < 1:
        parser.error("--workers takes a number from 1 up")
    if args.workers is not None and args.scheduler is not None:
        parser.error("--workers is for the cluster on this machine; a scheduler brings its own workers")

    try:
        from kvsubstance.batch import JobError, load_job, run
    except ImportError as error:
        print(f"kvsubstance.batch: {error} (Debian: apt-get install python3-distributed)", file=sys.stderr)
        return 2
    # A batch system's stop is an interruption like Ctrl-C: what is done stays recorded.
    signal.signal(signal.SIGTERM, interrupt)
    try:
        summary = run(load_job(args.job), scheduler=args.scheduler, workers=args.workers)
    except (JobError, ValueError, OSError) as error:
        print(f"kvsubstance.batch: {error}", file=sys.stderr)
        return 2
    for name, reason in summary.failures[:SHOWN_FAILURES]:
        print(f"failed: {name}: {reason}", file=sys.stderr)
    if summary.failed > SHOWN_FAILURES:
        print(f"... and {summary.failed - SHOWN_FAILURES} more failures in the manifest", file=sys.stderr)
    print(summary)
    if summary.interrupted:
        return 130
    return 1 if summary.failed else 0


if __name__ == "__main__":
    sys.exit(main())
