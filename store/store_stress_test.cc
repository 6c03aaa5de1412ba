// Eight writer processes and one reader share the store at its default path, in
// a sandbox with a private /opt. Afterwards every writer's names hold their last
// value and the reader never saw an invalid image.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/e2e/sandbox.h"
#include "tests/support/store_image.h"

namespace {

constexpr int kWriters = 8;

TEST(StoreStress, EightWriterProcessesAndAReaderKeepTheImageWhole) {
  vt_test::SandboxOptions options;
  options.timeoutSeconds = 240;
  options.script = std::string("S='") + STORE_STRESS_PATH + "'\n" +
                   "\"$S\" reader /run/stress-stop & reader=$!\n"
                   "pids='' rc=0\n"
                   "for i in $(seq 1 " + std::to_string(kWriters) + "); do \"$S\" writer $i & pids=\"$pids $!\"; done\n"
                   "for p in $pids; do wait $p || rc=1; done\n"
                   "touch /run/stress-stop; wait $reader || rc=$((rc + 2))\n"
                   "exit $rc\n";
  const vt_test::SandboxResult result = vt_test::RunInSandbox(options);
  ASSERT_EQ(result.exitCode, 0) << "stdout: " << result.out << "\nstderr: " << result.err;

  unsigned long images = 0, empty = 0, invalid = 1;
  ASSERT_EQ(std::sscanf(result.out.c_str(), "images=%lu empty=%lu invalid=%lu", &images, &empty, &invalid), 3)
      << result.out;
  EXPECT_GT(images, 0u) << "the reader never saw the store";
  EXPECT_EQ(invalid, 0u);

  const auto file = result.File("/opt/Marrowlight/vantorstore");
  ASSERT_EQ(file.value_or("").size(), vt_test::kStoreSize);
  const vt_test::StoreImage image(*file);
  EXPECT_EQ(image.U16(0), 2);
  int used = 0;
  for (int slot = 1; slot <= vt_test::kSlotCount; ++slot) {
    used += image.U16(vt_test::StoreImage::SlotOffset(slot)) != 0 ? 1 : 0;
  }
  EXPECT_EQ(used, kWriters * 3) << "each name must occupy exactly one slot";
  for (int w = 1; w <= kWriters; ++w) {
    for (const char suffix : {'a', 'b', 'c'}) {
      EXPECT_EQ(image.Get("w" + std::to_string(w) + suffix), vt_test::U32Bytes(50)) << w << suffix;
    }
  }
}

}  // namespace
