# --feature and --metadata-query: word lists stored as bitmasks (AFLAGS, IMQF).

== feature on an empty store
store empty
$ vantorctl -g --feature
| feature is not set.
$ vantorctl -s -v --feature=enableLog,disableLogBuffer
| feature=enableLog,disableLogBuffer (hex bitmask: 3).
store AFLAGS u32 3
$ vantorctl -s --feature=enableLog,none
|
store AFLAGS u32 0
$ vantorctl -g --feature
| feature= (hex bitmask: 0).
# words after none count
$ vantorctl -s --feature=none,enableLog
|
store AFLAGS u32 1
# 255 bytes are parsed
$ vantorctl -s --feature=enableLog,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,enableLog,enableLog,enableLog,enableLog,enableLog,enableLog,enableLog,enableLog,enableLog,enableLog,enableLog
|
store AFLAGS u32 3

== feature: none replaces the stored mask, display-only bits included
store AFLAGS u32 0x10003
$ vantorctl -s --feature=none
|
store AFLAGS u32 0

== feature: display-only words are printed
store AFLAGS u32 0x10001
$ vantorctl -g --feature
| feature=enableLog,disableOsfm (hex bitmask: 10001).

== feature: every named bit, and one without a name
store AFLAGS u32 0x30007
$ vantorctl -g --feature
| feature=enableLog,disableLogBuffer,disableOsfm,emulateUpdate (hex bitmask: 30007).

== metadata-query on an empty store
store empty
$ vantorctl -g --metadata-query
| metadata-query=enable (unset default).
$ vantorctl -s -v --metadata-query=disableAWS,disableOCI
| metadata-query=disableAWS,enableAzure,enableGCP,disableOCI (hex bitmask: 9).
store IMQF u32 9
$ vantorctl -g --metadata-query
| metadata-query=disableAWS,enableAzure,enableGCP,disableOCI (hex bitmask: 9).
$ vantorctl -s -v --metadata-query=disable
| metadata-query=disable (hex bitmask: f).
store IMQF u32 15
$ vantorctl -s -v --metadata-query=enable
| metadata-query=enable (hex bitmask: 0).
store IMQF u32 0
# enable words clear bits
$ vantorctl -s --metadata-query=disable,enableGCP
|
store IMQF u32 11

== metadata-query: enableAWS alone clears its bit
store IMQF u32 1
$ vantorctl -s --metadata-query=enableAWS
|
store IMQF u32 0

== metadata-query: bits above the four providers keep the four words
store IMQF u32 0x1f
$ vantorctl -g --metadata-query
| metadata-query=disableAWS,disableAzure,disableGCP,disableOCI (hex bitmask: 1f).

== both in one line
store empty
$ vantorctl -s -v --metadata-query=disableGCP --feature=enableLog
| feature=enableLog (hex bitmask: 1), metadata-query=enableAWS,enableAzure,disableGCP,enableOCI (hex bitmask: 4).
store AFLAGS u32 1
store IMQF u32 4

== refused word lists leave both masks as they were
store AFLAGS u32 1
store IMQF u32 2
# a display-only word cannot be set
$ vantorctl -s --feature=disableOsfm
|
! not a valid feature switch: disableOsfm
! ERROR: failed to process the option --feature
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --feature=enableLog,,none
|
! not a valid feature switch:\x20 (esc)
! ERROR: failed to process the option --feature
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --feature=enableLog,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,enableLog,enableLog,enableLog,enableLog,enableLog,enableLog
|
! "enableLog,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,enableLog,enableLog,enableLog,enableLog,enableLog,enableLog" is not a valid value for --feature
! ERROR: failed to process the option --feature
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -v --metadata-query=disableaws
|
! not a valid metadata-query switch: disableaws
! ERROR: failed to process the option --metadata-query
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --metadata-query=enable,
|
! not a valid metadata-query switch:\x20 (esc)
! ERROR: failed to process the option --metadata-query
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --metadata-query=enableLog,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,enableLog,enableLog,enableLog,enableLog,enableLog,enableLog
|
! "enableLog,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,disableLogBuffer,enableLog,enableLog,enableLog,enableLog,enableLog,enableLog" is not a valid value for --metadata-query
! ERROR: failed to process the option --metadata-query
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
