# cid, aid and provisioning-token: the exact streams, the exit status and the records after.
# A refused value leaves the store as it was.

== cid on a store holding only a trace level
store TRACE "info"
$ vantorctl -g --cid
|
! CID is not set. Use vantorctl to set the CID
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d --cid
|
$ vantorctl -d -v --cid
|
! CID is not set. Use vantorctl to set the CID
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --cid=00112233445566778899AABBCCDDEEFF09
|
! "00112233445566778899AABBCCDDEEFF09" failed checksum validation
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --cid=00112233445566778899AABBCCDDEEFF0
|
! "00112233445566778899AABBCCDDEEFF0" is not valid value for checksum CID (CCID)
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
# 40 characters, of which the 33 after the first 7 are not all dashes
$ vantorctl -s --cid=0011223344556677889-9AABBCCDDEEFF0------
|
! "0011223344556677889-9AABBCCDDEEFF0------" is not valid value for checksum CID (CCID)
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --cid={00112233-4455-6677-8899-AABBCCDDEEFF-08}
|
! "{00112233-4455-6677-8899-AABBCCDDEEFF-08}" failed checksum validation
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --cid=00112233445566778899AABBCCDDEEFF08
|
store CU hex 00112233445566778899aabbccddeeff
$ vantorctl -g --cid
| cid="00112233445566778899aabbccddeeff".
$ vantorctl -s --cid=00000000000000000000000000000001ff
|
! CID is set, but -f was not specified
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d --cid
|
! CID is set, but -f was not specified
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f --cid=00112233445566778899AABBCCDDEEFF09
|
! "00112233445566778899AABBCCDDEEFF09" failed checksum validation
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d -f --cid
|
store CU absent

== cid set with dashes, verbose; a verbose forced delete reports the CID gone
store TRACE "info"
$ vantorctl -s -v --cid=00112233-4455-6677-8899-AABBCCDDEEFF-08
| cid="00112233445566778899aabbccddeeff".
store CU hex 00112233445566778899aabbccddeeff
$ vantorctl -d -f -v --cid
|
! CID is not set. Use vantorctl to set the CID
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
store CU absent

== cid: characters after the 34 digits are ignored; -f replaces a stored CID
store TRACE "info"
$ vantorctl -s --cid=00112233445566778899AABBCCDDEEFF08trailing
|
store CU hex 00112233445566778899aabbccddeeff
$ vantorctl -s -f --cid=00000000000000000000000000000001ff
|
store CU hex 00000000000000000000000000000001

== cid prints before aid, whatever the order typed
store TRACE "info"
store CU hex 00112233445566778899aabbccddeeff
store AG hex 00000000000000000000000000000001
$ vantorctl -g --aid --cid
| cid="00112233445566778899aabbccddeeff", aid="00000000000000000000000000000001".

== aid
store TRACE "info"
store AG hex 00112233445566778899aabbccddeeff
$ vantorctl -g --aid
| aid="00112233445566778899aabbccddeeff".
$ vantorctl -d --aid
|
! AID is set, but -f was not specified
! ERROR: failed to process the option --aid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d -f -v --aid
| aid is not set.
store AG absent
$ vantorctl -g --aid
| aid is not set.
$ vantorctl -d -v --aid
| aid is not set.

== provisioning-token on a store holding only a trace level
store TRACE "info"
$ vantorctl -g --provisioning-token
| provisioning-token is not set.
$ vantorctl -s --provisioning-token=abcdef0
|
! Provisioning token format incorrect
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --provisioning-token=abcdef012
|
! Provisioning token format incorrect
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --provisioning-token=00000000
|
! Provisioning token format incorrect
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --provisioning-token=ffffffffffffffff
|
! Provisioning token format incorrect
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -v --provisioning-token=0000abcd
| provisioning-token=0000abcd.
store PT u64 0xabcd
$ vantorctl -g --provisioning-token
| provisioning-token=0000abcd.
$ vantorctl -s --provisioning-token=12345678
|
! Provisioning token is set, but -f was not specified
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d --provisioning-token
|
! Provisioning token is set, but -f was not specified
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f --provisioning-token=12345678
|
store PT u64 0x12345678

== provisioning-token: a forced verbose delete
store TRACE "info"
store PT u64 0xabcd
$ vantorctl -d -f -v --provisioning-token
| provisioning-token is not set.
store PT absent

== provisioning-token of 16 digits, printed without the leading zero
store TRACE "info"
$ vantorctl -s -v --provisioning-token=0123456789abcdef
| provisioning-token=123456789abcdef.
store PT u64 0x123456789abcdef
$ vantorctl -g --provisioning-token
| provisioning-token=123456789abcdef.

== provisioning-token: the digits before the first other character
store TRACE "info"
$ vantorctl -s -v --provisioning-token=1234567z
| provisioning-token=01234567.
store PT u64 0x1234567

== credentials from a file or standard input: the value as if typed, one trailing newline dropped
# What an "@PATH" value reads is validated and stored as the same text on the command line is, and
# printed with -v as a get prints it; the log names no value.
store TRACE "info"
file /run/secret/cid "00112233445566778899AABBCCDDEEFF08\n"
$ vantorctl -s -v --cid=@/run/secret/cid
| cid="00112233445566778899aabbccddeeff".
store CU hex 00112233445566778899aabbccddeeff
$ printf '0000abcd\n' | vantorctl -s -v --provisioning-token=@/dev/stdin
| provisioning-token=0000abcd.
store PT u64 0xabcd
# A pipe is read to its end, whatever lines come first.
$ (printf '0000abcd\n'; sleep 0.2; printf 'ef') | vantorctl -s -f -v --provisioning-token=@/dev/stdin
|
! Provisioning token format incorrect
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ printf '12345678' | vantorctl -s -f --provisioning-token=@/dev/stdin --cid=@/run/secret/cid
|
store PT u64 0x12345678
# A relative path names a file of the working directory.
$ cd /run/secret && vantorctl -s -f -v --cid=@cid
| cid="00112233445566778899aabbccddeeff".

== an unreadable @PATH ends the run with its reason, before anything is opened
store TRACE "info"
dir /run/secret
# 4096 characters and two newlines: one more than a value may have once one newline is dropped
sh printf '%04096d\n\n' 1 >/run/secret/big
$ vantorctl -s --cid=@/run/secret/missing
|
! ERROR: cannot read --cid from /run/secret/missing: No such file or directory
[1]
$ vantorctl -s --provisioning-token=@/run/secret
|
! ERROR: cannot read --provisioning-token from /run/secret: Is a directory
[1]
$ vantorctl -s --provisioning-token=@/run/secret/big
|
! ERROR: cannot read --provisioning-token from /run/secret/big: File too large
[1]
$ printf '%04096d\n' 1 | vantorctl -s -v --provisioning-token=@/dev/stdin
| provisioning-token=00000001.
store PT u64 0x1
$ vantorctl -s --cid=@/dev/stdin --provisioning-token=@/proc/self/fd/0
|
! ERROR: --cid and --provisioning-token cannot both read standard input
[1]
$ printf '\000' | vantorctl -s --cid=@/dev/stdin
|
! ERROR: cannot read --cid from /dev/stdin: Invalid argument
[1]
# A get or delete takes "@..." as it takes any other value: not a path.
$ vantorctl -g --cid=@/run/secret/missing
|
! CID is not set. Use vantorctl to set the CID
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== an invalid value read from a file gets the ordinary message, with the file's text
store TRACE "info"
file /run/secret/cid "00112233445566778899AABBCCDDEEFF09\n\n"
file /run/secret/token "not hex\n"
$ vantorctl -s --cid=@/run/secret/cid
|
! "00112233445566778899AABBCCDDEEFF09
! " failed checksum validation
! ERROR: failed to process the option --cid
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --provisioning-token=@/run/secret/token
|
! Provisioning token format incorrect
! ERROR: failed to process the option --provisioning-token
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== a file only the starting mount namespace has is read before the tool joins the host's
# As a Secret volume mounted into a container: the store written is the host's (process 1's).
store TRACE "info"
$ unshare -m sh -c 'mkdir -p /run/c && mount -t tmpfs tmpfs /run/c && printf "00112233445566778899AABBCCDDEEFF08\n" >/run/c/cid && mount -t tmpfs tmpfs /opt && mkdir /opt/Marrowlight && vantorctl -s --cid=@/run/c/cid; rc=$?; ls -A /opt/Marrowlight; exit $rc'
|
store CU hex 00112233445566778899aabbccddeeff
dir /run/c
link /var/log/vantorctl.log -> /dev/stdout

== a FIFO nobody writes to, and standard input that never ends, stop at the lock's bound
store TRACE "info"
fifo /run/secret/fifo
$ vantorctl -s --cid=@/run/secret/fifo
|
! ERROR: cannot read --cid from /run/secret/fifo: Timer expired
[1]
# Standard input open for writing as well as reading never ends.
$ vantorctl -s --provisioning-token=@/dev/stdin <>/run/secret/fifo
|
! ERROR: cannot read --provisioning-token from /dev/stdin: Timer expired
[1]
