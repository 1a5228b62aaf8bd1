"""A line that tells how far a long job is; only on a terminal. And the pool that such jobs run in."""
import concurrent.futures, sys, time


class Progress:
    def __init__(self, count=None, seconds=None):
        """COUNT things are to be done, or it goes on for SECONDS; neither is known when both are left out."""
        self.count, self.seconds, self.start = count, seconds, time.monotonic()
        self.done = self.failed = 0
        self.shown = 0.0
        self.live = sys.stderr.isatty()

    def step(self, failed):
        self.done += 1
        self.failed += bool(failed)
        now = time.monotonic()
        if not self.live or now - self.shown < 0.2:
            return
        self.shown = now
        spent = now - self.start
        rate = self.done / spent if spent else 0
        left = (self.count - self.done) / rate if self.count and rate else self.seconds - spent if self.seconds else 0
        part = min(1.0, self.done / self.count if self.count else spent / self.seconds if self.seconds else 1)
        bar = "#" * int(20 * part) + "." * (20 - int(20 * part))
        sys.stderr.write("\r[%s] %d done, %d failed, %.1f/s, %s left \033[K" % (bar, self.done, self.failed, rate, clock(left)))
        sys.stderr.flush()

    def say(self, text):
        self.clear()
        print(text, flush=True)

    def clear(self):
        if self.live:
            sys.stderr.write("\r\033[K")
            sys.stderr.flush()


def clock(seconds):
    seconds = max(0, int(seconds))
    return "%d:%02d" % (seconds // 60, seconds % 60) if seconds < 3600 else "%d:%02d h" % (seconds // 3600, seconds // 60 % 60)


def spread(work, items, jobs):
    """Results of WORK on ITEMS (which may be endless) as they come; never more than a few items ahead."""
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        running, source, more = set(), iter(items), True
        while more or running:
            while more and len(running) < 2 * jobs:
                try:
                    running.add(pool.submit(work, next(source)))
                except StopIteration:
                    more = False
            if not running:
                return
            done, running = concurrent.futures.wait(running, return_when=concurrent.futures.FIRST_COMPLETED)
            for each in done:
                yield each.result()
