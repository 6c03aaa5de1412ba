# The packages' logrotate rule (packaging/vantorctl.logrotate) against the tool's log.
needs logrotate

== after a forced rotation the next run logs into a new 0600 file, and the old lines are kept compressed
file /var/log/vantorctl.log 0600 "an old line\n"
file /opt/Marrowlight/vantorstore "12345"
sh chmod 0755 /var/log && logrotate -f -s /run/logrotate.state "$VANTOR_SOURCE_DIR/packaging/vantorctl.logrotate"
$ ls /var/log; stat -c '%a %U %G %s' /var/log/vantorctl.log; gzip -dc /var/log/vantorctl.log.1.gz
| vantorctl.log
| vantorctl.log.1.gz
| 600 root root 0
| an old line
$ vantorctl -g --apd
| apd is not set.
log <time> Invalid file /opt/Marrowlight/vantorstore length: 5\t(<tid>) [0] (esc)
store empty
