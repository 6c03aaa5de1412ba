# --update: the reload signal reaches the stand-in sensor daemon once per option that asks for it
# (trace, feature, logcounters), never after a refused value, never from other options and never
# without --update; a missing, bad or dead PID is reported and the run still succeeds.

== update is counted among the results but prints nothing, hence the ", "
store empty
daemon
$ vantorctl -s -v --trace=info --update
| trace=info,\x20 (esc)
store TRACE "info"
hangups 1

== no signal without --update
store empty
daemon
$ vantorctl -s --trace=info
|
store TRACE "info"
hangups 0

== nothing to reload
store empty
daemon
$ vantorctl -s --update
|
hangups 0

== a refused value
store empty
daemon
$ vantorctl -s --trace=INFO --update
|
! not a valid trace option: INFO
! ERROR: failed to process the option --trace
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
hangups 0

== a refused word
store empty
daemon
$ vantorctl -s --feature=bogusWord --update
|
! not a valid feature switch: bogusWord
! ERROR: failed to process the option --feature
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
hangups 0

== two options that reload, two signals
store empty
daemon
$ vantorctl -s --feature=enableLog --logcounters=true --update
| Logcounters Enabled.
| REMINDER: Run 'vantorctl -s --logcounters=false' to turn off telemetry logging,\x20 (esc)
|           when you are done collecting telemetry data.
|
store AFLAGS u32 1
store LogCounters u32 1
hangups 2

== three options that reload, three signals
store empty
daemon
$ vantorctl -s --trace=info --feature=enableLog --logcounters=true --update
| Logcounters Enabled.
| REMINDER: Run 'vantorctl -s --logcounters=false' to turn off telemetry logging,\x20 (esc)
|           when you are done collecting telemetry data.
|
store TRACE "info"
store AFLAGS u32 1
store LogCounters u32 1
hangups 3

== options that do not reload
store empty
daemon
$ vantorctl -s --metadata-query=enableAWS --tags=lab --loginterval=60 --logduration=3600 --update
|
store IMQF u32 0
store GroupTags "lab"
store LogInterval u32 60
store LogDuration u32 3600
hangups 0

== more options that do not reload
store empty
daemon
$ vantorctl -s --apd=true --aph=proxy --app=3128 --pcpt=ipv4 --backend=bpf --billing=metered --fkm=false --update
|
store DP u32 1
store APH "proxy"
store APP "3128"
store PCPT u32 4
store BT u32 1
store SenBackend u32 2
store FKM u32 0
hangups 0

== no PID file: reported, and the value is stored
store empty
$ vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: No such file or directory
log <time> Error opening PID file: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
store TRACE "info"

== a PID of 0, and one of 20 digits (its first 14 read, more than any PID can be): reported, nothing signalled
store empty
file /var/run/vantor-sensor.pid "0\n"
$ vantorctl -s --trace=warn --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Numerical result out of range
log <time> Invalid PID: 0\t(<tid>) [0] (esc)
store TRACE "warn"
$ echo 99999999999999999999 >/run/vantor-sensor.pid && vantorctl -s --trace=info --update
|
! Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: Numerical result out of range
log <time> Invalid PID: 99999999999999\t(<tid>) [0] (esc)
store TRACE "info"
file /run/vantor-sensor.pid "99999999999999999999\n"

== a PID no process has (the sandbox is a PID namespace of its own)
store empty
file /var/run/vantor-sensor.pid "4000\n"
$ vantorctl -s --trace=warn --update
|
! Failed to send SIGHUP to vantor process (PID 4000): No such process
store TRACE "warn"
