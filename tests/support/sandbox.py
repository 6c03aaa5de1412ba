# The sandbox of the scripts that run the real binary (tests/cases/run, tests/e2e/walk,
# deploy/tests/run), the store's byte layout and the lines of a transcript. A script calls
# enter(sys.argv) first: it comes back as process 1 of private PID and mount namespaces
# (`unshare -m -p -f --mount-proc`; it dies with unshare), and fresh_roots() then puts tmpfs over
# /opt, /var/log and /run (and /var/run when it is not a link to /run), so the real ones are never
# touched. Process 1 inherits every orphan of the namespace: reap() and stop_all() collect them.
import contextlib, ctypes, os, re, shutil, signal, subprocess, sys, time
from typing import NoReturn, Optional, Sequence

ROOTS = ["/opt", "/var/log", "/run"] + ([] if os.path.islink("/var/run") else ["/var/run"])
VENDOR, LOG, PIDFILE = "/opt/Marrowlight", "/var/log/vantorctl.log", "/var/run/vantor-sensor.pid"
STORE, REGISTRY = VENDOR + "/vantorstore", VENDOR + "/Registry.bin"
# The store: 8192 bytes, u16 version 2, then 28 slots of 282 bytes at 282 * i (i = 1..28): u16 name
# length, 22 bytes of UTF-16LE name, u16 data length, 256 data bytes; little-endian throughout.
SIZE, SLOT, SLOTS = 8192, 282, 28
EMPTY = b"\2\0" + bytes(SIZE - 2)
# A line of the trace log; group 1 is the message, group 2 its level.
TRACE_LINE = re.compile(rb"^(?:Mon|Tue|Wed|Thu|Fri|Sat|Sun) (?:Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) "
                        rb"[ \d]\d \d\d:\d\d:\d\d \d{4} (.*)\t\(\d+\) \[(\d+)\]$", re.M)
LIBC = ctypes.CDLL(None, use_errno=True)
_mounted: set[str] = set()


def enter(argv: list[str], flags: Sequence[str] = ()) -> list[str]:
    """Re-executes the script as process 1 of the sandbox (with more unshare `flags`, e.g. -n) and
    returns its arguments there. Without root, /proc or a working unshare, or in a chroot, exits 77
    (skipped), or 1 under VANTOR_REQUIRE_SANDBOX=1."""
    if argv[1:2] == ["--inside"]:
        if chrooted():
            skip("a chroot (/ is not the root of its mount namespace): a run that joins process 1's "
                 "namespaces would leave it", required=True)
        return argv[:1] + argv[2:]
    unshare = ["unshare", "-m", "-p", "-f", "--mount-proc", *flags]
    # Without /proc (a plain chroot), a run that joins process 1's namespaces would leave the chroot.
    why = ("the sandboxed tests need root" if os.geteuid() != 0 else
           "no /proc (a plain chroot?): the sandbox needs one" if not os.path.exists("/proc/self/exe") else None
           if shutil.which("unshare") and subprocess.run(unshare + ["true"], capture_output=True).returncode == 0
           else "unshare -m -p -f --mount-proc does not work here")
    if why:
        skip(why, required=True)
    sys.stdout.flush()
    os.execvp("unshare", unshare + ["--kill-child", sys.executable, os.path.abspath(argv[0]), "--inside"] + argv[1:])


def chrooted() -> bool:
    """Whether / is not the root of this mount namespace. Joining a mount namespace, as the tool
    joins process 1's, lands in its root: from a chroot, outside it (a child tries)."""
    here = os.stat("/")
    pid = os.fork()
    if pid == 0:
        joined = LIBC.setns(os.open("/proc/self/ns/mnt", os.O_RDONLY), 0x20000) == 0  # CLONE_NEWNS
        os._exit(1 if joined and not os.path.samestat(os.stat("/"), here) else 0)
    return os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]) == 1


def skip(why: str, required: bool = False) -> NoReturn:
    """Exits 77 (skipped) with the reason; with `required`, a failure instead under
    VANTOR_REQUIRE_SANDBOX=1 (what the sandbox itself needs)."""
    if required and os.environ.get("VANTOR_REQUIRE_SANDBOX") == "1":
        sys.exit(why + " (VANTOR_REQUIRE_SANDBOX=1)")
    print("SKIP: " + why, flush=True)
    sys.exit(77)


def mount(source: str, target: str, fstype: Optional[str] = None, flags: int = 0) -> None:
    if LIBC.mount(source.encode(), target.encode(), (fstype or source).encode(), flags, None) != 0:
        e = ctypes.get_errno()
        raise OSError(e, "cannot mount %s on %s: %s" % (source, target, os.strerror(e)))


def unmount(target: str) -> None:
    LIBC.umount2(target.encode(), 2)  # MNT_DETACH: the mount and everything mounted on it


def fresh_roots() -> None:
    """New, empty tmpfs mounts over the roots, and the vendor directory (0770)."""
    for root in ROOTS:
        if root in _mounted:
            unmount(root)
        mount("tmpfs", root)
        _mounted.add(root)
    os.mkdir(VENDOR)
    os.chmod(VENDOR, 0o770)


def reap() -> None:
    with contextlib.suppress(ChildProcessError):
        while os.waitpid(-1, os.WNOHANG)[0] > 0:
            pass


def stop_all() -> None:
    """Kills every process of the namespace but process 1, and reaps them all."""
    while others := [int(p) for p in os.listdir("/proc") if p.isdigit() and p != "1"]:
        for pid in others:
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)
        reap()
        time.sleep(0.001)


# Output in a transcript's terms: the date and thread id of trace lines as <time> and <tid>, and
# the lines, each starting with `mark`, that stand for a stream's bytes.
def normalise(data: Optional[bytes]) -> bytes:
    return TRACE_LINE.sub(rb"<time> \1\t(<tid>) [\2]", data or b"")


def show_stream(mark: str, data: bytes) -> list[str]:
    parts, lines = data.split(b"\n"), []  # type: list[bytes], list[str]
    for i, part in enumerate(parts[:-1] if parts[-1] == b"" else parts):
        text = part.decode("latin-1")
        if not all(32 <= b < 127 for b in part) or text.endswith((" ", " (esc)", " (no-eol)")):
            text = "".join("\\\\" if b == 92 else "\\t" if b == 9 else chr(b) if 32 <= b < 127 else "\\x%02x" % b
                           for b in part)
            text = (text[:-1] + "\\x20" if text.endswith(" ") else text) + " (esc)"  # a trailing space shows
        text += " (no-eol)" if i == len(parts) - 1 else ""
        lines.append(mark + " " + text if text else mark)
    return lines


def slurp(path: str) -> Optional[bytes]:
    with contextlib.suppress(FileNotFoundError), open(path, "rb") as f:
        return f.read()
    return None


def u16(data: bytes, at: int) -> int:
    return int.from_bytes(data[at:at + 2], "little")


def records(image: Optional[bytes]) -> Optional[dict[str, bytes]]:
    """The store's records by name (the first slot of a name counts), or None for no valid image."""
    if image is None or len(image) != SIZE or u16(image, 0) != 2:
        return None
    found: dict[str, bytes] = {}
    for o in range(SLOT, SLOT * (SLOTS + 1), SLOT):
        if u16(image, o):
            found.setdefault(image[o + 2:o + 2 + u16(image, o)].decode("utf-16-le", "replace"),
                             image[o + 26:o + 26 + u16(image, o + 24)])
    return found


def put(image: bytes, slot: int, name: str, data: bytes) -> bytes:
    """The image with a record in `slot` (1..28); the slot's bytes past the data stay as they were."""
    wide, o, buffer = name.encode("utf-16-le"), SLOT * slot, bytearray(image)
    buffer[o:o + 26 + len(data)] = (len(wide).to_bytes(2, "little") + wide.ljust(22, b"\0") +
                                   len(data).to_bytes(2, "little") + data)
    return bytes(buffer)


def add_record(image: Optional[bytes], name: str, data: bytes) -> bytes:
    """The image (an empty one unless it is valid) with the record in its first free slot."""
    base = image if image is not None and records(image) is not None else EMPTY
    for slot in range(1, SLOTS + 1):
        if u16(base, SLOT * slot) == 0 and len(name.encode("utf-16-le")) <= 22 and len(data) <= 256:
            return put(base, slot, name, data)
    raise ValueError("no room for the record " + name)
