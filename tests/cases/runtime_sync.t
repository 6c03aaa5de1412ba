# The runtime's events and locks, through runtime_probe, on one thread ("other": the question
# asked from a second thread). "wait TIMEOUT" waits on every event made by "events" and shows the
# lowest index signalled, or 0x00000102 for a time-out and 0xC000000D for a bad argument.
# The failures of ppoll and eventfd come through strace, with the leak check off (it cannot run
# under ptrace).
needs strace

== events: the lowest index signalled (at once, whatever time is allowed); synchronization events are consumed, notification events stay
$ runtime_probe events 6 1 0 , set 5 , set 2 , wait 1000 , signalled 5 , wait 0 , wait 0 , set 3 , set 3 , wait 0 , wait 0 , close-events
| events STATUS=0x00000000
| set STATUS=0x00000000
| set STATUS=0x00000000
| wait STATUS=0x00000002
| signalled STATUS=0x00000000 clear
| wait STATUS=0x00000102
| wait STATUS=0x00000102
| set STATUS=0x00000000
| set STATUS=0x00000000
| wait STATUS=0x00000003
| wait STATUS=0x00000102
| close-events STATUS=0x00000000 descriptor -1
$ runtime_probe events 6 0 0 , set 5 , set 2 , wait 0 , signalled 5 , wait 0 , reset 2 , wait 0 one 2 , wait 0 , reset 5 , wait 0 , reset 5 , signalled 5
| events STATUS=0x00000000
| set STATUS=0x00000000
| set STATUS=0x00000000
| wait STATUS=0x00000002
| signalled STATUS=0x00000000 set
| wait STATUS=0x00000002
| reset STATUS=0x00000000
| wait STATUS=0x00000102
| wait STATUS=0x00000005
| reset STATUS=0x00000000
| wait STATUS=0x00000102
| reset STATUS=0x00000000
| signalled STATUS=0x00000000 clear
$ runtime_probe events 2 0 1 , wait 0 , signalled 1 , events 2 1 1 , wait 0 , wait 0 , wait 0 , events 1 0 2 , signalled 0 , events 1 0 256 , signalled 0
| events STATUS=0x00000000
| wait STATUS=0x00000000
| signalled STATUS=0x00000000 set
| events STATUS=0x00000000
| wait STATUS=0x00000000
| wait STATUS=0x00000102
| wait STATUS=0x00000102
| events STATUS=0x00000000
| signalled STATUS=0x00000000 set
| events STATUS=0x00000000
| signalled STATUS=0x00000000 clear

== the number of events waited on: 1 to 32
$ runtime_probe events 33 1 0 , set 31 , wait 0 32 , wait 0 31 , wait 0 33 , wait 0 0 , wait 5 one 0 , set 32 , wait 0 33
| events STATUS=0x00000000
| set STATUS=0x00000000
| wait STATUS=0x0000001F
| wait STATUS=0x00000102
| wait STATUS=0xC000000D
| wait STATUS=0xC000000D
| wait STATUS=0x00000102
| set STATUS=0x00000000
| wait STATUS=0xC000000D

== an owned mutex knows its holder; deleting it frees its block and prepares it again
$ runtime_probe mutex held , mutex init , mutex held , mutex acquire , mutex held , mutex held other , mutex release , mutex held , mutex delete , mutex delete
| mutex STATUS=0x00000000 not held state C000A003 no block
| mutex STATUS=0x00000000 state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 not held state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 held state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 not held state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 not held state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 state C000A003 no block
| mutex STATUS=0x00000000 state C000A003 no block
$ timeout 5 runtime_probe mutex init , mutex acquire , mutex release , mutex acquire , mutex release , mutex held other , mutex delete
| mutex STATUS=0x00000000 state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 not held state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 state C000A003 no block

== a recursive lock counts its depth and is owned until the last release
$ runtime_probe recursive init , recursive acquire , recursive acquire , recursive owned other , recursive release , recursive owned , recursive release , recursive owned , recursive delete , recursive owned
| recursive STATUS=0x00000000 state 00000000 block 56 130 RLck aligned
| recursive STATUS=0x00000000 depth 1 state 00000000 block 56 130 RLck aligned
| recursive STATUS=0x00000000 depth 2 state 00000000 block 56 130 RLck aligned
| recursive STATUS=0x00000000 not owned state 00000000 block 56 130 RLck aligned
| recursive STATUS=0x00000000 state 00000000 block 56 130 RLck aligned
| recursive STATUS=0x00000000 owned state 00000000 block 56 130 RLck aligned
| recursive STATUS=0x00000000 state 00000000 block 56 130 RLck aligned
| recursive STATUS=0x00000000 not owned state 00000000 block 56 130 RLck aligned
| recursive STATUS=0x00000000 state C000A003 no block
| recursive STATUS=0x00000000 not owned state C000A003 no block

== a reader-writer lock records only its exclusive owner
$ runtime_probe rw prepare , rw init , rw shared , rw readable , rw owned , rw release , rw exclusive , rw readable , rw owned , rw owned other , rw release , rw owned , rw readable , rw delete , rw delete
| rw STATUS=0x00000000 state C000A003
| rw STATUS=0x00000000 state 00000000
| rw STATUS=0x00000000 state 00000000
| rw STATUS=0x00000000 readable state 00000000
| rw STATUS=0x00000000 not owned state 00000000
| rw STATUS=0x00000000 state 00000000
| rw STATUS=0x00000000 state 00000000
| rw STATUS=0x00000000 busy state 00000000
| rw STATUS=0x00000000 owned state 00000000
| rw STATUS=0x00000000 not owned state 00000000
| rw STATUS=0x00000000 state 00000000
| rw STATUS=0x00000000 not owned state 00000000
| rw STATUS=0x00000000 readable state 00000000
| rw STATUS=0x00000000 state C000A003
| rw STATUS=0x00000000 state C000A003

== a failed wait says why in the log; an interrupted one goes on waiting, within its time
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=ppoll -e inject=ppoll:error=EINTR:when=1 runtime_probe events 2 1 0 , set 1 , wait 1000 , events 1 1 0 , wait 30
| events STATUS=0x00000000
| set STATUS=0x00000000
| wait STATUS=0x00000001
| events STATUS=0x00000000
| wait STATUS=0x00000102
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=ppoll -e inject=ppoll:error=EINTR:when=1 runtime_probe events 1 1 1 , signalled 0
| events STATUS=0x00000000
| signalled STATUS=0x00000000 set
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=ppoll -e inject=ppoll:error=ENOMEM:when=1 runtime_probe events 1 0 1 , wait 0
| events STATUS=0x00000000
| wait STATUS=0xC000009A
log <time> TvWaitForMultipleEvents ppoll failed: ERRNO=12 (Cannot allocate memory)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=ppoll -e inject=ppoll:error=EINVAL:when=1 runtime_probe events 1 0 1 , wait 0
| events STATUS=0x00000000
| wait STATUS=0xC000009A
log <time> TvWaitForMultipleEvents ppoll failed: ERRNO=22 (Invalid argument)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=ppoll -e inject=ppoll:error=EBADF:when=1 runtime_probe events 1 0 1 , wait 0
| events STATUS=0x00000000
| wait STATUS=0xC0000001
log <time> TvWaitForMultipleEvents ppoll failed: ERRNO=9 (Bad file descriptor)\t(<tid>) [0] (esc)

== an event that cannot be made says why in the log
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=eventfd2 -e inject=eventfd2:error=ENOMEM:when=2 runtime_probe events 3 0 0
| events STATUS=0xC000009A
log <time> TvInitializeEventEx failed: ERRNO=12 (Cannot allocate memory)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=eventfd2 -e inject=eventfd2:error=EMFILE:when=1 runtime_probe events 1 0 0
| events STATUS=0xC000011F
log <time> TvInitializeEventEx failed: ERRNO=24 (Too many open files)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=eventfd2 -e inject=eventfd2:error=ENFILE:when=1 runtime_probe events 1 0 0
| events STATUS=0xC000011F
log <time> TvInitializeEventEx failed: ERRNO=23 (Too many open files in system)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=eventfd2 -e inject=eventfd2:error=ENODEV:when=1 runtime_probe events 1 0 0
| events STATUS=0xC0000001
log <time> TvInitializeEventEx failed: ERRNO=19 (No such device)\t(<tid>) [0] (esc)

== a lock's block goes back to the heap when the lock is deleted, and deleting it twice is harmless
$ GLIBC_TUNABLES=glibc.malloc.tcache_count=0 runtime_probe heap mark , recursive init , recursive delete , recursive delete , mutex init , mutex delete , mutex delete , heap held
| heap STATUS=0x00000000
| recursive STATUS=0x00000000 state 00000000 block 56 130 RLck aligned
| recursive STATUS=0x00000000 state C000A003 no block
| recursive STATUS=0x00000000 state C000A003 no block
| mutex STATUS=0x00000000 state 00000000 block 48 129 MtxO aligned
| mutex STATUS=0x00000000 state C000A003 no block
| mutex STATUS=0x00000000 state C000A003 no block
| heap STATUS=0x00000000 held 0
