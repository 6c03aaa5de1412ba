# The runtime's file operations that the tool does not call, through runtime_probe: each line
# of output is an operation, its status and its out values. The statuses seen here:
#   0x00000000 success           0x8000001A no more entries   0xC0000001 unsuccessful
#   0xC0000008 invalid handle    0xC000000D invalid parameter 0xC00000EF/F0 invalid parameter 1/2
#   0xC0000022 access denied     0xC0000034 name not found    0xC0000098 file invalid
#   0xC000009A insufficient resources                         0xC00004B4 path not expanded
# Failures of write and pwrite come through strace, with the leak check off (it cannot run under
# ptrace).
needs strace

== kernel-style opens: the descriptor is written on every path but an unconvertible one; a relative path is the working directory's
file /run/d/f "hello"
fifo /run/d/pipe
link /run/d/link -> /run/d/f
file /run/d/g "gone"
$ runtime_probe open /run/d/f 1 0 , read 2 , open /run/d/missing 1 0 , read 2 , open-no-out , open-no-out regular
| open STATUS=0x00000000
| read STATUS=0x00000000 2 'he'
| open STATUS=0xC0000034
| read STATUS=0xC0000001 0 ''
| open-no-out STATUS=0xC000000D
| open-no-out STATUS=0xC000000D
log <time> Couldn't open file /run/d/missing: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Couldn't read from file: ERRNO=9 (Bad file descriptor)\t(<tid>) [0] (esc)
$ cd /run/d && runtime_probe open f 1 0 , read 2 , open-regular f 1 0 , read 2 , delete g
| open STATUS=0x00000000
| read STATUS=0x00000000 2 'he'
| open-regular STATUS=0x00000000
| read STATUS=0x00000000 2 'he'
| delete STATUS=0x00000000
absent /run/d/g
$ runtime_probe open-u /run/d/f 1 0 , open-u bad 1 0 , read 2 , open-regular-u bad 1 0 , read 2 , close , close
| open-u STATUS=0x00000000
| open-u STATUS=0xC0000001
| read STATUS=0x00000000 2 'he'
| open-regular-u STATUS=0xC0000001
| read STATUS=0x00000000 2 'll'
| close STATUS=0x00000000
| close STATUS=0xC0000001
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
$ runtime_probe open-regular /run/d/pipe 1 0 , read 1 , open-regular-u /run/d/f 3 0 , write 'HE' , open-u null 1 0
| open-regular STATUS=0xC0000098
| read STATUS=0xC0000001 0 ''
| open-regular-u STATUS=0x00000000
| write STATUS=0x00000000 2
| open-u STATUS=0xC000000D
log <time> Refusing /run/d/pipe: not a regular file (mode 10000)\t(<tid>) [0] (esc)
log <time> Couldn't read from file: ERRNO=9 (Bad file descriptor)\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '(null)' to UTF-8: STATUS=0xC000000D\t(<tid>) [0] (esc)
file /run/d/f "HEllo"
$ runtime_probe open /run/d/f 1 2 , open /run/d/f 1 0x40000 , open null 1 0 , open /run/d/f 4 0 , read 1
| open STATUS=0xC0000022
| open STATUS=0xC000000D
| open STATUS=0xC000000D
| open STATUS=0xC000000D
| read STATUS=0xC0000001 0 ''
log <time> Couldn't read from file: ERRNO=9 (Bad file descriptor)\t(<tid>) [0] (esc)
$ runtime_probe open /run/d/link 1 1 , read 2 , open /run/d/link 1 0x4000 , open /run/d/link 1 0x4001
| open STATUS=0x00000000
| read STATUS=0x00000000 2 'HE'
| open STATUS=0xC0000001
| open STATUS=0xC0000001
log <time> Couldn't open file /run/d/link: ERRNO=40 (Too many levels of symbolic links)\t(<tid>) [0] (esc)
log <time> Couldn't open file /run/d/link: ERRNO=40 (Too many levels of symbolic links)\t(<tid>) [0] (esc)

== the owning open: arguments checked before any call, the errno kept for the caller
file /run/d/keep "content"
fifo /run/d/pipe
$ runtime_probe open-owner /run/d/new 0 1 , open-owner /run/d/new 4 1 , open-owner /run/d/new 3 0x2001 , open-owner /run/d/new 1 3 , open-owner /run/d/keep 1 3
| open-owner STATUS=0xC000000D error 0
| open-owner STATUS=0xC000000D error 0
| open-owner STATUS=0xC000000D error 0
| open-owner STATUS=0xC0000022 error 0
| open-owner STATUS=0xC0000022 error 0
$ runtime_probe open-owner /run/d/keep 1 0 , flags , write x , open-owner /run/d/keep 2 0 , flags , open-owner /run/d/keep 3 0x400 , flags , open-owner /run/d/keep 1 0x400 , flags , open-owner /run/d/made 3 1 , flags
| open-owner STATUS=0x00000000 error 0
| flags STATUS=0x00000000 cloexec read
| write STATUS=0xC0000001 0
| open-owner STATUS=0x00000000 error 0
| flags STATUS=0x00000000 cloexec write
| open-owner STATUS=0x00000000 error 0
| flags STATUS=0x00000000 inherited both
| open-owner STATUS=0x00000000 error 0
| flags STATUS=0x00000000 inherited read
| open-owner STATUS=0x00000000 error 0
| flags STATUS=0x00000000 cloexec both
log <time> Couldn't write to file: ERRNO=9 (Bad file descriptor)\t(<tid>) [0] (esc)
file /run/d/made ""
$ runtime_probe open-owner /run/d/keep 1 0x801 , open-owner /run/d/none 1 0x200 , open-owner /run/d/none 1 0 , open-owner /run/d/keep/sub 1 0x200
| open-owner STATUS=0xC0000001 error 17
| open-owner STATUS=0xC0000034 error 2
| open-owner STATUS=0xC0000034 error 2
| open-owner STATUS=0xC0000001 error 20
log <time> Couldn't open file /run/d/keep: ERRNO=17 (File exists)\t(<tid>) [0] (esc)
log <time> Couldn't open file /run/d/none: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Couldn't open file /run/d/keep/sub: ERRNO=20 (Not a directory)\t(<tid>) [0] (esc)
$ runtime_probe open-owner /run/d/pipe 1 0 regular , open-owner /run/d/keep 1 0 regular , read 3
| open-owner STATUS=0xC0000098 error 22
| open-owner STATUS=0x00000000 error 0
| read STATUS=0x00000000 3 'con'
log <time> Refusing /run/d/pipe: not a regular file (mode 10000)\t(<tid>) [0] (esc)

== a rename without replacing keeps both files
file /run/a "source"
file /run/b "target"
$ runtime_probe rename /run/a /run/b , rename /run/a /run/b replace , rename /run/gone /run/c replace , rename bad /run/c
| rename STATUS=0xC0000001
| rename STATUS=0x00000000
| rename STATUS=0xC0000034
| rename STATUS=0xC0000001
log <time> Error renaming file '/run/gone' to '/run/c;: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert filename '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
absent /run/a
file /run/b "source"

== creation, truncation and the offset an open leaves (at the end of a file just made, too)
file /run/d/f "hello"
file /run/d/t "xyz"
$ umask 077 && runtime_probe open /run/d/new 2 5 , write abc , mode /run/d/new , open /run/d/f 2 4 , write '!' , open /run/d/t 3 2 , length
| open STATUS=0x00000000
| write STATUS=0x00000000 3
| mode STATUS=0x00000000 0660
| open STATUS=0x00000000
| write STATUS=0x00000000 1
| open STATUS=0x00000000
| length STATUS=0x00000000 0 allocated 0
file /run/d/f "hello!"
file /run/d/new "abc"
file /run/d/t ""
$ runtime_probe opendir /run/d , dirfd , open-at f 3 4 , write '?' , open-at null 1 0 , open-at missing 1 0
| opendir STATUS=0x00000000
| dirfd STATUS=0x00000000
| open-at STATUS=0x00000000
| write STATUS=0x00000000 1
| open-at STATUS=0xC000000D
| open-at STATUS=0xC0000034
log <time> Couldn't open file missing: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
file /run/d/f "hello!?"

== length, allocation and offsets
file /run/f "0123456789"
$ runtime_probe open /run/f 3 0 , read 4 , length , length no-allocation , seek 0 1 , set-length 5000 , length , set-length 3 , read 10 , seek 1 0 , read 10
| open STATUS=0x00000000
| read STATUS=0x00000000 4 '0123'
| length STATUS=0x00000000 10 allocated 4096
| length STATUS=0x00000000 10
| seek STATUS=0x00000000 4
| set-length STATUS=0x00000000
| length STATUS=0x00000000 5000 allocated 4096
| set-length STATUS=0x00000000
| read STATUS=0x00000000 0 ''
| seek STATUS=0x00000000 1
| read STATUS=0x00000000 2 '12'
file /run/f "012"
$ runtime_probe open /run/f 3 0 , seek 4 0 , seek 2 1 , seek -1 2 , seek 0 3 , seek -20 1 , seek 5 0 , close , length , set-length 1 , seek 0 0
| open STATUS=0x00000000
| seek STATUS=0x00000000 4
| seek STATUS=0x00000000 6
| seek STATUS=0x00000000 2
| seek STATUS=0xC000000D 0
| seek STATUS=0xC0000001 0
| seek STATUS=0x00000000 5
| close STATUS=0x00000000
| length STATUS=0xC0000001 0 allocated 0
| set-length STATUS=0xC0000001
| seek STATUS=0xC0000001 0
log <time> Couldn't set file offset: ERRNO=22 (Invalid argument)\t(<tid>) [0] (esc)
log <time> Couldn't get file offset: ERRNO=9 (Bad file descriptor)\t(<tid>) [0] (esc)
log <time> Couldn't truncate or extend file: ERRNO=9 (Bad file descriptor)\t(<tid>) [0] (esc)
log <time> Couldn't set file offset: ERRNO=9 (Bad file descriptor)\t(<tid>) [0] (esc)
$ runtime_probe open /run/f 1 0 , set-length 0
| open STATUS=0x00000000
| set-length STATUS=0xC0000001
log <time> Couldn't truncate or extend file: ERRNO=22 (Invalid argument)\t(<tid>) [0] (esc)
$ runtime_probe open /run/empty 3 1 , length
| open STATUS=0x00000000
| length STATUS=0x00000000 0 allocated 0
file /run/empty ""

== reads and writes at an offset leave the descriptor's own offset alone
file /run/f "0123456789"
$ runtime_probe open /run/f 3 0 , pread 4 2 , pread 4 8 , pread 4 10 , pread 4 11 , pread 0 0 , seek 0 1 , pwrite ab 3 , pwrite d 13 , pwrite '' 0 , seek 0 1 , read 3
| open STATUS=0x00000000
| pread STATUS=0x00000000 4 '2345'
| pread STATUS=0x00000000 2 '89'
| pread STATUS=0xC0000011 0 ''
| pread STATUS=0xC0000011 0 ''
| pread STATUS=0xC0000011 0 ''
| seek STATUS=0x00000000 0
| pwrite STATUS=0x00000000 2
| pwrite STATUS=0x00000000 1
| pwrite STATUS=0x00000000 0
| seek STATUS=0x00000000 0
| read STATUS=0x00000000 3 '012'
file /run/f hex 3031326162353637383900000064
$ runtime_probe open /run/f 1 0 , pwrite x 0 , close , pread 1 0
| open STATUS=0x00000000
| pwrite STATUS=0xC0000001 0
| close STATUS=0x00000000
| pread STATUS=0xC0000001 0 ''
log <time> Couldn't write to file: ERRNO=9 (Bad file descriptor)\t(<tid>) [0] (esc)
log <time> Couldn't read from file: ERRNO=9 (Bad file descriptor)\t(<tid>) [0] (esc)

== deletes, relative to a directory or not
file /run/d/a "a"
file /run/d/b "b"
file /run/d/c "c"
dir /run/d/sub
$ runtime_probe delete /run/d/a , delete /run/d/a , delete bad , delete null , delete /run/d/sub
| delete STATUS=0x00000000
| delete STATUS=0xC0000034
| delete STATUS=0xC0000001
| delete STATUS=0xC000000D
| delete STATUS=0xC0000001
log <time> Could not delete file '/run/d/a': ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '(null)' to UTF-8: STATUS=0xC000000D\t(<tid>) [0] (esc)
log <time> Could not delete file '/run/d/sub': ERRNO=21 (Is a directory)\t(<tid>) [0] (esc)
absent /run/d/a
$ runtime_probe opendir-a /run/d , dirfd , delete-at b , delete-at-a c , delete-at-a null , delete-at-a c , delete-at bad
| opendir-a STATUS=0x00000000
| dirfd STATUS=0x00000000
| delete-at STATUS=0x00000000
| delete-at-a STATUS=0x00000000
| delete-at-a STATUS=0xC000000D
| delete-at-a STATUS=0xC0000034
| delete-at STATUS=0xC0000001
log <time> Could not delete file 'c': ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
absent /run/d/b
absent /run/d/c

== a safe delete takes only a canonical absolute path
file /run/d/f "f"
link /run/l -> /run/d/f
link /run/ld -> /run/d
$ runtime_probe safe-delete run/d/f , safe-delete /run//d/f , safe-delete /run/d/./f , safe-delete /run/ld/f , safe-delete /run/l
| safe-delete STATUS=0xC0000098
| safe-delete STATUS=0xC0000098
| safe-delete STATUS=0xC0000098
| safe-delete STATUS=0xC0000098
| safe-delete STATUS=0xC0000098
log <time> Found non-canonical path during safe delete 'run/d/f'\t(<tid>) [0] (esc)
log <time> Found non-canonical path during safe delete '/run//d/f'\t(<tid>) [0] (esc)
log <time> Found non-canonical path during safe delete '/run/d/./f'\t(<tid>) [0] (esc)
log <time> Found non-canonical path during safe delete '/run/ld/f'\t(<tid>) [0] (esc)
log <time> Found non-canonical path during safe delete '/run/l'\t(<tid>) [0] (esc)
$ runtime_probe safe-delete null , safe-delete bad , safe-delete /run/d/gone , safe-delete /run/d/f , safe-delete /run/d
| safe-delete STATUS=0xC000000D
| safe-delete STATUS=0xC00004B4
| safe-delete STATUS=0xC00004B4
| safe-delete STATUS=0x00000000
| safe-delete STATUS=0xC0000001
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Couldn't expand path '/\x00': STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not resolve path /run/d/gone: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Could not expand path '/run/d/gone': STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Couldn't expand path '/run/d/gone': STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not delete file '/run/d': ERRNO=21 (Is a directory)\t(<tid>) [0] (esc)
log <time> Could not delete '/run/d': STATUS=0xC0000001\t(<tid>) [0] (esc)
absent /run/d/f

== directories made whole or up to the last component
dir /run/top
$ umask 0 && runtime_probe mkdir /run/top/a , mode /run/top/a , mkdir /run/top/a , mkdir /run/top/b/c trim , mkdir /run/top/e/ trim , mkdir /run/top/x/y/z
| mkdir STATUS=0x00000000
| mode STATUS=0x00000000 0770
| mkdir STATUS=0x00000000
| mkdir STATUS=0x00000000
| mkdir STATUS=0x00000000
| mkdir STATUS=0xC0000001
log <time> Could not create directory '/run/top/x/y/z': ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
dir /run/top/a
dir /run/top/b
dir /run/top/e
$ runtime_probe mkdir /x trim , mkdir x trim , mkdir / trim , mkdir null , mkdir bad , mkdir /run/top/f/g trim
| mkdir STATUS=0xC000000D
| mkdir STATUS=0xC000000D
| mkdir STATUS=0xC000000D
| mkdir STATUS=0xC000000D
| mkdir STATUS=0xC0000001
| mkdir STATUS=0x00000000
log <time> Zero-length directory after trimming!\t(<tid>) [0] (esc)
log <time> Zero-length directory after trimming!\t(<tid>) [0] (esc)
log <time> Zero-length directory after trimming!\t(<tid>) [0] (esc)
log <time> Could not convert unicode path '(null)' to UTF-8: STATUS=0xC000000D\t(<tid>) [0] (esc)
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode path '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
dir /run/top/f

== reading a directory: names, patterns, the end and what a failure leaves
file /run/d/alpha.conf "a"
file /run/d/beta.conf "b"
file /run/d/gamma.log "c"
dir /run/d/sub
$ runtime_probe opendir /run/d , list , list , closedir
| opendir STATUS=0x00000000
| list STATUS=0x8000001A cleared 0 alpha.conf/2 beta.conf/2 gamma.log/2 sub/2
| list STATUS=0x8000001A cleared 0
| closedir STATUS=0x00000000
$ runtime_probe opendir /run/d , list *.conf , closedir , opendir /run/d , list g* , closedir , opendir /run/d , list nomatch
| opendir STATUS=0x00000000
| list STATUS=0x8000001A cleared 0 alpha.conf/2 beta.conf/2
| closedir STATUS=0x00000000
| opendir STATUS=0x00000000
| list STATUS=0x8000001A cleared 0 gamma.log/2
| closedir STATUS=0x00000000
| opendir STATUS=0x00000000
| list STATUS=0x8000001A cleared 0
$ runtime_probe opendir /run/d , list bad , list null no-out , closedir , list , closedir , dirfd , opendir /run/d , dirfd no-out , closedir
| opendir STATUS=0x00000000
| list STATUS=0xC0000001 cleared 0
| list STATUS=0xC00000F0
| closedir STATUS=0x00000000
| list STATUS=0xC00000EF cleared 0
| closedir STATUS=0xC00000EF
| dirfd STATUS=0xC00000EF
| opendir STATUS=0x00000000
| dirfd STATUS=0xC00000F0
| closedir STATUS=0x00000000
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode string to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
$ runtime_probe opendir /run/missing , opendir null , opendir /run/d no-out , opendir bad , opendir-a null , opendir-a /run/d no-out , opendir-a /run/missing
| opendir STATUS=0xC0000008
| opendir STATUS=0xC00000EF
| opendir STATUS=0xC00000F0
| opendir STATUS=0xC0000001
| opendir-a STATUS=0xC00000EF
| opendir-a STATUS=0xC00000F0
| opendir-a STATUS=0xC0000008
log <time> Could not open directory '/run/missing': ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode directory name '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not open directory '/run/missing': ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)

== a name that is not UTF-8 ends the walk as a failure
file /run/d/a "a"
sh touch "$(printf '/run/d/\377')"
$ runtime_probe opendir /run/d , list
| opendir STATUS=0x00000000
| list STATUS=0xC0000001 cleared 0
log <time> Could not convert entry to unicode string '\xff': STATUS=0xC0000001\t(<tid>) [0] (esc)

== file times in 100-ns ticks since 1601 (on a mount without access-time updates)
sh mkdir /run/t && mount -t tmpfs -o noatime tmpfs /run/t && echo f >/run/t/f
sh touch -a -d @1000000000.25 /run/t/f && touch -m -d @1700000000.1234567 /run/t/f
$ runtime_probe times /run/t/f , times /run/t/f m , times /run/t/f a , times-u /run/t/f ac , times /run/missing , times-u /run/missing , times null , times-u bad
| times STATUS=0x00000000 a 126444736002500000 m 133444736001234567 c
| times STATUS=0x00000000 a 0 m 133444736001234567
| times STATUS=0x00000000 a 126444736002500000 m 0
| times-u STATUS=0x00000000 a 126444736002500000 m 0 c
| times STATUS=0xC0000001 a 0 m 0
| times-u STATUS=0xC0000001 a 0 m 0
| times STATUS=0xC000000D a 0 m 0
| times-u STATUS=0xC0000001 a 0 m 0
log <time> Couldn't stat file /run/missing: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Couldn't stat file /run/missing: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Could not get file times for filename '/run/missing': STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)

== resolving and expanding paths
file /run/d/f "f"
link /run/l -> /run/d/f
sh touch "$(printf '/run/\377')" && ln -s "$(printf '/run/\377')" /run/odd
$ runtime_probe resolve /run/l , resolve /run//d/../d/f , resolve /run/d/fXYZ 8 , resolve /run/missing , resolve null
| resolve STATUS=0x00000000 '/run/d/f' 8/4096
| resolve STATUS=0x00000000 '/run/d/f' 8/4096
| resolve STATUS=0x00000000 '/run/d/f' 8/4096
| resolve STATUS=0xC0000001 '' 0/0
| resolve STATUS=0xC000000D '' 0/0
log <time> Could not resolve path /run/missing: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
$ runtime_probe expand /run/l , expand run/d , expand /run/missing , expand null , expand bad
| expand STATUS=0x00000000 '/run/d/f'
| expand STATUS=0x00000000 '/run/d'
| expand STATUS=0xC0000001 ''
| expand STATUS=0xC000000D ''
| expand STATUS=0xC0000001 ''
log <time> Could not resolve path /run/missing: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Could not expand path '/run/missing': STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
$ GLIBC_TUNABLES=glibc.malloc.tcache_count=0 runtime_probe heap mark , resolve /run/l , resolve /run/l , resolve /run/missing , expand /run/l /run/d , expand /run/odd , expand /run/missing , expand bad , open-u /run/d/f 1 0 , close , open-u /run/missing 1 0 , times-u /run/missing , heap held
| heap STATUS=0x00000000
| resolve STATUS=0x00000000 '/run/d/f' 8/4096
| resolve STATUS=0x00000000 '/run/d/f' 8/4096
| resolve STATUS=0xC0000001 '' 0/0
| expand STATUS=0x00000000 '/run/d'
| expand STATUS=0xC000009A ''
| expand STATUS=0xC0000001 ''
| expand STATUS=0xC0000001 ''
| open-u STATUS=0x00000000
| close STATUS=0x00000000
| open-u STATUS=0xC0000034
| times-u STATUS=0xC0000001 a 0 m 0
| heap STATUS=0x00000000 held 0
log <time> Could not resolve path /run/missing: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Could not convert UTF8 to Unicode path '/run/\xff'. STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not resolve path /run/missing: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Could not expand path '/run/missing': STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Error getting buffer length: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/\x00' to UTF-8: STATUS=0xC0000001\t(<tid>) [0] (esc)
log <time> Couldn't open file /run/missing: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Couldn't stat file /run/missing: ERRNO=2 (No such file or directory)\t(<tid>) [0] (esc)
log <time> Could not get file times for filename '/run/missing': STATUS=0xC0000001\t(<tid>) [0] (esc)

== a write that fails says why; one that makes no progress is an I/O error, not a loop
file /run/f "0123"
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/f -e trace=write -e inject=write:error=ENOSPC:when=1 runtime_probe open /run/f 3 0 , write abc
| open STATUS=0x00000000
| write STATUS=0xC0000001 0
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/f -e trace=write -e inject=write:retval=0:when=1 runtime_probe open /run/f 3 0 , write abc
| open STATUS=0x00000000
| write STATUS=0xC0000001 0
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/f -e trace=pwrite64 -e inject=pwrite64:error=ENOSPC:when=1 runtime_probe open /run/f 3 0 , pwrite abc 1
| open STATUS=0x00000000
| pwrite STATUS=0xC0000001 0
log <time> Couldn't write to file: ERRNO=28 (No space left on device)\t(<tid>) [0] (esc)
$ ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" strace -f -qq -o /dev/null -P /run/f -e trace=pwrite64 -e inject=pwrite64:retval=0:when=1 runtime_probe open /run/f 3 0 , pwrite abc 1
| open STATUS=0x00000000
| pwrite STATUS=0xC0000001 0
log <time> Couldn't write to file: ERRNO=5 (Input/output error)\t(<tid>) [0] (esc)

== with standard input closed and no log, descriptor 0 is a descriptor like any other
dir /var/log/vantorctl.log
file /run/d/f "abc"
$ runtime_probe events 1 0 1 , signalled 0 <&-
| events STATUS=0x00000000
| signalled STATUS=0x00000000 set
$ runtime_probe opendir /run/d , dirfd , open-at f 1 0 , read 3 <&-
| opendir STATUS=0x00000000
| dirfd STATUS=0x00000000
| open-at STATUS=0x00000000
| read STATUS=0x00000000 3 'abc'
