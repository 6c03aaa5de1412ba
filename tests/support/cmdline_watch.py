#!/usr/bin/env python3
"""What any local user sees of other processes' command lines while a test runs.

  cmdline_watch.py <seen-file>

Drops to the user nobody (every /proc/<pid>/cmdline is readable by everyone),
then reads every /proc/*/cmdline as fast as it can until SIGTERM or SIGINT,
keeping each distinct argument once. At the end it writes them to <seen-file>,
one per line (a newline inside an argument as \\n), and prints on standard error
how many scans and command lines it read. The seen file may hold secrets that
leaked: a test searches it and never prints it.
"""
import os
import signal
import sys

NOBODY = 65534


def scan(seen: set[bytes]) -> int:
    """One pass over /proc; returns the number of command lines read."""
    count = 0
    for entry in os.scandir("/proc"):
        if not entry.name.isdigit():
            continue
        try:
            fd = os.open(f"/proc/{entry.name}/cmdline", os.O_RDONLY)
        except OSError:
            continue  # gone already
        try:
            data = os.read(fd, 1 << 16)
        except OSError:
            data = b""
        finally:
            os.close(fd)
        if data:
            seen.update(data.rstrip(b"\0").split(b"\0"))
            count += 1
    return count


def main() -> None:
    path = sys.argv[1]
    out = open(path, "wb")  # opened as root, where the test's work directory is
    os.setgroups([])
    os.setgid(NOBODY)
    os.setuid(NOBODY)
    stop = False

    def finish(_signum: int, _frame: object) -> None:
        nonlocal stop
        stop = True

    signal.signal(signal.SIGTERM, finish)
    signal.signal(signal.SIGINT, finish)
    seen: set[bytes] = set()
    scans = lines = 0
    while not stop:
        lines += scan(seen)
        scans += 1
    out.write(b"".join(arg.replace(b"\n", b"\\n") + b"\n" for arg in sorted(seen)))
    out.close()
    print(f"cmdline watcher: {scans} scans, {lines} command lines, {len(seen)} distinct arguments",
          file=sys.stderr)


if __name__ == "__main__":
    main()
