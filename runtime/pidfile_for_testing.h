// Test hook of the PID file (runtime/pidfile.h, runtime/pidfile_writer.h).
#pragma once

// Points every operation of the reader and the writer at another path (the
// string must outlive its use). Null restores kPidFilePath.
void SetPidFilePathForTesting(const char* path);
