#include "port/firmware/TallyBoard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace storageio_port {
namespace {

// A writer that keeps every posted snapshot self-consistent; a reader must never see one that
// is not (a torn copy would mix two posts).
TEST(TallyBoard, AReaderOnlyEverSeesWholeSnapshots) {
  TallyBoard board(2);
  std::atomic<bool> done{false};
  std::thread writer([&] {
    std::vector<IoTally> tallies(2);
    for (std::uint64_t n = 1; n <= 200'000; ++n) {
      for (IoTally& tally : tallies) {
        tally.reads = n;
        tally.bytesRead = 4096 * n;
        tally.readLatencyMs = 0.5 * static_cast<double>(n);
      }
      board.Post(static_cast<double>(n), tallies);
    }
    done = true;
  });
  std::uint64_t lastSeen = 0;
  unsigned reads = 0;
  while (!done || reads == 0) {
    const TallySnapshot snapshot = board.Read();
    ++reads;
    const auto n = static_cast<std::uint64_t>(snapshot.recordedMs);
    ASSERT_GE(n, lastSeen);  // never back in time
    lastSeen = n;
    for (const IoTally& tally : snapshot.targets) {
      ASSERT_EQ(tally.reads, n);
      ASSERT_EQ(tally.bytesRead, 4096 * n);
      ASSERT_EQ(tally.readLatencyMs, 0.5 * static_cast<double>(n));
    }
  }
  writer.join();
  EXPECT_EQ(board.Read().targets[1].reads, 200'000u);
  EXPECT_THROW(board.Post(0, std::vector<IoTally>(3)), std::invalid_argument);
}

}  // namespace
}  // namespace storageio_port
