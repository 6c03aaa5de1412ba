# Another process holds the store's lock for longer than the 10-second bound: the run gives up
# after the bound, fails and leaves the store alone.

== a lock held elsewhere is waited for 10 seconds at most
store TRACE "info"
sh flock -s /opt/Marrowlight/vantorstore sleep 16 & sleep 0.5
$ t=$(date +%s%N); vantorctl -s --trace=warn; rc=$?; ms=$((($(date +%s%N) - t) / 1000000)); [ $ms -ge 9900 ] && [ $ms -lt 15000 ] && echo "gave up after 9.9 to 15 s"; exit $rc
|
| gave up after 9.9 to 15 s
! ERROR: unable to initialize simple store
[1]
log <time> The store is locked by another process; gave up after 10 seconds\t(<tid>) [0] (esc)
