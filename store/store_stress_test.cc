// Eight writer processes and one reader share the store at its default path, in
// a sandbox with a private /opt. Afterwards every writer's names hold their last
// value and the reader never saw an invalid image. The run's figures (sets per
// second, lost writes, images the reader checked) are printed.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/e2e/sandbox.h"
#include "tests/support/store_image.h"

namespace {

constexpr int kWriters = 8;
constexpr std::uint32_t kRounds = 50;  // the value each writer sets last (store_stress.cc)

TEST(StoreStress, EightWriterProcessesAndAReaderKeepTheImageWhole) {
  vt_test::SandboxOptions options;
  options.timeoutSeconds = 240;
  options.script = std::string("S='") + STORE_STRESS_PATH + "'\n" +
                   "\"$S\" reader /run/stress-stop & reader=$!\n"
                   "pids='' rc=0 start=$(date +%s%N)\n"
                   "for i in $(seq 1 " + std::to_string(kWriters) + "); do \"$S\" writer $i & pids=\"$pids $!\"; done\n"
                   "for p in $pids; do wait $p || rc=1; done\n"
                   "echo elapsed-ns=$(( $(date +%s%N) - start ))\n"
                   "touch /run/stress-stop; wait $reader || rc=$((rc + 2))\n"
                   "exit $rc\n";
  const vt_test::SandboxResult result = vt_test::RunInSandbox(options);

  // A write is lost when its name does not hold the writer's last value; the
  // writers' own read-backs fail the run (exit status) on top.
  const auto file = result.File("/opt/Marrowlight/vantorstore");
  const vt_test::StoreImage image(file.value_or(std::string(vt_test::kStoreSize, '\0')));
  int lost = 0;
  for (int w = 1; w <= kWriters; ++w) {
    for (const char suffix : {'a', 'b', 'c'}) {
      lost += image.Get("w" + std::to_string(w) + suffix) != vt_test::U32Bytes(kRounds) ? 1 : 0;
    }
  }
  long long elapsedNs = 0;
  unsigned long images = 0, empty = 0, invalid = 1;
  const std::size_t elapsedAt = result.out.find("elapsed-ns=");
  const std::size_t imagesAt = result.out.find("images=");
  const bool parsed =
      elapsedAt != std::string::npos && imagesAt != std::string::npos &&
      std::sscanf(result.out.c_str() + elapsedAt, "elapsed-ns=%lld", &elapsedNs) == 1 &&
      std::sscanf(result.out.c_str() + imagesAt, "images=%lu empty=%lu invalid=%lu", &images, &empty, &invalid) == 3;
  const int sets = kWriters * 3 * kRounds;
  std::printf("store stress: %d writers, %d sets in %lld ms, sets/s=%.0f, lost writes=%d, reader images=%lu "
              "(empty %lu, invalid %lu)\n",
              kWriters, sets, elapsedNs / 1000000, elapsedNs > 0 ? sets * 1e9 / static_cast<double>(elapsedNs) : 0.0,
              lost, images, empty, invalid);
  std::fflush(stdout);

  ASSERT_EQ(result.exitCode, 0) << "stdout: " << result.out << "\nstderr: " << result.err;
  ASSERT_TRUE(parsed) << result.out;
  EXPECT_GT(images, 0u) << "the reader never saw the store";
  EXPECT_EQ(invalid, 0u);
  ASSERT_EQ(file.value_or("").size(), vt_test::kStoreSize);
  EXPECT_EQ(image.U16(0), 2);
  int used = 0;
  for (int slot = 1; slot <= vt_test::kSlotCount; ++slot) {
    used += image.U16(vt_test::StoreImage::SlotOffset(slot)) != 0 ? 1 : 0;
  }
  EXPECT_EQ(used, kWriters * 3) << "each name must occupy exactly one slot";
  EXPECT_EQ(lost, 0);
}

}  // namespace
