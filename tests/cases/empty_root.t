# The static release binary carries everything it needs: it runs in a root holding nothing but
# itself, /proc, /dev/null, /dev/stdout and tmpfs directories for /opt, /var/log and /run (no C
# library, no loader), as a plain run and as a namespaced run that joins the sandbox's process 1.

== set and get with nothing but the binary
sh mkdir /run/root && mount -t tmpfs -o mode=0755 tmpfs /run/root && cd /run/root && mkdir proc dev opt var var/log run && cp "$(command -v vantorctl)" vantorctl && mount -t proc proc proc && : >dev/null && mount --bind /dev/null dev/null && ln -s /proc/self/fd/1 dev/stdout && for d in opt var/log run; do mount -t tmpfs -o mode=0755 tmpfs $d || exit 1; done && mkdir -m 0770 opt/Marrowlight
$ find /run/root -path /run/root/proc -prune -o -type f -exec test -f {} \; -print
| /run/root/vantorctl
$ chroot /run/root /vantorctl -s --trace=info
|
$ chroot /run/root /vantorctl -g --trace
| trace=info.
# the store it wrote is the root's: the sandbox's own had not been made
$ cp /run/root/opt/Marrowlight/vantorstore /opt/Marrowlight/
store empty
store TRACE "info"

== started in a mount namespace of its own inside the empty root
# It joins the sandbox's namespaces, writes the sandbox's store and not the root's, and its log
# lines reach its own standard output.
file /opt/Marrowlight/vantorstore "12345"
sh mkdir /run/root && mount -t tmpfs -o mode=0755 tmpfs /run/root && cd /run/root && mkdir proc dev opt var var/log run && cp "$(command -v vantorctl)" vantorctl && mount -t proc proc proc && : >dev/null && mount --bind /dev/null dev/null && ln -s /proc/self/fd/1 dev/stdout && for d in opt var/log run; do mount -t tmpfs -o mode=0755 tmpfs $d || exit 1; done && mkdir -m 0770 opt/Marrowlight
$ unshare -m chroot /run/root /vantorctl -s -v --apd=true
| <time> Invalid file /opt/Marrowlight/vantorstore length: 5\t(<tid>) [0] (esc)
| apd=TRUE.
store empty
store DP u32 1
$ ls -A /run/root/opt/Marrowlight
# the log's link is made in the root it started in
$ readlink /run/root/var/log/vantorctl.log
| /dev/stdout
