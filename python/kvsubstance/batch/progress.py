# Progress of a batch on a terminal: one line redrawn in place with a bar,
# the counts, the rate and the time left. Quiet when the stream is not a
# terminal (a log file gets the summary only).
import sys
import time

BAR_WIDTH = 30
# Redraws at most this often: a thousand variations a second must not flood the terminal.
REDRAW_SECONDS = 0.1


class Progress:
    def __init__(self, total, skipped, stream=None):
        self.stream = stream or sys.stderr
        self.shown = self.stream.isatty()
        self.total, self.skipped = total, skipped
        self.counts = {"rendered": 0, "failed": 0}
        self.began = time.perf_counter()
        self.drawn = 0.0

    def update(self, status):
        self.counts[status] += 1
        now = time.perf_counter()
        if self.shown and now - self.drawn >= REDRAW_SECONDS:
            self.drawn = now
            self.draw(now)

    def draw(self, now):
        finished = self.counts["rendered"] + self.counts["failed"]
        done = self.skipped + finished
        filled = BAR_WIDTH * done // max(self.total, 1)
        rate = finished / max(now - self.began, 1e-9)
        left = (self.total - done) / rate if rate > 0 else 0
        self.stream.write(f"\r[{'#' * filled}{'.' * (BAR_WIDTH - filled)}] {done}/{self.total} "
                          f"rendered {self.counts['rendered']} skipped {self.skipped} failed {self.counts['failed']} "
                          f"{rate:.1f}/s {int(left) // 60}:{int(left) % 60:02d} left ")
        self.stream.flush()

    def finish(self):
        if self.shown:
            self.draw(time.perf_counter())
            self.stream.write("\n")
            self.stream.flush()
