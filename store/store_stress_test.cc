// Eight writer processes and two readers share the store at its default path,
// in a sandbox with a private /opt. Afterwards every writer's names hold their
// last value (no write was lost) and no reader ever saw an invalid image. Prints
// the sets per second of all writers together and the writes lost.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/e2e/sandbox.h"
#include "tests/support/store_image.h"

namespace {

constexpr int kWriters = 8;
constexpr int kSetsPerWriter = 150;  // store_stress: three names, 50 rounds

using StoreStress = ::vt_test::SandboxTest;

TEST_F(StoreStress, EightWriterProcessesAndTwoReadersKeepTheImageWhole) {
  vt_test::SandboxOptions options;
  options.timeoutSeconds = 240;
  options.script = std::string("S='") + STORE_STRESS_PATH + "'\n" +
                   "\"$S\" reader /run/stress-stop >/run/reader1 & r1=$!\n"
                   "\"$S\" reader /run/stress-stop >/run/reader2 & r2=$!\n"
                   "start=$(date +%s%N) pids='' rc=0\n"
                   "for i in $(seq 1 " + std::to_string(kWriters) + "); do \"$S\" writer $i & pids=\"$pids $!\"; done\n"
                   "for p in $pids; do wait $p || rc=1; done\n"
                   "echo \"writers took $(( ($(date +%s%N) - start) / 1000 )) us\"\n"
                   "touch /run/stress-stop; wait $r1 || rc=$((rc + 2)); wait $r2 || rc=$((rc + 2))\n"
                   "cat /run/reader1 /run/reader2; exit $rc\n";
  const vt_test::SandboxResult result = vt_test::RunInSandbox(options);
  ASSERT_EQ(result.exitCode, 0) << "stdout: " << result.out << "\nstderr: " << result.err;

  unsigned long micros = 0;
  ASSERT_EQ(std::sscanf(result.out.c_str(), "writers took %lu us", &micros), 1) << result.out;
  int readers = 0;
  for (std::size_t at = result.out.find("images="); at != std::string::npos; at = result.out.find("images=", at + 1)) {
    unsigned long images = 0, empty = 0, invalid = 1;
    ASSERT_EQ(std::sscanf(result.out.c_str() + at, "images=%lu empty=%lu invalid=%lu", &images, &empty, &invalid), 3);
    EXPECT_GT(images, 0u) << "a reader never saw the store";
    EXPECT_EQ(invalid, 0u);
    ++readers;
  }
  EXPECT_EQ(readers, 2) << result.out;

  const auto file = result.File("/opt/Marrowlight/vantorstore");
  ASSERT_EQ(file.value_or("").size(), vt_test::kStoreSize);
  const vt_test::StoreImage image(*file);
  EXPECT_EQ(image.U16(0), 2);
  int used = 0;
  for (int slot = 1; slot <= vt_test::kSlotCount; ++slot) {
    used += image.U16(vt_test::StoreImage::SlotOffset(slot)) != 0 ? 1 : 0;
  }
  EXPECT_EQ(used, kWriters * 3) << "each name must occupy exactly one slot";
  // A write is lost when its name does not hold the writer's last value.
  int lost = 0;
  for (int w = 1; w <= kWriters; ++w) {
    for (const char suffix : {'a', 'b', 'c'}) {
      const bool kept = image.Get("w" + std::to_string(w) + suffix) == vt_test::U32Bytes(50);
      EXPECT_TRUE(kept) << w << suffix;
      lost += kept ? 0 : 1;
    }
  }
  std::printf("%d writers: %d sets in %lu us, %.0f sets/s, lost writes %d\n", kWriters, kWriters * kSetsPerWriter,
              micros, kWriters * kSetsPerWriter * 1e6 / static_cast<double>(micros), lost);
}

}  // namespace
