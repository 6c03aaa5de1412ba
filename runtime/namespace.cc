#include "runtime/namespace.h"

#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "runtime/file.h"
#include "runtime/trace.h"

namespace {

struct NamespaceKind {
  const char* name;      // the entry under /proc/<pid>/ns/
  const char* initPath;  // process 1's link
  int setnsType;
  bool optional;         // absent for process 1 on kernels without it
};

// Used in this order by both the comparison and the switch.
constexpr NamespaceKind kNamespaces[] = {
    {"mnt", "/proc/1/ns/mnt", CLONE_NEWNS, false},
    {"uts", "/proc/1/ns/uts", CLONE_NEWUTS, false},
    {"cgroup", "/proc/1/ns/cgroup", CLONE_NEWCGROUP, true},
};
static_assert(CLONE_NEWNS == 0x00020000 && CLONE_NEWUTS == 0x04000000 && CLONE_NEWCGROUP == 0x02000000);

constexpr std::size_t kNsPathSize = 1024;

// Written only at start-up on the only thread.
bool gNamespaced = false;
std::uint32_t gSwitchedCount = 0;

// Sets *differs when a row's inode numbers differ. STATUS_UNSUCCESSFUL (logged)
// when a stat fails other than by process 1's link being absent.
NTSTATUS CompareWithInit(bool* differs) {
  *differs = false;
  const int pid = static_cast<int>(getpid());
  for (const NamespaceKind& kind : kNamespaces) {
    struct stat init {};
    if (stat(kind.initPath, &init) != 0) {
      const int error = errno;
      if (error == ENOENT) {
        if (kind.optional) {
          continue;
        }
        return STATUS_SUCCESS;  // same as init
      }
      TraceError(TRACE_COMPONENT_CORE, "failed to stat file %s due to %!ERRNO!", kind.initPath, error);
      return STATUS_UNSUCCESSFUL;
    }
    char own[kNsPathSize];
    std::snprintf(own, sizeof own, "/proc/%d/ns/%s", pid, kind.name);
    struct stat mine {};
    if (stat(own, &mine) != 0) {
      TraceError(TRACE_COMPONENT_CORE, "failed to stat file %s due to %!ERRNO!", own, errno);
      return STATUS_UNSUCCESSFUL;
    }
    if (init.st_ino != mine.st_ino) {
      *differs = true;
      return STATUS_SUCCESS;
    }
  }
  return STATUS_SUCCESS;
}

}  // namespace

void NamespaceDetect() {
  bool differs = false;
  if (NT_SUCCESS(CompareWithInit(&differs))) {
    gNamespaced = differs;
  }
}

bool NamespaceIsNamespaced() { return gNamespaced; }

bool RedirectToolLogToStdout() {
  if (unlink(kToolLogPath) != 0 && errno != ENOENT) {
    return false;
  }
  return symlink("/dev/stdout", kToolLogPath) == 0;
}

NTSTATUS NamespaceSwitchToInit() {
  for (const NamespaceKind& kind : kNamespaces) {
    FileOpen opened = OpenFile(kind.initPath, FILE_ACCESS_READ, 0);
    if (!NT_SUCCESS(opened.status)) {
      if (kind.optional && opened.status == STATUS_OBJECT_NAME_NOT_FOUND) {
        continue;
      }
      return opened.status;
    }
    UniqueFile& file = opened.file;
    const long rc = syscall(SYS_setns, file.get(), kind.setnsType);
    const int error = errno;
    file.reset();  // closed whatever the outcome
    if (rc != 0) {
      TraceError(TRACE_COMPONENT_CORE, "Failed to setns due to %!ERRNO!", error);
      return STATUS_UNSUCCESSFUL;
    }
    ++gSwitchedCount;
  }
  return STATUS_SUCCESS;
}

bool NamespaceSwitchCountAbove(std::uint32_t count) { return gSwitchedCount > count; }
