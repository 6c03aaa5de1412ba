# The sensor's state: --systags from the kernel's file or from the registry file, --version, and
# the reduced functionality mode options over the RFMHistory record.
needs strace

== systags from the kernel's file, which comes first: a registry giving other tags is not read
tmpfs /proc
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 6300000000000000
file /proc/vantor_lsm_serviceable/systags 0644 "12\n345\n"
$ vantorctl -g --systags
| 12
| 345
|
# printed as they are, up to the end of the file
$ printf '7,\t\377 x' >/proc/vantor_lsm_serviceable/systags
$ vantorctl -g --systags
| 7,\t\xff x (esc)
# a NUL ends the text
$ printf '1\n\0002\n' >/proc/vantor_lsm_serviceable/systags
$ vantorctl -g --systags
| 1
|
$ : >/proc/vantor_lsm_serviceable/systags
$ vantorctl -g --systags
|
# of a longer file, the first 4095 bytes
$ seq 0 1221 >/proc/vantor_lsm_serviceable/systags && { head -c 4095 /proc/vantor_lsm_serviceable/systags; echo; } >/proc/want && wc -c </proc/vantor_lsm_serviceable/systags
| 5000
$ vantorctl -g --systags >/proc/shown; echo "status $?"; cmp /proc/want /proc/shown && wc -c </proc/shown
| status 0
| 4096
# the lines do not count down: rfm-state is not the last result and gets ", "
$ echo 5 >/proc/vantor_lsm_serviceable/systags
$ vantorctl -g --systags --rfm-state
| 5
| rfm-state is not set,\x20 (esc)
# a directory in its place: it exists and opens, but cannot be read
$ rm /proc/vantor_lsm_serviceable/systags && mkdir /proc/vantor_lsm_serviceable/systags
$ vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't read from file: ERRNO=21 (Is a directory)\t(<tid>) [0] (esc)

== systags from the kernel's file, which exists but cannot be opened: the run says so and fails
tmpfs /proc
store empty
file /proc/vantor_lsm_serviceable/systags 0644 "12\n345\n"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /proc/vantor_lsm_serviceable/systags -e trace=openat -e inject=openat:error=EACCES vantorctl -g --systags
|
! Could not open systags (is the sensor stopped or in RFM?)
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /proc/vantor_lsm_serviceable/systags: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)

== systags from the registry: bitmap edges and a list value
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 05000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000080 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 e803000000000000
$ vantorctl -g --systags
| 0
| 2
| 511
| 1000
|

== systags from a registry holding other stores before and after the sensor's, the last record's name empty
store empty
file /opt/Marrowlight/Registry.bin hex 0111223344112233441122334411223344 0255555555555555555555555555555555 030200780004020079000100000007 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 05000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000080 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 e803000000000000 0166778899667788996677889966778899 0255555555555555555555555555555555 030200780004020079000100000007 030000
$ vantorctl -g --systags
| 0
| 2
| 511
| 1000
|

== a rewritten registry keeps the mode and owner of the file it replaces
store empty
file /opt/Marrowlight/Registry.bin 0640 hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 01000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 0700000000000000 7f01
sh chown 123:456 /opt/Marrowlight/Registry.bin
$ vantorctl -g --systags && stat -c '%a %u %g' /opt/Marrowlight/Registry.bin
| 0
| 7
|
| 640 123 456
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b031600300030003a00300030003a00300030003a0030003000044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d004000000001000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d00080000000700000000000000
$ cd /opt/Marrowlight; for owner in 123:0 0:456; do printf '\177\001' >>Registry.bin; chown $owner Registry.bin; vantorctl -g --systags >/dev/null; stat -c '%u %g' Registry.bin; done
| 123 0
| 0 456
$ rm /opt/Marrowlight/Registry.bin && vantorctl -g --systags; stat -c '%a %u %g' /opt/Marrowlight/Registry.bin
|
| 660 0 0
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
log <time> Could not enumerate system tags: STATUS=0xC0000034\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b

== systags from a registry in a vendor directory moved to another volume behind a link
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 05000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000080 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0008000000 e803000000000000
sh mv /opt/Marrowlight /opt/volume && ln -s /opt/volume /opt/Marrowlight
$ vantorctl -g --systags
| 0
| 2
| 511
| 1000
|

== systags from the registry: the list's order and duplicates kept, 64-bit values
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 00800000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0018000000 07000000000000000f00000000000000ffffffffffffffff
$ vantorctl -g --systags
| 15
| 7
| 15
| 18446744073709551615
|

== systags from the registry: a list of one byte, shorter than a value, holds none
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 00000100000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0001000000 07
$ vantorctl -g --systags
| 16
|

== systags from the registry: nothing set
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 00000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0000000000
$ vantorctl -g --systags
|

== systags from the registry: without the system-tag record the enumeration fails, with no diagnostic of its own
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b
$ vantorctl -g --systags
|
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Could not enumerate system tags: STATUS=0xC0000034\t(<tid>) [0] (esc)

== systags without a registry file: it is made (0660) with the sensor's store and collection in it, and the enumeration fails
store empty
$ vantorctl -g --systags
|
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Could not enumerate system tags: STATUS=0xC0000034\t(<tid>) [0] (esc)
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d020000000000000000000000000000000b

== systags from the registry: bitmap tags print before a missing list fails
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 00000100000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000
$ vantorctl -g --systags
| 16
|
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Could not enumerate system tags: STATUS=0xC0000034\t(<tid>) [0] (esc)

== systags from the registry: the lines do not count down
store empty
file /opt/Marrowlight/Registry.bin hex 01989a3c736b7f38459a355c195f224c0d 020000000000000000000000000000000b 031600300030003a00300030003a00300030003a0030003000 044c007b00630036003800640066003700380033002d0065006300390030002d0034003300610062002d0062003600620033002d003000330030003000310037003000300063006300320062007d0040000000 02000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000 044c007b00660038006500310031003800390038002d0037006400630037002d0034003000320035002d0061006200630033002d006200390033003000370035003300660032003900310031007d0000000000
$ vantorctl -g --systags --rfm-reason
| 1
| rfm-reason is not set,\x20 (esc)

== a registry that cannot be loaded: nothing but the final newline on stdout
store empty
dir /opt/Marrowlight/Registry.bin
$ vantorctl -g --systags
|
! Could not read systags
! ERROR: failed to process the option --systags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Couldn't open file /opt/Marrowlight/Registry.bin: ERRNO=21 (Is a directory)\t(<tid>) [0] (esc)

== version, and no RFM history
store empty
$ vantorctl -g --version
| version = 1.0.0.0
|
# the version line does not count down: rfm-state gets ", "
$ vantorctl -g --version --rfm-state
| version = 1.0.0.0
| rfm-state is not set,\x20 (esc)
$ vantorctl -g --rfm-state --rfm-reason --rfm-history
| rfm-state is not set, rfm-reason is not set, rfm-history is not set.

== RFM history of one entry
store RFMHistory hex 00000000 01000000 6c0300c0
$ vantorctl -g --rfm-state --rfm-reason --rfm-history
| rfm-state=true, rfm-reason=Kernel modules blocked by user, code=0xC000036C, rfm-history={[0 (newest)] kernel backend, in RFM, rfm-reason=Kernel modules blocked by user, code=0xC000036C}.

== RFM history of two entries
store RFMHistory hex 01000000 01000000 ac0004e0 00000000 00000000 00000000
$ vantorctl -g --rfm-state --rfm-reason --rfm-history
| rfm-state=true, rfm-reason=BPF is blocked on this system, code=0xE00400AC, rfm-history={[0 (newest)] bpf backend, in RFM, rfm-reason=BPF is blocked on this system, code=0xE00400AC; [1] kernel backend, not in RFM, rfm-reason=None, code=0x0}.

== RFM history of three entries, one code unknown
store RFMHistory hex 00000000 00000000 060100c0 01000000 01000000 060200c0 00000000 01000000 dec0ad0b
$ vantorctl -g --rfm-state --rfm-reason --rfm-history
| rfm-state=false, rfm-reason=KernelModuleArchive file is corrupt, code=0xC0000106, rfm-history={[0 (newest)] kernel backend, not in RFM, rfm-reason=KernelModuleArchive file is corrupt, code=0xC0000106; [1] bpf backend, in RFM, rfm-reason=KernelModuleArchive file is corrupt, code=0xC0000206; [2] kernel backend, in RFM, rfm-reason=Unspecified, code=0xBADC0DE}.

== every RFM reason the tool knows, first half
store RFMHistory hex 000000000100000000000000 00000000010000006c0300c0 0000000001000000c20004e0 00000000010000006c0200c0 00000000010000009a0000c0 0000000001000000020100c0 0000000001000000340000c0 0000000001000000980000c0 000000000100000000a000c0 0000000001000000610000c0 00000000010000007c0100c0
$ vantorctl -g --rfm-history
| rfm-history={[0 (newest)] kernel backend, in RFM, rfm-reason=None, code=0x0; [1] kernel backend, in RFM, rfm-reason=Kernel modules blocked by user, code=0xC000036C; [2] kernel backend, in RFM, rfm-reason=Not loading modules because of user opt-out (e.g., backend set to BPF), code=0xE00400C2; [3] kernel backend, in RFM, rfm-reason=Kernel module load failed, code=0xC000026C; [4] kernel backend, in RFM, rfm-reason=Kernel module load failed due to lack of memory, code=0xC000009A; [5] kernel backend, in RFM, rfm-reason=Modules file is corrupt, code=0xC0000102; [6] kernel backend, in RFM, rfm-reason=Modules file was not found, code=0xC0000034; [7] kernel backend, in RFM, rfm-reason=Modules file invalid format, code=0xC0000098; [8] kernel backend, in RFM, rfm-reason=Modules file invalid signature, code=0xC000A000; [9] kernel backend, in RFM, rfm-reason=Modules file invalid permission, code=0xC0000061; [10] kernel backend, in RFM, rfm-reason=Invalid module signature, or key for modules not found, code=0xC000017C}.

== every RFM reason the tool knows, second half, and codes next to two of them (unspecified)
store RFMHistory hex 0100000001000000060100c0 0100000001000000060200c0 01000000010000000d0000c0 0100000001000000010000c0 010000000100000000000040 01000000010000008e0300c0 0100000001000000250200c0 0100000001000000ac0004e0 0100000001000000ad0004e0 01000000010000000e0000c0 010000000100000001000040
$ vantorctl -g --rfm-history
| rfm-history={[0 (newest)] bpf backend, in RFM, rfm-reason=KernelModuleArchive file is corrupt, code=0xC0000106; [1] bpf backend, in RFM, rfm-reason=KernelModuleArchive file is corrupt, code=0xC0000206; [2] bpf backend, in RFM, rfm-reason=Linux Kernel broken hence returning invalid uname, code=0xC000000D; [3] bpf backend, in RFM, rfm-reason=Unexpected error, code=0xC0000001; [4] bpf backend, in RFM, rfm-reason=Indicates previous unsuccesful module unload, code=0x40000000; [5] bpf backend, in RFM, rfm-reason=Indicates previous unsuccesful module unload, code=0xC000038E; [6] bpf backend, in RFM, rfm-reason=The kernel backend does not support the running kernel, code=0xC0000225; [7] bpf backend, in RFM, rfm-reason=BPF is blocked on this system, code=0xE00400AC; [8] bpf backend, in RFM, rfm-reason=BPF program-load error, code=0xE00400AD; [9] bpf backend, in RFM, rfm-reason=Unspecified, code=0xC000000E; [10] bpf backend, in RFM, rfm-reason=Unspecified, code=0x40000001}.

== RFM history of 11 bytes, less than one entry: nothing is read past the value
store RFMHistory hex 0101010101010101010101
$ vantorctl -g --rfm-state --rfm-reason --rfm-history
| rfm-state is not set, rfm-reason is not set, .

== an InRfm of 2: the history prints it as not in RFM; rfm-state fails before rfm-history is reached
store RFMHistory hex 01000000 02000000 ad0004e0
$ vantorctl -g --rfm-history
| rfm-history={[0 (newest)] bpf backend, not in RFM, rfm-reason=BPF program-load error, code=0xE00400AD}.
$ vantorctl -g --rfm-state --rfm-history
|
! Unknown RFM rfm-state!
! ERROR: failed to process the option --rfm-state
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
