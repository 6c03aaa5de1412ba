# The sensor daemon's PID file (/var/run/vantor-sensor.pid, so /run here), both sides, through
# runtime_probe: "pidfile create|acquire|remove|read"; a read shows "self" for the probe's own PID.
# The daemon holds the file's lock for its lifetime, so a file whose lock can be taken is stale.
needs strace

== no file: acquired, read back, removed; removing again only logs
$ runtime_probe pidfile acquire , pidfile read , mode /run/vantor-sensor.pid , pidfile create , pidfile remove , pidfile read , pidfile remove
| pidfile STATUS=0x00000000 new
| pidfile STATUS=0x00000000 self
| mode STATUS=0x00000000 0600
| pidfile STATUS=0xC0000510
| pidfile STATUS=0x00000000
| pidfile STATUS=0x00000000 -2
| pidfile STATUS=0x00000000
log <time> PID file already exists, not writing: ERRNO=17 (File exists)\t(<tid>) [0] (esc)
log <time> Error opening PID file: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> PID file doesn't exist, not removing\t(<tid>) [0] (esc)
$ runtime_probe pidfile create , pidfile read , pidfile remove
| pidfile STATUS=0x00000000
| pidfile STATUS=0x00000000 self
| pidfile STATUS=0x00000000
# the text is the PID in decimal and a newline
$ runtime_probe pidfile create && grep -c '^[1-9][0-9]*$' /run/vantor-sensor.pid && tail -c 1 /run/vantor-sensor.pid | od -An -c && rm /run/vantor-sensor.pid
| pidfile STATUS=0x00000000
| 1
|   \n

== a live daemon's file is left as it is; once the daemon is gone, the stale file is replaced
sh (runtime_probe pidfile acquire , pause >/dev/null 2>&1 &) && until [ -s /run/vantor-sensor.pid ] && ! flock -n /run/vantor-sensor.pid true; do sleep 0.01; done
$ runtime_probe pidfile acquire , pidfile create
| pidfile STATUS=0xC0000001 existed
| pidfile STATUS=0xC0000510
log <time> PID file already exists, not writing: ERRNO=17 (File exists)\t(<tid>) [0] (esc)
$ pkill -x runtime_probe && until flock -n /run/vantor-sensor.pid true; do sleep 0.01; done
$ runtime_probe pidfile acquire , pidfile read , pidfile remove
| pidfile STATUS=0x00000000 existed
| pidfile STATUS=0x00000000 self
| pidfile STATUS=0x00000000
absent /run/vantor-sensor.pid

== what is not a daemon's PID file
link /run/vantor-sensor.pid -> /run/elsewhere
file /run/elsewhere "1\n"
$ runtime_probe pidfile acquire , pidfile read , pidfile create
| pidfile STATUS=0xC0000001 existed
| pidfile STATUS=0x00000000 -40
| pidfile STATUS=0xC0000510
log <time> Error opening PID file: ERRNO=40 (Too many levels of symbolic links)\t(<tid>) [0] (esc)
log <time> PID file already exists, not writing: ERRNO=17 (File exists)\t(<tid>) [0] (esc)
$ rm /run/vantor-sensor.pid && mkfifo /run/vantor-sensor.pid && runtime_probe pidfile acquire , pidfile read , pidfile remove
| pidfile STATUS=0xC0000001 existed
| pidfile STATUS=0x00000000 -22
| pidfile STATUS=0x00000000
log <time> PID file is not a regular file\t(<tid>) [0] (esc)
absent /run/vantor-sensor.pid
$ rmdir /run/vantor-sensor.pid 2>/dev/null; mkdir /run/vantor-sensor.pid && runtime_probe pidfile acquire , pidfile read , pidfile remove
| pidfile STATUS=0xC0000001 existed
| pidfile STATUS=0x00000000 -22
| pidfile STATUS=0x00000000
log <time> PID file is not a regular file\t(<tid>) [0] (esc)
log <time> failed to remove PID file: ERRNO=21 (Is a directory)\t(<tid>) [0] (esc)
dir /run/vantor-sensor.pid

== the numbers a read takes: 1 to pid_max, in decimal, at most 14 bytes
# 1 is this namespace's first process, never the probe, which would read as "self"
file /run/vantor-sensor.pid "1\n"
$ runtime_probe pidfile read
| pidfile STATUS=0x00000000 1
$ printf '  1xyz' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 1
file /run/vantor-sensor.pid "  1xyz"
$ printf '0\n' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 -34
log <time> Invalid PID: 0\t(<tid>) [0] (esc)
file /run/vantor-sensor.pid "0\n"
$ printf -- '-5\n' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 -34
log <time> Invalid PID: -5\t(<tid>) [0] (esc)
file /run/vantor-sensor.pid "-5\n"
$ cat /proc/sys/kernel/pid_max >/run/vantor-sensor.pid && runtime_probe pidfile read | sed "s/ $(cat /proc/sys/kernel/pid_max)\$/ pid_max/"; rm /run/vantor-sensor.pid
| pidfile STATUS=0x00000000 pid_max
absent /run/vantor-sensor.pid
$ printf '99999999999999999999' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 -34
log <time> Invalid PID: 99999999999999\t(<tid>) [0] (esc)
file /run/vantor-sensor.pid "99999999999999999999"
$ printf '0000000000000042' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 -34
log <time> Invalid PID: 0\t(<tid>) [0] (esc)
file /run/vantor-sensor.pid "0000000000000042"
$ printf '00000000000001' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 1
file /run/vantor-sensor.pid "00000000000001"
$ : >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 -34
log <time> Invalid PID: 0\t(<tid>) [0] (esc)
file /run/vantor-sensor.pid ""

== the bound is the system's pid_max, and 4194304 when pid_max is above that or no number
$ printf 1 >/run/pid_max && mount --bind /run/pid_max /proc/sys/kernel/pid_max && printf '1\n' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 1
file /run/pid_max "1"
file /run/vantor-sensor.pid "1\n"
$ printf '2\n' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 -34
log <time> Invalid PID: 2\t(<tid>) [0] (esc)
file /run/vantor-sensor.pid "2\n"
$ printf 10 >/run/pid_max && printf '11\n' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 -34
log <time> Invalid PID: 11\t(<tid>) [0] (esc)
file /run/pid_max "10"
file /run/vantor-sensor.pid "11\n"
$ printf '4194305\n' >/run/pid_max && printf '4194304\n' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 4194304
file /run/pid_max "4194305\n"
file /run/vantor-sensor.pid "4194304\n"
$ printf '4194305\n' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 -34
log <time> Invalid PID: 4194305\t(<tid>) [0] (esc)
file /run/vantor-sensor.pid "4194305\n"
$ printf 'x\n' >/run/pid_max && printf '4194304\n' >/run/vantor-sensor.pid && runtime_probe pidfile read
| pidfile STATUS=0x00000000 4194304
file /run/pid_max "x\n"
file /run/vantor-sensor.pid "4194304\n"
$ : >/run/pid_max && runtime_probe pidfile read
| pidfile STATUS=0x00000000 4194304
file /run/pid_max ""

== the PID file's calls failing, made to fail by strace on that file only (opened as /var/run/..., its descriptor is /run/...)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /var/run/vantor-sensor.pid -P /run/vantor-sensor.pid -e inject=openat:error=EACCES runtime_probe pidfile create , pidfile read
| pidfile STATUS=0xC0000001
| pidfile STATUS=0x00000000 -13
log <time> Error creating PID file: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Error opening PID file: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /var/run/vantor-sensor.pid -P /run/vantor-sensor.pid -e inject=fchmod:error=EPERM runtime_probe pidfile create , mode /run/vantor-sensor.pid , pidfile remove
| pidfile STATUS=0x00000000
| mode STATUS=0x00000000 0600
| pidfile STATUS=0x00000000
log <time> Cannot set the PID file's mode: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /var/run/vantor-sensor.pid -P /run/vantor-sensor.pid -e inject=flock:error=EAGAIN runtime_probe pidfile create , mode /run/vantor-sensor.pid ; rm /run/vantor-sensor.pid
| pidfile STATUS=0xC0000055
| mode STATUS=0x00000000 0600
log <time> PID file cannot be locked: ERRNO=11 (Resource temporarily unavailable)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /var/run/vantor-sensor.pid -P /run/vantor-sensor.pid -e inject=write:error=EIO runtime_probe pidfile create , pidfile remove
| pidfile STATUS=0xC0000001
| pidfile STATUS=0x00000000
log <time> Error writing PID file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /var/run/vantor-sensor.pid -P /run/vantor-sensor.pid -e inject=write:error=EINTR:when=1..100 runtime_probe pidfile create , pidfile read , pidfile remove
| pidfile STATUS=0x00000000
| pidfile STATUS=0x00000000 self
| pidfile STATUS=0x00000000
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /var/run/vantor-sensor.pid -P /run/vantor-sensor.pid -e inject=write:error=EINTR:when=1..101 runtime_probe pidfile create , pidfile remove
| pidfile STATUS=0xC0000001
| pidfile STATUS=0x00000000
log <time> Error writing PID file: ERRNO=4 (Interrupted system call)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /var/run/vantor-sensor.pid -P /run/vantor-sensor.pid -e inject=unlink:error=EBUSY runtime_probe pidfile create , pidfile remove , pidfile read ; rm /run/vantor-sensor.pid
| pidfile STATUS=0x00000000
| pidfile STATUS=0x00000000
| pidfile STATUS=0x00000000 self
log <time> failed to remove PID file: ERRNO=16 (Device or resource busy)\t(<tid>) [0] (esc)
$ echo 1 >/run/vantor-sensor.pid && ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/vantor-sensor.pid -e inject=read:error=EINTR:when=1..100 runtime_probe pidfile read
| pidfile STATUS=0x00000000 1
file /run/vantor-sensor.pid "1\n"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/vantor-sensor.pid -e inject=read:error=EINTR:when=1..101 runtime_probe pidfile read
| pidfile STATUS=0x00000000 -4
log <time> Error reading PID file: ERRNO=4 (Interrupted system call)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/vantor-sensor.pid -e inject=read:error=EIO runtime_probe pidfile read ; rm /run/vantor-sensor.pid
| pidfile STATUS=0x00000000 -5
log <time> Error reading PID file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
absent /run/vantor-sensor.pid
