# Each system call a run makes on the vendor directory and its files fails in turn, through
# strace (-P keeps the count to those files): the run says which step failed, in its own words
# and in the log, fails where the step was needed, and leaves the store whole and no journal
# behind. A sanitizer's leak check cannot run under ptrace: it is off here.
needs strace

== a set, its openat call 1 fails with EACCES
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=1 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)
log <time> The store is opened read-only; the change is not written\t(<tid>) [0] (esc)

== a set, its openat call 2 fails with EACCES
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=2 vantorctl -s --aph=new.example
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open the store journal /opt/Marrowlight/vantorstore-journal: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)

== a set, its openat call 3 fails with EACCES
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=3 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open the store journal /opt/Marrowlight/vantorstore-journal: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)

== a set, its openat call 4 fails with EACCES
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=4 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore-journal: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Failed to create the store journal /opt/Marrowlight/vantorstore-journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)

== a set, its openat call 5 fails with EACCES
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=5 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)

== a set, its flock call 1 fails with ENOLCK
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=1 vantorctl -s --aph=new.example
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: another process holds its lock; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> flock() failed:37\t(<tid>) [0] (esc)

== a set, its flock call 2 fails with ENOLCK
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=2 vantorctl -s --aph=new.example
|
log <time> Unlock attempt failed:37\t(<tid>) [0] (esc)
store APH "new.example"

== a set, its flock call 3 fails with ENOLCK
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=3 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> flock() failed:37\t(<tid>) [0] (esc)

== a set, its flock call 4 fails with ENOLCK
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=4 vantorctl -s --aph=new.example
|
log <time> Unlock attempt failed:37\t(<tid>) [0] (esc)
store APH "new.example"

== a set, its lseek call 1 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=1 vantorctl -s --aph=new.example
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't get file offset: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to retrievefile /opt/Marrowlight/vantorstore length: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a set, its lseek call 2 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=2 vantorctl -s --aph=new.example
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't get file length: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to retrievefile /opt/Marrowlight/vantorstore length: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a set, its lseek call 3 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=3 vantorctl -s --aph=new.example
|
store APH "new.example"

== a set, its pread64 call 1 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pread64 -e inject=pread64:error=EIO:when=1 vantorctl -s --aph=new.example
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a set, its pread64 call 2 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)

== a set, its fchmod call 1 fails with EPERM
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fchmod -e inject=fchmod:error=EPERM:when=1 vantorctl -s --aph=new.example
|
log <time> Couldn't set the mode of /opt/Marrowlight/vantorstore-journal: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
store APH "new.example"

== a set, its pwrite64 call 1 fails with ENOSPC
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pwrite64 -e inject=pwrite64:error=ENOSPC:when=1 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write to the store journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)

== a set, its pwrite64 call 2 fails with ENOSPC
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pwrite64 -e inject=pwrite64:error=ENOSPC:when=2 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)

== a set, its fsync call 1 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync -e inject=fsync:error=EIO:when=1 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Failed to flush the store journal /opt/Marrowlight/vantorstore-journal: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)

== a set, its fsync call 2 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync -e inject=fsync:error=EIO:when=2 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Failed to flush the directory /opt/Marrowlight: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)

== a set, its fsync call 3 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync -e inject=fsync:error=EIO:when=3 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Failed to flush file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)

== the first run, which creates the store, its openat call 1 fails with EACCES
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=1 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Permission denied
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000034\t(<tid>) [0] (esc)

== the first run, which creates the store, its openat call 2 fails with EACCES
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=2 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Permission denied
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000034\t(<tid>) [0] (esc)

== the first run, which creates the store, its openat call 3 fails with EACCES
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=3 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open the store journal /opt/Marrowlight/vantorstore-journal: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its openat call 4 fails with EACCES
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=4 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/vantorstore-journal: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Failed to create the store journal /opt/Marrowlight/vantorstore-journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its openat call 5 fails with EACCES
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=5 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its openat call 6 fails with EACCES
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=6 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't open the store journal /opt/Marrowlight/vantorstore-journal: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its openat call 7 fails with EACCES
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=7 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/vantorstore-journal: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Failed to create the store journal /opt/Marrowlight/vantorstore-journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its openat call 8 fails with EACCES
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=8 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its openat call 1 fails with EPERM
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EPERM:when=1 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Operation not permitted
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000034\t(<tid>) [0] (esc)

== the first run, which creates the store, its flock call 1 fails with ENOLCK
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=1 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: another process holds its lock; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> flock() failed:37\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its flock call 2 fails with ENOLCK
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=2 vantorctl -s --trace=warn
|
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Unlock attempt failed:37\t(<tid>) [0] (esc)
store empty
store TRACE "warn"

== the first run, which creates the store, its flock call 3 fails with ENOLCK
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=3 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> flock() failed:37\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its flock call 4 fails with ENOLCK
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=4 vantorctl -s --trace=warn
|
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Unlock attempt failed:37\t(<tid>) [0] (esc)
store empty
store TRACE "warn"

== the first run, which creates the store, its lseek call 1 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=1 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't get file offset: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to retrievefile /opt/Marrowlight/vantorstore length: STATUS=0xC0000001\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its lseek call 2 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=2 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't get file length: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to retrievefile /opt/Marrowlight/vantorstore length: STATUS=0xC0000001\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its lseek call 3 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=3 vantorctl -s --trace=warn
|
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
store empty
store TRACE "warn"

== the first run, which creates the store, its pread64 call 1 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pread64 -e inject=pread64:error=EIO:when=1 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its fchmod call 1 fails with EPERM
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fchmod -e inject=fchmod:error=EPERM:when=1 vantorctl -s --trace=warn
|
log <time> Couldn't set the mode of /opt/Marrowlight/vantorstore: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
store empty
store TRACE "warn"

== the first run, which creates the store, its fchmod call 2 fails with EPERM
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fchmod -e inject=fchmod:error=EPERM:when=2 vantorctl -s --trace=warn
|
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't set the mode of /opt/Marrowlight/vantorstore-journal: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
store empty
store TRACE "warn"

== the first run, which creates the store, its fchmod call 3 fails with EPERM
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fchmod -e inject=fchmod:error=EPERM:when=3 vantorctl -s --trace=warn
|
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't set the mode of /opt/Marrowlight/vantorstore-journal: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
store empty
store TRACE "warn"

== the first run, which creates the store, its pwrite64 call 1 fails with ENOSPC
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pwrite64 -e inject=pwrite64:error=ENOSPC:when=1 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write to the store journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its pwrite64 call 2 fails with ENOSPC
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pwrite64 -e inject=pwrite64:error=ENOSPC:when=2 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its pwrite64 call 3 fails with ENOSPC
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pwrite64 -e inject=pwrite64:error=ENOSPC:when=3 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write to the store journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its pwrite64 call 4 fails with ENOSPC
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pwrite64 -e inject=pwrite64:error=ENOSPC:when=4 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its fsync call 1 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync -e inject=fsync:error=EIO:when=1 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Failed to flush the store journal /opt/Marrowlight/vantorstore-journal: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its fsync call 2 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync -e inject=fsync:error=EIO:when=2 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Failed to flush the directory /opt/Marrowlight: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its fsync call 3 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync -e inject=fsync:error=EIO:when=3 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Failed to flush file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its fsync call 4 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync -e inject=fsync:error=EIO:when=4 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Failed to flush the store journal /opt/Marrowlight/vantorstore-journal: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its fsync call 5 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync -e inject=fsync:error=EIO:when=5 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Failed to flush the directory /opt/Marrowlight: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its fsync call 6 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync -e inject=fsync:error=EIO:when=6 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Failed to flush file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
store empty

== a get, its openat call 1 fails with EACCES
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=1 vantorctl -g --aph
| aph=old.example.
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)

== a get, its openat call 2 fails with EACCES
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=2 vantorctl -g --aph
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open the store journal /opt/Marrowlight/vantorstore-journal: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)

== a get, its flock call 1 fails with ENOLCK
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=1 vantorctl -g --aph
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: another process holds its lock; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> flock() failed:37\t(<tid>) [0] (esc)

== a get, its flock call 2 fails with ENOLCK
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=2 vantorctl -g --aph
| aph=old.example.
log <time> Unlock attempt failed:37\t(<tid>) [0] (esc)

== a get, its flock call 3 fails with ENOLCK
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=3 vantorctl -g --aph
|
! Could not read application proxy host from config file
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> flock() failed:37\t(<tid>) [0] (esc)

== a get, its flock call 4 fails with ENOLCK
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=4 vantorctl -g --aph
| aph=old.example.
log <time> Unlock attempt failed:37\t(<tid>) [0] (esc)

== a get, its lseek call 1 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=1 vantorctl -g --aph
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't get file offset: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to retrievefile /opt/Marrowlight/vantorstore length: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a get, its lseek call 2 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=2 vantorctl -g --aph
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't get file length: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to retrievefile /opt/Marrowlight/vantorstore length: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a get, its lseek call 3 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=3 vantorctl -g --aph
| aph=old.example.

== a get, its pread64 call 1 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pread64 -e inject=pread64:error=EIO:when=1 vantorctl -g --aph
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a get, its pread64 call 2 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -g --aph
|
! Could not read application proxy host from config file
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)

== the system-tag query, which rewrites a damaged registry, its openat call 2 fails with EACCES
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=2 vantorctl -g --systags
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open the store journal /opt/Marrowlight/vantorstore-journal: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)

== the system-tag query, which rewrites a damaged registry, its openat call 3 fails with EACCES
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=3 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Could not lock the registry's directory /opt/Marrowlight: STATUS=0xC0000001\t(<tid>) [0] (esc)

== the system-tag query, which rewrites a damaged registry, its openat call 4 fails with EACCES
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=4 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/Registry.bin: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)

== the system-tag query, which rewrites a damaged registry, its openat call 5 fails with EACCES
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=openat -e inject=openat:error=EACCES:when=5 vantorctl -g --systags
| 0
| 7
|
log <time> Couldn't open file /opt/Marrowlight/Registry.bin.tmp: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its flock call 2 fails with ENOLCK
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=2 vantorctl -g --systags
| 0
| 7
|
log <time> Unlock attempt failed:37\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its flock call 3 fails with ENOLCK
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=flock -e inject=flock:error=ENOLCK:when=3 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> flock() failed:37\t(<tid>) [0] (esc)
log <time> Could not lock the registry's directory /opt/Marrowlight: STATUS=0xC0000055\t(<tid>) [0] (esc)

== the system-tag query, which rewrites a damaged registry, its lseek call 4 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=4 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't get file offset: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== the system-tag query, which rewrites a damaged registry, its lseek call 5 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=5 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't get file length: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== the system-tag query, which rewrites a damaged registry, its lseek call 6 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=lseek -e inject=lseek:error=EIO:when=6 vantorctl -g --systags
| 0
| 7
|
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its pread64 call 2 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to read the registry file: STATUS=0xC0000001\t(<tid>) [0] (esc)

== the system-tag query, which rewrites a damaged registry, its fchmod call 1 fails with EPERM
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fchmod -e inject=fchmod:error=EPERM:when=1 vantorctl -g --systags
| 0
| 7
|
log <time> Couldn't set the mode of /opt/Marrowlight/Registry.bin.tmp: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its fchmod call 2 fails with EPERM
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fchmod -e inject=fchmod:error=EPERM:when=2 vantorctl -g --systags
| 0
| 7
|
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its fsync call 1 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync -e inject=fsync:error=EIO:when=1 vantorctl -g --systags
| 0
| 7
|
log <time> Failed to flush /opt/Marrowlight/Registry.bin.tmp: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its unlink call 1 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=unlink -e inject=unlink:error=EIO:when=1 vantorctl -g --systags
| 0
| 7
|
log <time> Could not remove stale /opt/Marrowlight/Registry.bin.tmp: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its fsync call 1 and unlink call 2 fail with EIO: the new file is neither kept nor removed
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fsync,unlink -e inject=fsync:error=EIO:when=1 -e inject=unlink:error=EIO:when=2 vantorctl -g --systags
| 0
| 7
|
log <time> Failed to flush /opt/Marrowlight/Registry.bin.tmp: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Could not remove /opt/Marrowlight/Registry.bin.tmp: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry owned by another user: its new file's fchown call 1 fails with EPERM
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
sh chown 1:1 /opt/Marrowlight/Registry.bin
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=fchown -e inject=fchown:error=EPERM:when=1 vantorctl -g --systags
| 0
| 7
|
log <time> Failed to set the owner of /opt/Marrowlight/Registry.bin.tmp: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its close call 2 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=close -e inject=close:error=EIO:when=2 vantorctl -g --systags
| 0
| 7
|
log <time> Failed to close /opt/Marrowlight/Registry.bin.tmp\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its write call 1 fails with ENOSPC
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=write -e inject=write:error=ENOSPC:when=1 vantorctl -g --systags
| 0
| 7
|
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write: STATUS=0xC0000001\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its write call 17 fails with ENOSPC
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=write -e inject=write:error=ENOSPC:when=17 vantorctl -g --systags
| 0
| 7
|
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write: STATUS=0xC0000001\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its rename call 1 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=rename -e inject=rename:error=EIO:when=1 vantorctl -g --systags
| 0
| 7
|
log <time> Error renaming file '/opt/Marrowlight/Registry.bin.tmp' to '/opt/Marrowlight/Registry.bin;: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== --update with the sensor running, the PID file's read call 1 fails with EIO
store empty
daemon
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/vantor-sensor.pid -e trace=read -e inject=read:error=EIO:when=1 vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Input/output error
log <time> Error reading PID file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0

== --update with the sensor running, the PID file's read call 2 fails with EIO
store empty
daemon
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/vantor-sensor.pid -e trace=read -e inject=read:error=EIO:when=2 vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Input/output error
log <time> Error reading PID file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0
