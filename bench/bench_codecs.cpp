// The largest message a port sends the plug-in: the storage test results of a big test, 1,000
// workers and 10,000 targets, each a 31-member statistics block. Decoding it (wire bytes to the
// plug-in's records) must keep up with the ports' reporting rate: at least 2 million records per
// second on one core. After the benchmarks, the decode is compared in turns with msgpack-cxx's own
// parse of the same bytes into nothing (the floor any decoder of this wire form stands on), and
// the ratio printed as decode_vs_raw_parse=<x>.
#include <benchmark/benchmark.h>
#include <msgpack.hpp>

#include <string>
#include <vector>

#include "AlternatingRatio.h"
#include "msg/BST_1.h"
#include "msg/bst_1_statistics.h"
#include "tm/Tm_wire.h"

namespace {

constexpr int kWorkers = 1000;
constexpr int kTargets = 10000;
constexpr int kRecords = kWorkers + kTargets;

using bst_1_bll::StorageBaseResults_s;
using bst_1_bll::StorageDiscoveredTargetResults_s;
using bst_1_bll::StorageWorkerResults_s;

// Values of realistic size and variety, so that no encoding shortcut for small or equal numbers
// flatters the measurement.
StorageBaseResults_s statistics(unsigned int seed) {
  StorageBaseResults_s block;
  block.Result = {static_cast<unsigned char>(1 + seed % 2), 10'000 + seed};
  const unsigned long bytes = 4096ul * 1'000'003ul * (seed + 1);
  block.BytesRead = bytes;
  block.BytesWritten = bytes / 3;
  block.ReadTransactionCount = bytes / 4096;
  block.WriteTransactionCount = bytes / 12288;
  block.AllTransactionCount = block.ReadTransactionCount + block.WriteTransactionCount;
  block.ConnectionCount = 1 + seed % 64;
  block.ReadErrors = seed % 7;
  block.WriteErrors = seed % 5;
  double value = 0.137 * (seed + 1);
  for (double StorageBaseResults_s::*field : bst_1_bll::kDoubleFields) {
    block.*field = value;
    value = value * 1.618 + 0.001;
  }
  return block;
}

struct TestResults {
  std::vector<StorageWorkerResults_s> workers;
  std::vector<StorageDiscoveredTargetResults_s> targets;
};

TestResults big_test() {
  TestResults results;
  for (unsigned int worker = 0; worker < kWorkers; ++worker) {
    results.workers.push_back({statistics(worker)});
  }
  for (unsigned int target = 0; target < kTargets; ++target) {
    results.targets.push_back({statistics(kWorkers + target),
                               "/dev/disk/by-id/wwn-0x5000c500" + std::to_string(10'000'000 + target)});
  }
  return results;
}

std::vector<unsigned char> big_test_wire(const TestResults& sent) {
  Message message;
  BST_1_port::create_notify_TestResultsNotification(&message, sent.workers, sent.targets, true);
  return tm_encode(message);
}

// What the plug-in does with a statistics notification's bytes: decode, then read the records.
void decode(const std::vector<unsigned char>& wire, std::vector<StorageWorkerResults_s>& workers,
            std::vector<StorageDiscoveredTargetResults_s>& targets) {
  const Message received = tm_decode(wire);
  BST_1_bll::parse_req_TestResultsNotification(&received, &workers, &targets);
  benchmark::DoNotOptimize(workers.data());
  benchmark::DoNotOptimize(targets.data());
}

// msgpack-cxx walking the same bytes and building nothing.
void raw_parse(const std::vector<unsigned char>& wire) {
  msgpack::null_visitor visitor;
  std::size_t offset = 0;
  const bool complete = msgpack::parse(reinterpret_cast<const char*>(wire.data()), wire.size(), offset, visitor);
  benchmark::DoNotOptimize(complete);
}

void BM_DecodeTestResultsNotification(benchmark::State& state) {
  const TestResults sent = big_test();
  const std::vector<unsigned char> wire = big_test_wire(sent);
  std::vector<StorageWorkerResults_s> workers;
  std::vector<StorageDiscoveredTargetResults_s> targets;
  for (auto _ : state) decode(wire, workers, targets);
  if (workers.size() != sent.workers.size() || targets.back().TargetName != sent.targets.back().TargetName) {
    state.SkipWithError("the decoded records differ from those sent");
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
  state.SetBytesProcessed(state.iterations() * static_cast<long>(wire.size()));
}
BENCHMARK(BM_DecodeTestResultsNotification)->Unit(benchmark::kMillisecond);

void BM_EncodeTestResultsNotification(benchmark::State& state) {
  const TestResults sent = big_test();
  std::size_t wire_size = 0;
  for (auto _ : state) {
    Message message;
    BST_1_port::create_notify_TestResultsNotification(&message, sent.workers, sent.targets, true);
    const std::vector<unsigned char> wire = tm_encode(message);
    wire_size = wire.size();
    benchmark::DoNotOptimize(wire.data());
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
  state.counters["wire_bytes_per_record"] = static_cast<double>(wire_size) / kRecords;
}
BENCHMARK(BM_EncodeTestResultsNotification)->Unit(benchmark::kMillisecond);

void BM_RawParseTestResultsNotification(benchmark::State& state) {
  const std::vector<unsigned char> wire = big_test_wire(big_test());
  for (auto _ : state) raw_parse(wire);
  state.SetItemsProcessed(state.iterations() * kRecords);
  state.SetBytesProcessed(state.iterations() * static_cast<long>(wire.size()));
}
BENCHMARK(BM_RawParseTestResultsNotification)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();

  const std::vector<unsigned char> wire = big_test_wire(big_test());
  std::vector<StorageWorkerResults_s> workers;
  std::vector<StorageDiscoveredTargetResults_s> targets;
  const bench::Ratio ratio =
      bench::CompareInTurns([&] { decode(wire, workers, targets); }, [&] { raw_parse(wire); });
  bench::PrintRatio("decode_vs_raw_parse", "decode + read records", "msgpack-cxx parse into nothing", ratio);
  return 0;
}
