// Asks the running sensor daemon to reload its settings.
#pragma once

// Reads the daemon's PID from /var/run/vantor-sensor.pid and sends it SIGHUP.
// Failures (no PID file, unreadable or invalid PID, kill refused) are reported
// as one line on standard error; nothing is returned, so a caller's result never
// depends on the signal. Called by the trace, feature and logcounters handlers
// after a successful write when --update was given.
void SignalSensorReload();
