// Runs that meet the limits of the machine they run on: a file-size limit
// (RLIMIT_FSIZE, set with prlimit), a reader that goes away, a store that cannot
// be opened for writing, a time-zone file that is a FIFO, and a umask. One
// table per limit. Every run must end with status 0 or 1, never by a signal;
// a store or registry is afterwards the old image or the new one, never a mix;
// status 0 means everything was stored and printed.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/e2e/option_case.h"
#include "tests/support/registry_image.h"

namespace vt_test {
namespace {

using Limits = ::vt_test::SandboxTest;

// An image of an unknown version: the start-up repairs it.
std::string Damaged() {
  StoreImage image;
  image.PutU16(0, 7);
  return image.bytes();
}

// Equal images, or where they first differ.
::testing::AssertionResult SameBytes(const std::string& what, const std::optional<std::string>& actual,
                                     const std::string& expected) {
  if (actual == expected) return ::testing::AssertionSuccess();
  if (!actual) return ::testing::AssertionFailure() << what << " is missing";
  std::size_t at = 0;
  while (at < actual->size() && at < expected.size() && (*actual)[at] == expected[at]) ++at;
  return ::testing::AssertionFailure() << what << " differs from offset " << at << " (" << actual->size()
                                       << " bytes, expected " << expected.size() << ")";
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Slot 14 lies across the image's 4096-byte page boundary: a write-back cut
// anywhere in it would leave a record half old, half new.
StoreImage Full(const std::string& tags) {
  StoreImage image;
  for (int slot = 1; slot < 14; ++slot) image.Put(slot, "V" + std::to_string(slot), "x");
  return image.Put(14, "GroupTags", tags);
}

TEST_F(Limits, AFileSizeLimitFailsTheWriteAndLeavesTheOldImage) {
  const StoreImage before = Full(std::string(200, 'o'));
  StoreImage after = before;
  after.Put(14, "GroupTags", std::string(150, 'n'));
  const std::string set = "-s -f --tags=" + std::string(150, 'n');
  const std::string refused = HandlerFailure("Could not write the sensor grouping tags '" + std::string(150, 'n') +
                                                 "' to config file\n", "tags");
  // The system tags and a store of some other component.
  const std::string registry =
      Registry(Bitmap({{0, 0x05}}), {7, 1000}) + "\x01" + std::string(16, '\x42') + "\x02" + std::string(16, '\x43');
  const struct {
    std::string limit, args;
    std::string seed;  // the store before; empty: none
    int status;
    std::string out, err, store;  // store: the image after
  } cases[] = {
      {"3990", set, before.bytes(), 1, "\n", refused, before.bytes()},
      {"4096", set, before.bytes(), 1, "\n", refused, before.bytes()},
      {"4229", set, before.bytes(), 1, "\n", refused, before.bytes()},
      {"8191", set, before.bytes(), 1, "\n", refused, before.bytes()},
      {"8192", set, before.bytes(), 0, "\n", "", after.bytes()},
      // The start-up creation and repair give up the same way.
      {"4096", "-g --cid", "", 1, "\n", "ERROR: unable to initialize simple store\n", ""},
      {"4096", "-g --cid", Damaged(), 1, "\n", "ERROR: unable to initialize simple store\n",
       Damaged()},
      // The flush of the registry fails and so does the log's line about it;
      // the tags were printed and the registry keeps what it held.
      {"100", "-g --systags", StoreImage().bytes(), 0, "0\n2\n7\n1000\n\n", "", StoreImage().bytes()},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("limit " + c.limit + ": " + c.args);
    SandboxOptions options;
    options.files = {{kRegistryPath, registry}, {"/var/log/vantorctl.log", std::string(4000, '-') + "\n", 0600}};
    if (!c.seed.empty()) options.files.push_back({kStorePath, c.seed});
    options.script = "exec prlimit --fsize=" + c.limit + " \"$VANTORCTL\" " + c.args;
    const SandboxResult r = RunInSandbox(options);
    ExpectRun(r, c.out, c.err, c.status);
    EXPECT_TRUE(SameBytes("the store", r.File(kStorePath).value_or(""), c.store));
    EXPECT_TRUE(SameBytes("the registry", r.File(kRegistryPath), registry));
  }
}

TEST_F(Limits, LostOutputIsAWriteErrorNotASignal) {
  const StoreImage seed = StoreImage().Add("CU", std::string(16, '\x11')).Add("GroupTags", "web");
  const struct {
    std::string name, run;  // run: shell words; the tool's status goes to $OUT/status
    std::string err;
    std::string trace;  // TRACE stored afterwards
  } cases[] = {
      {"a get into a pipe nobody reads", "(sleep 0.2; \"$VANTORCTL\" -g --cid --tags 2>\"$OUT/err\"; echo $? >\"$OUT/status\") | true",
       "vantorctl: write error: Broken pipe\n", ""},
      {"a set into a pipe nobody reads",
       "(sleep 0.2; \"$VANTORCTL\" -s --trace=info 2>\"$OUT/err\"; echo $? >\"$OUT/status\") | true",
       "vantorctl: write error: Broken pipe\n", "info"},
      {"a namespaced set into a pipe nobody reads",
       "(sleep 0.2; unshare -m sh -c 'mount -t tmpfs c /opt && exec \"$VANTORCTL\" -s --trace=info' 2>\"$OUT/err\"; "
       "echo $? >\"$OUT/status\") | true",
       "vantorctl: write error: Broken pipe\n", "info"},
      {"a set whose output file is past the size limit",
       "head -c 12000 /dev/zero >/run/big; prlimit --fsize=10000 \"$VANTORCTL\" -s --trace=info >>/run/big "
       "2>\"$OUT/err\"; echo $? >\"$OUT/status\"",
       "vantorctl: write error: File too large\n", "info"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    SandboxOptions options;
    options.files = {StoreSeed(seed)};
    options.script = c.run;
    const SandboxResult r = RunInSandbox(options);
    EXPECT_EQ(r.File(r.outDir + "/status"), "1\n");
    EXPECT_EQ(r.File(r.outDir + "/err"), c.err);
    EXPECT_EQ(StoreAfter(r).Get("TRACE").value_or(""), c.trace);
  }
}

TEST_F(Limits, AStoreThatCannotBeWrittenStillServesEveryGet) {
  const StoreImage seed = StoreImage().Add("CU", std::string(16, '\x11')).Add("GroupTags", "web").Add("TRACE", "warn");
  const std::string cid = "cid=\"11111111111111111111111111111111\"";
  const struct {
    std::string args;
    std::string out, err;
    int status;
  } runs[] = {
      {"-g --cid --tags --trace", cid + ", trace=warn, tags=web.\n", "", 0},
      {"-d -v --aph", "aph is not set.\n", "", 0},
      {"-s --trace=info", "\n", HandlerFailure("Could not write trace level \"info\" to config\n", "trace"), 1},
      {"-d --trace", "\n", HandlerFailure("Could not delete the trace level from config file \n", "trace"), 1},
  };
  // A read-only mount (EROFS), an immutable and an append-only file (EPERM).
  for (const std::string refuse : {"mount -o remount,ro /opt", "chattr +i /opt/Marrowlight/vantorstore",
                                   "chattr +a /opt/Marrowlight/vantorstore"}) {
    for (const auto& run : runs) {
      SCOPED_TRACE(refuse + ": " + run.args);
      SandboxOptions options;
      options.files = {StoreSeed(seed)};
      options.script = refuse + " && exec \"$VANTORCTL\" " + run.args;
      const SandboxResult r = RunInSandbox(options);
      ExpectRun(r, run.out, run.err, run.status);
      EXPECT_TRUE(SameBytes("the store", r.File(kStorePath), seed.bytes()));
      EXPECT_TRUE(Contains(r.File("/var/log/vantorctl.log").value_or(""), "opened read-only")) << "no log line";
    }
  }
  // A store that needs a repair cannot have it.
  SandboxOptions options;
  options.files = {{kStorePath, Damaged()}};
  options.script = "mount -o remount,ro /opt && exec \"$VANTORCTL\" -g --cid";
  ExpectRun(RunInSandbox(options), "\n", "ERROR: unable to initialize simple store\n", 1);
}

TEST_F(Limits, ATimeZoneFileThatIsNoRegularFileIsNotWaitedFor) {
  const struct {
    std::string name, setup, tz;
    bool logged;
  } cases[] = {
      {"TZ names a FIFO", "mkfifo /run/zone", "TZ=:/run/zone", true},
      {"TZ is a path to a FIFO", "mkfifo /run/zone", "TZ=/run/zone", true},
      {"the local time file is a FIFO", "mkfifo /run/zone && mount --bind /run/zone /etc/localtime", "", true},
      {"TZ names a missing file", "true", "TZ=:/run/none", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    SandboxOptions options;
    options.files = {StoreSeed(StoreImage())};
    options.script = c.setup + " && " + c.tz + " exec timeout 5 \"$VANTORCTL\" -s --aph=x";
    const SandboxResult r = RunInSandbox(options);
    ExpectRun(r, "\n", "", 0);
    EXPECT_EQ(Contains(r.File("/var/log/vantorctl.log").value_or(""), "is not a regular file; using UTC"), c.logged);
  }
}

// Another query holding the registry's directory is waited for, 10 seconds at
// most; then the query fails and leaves the registry alone.
TEST_F(Limits, ARegistryHeldByAnotherQueryIsWaitedForTenSecondsAtMost) {
  const std::string registry = Registry(Bitmap({{0, 1}}), {7});
  SandboxOptions options;
  options.files = {StoreSeed(StoreImage()), {kRegistryPath, registry}};
  options.script =
      "flock /opt/Marrowlight sleep 16 & holder=$!; sleep 0.5\n"
      "start=$(date +%s%N); \"$VANTORCTL\" -g --systags; rc=$?; end=$(date +%s%N)\n"
      "echo $(( (end - start) / 1000000 )) >\"$OUT/ms\"; kill $holder; exit $rc";
  options.timeoutSeconds = 40;
  const SandboxResult r = RunInSandbox(options);
  ExpectRun(r, "\n", HandlerFailure("Could not read systags\n", "systags"), 1);
  EXPECT_TRUE(SameBytes("the registry", r.File(kRegistryPath), registry));
  const int ms = std::stoi(r.File(r.outDir + "/ms").value_or("0"));
  EXPECT_GE(ms, 9900);
  EXPECT_LT(ms, 15000);
  EXPECT_TRUE(Contains(r.File("/var/log/vantorctl.log").value_or(""),
                       "The registry is locked by another process; gave up after 10 seconds"));
}

TEST_F(Limits, CreatedFilesGetTheirModesWhateverTheUmask) {
  SandboxOptions options;
  options.files = {{kRegistryPath + std::string(".kept"), Registry(Bitmap({{0, 1}}), {7}), 0600}};
  options.env = {std::string("FAKE_SENSOR=") + FAKE_SENSOR_PATH};
  options.script =
      "cd /opt/Marrowlight\n"
      "for mask in 022 077 0277; do\n"
      "  rm -f vantorstore Registry.bin /var/log/vantorctl.log /run/count\n"
      "  (umask $mask; \"$VANTORCTL\" -g --systags; exec \"$FAKE_SENSOR\" /run/count) >/dev/null 2>&1 & daemon=$!\n"
      "  while [ ! -s /run/count ]; do sleep 0.01; done\n"
      "  stat -c \"$mask %n %a\" vantorstore Registry.bin /var/log/vantorctl.log /var/run/vantor-sensor.pid\n"
      "  kill $daemon; wait $daemon\n"
      "done\n"
      // A flush keeps the mode the registry had.
      "mv Registry.bin.kept Registry.bin && \"$VANTORCTL\" -g --systags >/dev/null && stat -c '%n %a' Registry.bin\n";
  const SandboxResult r = RunInSandbox(options);
  EXPECT_EQ(r.out,
            "022 vantorstore 660\n022 Registry.bin 660\n022 /var/log/vantorctl.log 600\n"
            "022 /var/run/vantor-sensor.pid 600\n"
            "077 vantorstore 660\n077 Registry.bin 660\n077 /var/log/vantorctl.log 600\n"
            "077 /var/run/vantor-sensor.pid 600\n"
            "0277 vantorstore 660\n0277 Registry.bin 660\n0277 /var/log/vantorctl.log 600\n"
            "0277 /var/run/vantor-sensor.pid 600\n"
            "Registry.bin 600\n");
  EXPECT_EQ(r.err, "");
}

}  // namespace
}  // namespace vt_test
