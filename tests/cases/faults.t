# System calls failed on purpose through strace: a fault never costs the registry or the store,
# and the run says it failed. A sanitizer's leak check cannot run under ptrace: it is off here.
needs strace

== every read of the registry fails: the query fails, and the damaged file is never rewritten
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/Registry.bin -e trace=read,pread64 -e inject=read,pread64:error=EIO vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to read the registry file: STATUS=0xC0000001\t(<tid>) [0] (esc)

== every flock is refused: nothing is written without the lock
store CU hex 11111111111111111111111111111111
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=flock -e inject=flock:error=ENOLCK vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: another process holds its lock; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> flock() failed:37\t(<tid>) [0] (esc)

== the repair of a 5-byte store cannot write or seek: the file stays as it was, and the run fails
file /opt/Marrowlight/vantorstore "12345"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=write,pwrite64,lseek -e inject=write,pwrite64,lseek:error=EIO vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't get file offset: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to retrievefile /opt/Marrowlight/vantorstore length: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a write interrupted 100 times in a row is retried until it goes through; one interrupted 101 times fails
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore-journal -e trace=pwrite64 -e inject=pwrite64:error=EINTR:when=1..100 vantorctl -s --aph=new.example
|
store APH "new.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore-journal -e trace=pwrite64 -e inject=pwrite64:error=EINTR:when=1..101 vantorctl -s --aph=newer.example
|
! Could not write application proxy host "newer.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=4 (Interrupted system call)\t(<tid>) [0] (esc)
log <time> Failed write to the store journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)

== so is a read of the PID file
store empty
daemon
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/vantor-sensor.pid -e trace=read -e inject=read:error=EINTR:when=1..100 vantorctl -s --trace=info --update
|
store TRACE "info"
hangups 1
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/vantor-sensor.pid -e trace=read -e inject=read:error=EINTR:when=1..101 vantorctl -s --trace=warn --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Interrupted system call
log <time> Error reading PID file: ERRNO=4 (Interrupted system call)\t(<tid>) [0] (esc)
store TRACE "warn"
hangups 0

== and so is a lock of the store
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=flock -e inject=flock:error=EINTR:when=1..100 vantorctl -s --aph=new.example
|
store APH "new.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=flock -e inject=flock:error=EINTR:when=1..101 vantorctl -s --aph=newer.example
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: another process holds its lock; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> flock() failed:4\t(<tid>) [0] (esc)
