# The command line: mode rules in their order, the C library's parser messages, the per-option
# checks during the run, the usage text, a store that cannot be opened, and the newline that ends
# every run's standard output.

== rejected command lines; the first run makes the missing store, and none writes it
# a word that is no option is reported first, then a missing mode, then more than one mode,
# then no option for the mode
$ vantorctl -s --aph host
|
! ERROR: unsupported non-option argument 'host'
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
store empty
$ vantorctl word --cid
|
! ERROR: unsupported non-option argument 'word'
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -g -s one two
|
! ERROR: unsupported non-option argument 'one'
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -f --cid
|
! ERROR: -g or -s or -d must be specified
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -fv
|
! ERROR: -g or -s or -d must be specified
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -g -s --cid
|
! ERROR: -g and -s and -d are mutually exclusive
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -gd
|
! ERROR: -g and -s and -d are mutually exclusive
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -g -g -f -v
|
! ERROR: no options specified for -g \x20 (esc)
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f
|
! ERROR: no options specified for -s \x20 (esc)
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d
|
! ERROR: no options specified for -d \x20 (esc)
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
# the parser's own messages, which name the program as it was called
$ vantorctl -g --bogus
|
! vantorctl: unrecognized option '--bogus'
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -g --bogus -h
|
! vantorctl: unrecognized option '--bogus'
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -x -h
|
! vantorctl: invalid option -- 'x'
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --update=x
|
! vantorctl: option '--update' doesn't allow an argument
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -g --log
|
! vantorctl: option '--log' is ambiguous; possibilities: '--logcounters' '--loginterval' '--logduration'
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
# the same option twice, also through an abbreviation
$ vantorctl -g --cid --cid
|
! ERROR: --cid specified more than once
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --trace=info --tra=warn
|
! ERROR: --trace specified more than once
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
# checks made option by option during the run; the mode named is the last mode flag's
$ vantorctl -s --trace
|
! ERROR: --trace requires a value
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s --aid=x
|
! ERROR: -s with --aid is not supported.
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d --pcpt
|
! ERROR: -d with --pcpt is not supported.
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -g --update
|
! ERROR: -g with --update is not supported.
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d -d --version
|
! ERROR: -d with --version is not supported.
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]

== the usage text ends the run with status 0, whatever else is on the line
$ vantorctl -h
| Usage: vantorctl -g GET_OPTIONS
|        vantorctl -s [ -f ] SET_OPTIONS
|        vantorctl -d [ -f ] DEL_OPTIONS
|        vantorctl -h OR vantorctl --help for usage help
| where GET_OPTIONS := { --cid for CustomerId |
|                        --aid for AgentId |
|                        --apd for App Proxy Disable |
|                        --aph for App Proxy Host |
|                        --app for App Proxy Port |
|                        --trace for determining the configured trace level |
|                        --pcpt preferred connection protocol type |
|                        --feature to determine the configured sensor feature flags |
|                        --metadata-query to determine the configured sensor cloud provider metadata query flags |
|                        --version for version of sensor currently running |
|                        --billing to configure the sensor billing type |
|                        --tags for sensor grouping tags |
|                        --provisioning-token for Provisioning Token |
|                        --systags for system tags currently applied to a running sensor |
|                        --backend for sensor backend |
|                        --rfm-state for indicating whether the sensor is in Reduced Functionality Mode |
|                        --rfm-reason to determine reason for sensor running in Reduced Functionality Mode |
|                        --rfm-history to show history of sensor Reduced Functionality Mode reasons |
|                        --logcounters for determining if Telemetry logging is enabled |
|                        --loginterval for setting the interval of file logging |
|                        --logduration for setting the duration of file logging }
| where SET_OPTIONS := { --cid="{<uuid string>}" |
|                        --apd=true | --apd=false |
|                        --aph=<app proxy host name> |
|                        --app=<app proxy port> |
|                        --trace=[none|err|warn|info|debug] |
|                        --pcpt=[auto|ipv4|ipv6] |
|                        --feature=[none,[enableLog[,disableLogBuffer[,disableOsfm[,emulateUpdate]]]]] |
|                        --metadata-query=[[dis|en]able|[dis|en]ableAWS[,[dis|en]ableAzure[,[dis|en]ableGCP]]] |
|                        --update SIGHUP the sensor for immediate trace/feature update |
|                        --billing=[default|metered] |
|                        --tags=<comma separated list of tags for sensor grouping> (allowed characters: all alphanumerics, '/', '-', '_', '@', and '.') |
|                        --provisioning-token=<provisioning token value> |
|                        --backend=auto | --backend=bpf | --backend=kernel |
|                        --logcounters=true | --logcounters=false |
|                        --loginterval=<seconds> |
|                        --logduration=<seconds> }
| where DEL_OPTIONS := { --cid for CustomerId |
|                        --aid for AgentId |
|                        --apd for App Proxy Disable |
|                        --aph for App Proxy Host |
|                        --app for App Proxy Port |
|                        --trace for determining the configured trace level |
|                        --billing to configure the sensor billing type |
|                        --tags for sensor grouping tags |
|                        --provisioning-token for Provisioning Token |
|                        --backend for sensor backend |
|                        --logcounters for determining if Telemetry logging is enabled |
|                        --loginterval for setting the interval of file logging |
|                        --logduration for setting the duration of file logging }
| where HELP_OPTIONS := { --help for usage help }
|
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
store empty
$ [ "$(vantorctl --help; echo "status $?")" = "$(vantorctl -h; echo "status $?")" ] && echo same as -h
| same as -h
$ [ "$(vantorctl --he; echo "status $?")" = "$(vantorctl -h; echo "status $?")" ] && echo same as -h
| same as -h
$ [ "$(vantorctl -h --bogus; echo "status $?")" = "$(vantorctl -h; echo "status $?")" ] && echo same as -h
| same as -h
$ [ "$(vantorctl -s --apd=true -h; echo "status $?")" = "$(vantorctl -h; echo "status $?")" ] && echo same as -h
| same as -h
$ [ "$(vantorctl -g -s --help x; echo "status $?")" = "$(vantorctl -h; echo "status $?")" ] && echo same as -h
| same as -h

== without the vendor directory the store cannot be opened, and every run ends there
absent /opt/Marrowlight
$ vantorctl -h
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: No such file or directory; the directory /opt/Marrowlight is missing (installing vantorctl creates it)
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000034\t(<tid>) [0] (esc)
$ vantorctl -g --apd
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: No such file or directory; the directory /opt/Marrowlight is missing (installing vantorctl creates it)
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000034\t(<tid>) [0] (esc)
$ vantorctl -g --bogus
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: No such file or directory; the directory /opt/Marrowlight is missing (installing vantorctl creates it)
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000034\t(<tid>) [0] (esc)
$ vantorctl
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: No such file or directory; the directory /opt/Marrowlight is missing (installing vantorctl creates it)
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000034\t(<tid>) [0] (esc)

== a user who is not root is told to be root, -h included
store empty
$ setpriv --reuid=65534 --regid=65534 --clear-groups vantorctl -h
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: Permission denied; run vantorctl as root
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=13 (Permission denied)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000001\t(<tid>) [0] (esc)

== a user who is not root is told the vendor directory is missing when that is why
absent /opt/Marrowlight
$ setpriv --reuid=65534 --regid=65534 --clear-groups vantorctl -h
|
! ERROR: cannot open /opt/Marrowlight/vantorstore: No such file or directory; the directory /opt/Marrowlight is missing (installing vantorctl creates it)
! ERROR: unable to initialize simple store
[1]
log <time> Couldn't open file /opt/Marrowlight/vantorstore: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Failed opening simple store file /opt/Marrowlight/vantorstore: STATUS=0xC0000034\t(<tid>) [0] (esc)

== options run in table order: cid and apd run, and stay stored, before version is refused
store empty
$ vantorctl -s --version --cid=00112233445566778899AABBCCDDEEFF08 --apd=true
|
! ERROR: -s with --version is not supported.
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
store CU hex 00112233445566778899aabbccddeeff
store DP u32 1

== -f and -v are taken with a get, short flags combine, and a get ignores a value
store APH "proxy.example"
$ vantorctl -gfv --aph
| aph=proxy.example.
$ vantorctl -g --aph=ignored
| aph=proxy.example.

== a credential named as standard input is read only by a run that sets it: without a mode, or with two, standard input is left for the next reader
$ printf 'left unread\n' | { vantorctl --cid=@/dev/stdin; cat; }
|
| left unread
! ERROR: -g or -s or -d must be specified
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
store empty
$ printf 'left unread\n' | { vantorctl -g -s --cid=@/dev/stdin; cat; }
|
| left unread
! ERROR: -g and -s and -d are mutually exclusive
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help

== a credential from standard input: a pipe is read to its end, however it is written; a terminal up to its first line, the rest left for the next reader
store empty
$ { printf '0000'; sleep 0.2; printf 'abcd\n'; } | vantorctl -s -v --provisioning-token=@/dev/stdin
| provisioning-token=0000abcd.
store PT u64 0xabcd
$ printf '1234abcd\nleft\n' | script -q --echo never -c 'vantorctl -s -f -v --provisioning-token=@/dev/stdin; head -1' /dev/null
| provisioning-token=1234abcd.\x0d (esc)
| left\x0d (esc)
store PT u64 0x1234abcd
