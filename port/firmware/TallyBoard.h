#pragma once
// TallyBoard: where a worker's I/O thread posts its tallies and the firmware's message side reads
// them, one consistent snapshot at a time, without the I/O thread ever waiting for a reader.
//
// A sequence lock: the writer makes the sequence odd, writes every word, and makes it even again;
// a reader copies the words and keeps the copy only when the sequence was even and unchanged
// around it, else copies again. Every word is an atomic, so a torn copy is never used and there is
// no data race; a reader may spin while a write is under way (a few hundred nanoseconds).
//
// A snapshot is one tally per target of the worker, in the order of its targets, and the recorded
// time they cover: the worker and target records of one notification then add up exactly.
//
// Threads: one writer at a time (the worker's I/O thread, or the firmware's own thread for a
// computed engine); readers on any thread.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "port/firmware/IoTally.h"

namespace storageio_port {

struct TallySnapshot {
  double recordedMs = 0;
  std::vector<IoTally> targets;
};

class TallyBoard {
 public:
  explicit TallyBoard(std::size_t targetCount);
  TallyBoard(const TallyBoard&) = delete;
  TallyBoard& operator=(const TallyBoard&) = delete;

  // Requires tallies.size() == the board's target count.
  void Post(double recordedMs, const std::vector<IoTally>& tallies);
  TallySnapshot Read() const;

 private:
  static constexpr std::size_t kWordsPerTally = 13;

  std::size_t m_targetCount;
  std::atomic<std::uint64_t> m_sequence{0};
  std::vector<std::atomic<std::uint64_t>> m_words;  // recorded time, then each tally's words
};

}  // namespace storageio_port
