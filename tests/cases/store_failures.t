# The options meeting a store that fails under them: a read after the open (the store's second
# pread64) or a write-back (its first pwrite64) fails through strace. Each option reports it in
# its own words and stops: nothing is printed for it, no signal follows a failed write, and the
# store keeps what it held. A sanitizer's leak check cannot run under ptrace: it is off here.
needs strace

== flag sets
store empty
daemon
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -g --feature
|
! Could not get feature from config file c0000001
! ERROR: failed to process the option --feature
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
hangups 0
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -s -v --feature=enableLog --update
|
! Could not write feature "enableLog" to config
! ERROR: failed to process the option --feature
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
hangups 0
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -s --metadata-query=enable
|
! Could not write metadata-query "enable" to config
! ERROR: failed to process the option --metadata-query
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
hangups 0

== a stored flag set wider than 4 bytes
store IMQF "12345"
$ vantorctl -g --metadata-query
|
! Could not get metadata-query from config file c0000023
! ERROR: failed to process the option --metadata-query
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== tags
store empty
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -s -f -v --tags=a
|
! Could not read the sensor grouping tags from config file
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -d -f -v --tags
|
! Could not read the sensor grouping tags from config file
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -s -v --tags=a,b
|
! Could not write the sensor grouping tags 'a,b' to config file
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
$ vantorctl -s --tags=a
|
store GroupTags "a"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -d -f -v --tags
|
! Could not delete the sensor grouping tags from config file
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)

== log interval, duration and counters
store empty
daemon
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -s --logduration=3600
|
! Unexpected error occurred. Status:0xC0000001
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed to read log interval from simple store: STATUS=0xC0000001\t(<tid>) [0] (esc)
hangups 0
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -s -v --loginterval=90s
|
! Could not write log interval value "90s" to config. Status:0xC0000001
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
hangups 0
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -g --logduration
|
! Could not read log duration from config file. Status:0xC0000001
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
hangups 0
$ vantorctl -s --logduration=3600 --logcounters=false
|
store LogCounters u32 0
store LogDuration u32 3600
hangups 0
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -d -v --logduration
|
! Could not delete log duration value from config file. Status:0xC0000001
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
hangups 0
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -s --logcounters=TRUE --update
|
! Could not write log counters "TRUE" to config file
! ERROR: failed to process the option --logcounters
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
hangups 0
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -d --logcounters
|
! Could not delete log counters from config file
! ERROR: failed to process the option --logcounters
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
hangups 0

# The credentials' own handlers: a failed read, write or delete of each names it, and the
# stored values stay. A CID that cannot be written is named by its 32 digits, as typed.
== cid, aid and provisioning-token
store CU hex 00112233445566778899aabbccddeeff
store AG hex 000102030405060708090a0b0c0d0e0f
store PT u64 0xabcd
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -g --cid
|
! Could not read CID from config file
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -g --aid
|
! Could not read AID from config file
! ERROR: failed to process the option --aid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -g --provisioning-token
|
! Could not read provision token from config file
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -s -f --cid=00112233-4455-6677-8899-AABBCCDDEEFF-08
|
! Could not write CID "00112233445566778899AABBCCDDEEFF" to config file
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -d -f --cid
|
! Could not delete CID from config file
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -d -f --aid
|
! Could not delete AID from config file
! ERROR: failed to process the option --aid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -s -f --provisioning-token=12345678
|
! Could not write provisioning token to config file
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pwrite64 -e inject=pwrite64:error=EIO:when=1 vantorctl -d -f --provisioning-token
|
! Could not delete provisioning token from config file
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Failed write to store:c0000001\t(<tid>) [0] (esc)
$ vantorctl -g --cid --aid --provisioning-token
| cid="00112233445566778899aabbccddeeff", aid="000102030405060708090a0b0c0d0e0f", provisioning-token=0000abcd.

# An unreadable history reads as no history.
== the sensor's state
store empty
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -g --rfm-state
| rfm-state is not set.
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -g --rfm-reason
| rfm-reason is not set.
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=2 vantorctl -g --rfm-history
| rfm-history is not set.
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)

== RFM history whose second read fails: its separator is printed, then the failure
store RFMHistory hex 00000000 01000000 6c0300c0
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=pread64 -e inject=pread64:error=EIO:when=3 vantorctl -g --version --rfm-history
| version = 1.0.0.0
| ,\x20 (esc)
! Could not read RFM history from config file
! ERROR: failed to process the option --rfm-history
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed read to store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> ReadSimpleStore failed:STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not read RFM history\t(<tid>) [0] (esc)

# Not a failure of the file: its 28 slots are all taken. The option says so in its own words too.
== a store with all 28 slots taken: a new name is refused, a stored one is still replaced
store TRACE "info"
store Taken1 "1"
store Taken2 "2"
store Taken3 "3"
store Taken4 "4"
store Taken5 "5"
store Taken6 "6"
store Taken7 "7"
store Taken8 "8"
store Taken9 "9"
store Taken10 "10"
store Taken11 "11"
store Taken12 "12"
store Taken13 "13"
store Taken14 "14"
store Taken15 "15"
store Taken16 "16"
store Taken17 "17"
store Taken18 "18"
store Taken19 "19"
store Taken20 "20"
store Taken21 "21"
store Taken22 "22"
store Taken23 "23"
store Taken24 "24"
store Taken25 "25"
store Taken26 "26"
store Taken27 "27"
$ vantorctl -s --feature=enableLog
|
! Could not write feature "enableLog" to config
! ERROR: failed to process the option --feature
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> No empty records in store:c000009a\t(<tid>) [0] (esc)
$ vantorctl -s --trace=warn
|
store TRACE "warn"
$ vantorctl -g --trace
| trace=warn.

# Another writer damages the store after the open has read it and before the get's own read (its
# shared lock held up for two seconds), and mends it afterwards: the get reads the damage, says so
# and prints nothing.
== a store damaged between the open and the get
store TRACE "info"
$ (sleep 0.5; printf '\007' | dd of=/opt/Marrowlight/vantorstore conv=notrunc status=none) & ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -qq -o /dev/null -e inject=flock:delay_enter=2000000:when=3 vantorctl -g --trace; s=$?; wait; printf '\002' | dd of=/opt/Marrowlight/vantorstore conv=notrunc status=none; exit $s
|
! Could not get trace level from config file
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Version validation failed: 7\t(<tid>) [0] (esc)
log <time> ValidateSimpleStore failed\t(<tid>) [0] (esc)
