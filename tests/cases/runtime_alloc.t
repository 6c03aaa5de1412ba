# The runtime's operations when the pool refuses a block, through runtime_probe
# ("fail-alloc N": the Nth pool allocation from there on fails, the others
# succeed). Each says so (its status, or a null block) and writes no text to
# its out values; nothing allocated before the refusal stays on the heap.
#   0xC000009A insufficient resources   0xC0000017 no memory

== string buffers, objects and conversions
$ GLIBC_TUNABLES=glibc.malloc.tcache_count=0 runtime_probe heap mark , fail-alloc 1 , pool 5 2 , fail-alloc 1 , object 16 , fail-alloc 1 , dup 1 abc , fail-alloc 1 , to-utf8 abc , fail-alloc 1 , from-utf8 abc , fail-alloc 1 , to-ansi abc , heap held
| heap STATUS=0x00000000
| fail-alloc STATUS=0x00000000
| pool STATUS=0x00000000 null
| fail-alloc STATUS=0x00000000
| object STATUS=0x00000000 null
| fail-alloc STATUS=0x00000000
| dup STATUS=0xC0000017 0/0 no buffer
| fail-alloc STATUS=0x00000000
| to-utf8 STATUS=0xC000009A 99 null
| fail-alloc STATUS=0x00000000
| from-utf8 STATUS=0xC0000017 2/2 null
| fail-alloc STATUS=0x00000000
| to-ansi STATUS=0xC0000017 0/0 null
| heap STATUS=0x00000000 held 0
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Couldn't allocate buffer for utf-8 string\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)


== locks whose block is allocated
$ GLIBC_TUNABLES=glibc.malloc.tcache_count=0 runtime_probe heap mark , fail-alloc 1 , mutex init , fail-alloc 1 , recursive init , heap held
| heap STATUS=0x00000000
| fail-alloc STATUS=0x00000000
| mutex STATUS=0xC000009A state C000A003 no block
| fail-alloc STATUS=0x00000000
| recursive STATUS=0xC000009A state C000A003 no block
| heap STATUS=0x00000000 held 0
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)

== paths: the counted path's copy, then the result buffer
file /run/d/f "f"
$ GLIBC_TUNABLES=glibc.malloc.tcache_count=0 runtime_probe heap mark , fail-alloc 1 , resolve /run/d/fXYZ 8 , fail-alloc 2 , resolve /run/d/fXYZ 8 , fail-alloc 1 , resolve /run/d/f , heap held
| heap STATUS=0x00000000
| fail-alloc STATUS=0x00000000
| resolve STATUS=0xC000009A '' 0/0
| fail-alloc STATUS=0x00000000
| resolve STATUS=0xC000009A '' 0/0
| fail-alloc STATUS=0x00000000
| resolve STATUS=0xC000009A '' 0/0
| heap STATUS=0x00000000 held 0
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Failed to allocate a buffer for realpath\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Failed to allocate a buffer for realpath\t(<tid>) [0] (esc)
$ GLIBC_TUNABLES=glibc.malloc.tcache_count=0 runtime_probe heap mark , fail-alloc 1 , expand /run/d/f , fail-alloc 2 , expand /run/d/f , fail-alloc 3 , expand /run/d/f , heap held
| heap STATUS=0x00000000
| fail-alloc STATUS=0x00000000
| expand STATUS=0xC000009A ''
| fail-alloc STATUS=0x00000000
| expand STATUS=0xC000009A ''
| fail-alloc STATUS=0x00000000
| expand STATUS=0xC000009A ''
| heap STATUS=0x00000000 held 0
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Couldn't allocate buffer for utf-8 string\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/run/d/f' to UTF-8: STATUS=0xC000009A\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Failed to allocate a buffer for realpath\t(<tid>) [0] (esc)
log <time> Could not expand path '/run/d/f': STATUS=0xC000009A\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Could not convert UTF8 to Unicode path '/run/d/f'. STATUS=0xC0000017\t(<tid>) [0] (esc)
$ GLIBC_TUNABLES=glibc.malloc.tcache_count=0 runtime_probe heap mark , fail-alloc 1 , open-u /run/d/f 1 0 , fail-alloc 1 , times-u /run/d/f , fail-alloc 1 , delete /run/d/f , heap held
| heap STATUS=0x00000000
| fail-alloc STATUS=0x00000000
| open-u STATUS=0xC000009A
| fail-alloc STATUS=0x00000000
| times-u STATUS=0xC000009A a 0 m 0
| fail-alloc STATUS=0x00000000
| delete STATUS=0xC000009A
| heap STATUS=0x00000000 held 0
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Couldn't allocate buffer for utf-8 string\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/run/d/f' to UTF-8: STATUS=0xC000009A\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Couldn't allocate buffer for utf-8 string\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/run/d/f' to UTF-8: STATUS=0xC000009A\t(<tid>) [0] (esc)
log <time> Allocation failure.\t(<tid>) [0] (esc)
log <time> Couldn't allocate buffer for utf-8 string\t(<tid>) [0] (esc)
log <time> Could not convert unicode filename '/run/d/f' to UTF-8: STATUS=0xC000009A\t(<tid>) [0] (esc)
