# --tags: the format rules, the -f that protects a stored list, and the GroupTags record.

== tags on an empty store
store empty
$ vantorctl -g --tags
| Sensor grouping tags are not set.
$ vantorctl -d -v --tags
| Sensor grouping tags are not set.
# every character a tag may hold, the first and last of each range among them
$ vantorctl -s -v --tags=web,prod/eu-1,team_a,@night,stage.3,AZaz09
| tags=web,prod/eu-1,team_a,@night,stage.3,AZaz09.
store GroupTags "web,prod/eu-1,team_a,@night,stage.3,AZaz09"
$ vantorctl -s -v --tags=b
|
! Sensor grouping tags are already set, but -f was not specified
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d --tags
|
! Sensor grouping tags are set, but -f was not specified
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -d -f -v --tags
| Sensor grouping tags are not set.
store GroupTags absent
$ vantorctl -s --tags=aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa
|
store GroupTags "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
$ vantorctl -g --tags
| tags=aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa.

== tags: -f replaces a stored list
store GroupTags "a,b"
$ vantorctl -s -f --tags=c
|
store GroupTags "c"

== tags: a get prints the stored bytes
store GroupTags "x-1,Y.2"
$ vantorctl -g --tags
| tags=x-1,Y.2.

== tags of an invalid format are refused, even with -f
store GroupTags "old"
$ vantorctl -s -f -v --tags=,a
|
! Sensor grouping tags have an invalid format
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f -v --tags=a,
|
! Sensor grouping tags have an invalid format
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f -v --tags=a,,b
|
! Sensor grouping tags have an invalid format
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f -v --tags='a b'
|
! Sensor grouping tags have an invalid format
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f -v --tags=a:b
|
! Sensor grouping tags have an invalid format
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f -v --tags=#ab
|
! Sensor grouping tags have an invalid format
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f -v --tags=
|
! Sensor grouping tags have an invalid format
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f -v --tags=café
|
! Sensor grouping tags have an invalid format
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f -v --tags="$(printf 'a\177')"
|
! Sensor grouping tags have an invalid format
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
$ vantorctl -s -f -v --tags=aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa
|
! Sensor grouping tags have an invalid format
! ERROR: failed to process the option --tags
! Run 'vantorctl -h' OR 'vantorctl --help' for usage help
[1]
