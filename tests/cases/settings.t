# The connection and behaviour settings (apd, fkm, aph, app, pcpt, trace, backend, billing):
# exact streams, exit status and records. Every store holds an unrelated record (GroupTags) as
# well, so an unchanged store is more than an empty one.

== apd: a true/false switch stored as a 32-bit number
store GroupTags "lab"
$ vantorctl -d -v --apd
| apd is not set.
$ vantorctl -s --apd=yes
|
! "yes" is not a valid value for --apd
! ERROR: failed to process the option --apd
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --apd=10
|
! "10" is not a valid value for --apd
! ERROR: failed to process the option --apd
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -v --apd=true
| apd=TRUE.
store DP u32 1
$ vantorctl -s --apd=FALSE
|
store DP u32 0
$ vantorctl -s -v --apd=True
| apd=TRUE.
store DP u32 1
$ vantorctl -s --apd=0
|
store DP u32 0
$ vantorctl -s -v --apd=1
| apd=TRUE.
store DP u32 1
$ vantorctl -d --apd
|
store DP absent

== apd: any number but 0 is true
store GroupTags "lab"
store DP u32 5
$ vantorctl -g --apd
| apd=TRUE.

== apd: 0 is false
store GroupTags "lab"
store DP u32 0
$ vantorctl -g --apd
| apd=FALSE.

== apd: a stored value of 8 bytes cannot be read
store GroupTags "lab"
store DP u64 0x1
$ vantorctl -g --apd
|
! Could not read app proxy disable from config file
! ERROR: failed to process the option --apd
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== fkm: a true/false switch stored as a 32-bit number
store GroupTags "lab"
$ vantorctl -d -v --fkm
| fkm is not set.
$ vantorctl -s --fkm=yes
|
! "yes" is not a valid value for --fkm
! ERROR: failed to process the option --fkm
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --fkm=10
|
! "10" is not a valid value for --fkm
! ERROR: failed to process the option --fkm
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -v --fkm=true
| fkm=TRUE.
store FKM u32 1
$ vantorctl -s --fkm=FALSE
|
store FKM u32 0
$ vantorctl -s -v --fkm=True
| fkm=TRUE.
store FKM u32 1
$ vantorctl -s --fkm=0
|
store FKM u32 0
$ vantorctl -s -v --fkm=1
| fkm=TRUE.
store FKM u32 1
$ vantorctl -d --fkm
|
store FKM absent

== fkm: any number but 0 is true
store GroupTags "lab"
store FKM u32 5
$ vantorctl -g --fkm
| fkm=TRUE.

== fkm: 0 is false
store GroupTags "lab"
store FKM u32 0
$ vantorctl -g --fkm
| fkm=FALSE.

== fkm: a stored value of 8 bytes cannot be read
store GroupTags "lab"
store FKM u64 0x1
$ vantorctl -g --fkm
|
! Could not read fuzzy kernel match from config file
! ERROR: failed to process the option --fkm
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== the proxy host and port
store GroupTags "lab"
$ vantorctl -g --aph --app
| aph is not set, app is not set.
$ vantorctl -d -v --aph --app
| aph is not set, app is not set.
$ vantorctl -s --aph=hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh
|
! "hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh" is not a valid value for --aph
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -v --aph=hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh
| aph=hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh.
store APH "hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh"
$ vantorctl -s --aph=
|
store APH ""
$ vantorctl -g --aph
| aph=.
$ vantorctl -s --app=123456
|
! "123456" is not a valid value for --app
! ERROR: failed to process the option --app
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --app=8080
|
store APP "8080"
$ vantorctl -s -v --app=abcde
| app=abcde.
store APP "abcde"
$ vantorctl -g --app
| app=abcde.
$ vantorctl -d --app --aph
|
store APH absent
store APP absent

== a stored host of 256 bytes cannot be read, but is deleted without a read
store GroupTags "lab"
store APH "hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh"
$ vantorctl -g --aph
|
! Could not read application proxy host from config file
! ERROR: failed to process the option --aph
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d --aph
|
store APH absent

== an oversized stored port is read before the delete, and so not deleted
store GroupTags "lab"
store APP "1234567"
$ vantorctl -d --app
|
! Could not read application proxy port from config file
! ERROR: failed to process the option --app
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== pcpt: auto when nothing is stored; printed as typed when set
store GroupTags "lab"
$ vantorctl -g --pcpt
| pcpt=auto.
$ vantorctl -s --pcpt=ipv5
|
! not a valid pcpt option: ipv5
! ERROR: failed to process the option --pcpt
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -v --pcpt=IPV6
| pcpt=IPV6.
store PCPT u32 6
$ vantorctl -g --pcpt
| pcpt=ipv6.
$ vantorctl -s --pcpt=ipv4
|
store PCPT u32 4
$ vantorctl -s --pcpt=auto
|
store PCPT u32 0

== pcpt: an unknown stored number reads as auto
store GroupTags "lab"
store PCPT u32 9
$ vantorctl -g --pcpt
| pcpt=auto.

== trace: any text of up to 100 bytes is stored; only the level words are accepted
store GroupTags "lab"
$ vantorctl -s --trace=INFO
|
! not a valid trace option: INFO
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --trace=ddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddd
|
! "ddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddd" is not a valid value for --trace
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --trace=info
|
store TRACE "info"
$ vantorctl -s -v --trace=debug
| trace=debug.
store TRACE "debug"
$ vantorctl -s --trace=err
|
store TRACE "err"
$ vantorctl -d -v --trace
| trace is not set.
store TRACE absent

== trace: a stored text over 100 bytes cannot be read
store GroupTags "lab"
store TRACE "ddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddd"
$ vantorctl -g --trace
|
! Could not get trace level from config file
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== trace: any stored text prints
store GroupTags "lab"
store TRACE "chatty"
$ vantorctl -g --trace
| trace=chatty.

== backend
store GroupTags "lab"
$ vantorctl -g --backend
| backend is not set.
$ vantorctl -s --backend=Auto
|
! "Auto" is not a valid value for --backend
! ERROR: failed to process the option --backend
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -v --backend=bpf
| backend=bpf.
store SenBackend u32 2
$ vantorctl -s --backend=kernel
|
store SenBackend u32 1

== backend: 0 is auto
store GroupTags "lab"
store SenBackend u32 0
$ vantorctl -g --backend
| backend=auto.

== backend: a stored 3 is refused
store GroupTags "lab"
store SenBackend u32 3
$ vantorctl -g --backend
|
! Backend value in config file is invalid
! ERROR: failed to process the option --backend
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== billing
store GroupTags "lab"
$ vantorctl -s --billing=Metered
|
! "Metered" is not a valid value for --billing
! ERROR: failed to process the option --billing
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -v --billing=metered
| billing=metered.
store BT u32 1
$ vantorctl -s --billing=default
|
store BT u32 0
$ vantorctl -d -v --billing
| billing is not set.
store BT absent

== billing: an unknown type is a warning, and trace prints first
store GroupTags "lab"
store BT u32 7
store TRACE "info"
$ vantorctl -g --billing --trace
| trace=info, WARNING: unknown billing type configured (ID = 7).

== one line, in the order of the option table, whatever the order typed
store GroupTags "lab"
$ vantorctl -g --apd --trace
| apd is not set, trace is not set.

== all eight, named backwards
store GroupTags "lab"
store DP u32 1
store APH "proxy.example"
store APP "3128"
store TRACE "warn"
store PCPT u32 4
store BT u32 0
store SenBackend u32 2
store FKM u32 0
$ vantorctl -g --fkm --backend --billing --pcpt --trace --app --aph --apd
| apd=TRUE, aph=proxy.example, app=3128, trace=warn, pcpt=ipv4, billing=default, backend=bpf, fkm=FALSE.

== a failure stops the walk; what the rows before it stored stays stored
store GroupTags "lab"
$ vantorctl -s --backend=bpf --trace=loud --apd=true
|
! not a valid trace option: loud
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
store DP u32 1

== aid: nothing stored is said on a get and on a verbose delete; a plain delete says nothing
store empty
$ vantorctl -g --aid
| aid is not set.
$ vantorctl -d -v --aid
| aid is not set.
$ vantorctl -d --aid
|
