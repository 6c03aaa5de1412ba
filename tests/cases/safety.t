# The tool runs as root beside a daemon, among files others may have planted, on disks that fill
# up. Only the sensor gets a signal, nothing is written through a link or into a special file, a
# full disk never costs the registry, and the exit status says when an output was lost.

# The reload signal goes only to the process that itself holds its PID file's exclusive lock,
# and only to a PID in range. A stray process (PID 5000) lives beside it each time and must never
# be hit; rewriting the PID file in place keeps the daemon's lock.

== the PID file names process 1, which does not hold the lock the daemon holds
store empty
daemon
sh echo 4999 >/proc/sys/kernel/ns_last_pid; sleep 300 &
sh echo 1 >/var/run/vantor-sensor.pid
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to send SIGHUP to vantor process (PID 1): No such process
log <time> Process 1 does not hold the PID file's lock: not the sensor, or the file is stale\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0
$ sleep 0.1; cut -d' ' -f3 /proc/5000/stat
| S
hangups 0

== the PID file names the daemon itself
store empty
daemon
sh echo 4999 >/proc/sys/kernel/ns_last_pid; sleep 300 &
$ timeout 5 vantorctl -s --trace=info --update
|
store TRACE "info"
hangups 1
$ sleep 0.1; cut -d' ' -f3 /proc/5000/stat
| S
hangups 0

== the PID file holds 2^31
store empty
daemon
sh echo 4999 >/proc/sys/kernel/ns_last_pid; sleep 300 &
sh echo 2147483648 >/var/run/vantor-sensor.pid
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Numerical result out of range
log <time> Invalid PID: 2147483648\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0
$ sleep 0.1; cut -d' ' -f3 /proc/5000/stat
| S
hangups 0

== the PID file holds 2^32 - 1, which would be -1, every process
store empty
daemon
sh echo 4999 >/proc/sys/kernel/ns_last_pid; sleep 300 &
sh echo 4294967295 >/var/run/vantor-sensor.pid
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Numerical result out of range
log <time> Invalid PID: 4294967295\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0
$ sleep 0.1; cut -d' ' -f3 /proc/5000/stat
| S
hangups 0

== the PID file holds 2^32, which would be 0, the process group
store empty
daemon
sh echo 4999 >/proc/sys/kernel/ns_last_pid; sleep 300 &
sh echo 4294967296 >/var/run/vantor-sensor.pid
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Numerical result out of range
log <time> Invalid PID: 4294967296\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0
$ sleep 0.1; cut -d' ' -f3 /proc/5000/stat
| S
hangups 0

== the PID file holds 2^32 + the daemon's PID
store empty
# the daemon's PID is 4000
sh echo 3999 >/proc/sys/kernel/ns_last_pid
daemon
sh echo 4999 >/proc/sys/kernel/ns_last_pid; sleep 300 &
sh echo $((4294967296 + $(cat /var/run/vantor-sensor.pid))) >/var/run/vantor-sensor.pid
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Numerical result out of range
log <time> Invalid PID: 4294971296\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0
$ sleep 0.1; cut -d' ' -f3 /proc/5000/stat
| S
hangups 0

== the PID file holds pid_max + 1
# pid_max is the host's: the log line names it so
store empty
daemon
sh echo 4999 >/proc/sys/kernel/ns_last_pid; sleep 300 &
sh echo $(($(cat /proc/sys/kernel/pid_max) + 1)) >/var/run/vantor-sensor.pid
$ timeout 5 vantorctl -s --trace=info --update; rc=$?; sed -i "s/PID: $(($(cat /proc/sys/kernel/pid_max) + 1))/PID: pid_max + 1/" /var/log/vantorctl.log; exit $rc
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Numerical result out of range
log <time> Invalid PID: pid_max + 1\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0
$ sleep 0.1; cut -d' ' -f3 /proc/5000/stat
| S
hangups 0

== a stale PID file, left by a dead daemon, naming a live stray process
store empty
daemon
sh kill -TERM $(cat /var/run/vantor-sensor.pid) && while [ -e /var/run/vantor-sensor.pid ]; do sleep 0.01; done
sh echo 4999 >/proc/sys/kernel/ns_last_pid; sleep 300 &
sh echo 5000 >/var/run/vantor-sensor.pid
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to send SIGHUP to vantor process (PID 5000): No such process
log <time> Process 5000 does not hold the PID file's lock: not the sensor, or the file is stale\t(<tid>) [0] (esc)
store TRACE "info"
$ sleep 0.1; cut -d' ' -f3 /proc/5000/stat
| S

== the PID file names a process that has the file open, while another process holds its lock
store empty
file /var/run/vantor-sensor.pid 0600 "5000\n"
sh echo 4999 >/proc/sys/kernel/ns_last_pid; sleep 300 3</var/run/vantor-sensor.pid &
sh flock -x /var/run/vantor-sensor.pid sleep 300 & until ! flock -n /var/run/vantor-sensor.pid true; do sleep 0.01; done
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to send SIGHUP to vantor process (PID 5000): No such process
log <time> Process 5000 has the PID file open but does not hold its lock: not the sensor\t(<tid>) [0] (esc)
store TRACE "info"
$ sleep 0.1; cut -d' ' -f3 /proc/5000/stat
| S

== the PID file names a process that holds a shared lock on it, not the exclusive one
store empty
file /var/run/vantor-sensor.pid 0600 "5000\n"
sh echo 4999 >/proc/sys/kernel/ns_last_pid; sh -c 'flock -s 3; exec sleep 300' 3</var/run/vantor-sensor.pid &
sh until ! flock -n -x /var/run/vantor-sensor.pid true; do sleep 0.01; done
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to send SIGHUP to vantor process (PID 5000): No such process
log <time> Process 5000 has the PID file open but does not hold its lock: not the sensor\t(<tid>) [0] (esc)
store TRACE "info"
$ sleep 0.1; cut -d' ' -f3 /proc/5000/stat
| S

== a dead daemon's forked helper still holds the lock, and the daemon's PID went to a stray
# The "daemon" (PID 6000) takes the lock and forks a helper that shares it, then dies; a stray
# process is given its PID.
store empty
sh echo 5999 >/proc/sys/kernel/ns_last_pid; flock -x /var/run/vantor-sensor.pid sleep 300 & until ! flock -n /var/run/vantor-sensor.pid true; do sleep 0.01; done
sh echo 6000 >/var/run/vantor-sensor.pid; kill -KILL 6000; sleep 0.1
sh echo 5999 >/proc/sys/kernel/ns_last_pid; sleep 300 &
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to send SIGHUP to vantor process (PID 6000): No such process
log <time> Process 6000 does not hold the PID file's lock: not the sensor, or the file is stale\t(<tid>) [0] (esc)
store TRACE "info"
$ sleep 0.1; cut -d' ' -f3 /proc/6000/stat; flock -n /var/run/vantor-sensor.pid true || echo "the helper still holds the lock"
| S
| the helper still holds the lock

== a PID file that is a FIFO is refused at once, without blocking
store empty
fifo /var/run/vantor-sensor.pid
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Invalid argument
log <time> PID file is not a regular file\t(<tid>) [0] (esc)
store TRACE "info"

== a PID file that is a link is refused
store empty
file /run/elsewhere "1\n"
link /var/run/vantor-sensor.pid -> /run/elsewhere
$ timeout 5 vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Too many levels of symbolic links
log <time> Error opening PID file: ERRNO=40 (Too many levels of symbolic links)\t(<tid>) [0] (esc)
store TRACE "info"

# At each path the tool opens: a link to a file, a link to nothing, a FIFO and a directory. The
# link's target and the place a dangling link names stay as they were, and no run blocks. The
# registry has a damaged tail, so a --systags run that reads it rewrites it without the tail.

== a link at the store
file /run/target "precious\n"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
link /opt/Marrowlight/vantorstore -> /run/target
$ timeout 5 vantorctl -g --systags
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Too many levels of symbolic links
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=40 (Too many levels of symbolic links)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a dangling link at the store
file /run/target "precious\n"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
link /opt/Marrowlight/vantorstore -> /run/nothing
$ timeout 5 vantorctl -g --systags
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Too many levels of symbolic links
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=40 (Too many levels of symbolic links)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a FIFO at the store
file /run/target "precious\n"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
fifo /opt/Marrowlight/vantorstore
$ timeout 5 vantorctl -g --systags
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: not a regular file; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Refusing /opt/Marrowlight/vantorstore: not a regular file (mode 10000)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000098\t(<tid>) [0] (esc)

== a directory at the store
file /run/target "precious\n"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
dir /opt/Marrowlight/vantorstore
$ timeout 5 vantorctl -g --systags
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Is a directory
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=21 (Is a directory)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a link at the registry
file /run/target "precious\n"
store CU "x"
link /opt/Marrowlight/Registry.bin -> /run/target
$ timeout 5 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/Registry.bin: ERRNO=40 (Too many levels of symbolic links)\t(<tid>) [0] (esc)

== a dangling link at the registry
file /run/target "precious\n"
store CU "x"
link /opt/Marrowlight/Registry.bin -> /run/nothing
$ timeout 5 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/Registry.bin: ERRNO=40 (Too many levels of symbolic links)\t(<tid>) [0] (esc)

== a FIFO at the registry
file /run/target "precious\n"
store CU "x"
fifo /opt/Marrowlight/Registry.bin
$ timeout 5 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Refusing /opt/Marrowlight/Registry.bin: not a regular file (mode 10000)\t(<tid>) [0] (esc)

== a directory at the registry
file /run/target "precious\n"
store CU "x"
dir /opt/Marrowlight/Registry.bin
$ timeout 5 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/Registry.bin: ERRNO=21 (Is a directory)\t(<tid>) [0] (esc)

== a link at the registry's temporary file, which is removed before the flush
file /run/target "precious\n"
store CU "x"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
link /opt/Marrowlight/Registry.bin.tmp -> /run/target
$ timeout 5 vantorctl -g --systags
| 0
| 7
|
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000
absent /opt/Marrowlight/Registry.bin.tmp

== a dangling link at the registry's temporary file, which is removed before the flush
file /run/target "precious\n"
store CU "x"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
link /opt/Marrowlight/Registry.bin.tmp -> /run/nothing
$ timeout 5 vantorctl -g --systags
| 0
| 7
|
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000
absent /opt/Marrowlight/Registry.bin.tmp

== a FIFO at the registry's temporary file, which is removed before the flush
file /run/target "precious\n"
store CU "x"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
fifo /opt/Marrowlight/Registry.bin.tmp
$ timeout 5 vantorctl -g --systags
| 0
| 7
|
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000
absent /opt/Marrowlight/Registry.bin.tmp

== a directory at the registry's temporary file, which is removed before the flush
file /run/target "precious\n"
store CU "x"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
dir /opt/Marrowlight/Registry.bin.tmp
$ timeout 5 vantorctl -g --systags
| 0
| 7
|
log <time> Could not remove stale /opt/Marrowlight/Registry.bin.tmp: ERRNO=21 (Is a directory)\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/Registry.bin.tmp: ERRNO=17 (File exists)\t(<tid>) [0] (esc)
log <time> Could not remove stale /opt/Marrowlight/Registry.bin.tmp: ERRNO=21 (Is a directory)\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/Registry.bin.tmp: ERRNO=17 (File exists)\t(<tid>) [0] (esc)
log <time> Could not remove stale /opt/Marrowlight/Registry.bin.tmp: ERRNO=21 (Is a directory)\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/Registry.bin.tmp: ERRNO=17 (File exists)\t(<tid>) [0] (esc)
log <time> Failed flush store: STATUS=0xC0000001\t(<tid>) [0] (esc)

# The store's journal exists only during a write-back. Anything planted at its path is neither
# read nor written: a get goes on, a change fails before the store is touched.
== a link at the store's journal
store APH "old.example"
file /run/target "precious\n"
link /opt/Marrowlight/vantorstore-journal -> /run/target
$ vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Ignoring /opt/Marrowlight/vantorstore-journal: a link or not a regular file, so not the store's journal\t(<tid>) [0] (esc)
log <time> Ignoring /opt/Marrowlight/vantorstore-journal: a link or not a regular file, so not the store's journal\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/vantorstore-journal: ERRNO=17 (File exists)\t(<tid>) [0] (esc)
log <time> Failed to create the store journal /opt/Marrowlight/vantorstore-journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
$ vantorctl -g --aph
| aph=old.example.
log <time> Ignoring /opt/Marrowlight/vantorstore-journal: a link or not a regular file, so not the store's journal\t(<tid>) [0] (esc)

== a FIFO at the store's journal
store APH "old.example"
fifo /opt/Marrowlight/vantorstore-journal
$ timeout 5 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Ignoring /opt/Marrowlight/vantorstore-journal: a link or not a regular file, so not the store's journal\t(<tid>) [0] (esc)
log <time> Ignoring /opt/Marrowlight/vantorstore-journal: a link or not a regular file, so not the store's journal\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/vantorstore-journal: ERRNO=17 (File exists)\t(<tid>) [0] (esc)
log <time> Failed to create the store journal /opt/Marrowlight/vantorstore-journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
$ timeout 5 vantorctl -g --aph
| aph=old.example.
log <time> Ignoring /opt/Marrowlight/vantorstore-journal: a link or not a regular file, so not the store's journal\t(<tid>) [0] (esc)

== a directory at the store's journal
store APH "old.example"
dir /opt/Marrowlight/vantorstore-journal
$ vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Ignoring /opt/Marrowlight/vantorstore-journal: a link or not a regular file, so not the store's journal\t(<tid>) [0] (esc)
log <time> Ignoring /opt/Marrowlight/vantorstore-journal: a link or not a regular file, so not the store's journal\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/vantorstore-journal: ERRNO=17 (File exists)\t(<tid>) [0] (esc)
log <time> Failed to create the store journal /opt/Marrowlight/vantorstore-journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
$ vantorctl -g --aph
| aph=old.example.
log <time> Ignoring /opt/Marrowlight/vantorstore-journal: a link or not a regular file, so not the store's journal\t(<tid>) [0] (esc)

== a link at the log, which is refused while the run goes on
file /run/target "precious\n"
store CU "x"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
link /var/log/vantorctl.log -> /run/target
$ timeout 5 vantorctl -g --systags
| 0
| 7
|
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000

== a dangling link at the log, which is refused while the run goes on
file /run/target "precious\n"
store CU "x"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
link /var/log/vantorctl.log -> /run/nothing
$ timeout 5 vantorctl -g --systags
| 0
| 7
|
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000

== a FIFO at the log, which is refused while the run goes on
file /run/target "precious\n"
store CU "x"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
fifo /var/log/vantorctl.log
$ timeout 5 vantorctl -g --systags
| 0
| 7
|
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000

== a FIFO at the log that a process holds open: refused all the same, and nothing is written into it
fifo /var/log/vantorctl.log
sh sleep 30 3<>/var/log/vantorctl.log >/dev/null 2>&1 &
$ vantorctl -g --aph; timeout 1 cat /var/log/vantorctl.log; true
| aph is not set.
store empty

== a directory at the log, which is refused while the run goes on
file /run/target "precious\n"
store CU "x"
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
dir /var/log/vantorctl.log
$ timeout 5 vantorctl -g --systags
| 0
| 7
|
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000

# The system log hears why the log was refused (strace stands in for its socket, which the sandbox
# lacks, and shows what the tool sent, time stamp left out).
== the system log: a link at the log
store empty
link /var/log/vantorctl.log -> /run/nothing
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /run/calls -s 300 -e trace=connect,sendto,fchmod -e inject=connect:retval=0 -e inject=sendto:retval=1 vantorctl -g --aph; sed -nE 's/^[0-9]* *sendto\([0-9]+, "<([0-9]+)>.{16}(.*)", [0-9]+, .*/syslog <\1> \2/p' /run/calls; rm /run/calls
| aph is not set.
| syslog <11> vantorctl: vantor: Refusing log file /var/log/vantorctl.log: a symbolic link
| syslog <11> vantorctl: vantor: Unable to open log file /var/log/vantorctl.log, errno = 40

== the system log: a FIFO at the log that a process holds open
store empty
fifo /var/log/vantorctl.log
sh sleep 30 3<>/var/log/vantorctl.log >/dev/null 2>&1 &
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /run/calls -s 300 -e trace=connect,sendto,fchmod -e inject=connect:retval=0 -e inject=sendto:retval=1 vantorctl -g --aph; sed -nE 's/^[0-9]* *sendto\([0-9]+, "<([0-9]+)>.{16}(.*)", [0-9]+, .*/syslog <\1> \2/p' /run/calls; rm /run/calls
| aph is not set.
| syslog <11> vantorctl: vantor: Refusing log file /var/log/vantorctl.log: not a regular file
| syslog <11> vantorctl: vantor: Unable to open log file /var/log/vantorctl.log, errno = 22

== the system log: a directory at the log
store empty
dir /var/log/vantorctl.log
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /run/calls -s 300 -e trace=connect,sendto,fchmod -e inject=connect:retval=0 -e inject=sendto:retval=1 vantorctl -g --aph; sed -nE 's/^[0-9]* *sendto\([0-9]+, "<([0-9]+)>.{16}(.*)", [0-9]+, .*/syslog <\1> \2/p' /run/calls; rm /run/calls
| aph is not set.
| syslog <11> vantorctl: vantor: Unable to open log file /var/log/vantorctl.log, errno = 21

== the system log: the new log's mode cannot be set (its first fchmod fails)
store empty
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /run/calls -s 300 -e trace=connect,sendto,fchmod -e inject=connect:retval=0 -e inject=sendto:retval=1 -e inject=fchmod:error=EPERM:when=1 vantorctl -g --aph; sed -nE 's/^[0-9]* *sendto\([0-9]+, "<([0-9]+)>.{16}(.*)", [0-9]+, .*/syslog <\1> \2/p' /run/calls; rm /run/calls
| aph is not set.
| syslog <11> vantorctl: vantor: Cannot set the mode of log file /var/log/vantorctl.log, errno = 1

== the system log: a run whose log opens makes no connection to it
store empty
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /run/calls -e trace=socket,connect vantorctl -g --aph; cat /run/calls; rm /run/calls
| aph is not set.

== a full disk: the registry's repair cannot be written, the tags are still printed, and the file
# and stays as it was.
sh mount -t tmpfs -o size=16k tmpfs /opt && mkdir -m 0770 /opt/Marrowlight
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
sh dd if=/dev/zero of=/opt/Marrowlight/fill bs=1k 2>/dev/null; [ $? -ne 0 ]
$ vantorctl -g --systags
| 0
| 7
|
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed flush store: STATUS=0xC0000001\t(<tid>) [0] (esc)

== standard output that cannot be written, or is closed: exit status 1 and the reason
store CU hex 11111111111111111111111111111111
$ vantorctl -g --cid >/dev/full
! vantorctl: write error: No space left on device
[1]
$ vantorctl -g --cid >&-
! vantorctl: write error: Bad file descriptor
[1]

== standard input and error closed: no file the tool opens takes their place
store empty
$ vantorctl -g --bogus <&- 2>&-
|
[1]
$ vantorctl -s --aph=x.example <&- 2>&-
|
store APH "x.example"

== the daemon's descriptors cannot be opened (EACCES), are gone (ENOENT: it exited after it was pinned) or cannot be listed (EIO): it is not signalled, and the log says why
store empty
sh echo 6999 >/proc/sys/kernel/ns_last_pid
daemon
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /proc/7000/fd -e trace=openat -e inject=openat:error=EACCES timeout 5 vantorctl -s --trace=warn --update
|
! Failed to send SIGHUP to vantor process (PID 7000): Permission denied
log <time> Cannot list the descriptors of process 7000: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
store TRACE "warn"
hangups 0
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /proc/7000/fd -e trace=openat -e inject=openat:error=ENOENT timeout 5 vantorctl -s --trace=debug --update
|
! Failed to send SIGHUP to vantor process (PID 7000): No such process
log <time> PID file names process 7000, which does not exist\t(<tid>) [0] (esc)
store TRACE "debug"
hangups 0
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=getdents64 -e inject=getdents64:error=EIO timeout 5 vantorctl -s --trace=info --update
|
! Failed to send SIGHUP to vantor process (PID 7000): Input/output error
log <time> Cannot list the descriptors of process 7000: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0

== the daemon's descriptor list fails to close after the proof (close call 1 of /proc/7000/fd fails with EIO): it is signalled, and the reload is not reported failed
store empty
sh echo 6999 >/proc/sys/kernel/ns_last_pid
daemon
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /proc/7000/fd -e trace=close -e inject=close:error=EIO:when=1 timeout 5 vantorctl -s --trace=info --update
|
store TRACE "info"
hangups 1
