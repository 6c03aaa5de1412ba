# The stat calls of the same runs failing in turn (see call_failures.t): the run says which
# step failed and leaves the store whole and nothing it created behind. Its own file because
# ThreadSanitizer's fstat goes through the fstat system call, not newfstatat, so the counts
# differ there (tests/cases/CMakeLists.txt leaves it out of that build). A sanitizer's leak
# check cannot run under ptrace: it is off here.
needs strace

== a set, its newfstatat call 1 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=1 vantorctl -s --aph=new.example
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Input/output error
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't stat file /opt/Marrowlight/vantorstore: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a set, its newfstatat call 2 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=2 vantorctl -s --aph=new.example
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't stat the store: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== a set, its newfstatat call 3 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=3 vantorctl -s --aph=new.example
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't stat /opt/Marrowlight/vantorstore: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== a set, its newfstatat call 4 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=4 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't stat the store: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== a set, its newfstatat call 5 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=5 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't stat /opt/Marrowlight/vantorstore: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== a set, its newfstatat call 6 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=6 vantorctl -s --aph=new.example
|
! Could not write application proxy host "new.example" to config
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't stat file /opt/Marrowlight/vantorstore-journal: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to create the store journal /opt/Marrowlight/vantorstore-journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)

== the first run, which creates the store, its newfstatat call 1 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=1 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Input/output error
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't stat file /opt/Marrowlight/vantorstore: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000001\t(<tid>) [0] (esc)

== the first run, which creates the store, its newfstatat call 2 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=2 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't stat the store: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its newfstatat call 3 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=3 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't stat /opt/Marrowlight/vantorstore: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its newfstatat call 4 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=4 vantorctl -s --trace=warn
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't stat file /opt/Marrowlight/vantorstore-journal: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to create the store journal /opt/Marrowlight/vantorstore-journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
file /opt/Marrowlight/vantorstore ""

== the first run, which creates the store, its newfstatat call 5 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=5 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't stat the store: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its newfstatat call 6 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=6 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't stat /opt/Marrowlight/vantorstore: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
store empty

== the first run, which creates the store, its newfstatat call 7 fails with EIO
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=7 vantorctl -s --trace=warn
|
! Could not write trace level "warn" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Couldn't stat file /opt/Marrowlight/vantorstore-journal: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed to create the store journal /opt/Marrowlight/vantorstore-journal: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
store empty

== a get, its newfstatat call 1 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=1 vantorctl -g --aph
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Input/output error
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't stat file /opt/Marrowlight/vantorstore: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a get, its newfstatat call 2 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=2 vantorctl -g --aph
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't stat the store: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== a get, its newfstatat call 3 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=3 vantorctl -g --aph
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't stat /opt/Marrowlight/vantorstore: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== a get, its newfstatat call 4 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=4 vantorctl -g --aph
|
! Could not read application proxy host from config file
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't stat the store: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== a get, its newfstatat call 5 fails with EIO
store APH "old.example"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=5 vantorctl -g --aph
|
! Could not read application proxy host from config file
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't stat /opt/Marrowlight/vantorstore: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== a get that finds the journal a set left when its unlink call failed, its newfstatat call 5 (the store,
# before the journal is replayed) fails with EIO: the run stops, and the journal is kept for the next
store APH "old.example"
sh ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=unlink -e inject=unlink:error=EIO:when=1 vantorctl -s --aph=new.example
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=5 vantorctl -g --aph
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't stat the store: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== the system-tag query, which rewrites a damaged registry, its newfstatat call 5 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=5 vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Failed to stat the registry file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== the system-tag query, which rewrites a damaged registry, its newfstatat call 6 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=6 vantorctl -g --systags
| 0
| 7
|
log <time> Couldn't stat file /opt/Marrowlight/Registry.bin.tmp: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its newfstatat call 7 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=7 vantorctl -g --systags
| 0
| 7
|
log <time> Failed to stat /opt/Marrowlight/Registry.bin.tmp: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== the system-tag query, which rewrites a damaged registry, its newfstatat call 8 fails with EIO
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -P /opt/Marrowlight/vantorstore-journal -P /opt/Marrowlight -P /opt/Marrowlight/Registry.bin -P /opt/Marrowlight/Registry.bin.tmp -e trace=newfstatat -e inject=newfstatat:error=EIO:when=8 vantorctl -g --systags
| 0
| 7
|
log <time> /opt/Marrowlight/Registry.bin.tmp was replaced by another process; not renamed\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000

== --update with the sensor running, the PID file's newfstatat call 1 fails with EIO
store empty
daemon
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/vantor-sensor.pid -e trace=newfstatat -e inject=newfstatat:error=EIO:when=1 vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Input/output error
log <time> Error reading PID file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0

== --update with the sensor running, the PID file's newfstatat call 2 (once it is locked) fails with EIO: the daemon is not signalled, and the log says why
store empty
sh echo 6999 >/proc/sys/kernel/ns_last_pid
daemon
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/vantor-sensor.pid -e trace=newfstatat -e inject=newfstatat:error=EIO:when=2 vantorctl -s --trace=info --update
|
! Failed to send SIGHUP to vantor process (PID 7000): Input/output error
log <time> Cannot stat the PID file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
store TRACE "info"
hangups 0
