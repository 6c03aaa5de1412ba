# The runner's own sandbox: what a command does comes back byte for byte, and it runs on private
# tmpfs mounts in the namespaces of process 1.

== streams, exit status, modes and files, as bytes
file /opt/Marrowlight/vantorstore 0640 "x\x00y"
file /run/deep/er/file 0444 ""
$ printf 'a\000b'; stat -c '%a' /opt/Marrowlight/vantorstore /run/deep/er/file; printf 'err \n' >&2; exit 3
| a\x00b640 (esc)
| 444
! err\x20 (esc)
[3]
$ printf 'new\n\tline' >/var/log/written; ln -s /dev/stdout /var/log/link; mkfifo /run/fifo; printf last
| last (no-eol)
file /var/log/written "new\n\tline"
link /var/log/link -> /dev/stdout
fifo /run/fifo
$ rm -r /run/deep /var/log/written; printf 'x\000z' >/opt/Marrowlight/vantorstore
absent /run/deep
absent /run/deep/er
absent /run/deep/er/file
absent /var/log/written
file /opt/Marrowlight/vantorstore hex 78007a

== private tmpfs mounts, and the namespaces of process 1
$ for d in /opt /var/log /run; do findmnt -n -o FSTYPE,PROPAGATION $d | tail -n 1; done
| tmpfs  private
| tmpfs  private
| tmpfs  private
$ for ns in mnt pid; do [ "$(readlink /proc/1/ns/$ns)" = "$(readlink /proc/self/ns/$ns)" ] && echo "$ns: process 1's"; done
| mnt: process 1's
| pid: process 1's
