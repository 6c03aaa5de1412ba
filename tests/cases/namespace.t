# The namespace switch: where the trace log goes and which /opt the tool writes, run in the
# namespaces of process 1 (the sandbox's) and from a mount namespace of its own.
# strace makes the open of process 1's mount namespace fail.
needs strace

== the same namespaces as process 1: the log is the regular file
file /opt/Marrowlight/vantorstore "12345"
$ vantorctl -s --apd=true
|
log <time> Invalid file /opt/Marrowlight/vantorstore length: 5\t(<tid>) [0] (esc)
store empty
store DP u32 1

== no /proc/1 to compare with: run as not namespaced, the log is the regular file
tmpfs /proc
file /opt/Marrowlight/vantorstore "12345"
$ rm /proc/1
$ vantorctl -s --apd=true
|
log <time> Invalid file /opt/Marrowlight/vantorstore length: 5\t(<tid>) [0] (esc)
store empty
store DP u32 1

== started in a mount namespace of its own, with another /opt
# It joins process 1's namespaces and writes the store there (repaired, then set), not in its own
# /opt, which stays empty; the old log file becomes a link to standard output, where the trace
# line goes.
file /opt/Marrowlight/vantorstore "12345"
file /var/log/vantorctl.log 0600 "an old regular log\n"
$ unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && vantorctl -s --apd=true; rc=$?; ls -A /opt/Marrowlight; exit $rc'
| <time> Invalid file /opt/Marrowlight/vantorstore length: 5\t(<tid>) [0] (esc)
|
store empty
store DP u32 1
link /var/log/vantorctl.log -> /dev/stdout

== namespaced, the old log a directory that cannot be replaced by the link to standard output: a warning, and the log line still goes to standard output
file /opt/Marrowlight/vantorstore "12345"
dir /var/log/vantorctl.log/keep
$ unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && vantorctl -s --apd=true'
| <time> Invalid file /opt/Marrowlight/vantorstore length: 5\t(<tid>) [0] (esc)
|
! WARNING: failed to redirect logs to STDOUT
store empty
store DP u32 1

== namespaced, with standard output on a regular file: the result line follows the log line in it
file /opt/Marrowlight/vantorstore "12345"
$ unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && vantorctl -s -v --apd=true >/run/result'
store empty
store DP u32 1
file /run/result "<time> Invalid file /opt/Marrowlight/vantorstore length: 5\t(<tid>) [0]\napd=TRUE.\n"
link /var/log/vantorctl.log -> /dev/stdout

== started in a mount namespace of its own, where process 1's mount namespace cannot be opened: the run stops there
file /opt/Marrowlight/vantorstore "12345"
$ unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /proc/1/ns/mnt -e trace=openat -e inject=openat:error=EACCES vantorctl -s --apd=true; rc=$?; ls -A /opt/Marrowlight; exit $rc'
| <time> Couldn't open file /proc/1/ns/mnt: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
|
! ERROR: failed switch to init mount namespace
[1]
link /var/log/vantorctl.log -> /dev/stdout

== started in a mount namespace of its own with one descriptor above standard error to spare: the log on standard output takes it, so the open of process 1's mount namespace fails and the run stops there
file /opt/Marrowlight/vantorstore "12345"
$ unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && ulimit -n 4 && vantorctl -s --apd=true'
| <time> Couldn't open file /proc/1/ns/mnt: ERRNO=24 (Too many open files)\t(<tid>) [0] (esc)
|
! ERROR: failed switch to init mount namespace
[1]
link /var/log/vantorctl.log -> /dev/stdout

== started in a mount namespace of its own, where process 1's mount namespace is missing: the run stops there too (only optional kinds may be missing)
file /opt/Marrowlight/vantorstore "12345"
$ unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /proc/1/ns/mnt -e trace=openat -e inject=openat:error=ENOENT vantorctl -s --apd=true; rc=$?; ls -A /opt/Marrowlight; exit $rc'
| <time> Couldn't open file /proc/1/ns/mnt: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
|
! ERROR: failed switch to init mount namespace
[1]
link /var/log/vantorctl.log -> /dev/stdout

== started in a mount namespace of its own, where joining process 1's mount namespace is refused: the run stops there
file /opt/Marrowlight/vantorstore "12345"
$ unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=setns -e inject=setns:error=EPERM:when=1 vantorctl -s --apd=true'
| <time> Failed to setns due to ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
|
! ERROR: failed switch to init mount namespace
[1]
link /var/log/vantorctl.log -> /dev/stdout

== started in a mount namespace of its own, where process 1's cgroup namespace is missing or refused: the run goes on in the mount and UTS namespaces it joined
file /opt/Marrowlight/vantorstore "12345"
$ unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /proc/1/ns/cgroup -e trace=openat -e inject=openat:error=ENOENT vantorctl -s --apd=true; rc=$?; ls -A /opt/Marrowlight; exit $rc'
| <time> Couldn't open file /proc/1/ns/cgroup: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
| <time> Invalid file /opt/Marrowlight/vantorstore length: 5\t(<tid>) [0] (esc)
|
store empty
store DP u32 1
link /var/log/vantorctl.log -> /dev/stdout
$ unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /proc/1/ns/cgroup -e trace=openat -e inject=openat:error=EACCES vantorctl -s --apd=true; rc=$?; ls -A /opt/Marrowlight; exit $rc'
| <time> Couldn't open file /proc/1/ns/cgroup: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
|
