#include "port/firmware/TallyBoard.h"

#include <array>
#include <cstring>
#include <stdexcept>

namespace storageio_port {

namespace {

std::uint64_t Bits(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

double Value(std::uint64_t bits) {
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// A tally as words and back; the order is the board's own.
std::array<std::uint64_t, 13> WordsOf(const IoTally& t) {
  return {t.bytesRead,          t.bytesWritten,          t.reads,
          t.writes,             t.connections,           t.readErrors,
          t.writeErrors,        Bits(t.readLatencyMs),   Bits(t.writeLatencyMs),
          Bits(t.connectionLatencyMs), Bits(t.maxReadLatencyMs), Bits(t.maxWriteLatencyMs),
          Bits(t.maxConnectionLatencyMs)};
}

IoTally TallyOf(const std::array<std::uint64_t, 13>& w) {
  IoTally t;
  t.bytesRead = w[0];
  t.bytesWritten = w[1];
  t.reads = w[2];
  t.writes = w[3];
  t.connections = w[4];
  t.readErrors = w[5];
  t.writeErrors = w[6];
  t.readLatencyMs = Value(w[7]);
  t.writeLatencyMs = Value(w[8]);
  t.connectionLatencyMs = Value(w[9]);
  t.maxReadLatencyMs = Value(w[10]);
  t.maxWriteLatencyMs = Value(w[11]);
  t.maxConnectionLatencyMs = Value(w[12]);
  return t;
}

}  // namespace

TallyBoard::TallyBoard(std::size_t targetCount)
    : m_targetCount(targetCount), m_words(1 + targetCount * kWordsPerTally) {}

void TallyBoard::Post(double recordedMs, const std::vector<IoTally>& tallies) {
  if (tallies.size() != m_targetCount) throw std::invalid_argument("A tally board posts one tally per target");
  const std::uint64_t sequence = m_sequence.load(std::memory_order_relaxed);
  m_sequence.store(sequence + 1, std::memory_order_relaxed);
  std::atomic_thread_fence(std::memory_order_release);
  m_words[0].store(Bits(recordedMs), std::memory_order_relaxed);
  std::size_t at = 1;
  for (const IoTally& tally : tallies) {
    for (const std::uint64_t word : WordsOf(tally)) m_words[at++].store(word, std::memory_order_relaxed);
  }
  m_sequence.store(sequence + 2, std::memory_order_release);
}

TallySnapshot TallyBoard::Read() const {
  TallySnapshot snapshot;
  snapshot.targets.resize(m_targetCount);
  for (;;) {
    const std::uint64_t before = m_sequence.load(std::memory_order_acquire);
    if (before % 2 != 0) continue;
    snapshot.recordedMs = Value(m_words[0].load(std::memory_order_relaxed));
    std::size_t at = 1;
    for (IoTally& tally : snapshot.targets) {
      std::array<std::uint64_t, kWordsPerTally> words;
      for (std::uint64_t& word : words) word = m_words[at++].load(std::memory_order_relaxed);
      tally = TallyOf(words);
    }
    std::atomic_thread_fence(std::memory_order_acquire);
    if (m_sequence.load(std::memory_order_relaxed) == before) return snapshot;
  }
}

}  // namespace storageio_port
