#pragma once
// Shared by the codec tests: sending a message across the wire, and records whose every field
// holds a value different from its default and from its neighbours, so that a field dropped,
// swapped or read with the wrong getter shows as a difference.

#include <string>
#include <vector>

#include "msg/BST_1.h"
#include "msg/bst_1_statistics.h"
#include "tm/Tm_wire.h"

namespace codec_test {

// What the other side sees: the message encoded and decoded again.
inline Message cross_wire(const Message& message) { return tm_decode(tm_encode(message)); }

inline bst_1_bll::StorageWorkerProfile_s worker_profile(unsigned int seed) {
  bst_1_bll::StorageWorkerProfile_s profile;
  profile.TransferRequestSize = 4096 * seed;
  profile.PercentRandomDistribution = static_cast<unsigned char>(10 + seed);
  profile.EnableReplySize = true;
  profile.ReplySize = 512 + seed;
  profile.PercentReadDistribution = static_cast<unsigned char>(70 + seed);
  profile.TransferDelay = 3 + seed;
  profile.BurstLength = 8 + seed;
  profile.EnableAlignIOs = seed % 2 == 0;
  profile.AlignIOs = 4096;
  profile.IsDefaultProfile = seed % 2 == 1;
  return profile;
}

inline std::vector<BST_1_bll::AccessSpec_s> access_specs() {
  return {{101, 100, worker_profile(1)}, {102, 100, worker_profile(2)}};
}

inline BST_1_bll::TargetSpec_s target_spec(unsigned int seed) {
  BST_1_bll::TargetSpec_s target;
  target.Type = static_cast<unsigned int>(bst_1_bll::EnumTargetType::PhysicalDiskType);
  target.TargetName = "/dev/sd" + std::string(1, static_cast<char>('a' + seed));
  target.QueueDepth = 16 + seed;
  target.EnableTestConnectionRate = seed % 2 == 0;
  target.TransactionsPerConnection = 7 + seed;
  target.DiskSpecification = {512, 1'000'000'000'000ul + seed, 2048 + seed};
  target.BllHandle = 900 + seed;
  return target;
}

inline std::vector<BST_1_bll::WorkerConfig_s> worker_configs() {
  return {{201, 101, {target_spec(0), target_spec(1)}}, {202, 102, {}}};
}

inline bst_1_bll::StorageBaseResults_s base_results(unsigned int seed) {
  bst_1_bll::StorageBaseResults_s block;
  block.Result = {static_cast<unsigned char>(seed % 3), 5000 + seed};
  unsigned long counter = 1'000'000'007ul * (seed + 1);
  for (unsigned long bst_1_bll::StorageBaseResults_s::*field : bst_1_bll::kCounterFields) block.*field = counter++;
  double value = 0.25 + seed;
  for (double bst_1_bll::StorageBaseResults_s::*field : bst_1_bll::kDoubleFields) {
    block.*field = value;
    value += 1.5;
  }
  return block;
}

}  // namespace codec_test
