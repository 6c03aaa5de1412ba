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
