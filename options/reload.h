// Asks the running sensor daemon to reload its settings.
#pragma once

// Reads the daemon's PID from /var/run/vantor-sensor.pid and sends it SIGHUP,
// but only when that very process holds the exclusive lock on that file, and
// through a pidfd so that a reused PID gets nothing. Failures (no PID file, an
// unreadable PID or one outside 1..pid_max, a stale file, a process that does
// not hold the file's lock, a refused signal) are
// reported as one line on standard error; nothing is returned, so a caller's result never
// depends on the signal. The driver hands it to the handlers as
// OptionContext::reload when --update was given; the trace, feature and
// logcounters handlers call it after a successful write.
void SignalSensorReload();
