# Runs that meet the limits of the machine they run on: a file-size limit (RLIMIT_FSIZE, set
# with prlimit), a reader that goes away, a store that cannot be opened for writing, a time-zone
# file that is a FIFO, a umask, and another query holding the registry. No run ends by a signal;
# a store or registry is afterwards the old image or the new one, never a mix. strace makes the
# registry's new file refuse its mode.
needs strace

# Slot 14 lies across the image's 4096-byte page boundary: a write-back cut inside it would
# leave a record half old, half new. Under every limit below the journal's 16404 bytes the
# write-back fails before the store is touched, or puts back what it changed, and the store keeps
# its old image; the log (already past each limit) takes no line. At the journal's size it works.
== a set under file-size limits, the record across the page boundary
store V1 "x"
store V2 "x"
store V3 "x"
store V4 "x"
store V5 "x"
store V6 "x"
store V7 "x"
store V8 "x"
store V9 "x"
store V10 "x"
store V11 "x"
store V12 "x"
store V13 "x"
store GroupTags "oooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooo"
sh head -c 16500 /dev/zero | tr '\\0' - >/var/log/vantorctl.log
$ prlimit --fsize=3990 vantorctl -s -f --tags=nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn
|
! Could not write the sensor grouping tags 'nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn' to config file
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ prlimit --fsize=4096 vantorctl -s -f --tags=nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn
|
! Could not write the sensor grouping tags 'nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn' to config file
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ prlimit --fsize=4229 vantorctl -s -f --tags=nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn
|
! Could not write the sensor grouping tags 'nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn' to config file
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ prlimit --fsize=16403 vantorctl -s -f --tags=nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn
|
! Could not write the sensor grouping tags 'nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn' to config file
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ prlimit --fsize=16404 vantorctl -s -f --tags=nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn
|
store GroupTags "nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn"

# The start-up's creation and repair give up the same way: the file stays as it was.
== a store created under a file-size limit
sh head -c 4200 /dev/zero | tr '\\0' - >/var/log/vantorctl.log
$ prlimit --fsize=4096 vantorctl -g --cid
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
file /opt/Marrowlight/vantorstore ""

== a store repaired under a file-size limit
store empty
sh printf '\007' | dd of=/opt/Marrowlight/vantorstore conv=notrunc status=none
sh head -c 4200 /dev/zero | tr '\\0' - >/var/log/vantorctl.log
$ prlimit --fsize=4096 vantorctl -g --cid
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]

# A full disk stops the repair of a one-byte store after its journal is written, in the store's
# second page: the one byte is put back.
== a one-byte store repaired on a full disk
sh mount -o remount,size=24k /opt && printf '\007' >/opt/Marrowlight/vantorstore
$ vantorctl -g --cid
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: it could not be read or repaired; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 1\t(<tid>) [0] (esc)
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
log <time> Failed write to store: STATUS=0xC0000001\t(<tid>) [0] (esc)

# The registry's flush fails, and so does the log's line about it: the tags were printed and
# the registry keeps what it held.
== a status query under a file-size limit
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000005000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00100000000700000000000000e80300000000000001424242424242424242424242424242420243434343434343434343434343434343
sh head -c 200 /dev/zero | tr '\\0' - >/var/log/vantorctl.log
$ prlimit --fsize=100 vantorctl -g --systags
| 0
| 2
| 7
| 1000
|

# A reader that went away or an output file past the limit: the value is stored, the run says
# so and ends with status 1.
== output nobody reads, or past the size limit
store CU hex 11111111111111111111111111111111
store GroupTags "web"
$ (sleep 0.2; vantorctl -g --cid --tags; echo "status $?" >&2) | true
! vantorctl: write error: Broken pipe
! status 1
$ (sleep 0.2; vantorctl -s --trace=info; echo "status $?" >&2) | true
! vantorctl: write error: Broken pipe
! status 1
store TRACE "info"
$ (sleep 0.2; unshare -m sh -c 'mount -t tmpfs c /opt && exec vantorctl -s --apd=true'; echo "status $?" >&2) | true
! vantorctl: write error: Broken pipe
! status 1
store DP u32 1
link /var/log/vantorctl.log -> /dev/stdout
$ head -c 22000 /dev/zero >/run/big; prlimit --fsize=20000 vantorctl -s --aph=x >>/run/big; echo "status $?" >&2; rm /run/big
! vantorctl: write error: File too large
! status 1
store APH "x"

# A store that cannot be opened for writing is read: gets work, changes fail with their own
# messages, and a store that needs a repair cannot have it.
== a read-only mount
store CU hex 11111111111111111111111111111111
store GroupTags "web"
store TRACE "warn"
sh mount -o remount,ro /opt
$ vantorctl -g --cid --tags --trace
| cid="11111111111111111111111111111111", trace=warn, tags=web.
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=30 (Read-only file system)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)
$ vantorctl -d -v --aph
| aph is not set.
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=30 (Read-only file system)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)
$ vantorctl -s --trace=info
|
! Could not write trace level "info" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=30 (Read-only file system)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)
log <time> The store is opened read-only; the change is not written\t(<tid>) [0] (esc)
$ vantorctl -d --trace
|
! Could not delete the trace level from config file\x20 (esc)
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=30 (Read-only file system)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)
log <time> The store is opened read-only; the change is not written\t(<tid>) [0] (esc)
# The open for reading fails too, for its own reason: that reason is the one reported.
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /opt/Marrowlight/vantorstore -e trace=openat -e inject=openat:error=EIO:when=2 vantorctl -g --trace
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Input/output error
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=30 (Read-only file system)\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000001\t(<tid>) [0] (esc)

== an immutable store
store TRACE "warn"
sh chattr +i /opt/Marrowlight/vantorstore
$ vantorctl -g --trace
| trace=warn.
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)
$ vantorctl -s --trace=info
|
! Could not write trace level "info" to config
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)
log <time> The store is opened read-only; the change is not written\t(<tid>) [0] (esc)
$ chattr -i /opt/Marrowlight/vantorstore

== an append-only store
store TRACE "warn"
sh chattr +a /opt/Marrowlight/vantorstore
$ vantorctl -g --trace
| trace=warn.
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)
$ vantorctl -d --trace
|
! Could not delete the trace level from config file\x20 (esc)
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)
log <time> The store is opened read-only; the change is not written\t(<tid>) [0] (esc)
$ chattr -a /opt/Marrowlight/vantorstore

== a record's data length past the slot's 256 bytes: the store is taken as damaged and made anew
store APH "x"
sh printf '\001\001' | dd of=/opt/Marrowlight/vantorstore bs=1 seek=306 conv=notrunc status=none
$ vantorctl -g --aph
| aph is not set.
log <time> ValidateData failed\t(<tid>) [0] (esc)
log <time> ValidateData failed\t(<tid>) [0] (esc)
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
store APH absent

== a record's data length of exactly 256 bytes: the store is whole
store APH "x"
sh printf '\000\001' | dd of=/opt/Marrowlight/vantorstore bs=1 seek=306 conv=notrunc status=none
$ vantorctl -g --aph
|
! Could not read application proxy host from config file
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== a record's name length of 22 bytes is whole; one that is odd, or 24 (past the slot's 22 bytes), makes the store damaged, and it is made anew
store empty
$ for length in '\026' '\007' '\030'; do printf "$length" | dd of=/opt/Marrowlight/vantorstore bs=1 seek=282 conv=notrunc status=none && vantorctl -g --aph; done
| aph is not set.
| aph is not set.
| aph is not set.
log <time> Invalid name length:7\t(<tid>) [0] (esc)
log <time> ValidateName failed\t(<tid>) [0] (esc)
log <time> ValidateData failed\t(<tid>) [0] (esc)
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Invalid name length:24\t(<tid>) [0] (esc)
log <time> ValidateName failed\t(<tid>) [0] (esc)
log <time> ValidateData failed\t(<tid>) [0] (esc)
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)

== a read-only store that needs a repair
store empty
sh printf '\007' | dd of=/opt/Marrowlight/vantorstore conv=notrunc status=none
sh mount -o remount,ro /opt
$ vantorctl -g --cid
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Read-only file system
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=30 (Read-only file system)\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be opened for writing; opened read-only\t(<tid>) [0] (esc)
log <time> Version validation failed: 7\t(<tid>) [0] (esc)
log <time> ValidateData failed\t(<tid>) [0] (esc)
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> The store /opt/Marrowlight/vantorstore cannot be repaired: it is opened read-only\t(<tid>) [0] (esc)

# The zone file the C library would read is looked at first: a FIFO there is not waited for. A zone
# name is looked for under TZDIR, or under /usr/share/zoneinfo when TZDIR is unset or empty; a
# path too long to name (here the directory /run/./././... cut one byte short) is left alone.
== time-zone files that are FIFOs
store empty
fifo /run/zone
fifo /run/Universal
$ TZ=:/run/zone timeout 5 vantorctl -s --aph=a
|
log <time> Time zone file /run/zone is not a regular file; using UTC\t(<tid>) [0] (esc)
store APH "a"
$ TZ=/run/zone timeout 5 vantorctl -s --aph=b
|
log <time> Time zone file /run/zone is not a regular file; using UTC\t(<tid>) [0] (esc)
store APH "b"
$ mount --bind /run/zone /etc/localtime && env -u TZ timeout 5 vantorctl -s --aph=c; umount /etc/localtime
|
log <time> Time zone file /etc/localtime is not a regular file; using UTC\t(<tid>) [0] (esc)
store APH "c"
$ TZ=:/run/none timeout 5 vantorctl -s --aph=d
|
store APH "d"
$ TZ=zone TZDIR=/run timeout 5 vantorctl -s --aph=e
|
log <time> Time zone file /run/zone is not a regular file; using UTC\t(<tid>) [0] (esc)
store APH "e"
$ TZ= TZDIR=/run timeout 5 vantorctl -s --aph=f
|
log <time> Time zone file /run/Universal is not a regular file; using UTC\t(<tid>) [0] (esc)
store APH "f"
$ TZ=: TZDIR=/run timeout 5 vantorctl -s --aph=g
|
store APH "g"
$ mount --bind /run/zone /usr/share/zoneinfo/Etc/UTC && env -u TZDIR TZ=Etc/UTC timeout 5 vantorctl -s --aph=h; umount /usr/share/zoneinfo/Etc/UTC
|
log <time> Time zone file /usr/share/zoneinfo/Etc/UTC is not a regular file; using UTC\t(<tid>) [0] (esc)
store APH "h"
$ mount --bind /run/zone /usr/share/zoneinfo/Etc/UTC && TZDIR= TZ=Etc/UTC timeout 5 vantorctl -s --aph=i; umount /usr/share/zoneinfo/Etc/UTC
|
log <time> Time zone file /usr/share/zoneinfo/Etc/UTC is not a regular file; using UTC\t(<tid>) [0] (esc)
store APH "i"
$ TZ=$(printf './%.0s' $(seq 2045))x TZDIR=/run timeout 5 vantorctl -s --aph=j
|
store APH "j"

# Created files get their modes whatever the umask; a flush keeps the registry's own mode.
== modes under umasks
$ (umask 0277; vantorctl -g --systags >/dev/null; exec fake_sensor /run/count) & until [ -s /run/count ]; do sleep 0.01; done; cd /opt/Marrowlight; stat -c '%n %a' vantorstore Registry.bin /var/log/vantorctl.log /var/run/vantor-sensor.pid; kill $!; wait $!; rm /run/count
| vantorstore 660
| Registry.bin 660
| /var/log/vantorctl.log 600
| /var/run/vantor-sensor.pid 600
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
log <time> Could not enumerate system tags: STATUS=0xC0000034\t(<tid>) [0] (esc)
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b
$ rm /opt/Marrowlight/* /var/log/vantorctl.log; (umask 077; vantorctl -g --systags >/dev/null); cd /opt/Marrowlight; stat -c '%n %a' vantorstore Registry.bin /var/log/vantorctl.log
| vantorstore 660
| Registry.bin 660
| /var/log/vantorctl.log 600
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
$ chmod 0600 /opt/Marrowlight/Registry.bin; vantorctl -g --systags >/dev/null; stat -c '%n %a' /opt/Marrowlight/Registry.bin
| /opt/Marrowlight/Registry.bin 600
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
log <time> Could not enumerate system tags: STATUS=0xC0000034\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -e trace=fchmod -e inject=fchmod:error=EPERM vantorctl -g --systags >/dev/null; ls /opt/Marrowlight; stat -c '%n %a' /opt/Marrowlight/Registry.bin
| Registry.bin
| vantorstore
| /opt/Marrowlight/Registry.bin 600
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
log <time> Couldn't set the mode of /opt/Marrowlight/Registry.bin.tmp: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> Failed to set the mode of /opt/Marrowlight/Registry.bin.tmp: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> Couldn't set the mode of /opt/Marrowlight/Registry.bin.tmp: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> Failed to set the mode of /opt/Marrowlight/Registry.bin.tmp: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> Couldn't set the mode of /opt/Marrowlight/Registry.bin.tmp: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> Failed to set the mode of /opt/Marrowlight/Registry.bin.tmp: ERRNO=1 (Operation not permitted)\t(<tid>) [0] (esc)
log <time> Failed flush store: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not enumerate system tags: STATUS=0xC0000034\t(<tid>) [0] (esc)

# Another query holding the registry's directory is waited for, 10 seconds at most; then the
# query fails and the registry stays as it was.
== a registry held by another query
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000005000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00100000000700000000000000e80300000000000001424242424242424242424242424242420243434343434343434343434343434343
$ flock /opt/Marrowlight sleep 15 & until ! flock -n /opt/Marrowlight true; do sleep 0.01; done; t=$(date +%s%N); vantorctl -g --systags; echo "status $?" >&2; w=$((($(date +%s%N) - t) / 1000000)); [ $w -ge 9900 ] && [ $w -lt 15000 ] && echo "waited 10 s" >&2; kill $!
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
! status 1
! waited 10 s
log <time> The registry is locked by another process; gave up after 10 seconds\t(<tid>) [0] (esc)
log <time> Could not lock the registry's directory /opt/Marrowlight: STATUS=0xC0000055\t(<tid>) [0] (esc)
