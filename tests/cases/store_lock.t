# Another process holds the store's lock: the run waits for it at most 10 seconds, and then works
# on the file the store's path names, never on one that was renamed over or removed meanwhile.

== a lock held elsewhere is waited for 10 seconds at most
store TRACE "info"
sh flock -s /opt/Marrowlight/vantorstore sleep 16 & until ! flock -n /opt/Marrowlight/vantorstore true; do sleep 0.01; done
$ t=$(date +%s%N); vantorctl -s --trace=warn; rc=$?; ms=$((($(date +%s%N) - t) / 1000000)); [ $ms -ge 9900 ] && [ $ms -lt 15000 ] && echo "gave up after 9.9 to 15 s"; exit $rc
|
| gave up after 9.9 to 15 s
! ERROR: cannot open /opt/Marrowlight/vantorstore: another process holds its lock; see /var/log/vantorctl.log
! ERROR: unable to initialize simple store
[1]
log <time> The store is locked by another process; gave up after 10 seconds\t(<tid>) [0] (esc)

== a store renamed over while the run waits for its lock: the change goes to the new file
store APH "proxy.example"
sh flock -x /opt/Marrowlight/vantorstore sh -c 'sleep 1; cp /opt/Marrowlight/vantorstore /opt/Marrowlight/n && mv /opt/Marrowlight/n /opt/Marrowlight/vantorstore' >/dev/null 2>&1 & until ! flock -n /opt/Marrowlight/vantorstore true; do sleep 0.01; done
$ vantorctl -s --aph=after.example
|
log <time> The store /opt/Marrowlight/vantorstore was replaced or removed while waiting for its lock; opening it again\t(<tid>) [0] (esc)
store APH "after.example"
$ vantorctl -g --aph
| aph=after.example.

== a store removed while the run waits for its lock: it is made anew, and the change goes there
store APH "proxy.example"
sh flock -x /opt/Marrowlight/vantorstore sh -c 'sleep 1; rm /opt/Marrowlight/vantorstore' >/dev/null 2>&1 & until ! flock -n /opt/Marrowlight/vantorstore true; do sleep 0.01; done
$ vantorctl -s --aph=after.example
|
log <time> The store /opt/Marrowlight/vantorstore was replaced or removed while waiting for its lock; opening it again\t(<tid>) [0] (esc)
log <time> Invalid file /opt/Marrowlight/vantorstore length: 0\t(<tid>) [0] (esc)
store APH "after.example"
$ vantorctl -g --aph
| aph=after.example.
