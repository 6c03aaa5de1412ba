# The log's formatter through runtime_probe: "format SIZE FORMAT ARG..." formats a message into a
# buffer of SIZE bytes and shows the length, the buffer (# is what it held before) and, after |,
# the two bytes past it. Arguments: a number, f:REAL, s:TEXT, w:UTF-16 TEXT, Z:TEXT or
# Z:LENGTH,MAXIMUM:TEXT (ANSI_STRING*), wZ:WORD (UNICODE_STRING*), guid, null, and n (an int that
# %n may not write, shown as "written" if it did).

== the runtime's own conversions
$ runtime_probe format 64 '[%Z][%wZ][%lZ][%wZ][%Z][%Z][%Z]' Z:3,6:hello wZ:ab wZ:ab wZ:@5,6:u:263A,0071,007A Z:2,2:null Z:0,0:null Z:1,4:xyz
| format STATUS=0x00000000 30 [hel][ab][ab][:q][(null)][][x]\0{#*33}|##
$ runtime_probe format 64 '%C%lc%wc|%S|%ls|%ws.' 0x141 0x79 0x7A w:one w:two w:
| format STATUS=0x00000000 13 Ayz|one|two|.\0{#*50}|##
$ runtime_probe format 64 '[%Z]|[%wZ]|[%S]|%!GUID!|%s|%p' null null null null null null
| format STATUS=0x00000000 46 [(null)]|[(null)]|[(null)]|(null)|(null)|(nil)\0{#*17}|##
$ runtime_probe format 96 '%!GUID! %!STATUS! %!TIMESTAMP!' guid 0xC0000225 0x1d9f00000000abcd
| format STATUS=0x00000000 79 {0123abcd-ef01-2345-6789-abcdef012345} STATUS=0xC0000225 Time: 1d9f00000000abcd\0{#*16}|##
$ runtime_probe format 64 'open %s: %!ERRNO! %!ERRNO!' s:/x 2 0
| format STATUS=0x00000000 62 open /x: ERRNO=2 (No such file or directory) ERRNO=0 (Success)\0#|##
$ runtime_probe format 64 '100%%|%!BOGUS!|%y:%2$d|%!GUID|%!' 1
| format STATUS=0x00000000 31 100%|%!BOGUS!|%y:%2$d|%!GUID|%!\0{#*32}|##

== sized integers and standard conversions, cast to the type their length names
$ runtime_probe format 96 '%I64u|%I64d|%I64uz|%I64x' 0xFFFFFFFFFFFFFFFF 0x8000000000000000 7 0x123456789
| format STATUS=0x00000000 54 18446744073709551615|-9223372036854775808|7z|123456789\0{#*41}|##
$ runtime_probe format 96 '%Ix|%I32x|%I32u|%I32d|%i' 0xdeadbeefcafe 0x1234ABCD 0x100000005 0xFFFFFFFF -7
| format STATUS=0x00000000 29 deadbeefcafe|1234abcd|5|-1|-7\0{#*66}|##
$ runtime_probe format 96 '%d|%u|%hhd|%hd|%x|%zu|%ld|%lld|%hhu|%hu' 0x1FFFFFFFF -1 255 0x18000 0xFFFFFFFF12 0xFFFFFFFFFFFFFFFF -2 -3 0x1FF 0x1FFFF
| format STATUS=0x00000000 69 -1|4294967295|-1|-32768|ffffff12|18446744073709551615|-2|-3|255|65535\0{#*26}|##
$ runtime_probe format 96 '%*d|%-*d|%.*s|%+d|%#x|%o|%c|%5s|%-5s|' 5 42 -4 1 3 s:hello 7 255 8 0x41 s:ab s:ab
| format STATUS=0x00000000 40    42|1   |hel|+7|0xff|10|A|   ab|ab   |\0{#*55}|##
$ runtime_probe format 96 '%05.1f|%.2f|%g|%e|%a' f:3.14159 3 f:2.5 f:0.5 f:1
| format STATUS=0x00000000 34 003.1|3.00|2.5|5.000000e-01|0x1p+0\0{#*61}|##
# a real given to an integer conversion: its value, truncated; 0 from ±9.2e18 outward, just short of where 64-bit integers end
$ runtime_probe format 32 '%d|%d|%lld|%lld' f:3.7 f:-2.5 f:1e19 f:-1e19
| format STATUS=0x00000000 8 3|-2|0|0\0{#*23}|##
$ runtime_probe format 64 '%lld|%lld|%lld|%lld' f:-9.2e18 f:9.2e18 f:-9.19e18 f:9.19e18
| format STATUS=0x00000000 44 0|0|-919{0*16}|919{0*16}\0{#*19}|##
$ runtime_probe format 96 'a% %d|ab%ncd%d|end%' 1 2 n 5
| format STATUS=0x00000000 13 a 2|abcd5|end\0{#*82}|##
$ runtime_probe format 96 '%d %s %!STATUS! %wZ %I64u %S %Z|'
| format STATUS=0x00000000 50 0 (null) STATUS=0x00000000 (null) 0 (null) (null)|\0{#*45}|##

== a format ending inside a sized integer prints nothing for it
$ runtime_probe format 16 'ab%I' 42 , format 16 'ab%I3' 42 , format 16 'ab%I32' 42 , format 16 'ab%I64' 42 , format 16 'ab%I6' 42
| format STATUS=0x00000000 2 ab\0{#*13}|##
| format STATUS=0x00000000 2 ab\0{#*13}|##
| format STATUS=0x00000000 2 ab\0{#*13}|##
| format STATUS=0x00000000 2 ab\0{#*13}|##
| format STATUS=0x00000000 2 ab\0{#*13}|##

== widths and precisions are capped at 960
$ runtime_probe format 2048 '%5000d' 1 , format 2048 '%.5000d' 1 , format 2048 '%*d' 5000 1 , format 2048 '%961d' 1 , format 2048 '%960d' 1
| format STATUS=0x00000000 960 { *959}1\0{#*1087}|##
| format STATUS=0x00000000 960 {0*959}1\0{#*1087}|##
| format STATUS=0x00000000 960 { *959}1\0{#*1087}|##
| format STATUS=0x00000000 960 { *959}1\0{#*1087}|##
| format STATUS=0x00000000 960 { *959}1\0{#*1087}|##
$ runtime_probe format 2048 '%-*d|' -5000 1 , format 2048 '%.*s|' 2000 s:ab , format 2048 '%.*d' -3 7
| format STATUS=0x00000000 961 1{ *959}|\0{#*1086}|##
| format STATUS=0x00000000 3 ab|\0{#*2044}|##
| format STATUS=0x00000000 1 7\0{#*2046}|##
$ runtime_probe format 32 '%.0s|%.0d|%.*s|%.*s|%.1s|%.0f' s:abc 0 0 s:abc -1 s:abc s:abc f:2.5
| format STATUS=0x00000000 10 |||abc|a|2\0{#*21}|##
$ runtime_probe format 32 '%.5s|%.6s|%.*s' null null 7 null
| format STATUS=0x00000000 14 |(null)|(null)\0{#*17}|##

== a conversion keeps its first six flags; a seventh is dropped
$ runtime_probe format 32 '%------+5d|' 7 , format 32 '%+-----5d|' 7
| format STATUS=0x00000000 6 7    |\0{#*25}|##
| format STATUS=0x00000000 6 +7   |\0{#*25}|##

== a conversion is read up to 18 characters: one with no letter within them prints nothing, and what follows is text
$ runtime_probe format 32 '%000000000000000005.3d|' 7 , format 32 '%00000000000000005.3d|' 7
| format STATUS=0x00000000 4 .3d|\0{#*27}|##
| format STATUS=0x00000000 3 3d|\0{#*28}|##

== cutting: the whole text with exactly its room, one character less for each byte less
$ runtime_probe format 18 '%!STATUS!' 0xC0000225 , format 17 '%!STATUS!' 0xC0000225 , format 39 %!GUID! guid , format 38 %!GUID! guid
| format STATUS=0x00000000 17 STATUS=0xC0000225\0|##
| format STATUS=0x00000000 16 STATUS=0xC000022\0|##
| format STATUS=0x00000000 38 {0123abcd-ef01-2345-6789-abcdef012345}\0|##
| format STATUS=0x00000000 37 {0123abcd-ef01-2345-6789-abcdef012345\0|##
$ runtime_probe format 4 %s s:abc , format 3 %s s:abc , format 4 %Z Z:abc , format 3 %Z Z:abc , format 4 %wZ wZ:abc , format 3 %wZ wZ:abc
| format STATUS=0x00000000 3 abc\0|##
| format STATUS=0x00000000 2 ab\0|##
| format STATUS=0x00000000 3 abc\0|##
| format STATUS=0x00000000 2 ab\0|##
| format STATUS=0x00000000 3 abc\0|##
| format STATUS=0x00000000 2 ab\0|##
$ runtime_probe format 4 %S w:abc , format 3 %S w:abc , format 4 %d 123 , format 3 %d 123 , format 2 %C 0x41 , format 1 %C 0x41
| format STATUS=0x00000000 3 abc\0|##
| format STATUS=0x00000000 2 ab\0|##
| format STATUS=0x00000000 3 123\0|##
| format STATUS=0x00000000 2 12\0|##
| format STATUS=0x00000000 1 A\0|##
| format STATUS=0x00000000 0 \0|##
$ runtime_probe format 4 abc , format 3 abc , format 2 abc , format 1 abc , format 5 'a%%b' , format 3 'a%%b' , format 2 %% , format 1 %%
| format STATUS=0x00000000 3 abc\0|##
| format STATUS=0x00000000 2 ab\0|##
| format STATUS=0x00000000 1 a\0|##
| format STATUS=0x00000000 0 \0|##
| format STATUS=0x00000000 3 a%b\0#|##
| format STATUS=0x00000000 2 a%\0|##
| format STATUS=0x00000000 1 %\0|##
| format STATUS=0x00000000 0 \0|##
$ runtime_probe format 6 '%s%s' s:abc s:def , format 7 '%s%s' s:abc s:def , format 8 '%s%s' s:abc s:def
| format STATUS=0x00000000 5 abcde\0|##
| format STATUS=0x00000000 6 abcdef\0|##
| format STATUS=0x00000000 6 abcdef\0#|##
$ runtime_probe format 20 '%!TIMESTAMP!' 0x1d9f00000000abcd , format 22 '%!TIMESTAMP!' 0x1d9f00000000abcd , format 23 '%!TIMESTAMP!' 0x1d9f00000000abcd
| format STATUS=0x00000000 19 Time: 1d9f00000000a\0|##
| format STATUS=0x00000000 21 Time: 1d9f00000000abc\0|##
| format STATUS=0x00000000 22 Time: 1d9f00000000abcd\0|##
$ runtime_probe format 12 '%!ERRNO!' 2 , format 30 '%!ERRNO!' 2 , format 10 %I64u 0xFFFFFFFFFFFFFFFF
| format STATUS=0x00000000 11 ERRNO=2 (No\0|##
| format STATUS=0x00000000 29 ERRNO=2 (No such file or dire\0|##
| format STATUS=0x00000000 9 184467440\0|##

== the null marker needs 8 bytes of room; without them the null argument prints nothing
$ runtime_probe format 8 %wZ null , format 7 %wZ null , format 9 x%S null , format 8 x%Sy null , format 8 %Z null , format 7 %s null
| format STATUS=0x00000000 6 (null)\0#|##
| format STATUS=0x00000000 0 \0######|##
| format STATUS=0x00000000 7 x(null)\0#|##
| format STATUS=0x00000000 2 xy\0#####|##
| format STATUS=0x00000000 6 (null)\0#|##
| format STATUS=0x00000000 6 (null)\0|##
$ runtime_probe format 8 %!GUID! null , format 7 %!GUID!x null , format 8 %wZ wZ:@2,2:null , format 7 %Z Z:1,1:null
| format STATUS=0x00000000 6 (null)\0#|##
| format STATUS=0x00000000 1 x\0#####|##
| format STATUS=0x00000000 6 (null)\0#|##
| format STATUS=0x00000000 0 \0######|##

== a whole line's smallest buffers
$ runtime_probe line 0 x , line null 5 x , line 1 x , line 2 x
| line STATUS=0x00000000 0 |##
| line STATUS=0x00000000 0 |##
| line STATUS=0x00000000 0 \0|##
| line STATUS=0x00000000 1 \x09\0|##
# the time stamp's first letters (the day's name) fill what is left before the tab
$ runtime_probe line 3 x , line 4 x | sed -E 's/ [A-Za-z]+\\x09/ <day>\\x09/'
| line STATUS=0x00000000 2 <day>\x09\0|##
| line STATUS=0x00000000 3 <day>\x09\0|##
