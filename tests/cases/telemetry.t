# --loginterval, --logduration and --logcounters: the bounds between interval and duration, and
# the telemetry switch with its reminder.

== interval and duration on an empty store
store empty
$ vantorctl -g --loginterval --logduration
| log interval is not set. Default value is 60 seconds, log duration is not set. Default value is 3600 seconds.
$ vantorctl -d --logduration
|
$ vantorctl -s --loginterval=4
|
! "4": Invalid log interval value, minimum supported value is 5 seconds
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --logduration=4
|
! "4": Invalid log duration value, minimum supported value is 5 seconds
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
# the duration is checked against the default interval of 60 seconds
$ vantorctl -s --logduration=30
|
! "30": Invalid log duration value, log duration should be greater then log interval
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> logduration < default loginterval STATUS=0x00000000\t(<tid>) [0] (esc)
# and the interval against the default duration of 3600 seconds
$ vantorctl -s --loginterval=4294967
|
! "4294967": Invalid log interval value, log duration should be greater then log interval
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> logduration < default loginterval STATUS=0x00000000\t(<tid>) [0] (esc)
# durations are bounded like intervals: in milliseconds they must fit 32 bits
$ vantorctl -s --loginterval=4294968
|
! "4294968": Invalid log interval value, int overflow detected
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --logduration=4294968
|
! "4294968": Invalid log duration value, int overflow detected
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
# the digits before the first other character
$ vantorctl -s --loginterval=90s
|
store LogInterval u32 90
$ vantorctl -d -v --loginterval
| log interval is not set. Default value is 60 seconds.
store LogInterval absent

== the shortest interval
store empty
$ vantorctl -s -v --loginterval=5
| log interval=5 seconds.
store LogInterval u32 5

== the shortest duration, over the shortest interval
store LogInterval u32 5
$ vantorctl -s --logduration=5
|
store LogDuration u32 5

== a duration of a minute, equal to the default interval
store empty
$ vantorctl -s --logduration=60
|
store LogDuration u32 60

== an interval under the minimum, whatever the stored duration
store LogDuration u32 3
$ vantorctl -s --loginterval=4
|
! "4": Invalid log interval value, minimum supported value is 5 seconds
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== a duration under the minimum, whatever the stored interval
store LogInterval u32 3
$ vantorctl -s --logduration=10
|
! "10": Invalid log duration value, minimum supported value is 5 seconds
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== a duration must not be shorter than the stored interval; an equal one is taken
store LogInterval u32 120
$ vantorctl -s --logduration=100
|
! "100": Invalid log duration value, log duration should be greater then log interval
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> logduration < default loginterval STATUS=0x00000000\t(<tid>) [0] (esc)
$ vantorctl -s -v --logduration=120
| log duration=120 seconds.
store LogDuration u32 120

== a stored duration beyond the bound does not refuse an interval the checks accept
store LogDuration u32 5000000
$ vantorctl -s --loginterval=100
|
store LogInterval u32 100

== a stored interval beyond the bound refuses a duration
store LogInterval u32 4294968
$ vantorctl -s --logduration=10
|
! "10": Invalid stored log interval value, int overflow detected
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== the largest interval, with an equal duration
store LogDuration u32 4294967
$ vantorctl -s --loginterval=4294967
|
store LogInterval u32 4294967

== both stored, printed in table order
store LogInterval u32 90
store LogDuration u32 900
$ vantorctl -g --logduration --loginterval
| log interval=90 seconds, log duration=900 seconds.

== intervals that are no number of seconds
store LogInterval u32 70
$ vantorctl -s --loginterval=0
|
! "0" is not a valid value for --loginterval
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --loginterval=abc
|
! "abc" is not a valid value for --loginterval
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --loginterval=4294967294
|
! "4294967294": Invalid log interval value, int overflow detected
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --logduration=4294967294
|
! "4294967294": Invalid log duration value, int overflow detected
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --loginterval=4294967295
|
! "4294967295" is not a valid value for --loginterval
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --loginterval=-1
|
! "-1" is not a valid value for --loginterval
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --loginterval=99999999999999999999
|
! "99999999999999999999" is not a valid value for --loginterval
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== logcounters: every spelling of true and false; true comes with a reminder
store empty
$ vantorctl -g --logcounters
|
! Failed to read log settings from config. Status: 0xC0000225
! ERROR: failed to process the option --logcounters
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d --logcounters
|
$ vantorctl -s -v --logcounters=TRUE
| Logcounters Enabled.
| REMINDER: Run 'vantorctl -s --logcounters=false' to turn off telemetry logging,\x20 (esc)
|           when you are done collecting telemetry data.
| logcounters=true.
store LogCounters u32 1
$ vantorctl -g --logcounters
| logcounters=true.
$ vantorctl -s --logcounters=1x
|
! "1x" is not a valid value for --logcounters
! ERROR: failed to process the option --logcounters
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --logcounters=false
|
store LogCounters u32 0
$ vantorctl -s --logcounters=yes
|
! "yes" is not a valid value for --logcounters
! ERROR: failed to process the option --logcounters
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --logcounters=true
| Logcounters Enabled.
| REMINDER: Run 'vantorctl -s --logcounters=false' to turn off telemetry logging,\x20 (esc)
|           when you are done collecting telemetry data.
|
store LogCounters u32 1
$ vantorctl -s --logcounters=FALSE
|
store LogCounters u32 0
$ vantorctl -s --logcounters=True
| Logcounters Enabled.
| REMINDER: Run 'vantorctl -s --logcounters=false' to turn off telemetry logging,\x20 (esc)
|           when you are done collecting telemetry data.
|
store LogCounters u32 1
$ vantorctl -s --logcounters=0
|
store LogCounters u32 0
$ vantorctl -s --logcounters=1
| Logcounters Enabled.
| REMINDER: Run 'vantorctl -s --logcounters=false' to turn off telemetry logging,\x20 (esc)
|           when you are done collecting telemetry data.
|
store LogCounters u32 1
$ vantorctl -d -v --logcounters
| logcounters is not set.
store LogCounters absent

== logcounters: false, verbose
store empty
$ vantorctl -s -v --logcounters=0
| logcounters=false.
store LogCounters u32 0

== logcounters: a stored value other than 0 and 1
store LogCounters u32 7
$ vantorctl -g --logcounters
|
! Unknown log counters value!
! ERROR: failed to process the option --logcounters
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== a stored log duration longer than 4 bytes cannot be read: a get fails, and so does setting the interval it bounds, with the log saying why
store LogDuration hex 0a0000000000
$ vantorctl -g --logduration
|
! Could not read log duration from config file. Status:0xC0000023
! ERROR: failed to process the option --logduration
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --loginterval=60
|
! Unexpected error occurred. Status:0xC0000023
! ERROR: failed to process the option --loginterval
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Failed to read log duration from simple store: STATUS=0xC0000023\t(<tid>) [0] (esc)
