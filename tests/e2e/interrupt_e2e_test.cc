// `vantorctl -s` with five values, killed with SIGTERM, SIGINT or SIGKILL at
// random moments before, during and after its write-backs, with the store on
// tmpfs and on a disk file system. Every image left behind must be the one the
// run started from (A), the complete result (B), or one of the images between
// them after a whole value was written (a handler's failure or a kill between
// two options undoes nothing); never a mix. One exception, which only SIGKILL
// can cause: a write-back of the 8192-byte image in place can be stopped
// between its two pages (the kernel gives up a write between pages once the
// process is being killed, and SIGKILL cannot be held off), leaving a record
// that straddles the page boundary half old, half new. Those cuts are counted
// and printed; SIGTERM and SIGINT, which the store holds off while it writes,
// must never cause one. The kills are made by interrupt_walk inside one
// sandbox per file system. VANTOR_EXHAUSTIVE=1 raises the kills from 100 to 1000
// per signal.
#include <ftw.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }

// A fresh directory on the disk holding the build tree, removed with its owner.
class DiskDirectory {
 public:
  DiskDirectory() {
    std::string name = std::string(INTERRUPT_DISK_PARENT) + "/interrupt_store.XXXXXX";
    if (mkdtemp(name.data()) != nullptr) path_ = name;
  }
  ~DiskDirectory() {
    if (!path_.empty()) nftw(path_.c_str(), RemoveEntry, 8, FTW_DEPTH | FTW_PHYS);
  }
  DiskDirectory(const DiskDirectory&) = delete;
  DiskDirectory& operator=(const DiskDirectory&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// One line of the walk's figures.
struct Counts {
  unsigned long kills = 0, a = 0, mid = 0, b = 0, cut = 0, torn = 1, odd = 1;
};

// The counts on the walk's line that starts with `label`; false when absent.
bool ParseCounts(const std::string& out, const std::string& label, Counts* c) {
  const std::size_t at = out.find(label + " kills=");
  return at != std::string::npos &&
         std::sscanf(out.c_str() + at + label.size(), " kills=%lu A=%lu mid=%lu B=%lu cut=%lu torn=%lu odd=%lu",
                     &c->kills, &c->a, &c->mid, &c->b, &c->cut, &c->torn, &c->odd) == 7;
}

// Kills set runs with the store on the sandbox's tmpfs, or with `disk` set, in
// that directory bind-mounted over /opt/Marrowlight.
void Walk(const std::string& disk) {
  // Image A: the records the run replaces, spread over the image. Slot 14
  // (bytes 3948 to 4229) straddles the 4096-byte page boundary, and its new
  // tags differ from the old ones in every byte, so a write-back cut at a page
  // boundary or in halves leaves a mix of the two that no step of the run
  // produces. BT, the one new record, goes into the empty slot 1.
  const std::string newTags = [] {
    std::string tags;
    while (tags.size() < 256) tags += "lab/web-";
    return tags;
  }();
  const StoreImage imageA = StoreImage()
                                .Put(2, "CU", std::string(16, '\x11'))
                                .Put(9, "RFMHistory", std::string(40, '\x07'))
                                .Put(14, "GroupTags", std::string(256, 'o'))
                                .Put(15, "TRACE", "err")
                                .Put(27, "APH", "old-proxy.example");
  // Options in table order: cid, aph, trace, billing, tags; cid and tags are
  // protected, hence -f.
  const std::vector<std::string> set = {"-s", "-f", "--cid=00112233445566778899AABBCCDDEEFF08", "--aph=proxy.example",
                                        "--trace=info", "--billing=metered", "--tags=" + newTags};
  const char* exhaustive = std::getenv("VANTOR_EXHAUSTIVE");
  const unsigned long perSignal = exhaustive != nullptr && std::string(exhaustive) == "1" ? 1000 : 100;
  const bool onDisk = !disk.empty();
  SandboxOptions options;
  // About 200 run times in all; a sanitizer build under load takes 0.3 s a run.
  // Within CTest's 300 s for the default set.
  options.timeoutSeconds = perSignal > 100 ? 1200 : 280;
  options.files = {{"/run/interrupt-A", imageA.bytes(), 0600}};
  options.env = {std::string("WALK=") + INTERRUPT_WALK_PATH, "KILLS=" + std::to_string(perSignal)};
  options.script = "set -e\n";
  if (onDisk) {
    options.env.push_back("DISK=" + disk);
    options.script += "mount --bind \"$DISK\" /opt/Marrowlight\n";
  }
  options.script +=
      "findmnt -n -o FSTYPE -T /opt/Marrowlight >\"$OUT/fstype\"\n"
      "exec \"$WALK\" \"$KILLS\" /run/interrupt-A /opt/Marrowlight/vantorstore \"$OUT\" \"$VANTORCTL\"";
  for (const std::string& arg : set) options.script += " '" + arg + "'";
  const SandboxResult result = RunInSandbox(options);
  ASSERT_EQ(result.exitCode, 0) << "stdout: " << result.out << "\nstderr: " << result.err;

  std::string fsType = result.File(result.outDir + "/fstype").value_or("?");
  if (!fsType.empty() && fsType.back() == '\n') fsType.pop_back();
  EXPECT_EQ(fsType == "tmpfs", !onDisk) << "the store is on " << fsType;

  const StoreImage imageB(result.File(result.outDir + "/B").value_or(""));
  EXPECT_EQ(imageB.Get("APH"), "proxy.example");
  EXPECT_EQ(imageB.Get("TRACE"), "info");
  EXPECT_EQ(imageB.Get("BT"), U32Bytes(1));
  EXPECT_EQ(imageB.Get("GroupTags"), newTags);

  Counts total, term, interrupt, killed;
  double setsPerSecond = 0;
  long runMicroseconds = 0;
  const std::size_t timing = result.out.find("sets/s=");
  ASSERT_TRUE(timing != std::string::npos &&
              std::sscanf(result.out.c_str() + timing, "sets/s=%lf run-us=%ld", &setsPerSecond, &runMicroseconds) ==
                  2 &&
              ParseCounts(result.out, "total", &total) && ParseCounts(result.out, "SIGTERM", &term) &&
              ParseCounts(result.out, "SIGINT", &interrupt) && ParseCounts(result.out, "SIGKILL", &killed))
      << result.out;
  std::printf("interrupt %s (%s): %lu kills, A=%lu, mid=%lu, B=%lu, cut by SIGKILL=%lu, torn=%lu, odd=%lu, "
              "sets/s=%.1f (%ld us a run)\n%s",
              onDisk ? "disk" : "tmpfs", fsType.c_str(), total.kills, total.a, total.mid, total.b, killed.cut,
              total.torn, total.odd, setsPerSecond, runMicroseconds, result.out.c_str());
  std::fflush(stdout);
  EXPECT_EQ(total.kills, 3 * perSignal);
  EXPECT_EQ(total.a + total.mid + total.b + total.cut + total.torn, total.kills);
  EXPECT_EQ(total.torn, 0u) << result.err;
  EXPECT_EQ(total.odd, 0u) << result.err;
  EXPECT_EQ(term.cut + interrupt.cut, 0u) << "a held-off signal cut a write-back\n" << result.err;
  EXPECT_GT(total.a, 0u) << "no kill landed before the first write-back";
  EXPECT_GT(total.b, 0u) << "no kill landed after the last write-back";
}

using Interrupt = SandboxTest;

TEST_F(Interrupt, KilledSetsLeaveWholeImagesOnTmpfs) { Walk(""); }

TEST_F(Interrupt, KilledSetsLeaveWholeImagesOnDisk) {
  const DiskDirectory disk;
  ASSERT_FALSE(disk.path().empty()) << "cannot create a directory under " << INTERRUPT_DISK_PARENT;
  struct statfs fs {};
  ASSERT_EQ(statfs(disk.path().c_str(), &fs), 0);
  if (fs.f_type == 0x01021994) {  // tmpfs
    GTEST_SKIP() << "the build tree is on tmpfs: no disk-backed directory to try";
  }
  Walk(disk.path());
  EXPECT_EQ(unlink((disk.path() + "/vantorstore").c_str()), 0);
  EXPECT_EQ(rmdir(disk.path().c_str()), 0) << "the tool left files of its own beside the store";
}

}  // namespace
}  // namespace vt_test
