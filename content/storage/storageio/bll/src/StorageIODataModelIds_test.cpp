// The plug-in's ids as its data model fixes them. This table is the one place where the numbers
// are written out: everything else names them through StorageIODataModelIds.h, which is generated
// from the class descriptions, so a changed description shows here as a failed row.

#include <gtest/gtest.h>

#include <cstdint>

#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {
namespace {

struct IdRow {
  std::uint32_t generated;
  std::uint32_t fixed;
  const char* name;
};
#define ID_ROW(id, fixed) IdRow{id, fixed, #id}

TEST(StorageIODataModelIds, EveryIdIsTheOneTheDataModelFixes) {
  EXPECT_EQ(ids::kIdBlock, 0x86000000u);
  const IdRow rows[] = {
      ID_ROW(ids::classes::StorageWorkerProfile, 0x86001000u),
      ID_ROW(ids::classes::StorageWorkerConfig, 0x86002000u),
      ID_ROW(ids::classes::StorageDiscoveredTargets, 0x86003000u),
      ID_ROW(ids::classes::StorageStartWorkerCommand, 0x86004000u),
      ID_ROW(ids::classes::StorageLearnTargetsCommand, 0x86005000u),
      ID_ROW(ids::classes::StorageStopWorkerCommand, 0x86006000u),
      ID_ROW(ids::classes::StorageWaitForTestCompletionCommand, 0x86007000u),
      ID_ROW(ids::classes::StorageBaseResults, 0x86008000u),
      ID_ROW(ids::classes::StorageDiscoveredTargetResults, 0x86009000u),
      ID_ROW(ids::classes::StorageWorkerResults, 0x8600a000u),
      ID_ROW(ids::classes::StorageProfileResults, 0x8600b000u),
      ID_ROW(ids::classes::StoragePortResults, 0x8600c000u),
      ID_ROW(ids::classes::StorageProjectResults, 0x8600d000u),
      ID_ROW(ids::props::StorageWorkerProfile::TransferRequestSize, 0x86001002u),
      ID_ROW(ids::props::StorageWorkerProfile::PercentRandomDistribution, 0x86001003u),
      ID_ROW(ids::props::StorageWorkerProfile::EnableReplySize, 0x86001004u),
      ID_ROW(ids::props::StorageWorkerProfile::ReplySize, 0x86001005u),
      ID_ROW(ids::props::StorageWorkerProfile::PercentReadDistribution, 0x86001006u),
      ID_ROW(ids::props::StorageWorkerProfile::TransferDelay, 0x86001007u),
      ID_ROW(ids::props::StorageWorkerProfile::BurstLength, 0x86001008u),
      ID_ROW(ids::props::StorageWorkerProfile::EnableAlignIOs, 0x86001009u),
      ID_ROW(ids::props::StorageWorkerProfile::AlignIOs, 0x8600100au),
      ID_ROW(ids::props::StorageWorkerProfile::IsDefaultProfile, 0x8600100bu),
      ID_ROW(ids::props::StorageWorkerConfig::MaximumDiskSize, 0x86002003u),
      ID_ROW(ids::props::StorageWorkerConfig::StartingDiskSector, 0x86002004u),
      ID_ROW(ids::props::StorageWorkerConfig::OutstandingIOsPerTargetCount, 0x86002005u),
      ID_ROW(ids::props::StorageWorkerConfig::EnableTestConnectionRate, 0x86002006u),
      ID_ROW(ids::props::StorageWorkerConfig::TransactionsPerConnection, 0x86002007u),
      ID_ROW(ids::props::StorageDiscoveredTargets::VolumeName, 0x86003003u),
      ID_ROW(ids::props::StorageDiscoveredTargets::Size, 0x86003004u),
      ID_ROW(ids::props::StorageDiscoveredTargets::BusInfo, 0x86003005u),
      ID_ROW(ids::props::StorageDiscoveredTargets::SerialNumber, 0x86003006u),
      ID_ROW(ids::props::StorageDiscoveredTargets::StartingDiskSector, 0x86003007u),
      ID_ROW(ids::props::StorageDiscoveredTargets::SectorSize, 0x86003008u),
      ID_ROW(ids::props::StorageDiscoveredTargets::QueueDepth, 0x86003009u),
      ID_ROW(ids::props::StorageDiscoveredTargets::TargetType, 0x8600300au),
      ID_ROW(ids::props::StorageStartWorkerCommand::HostList, 0x86004006u),
      ID_ROW(ids::props::StorageStartWorkerCommand::Duration, 0x86004007u),
      ID_ROW(ids::props::StorageStartWorkerCommand::LearnFirst, 0x86004008u),
      ID_ROW(ids::props::StorageLearnTargetsCommand::PortList, 0x86005002u),
      ID_ROW(ids::props::StorageBaseResults::BytesRead, 0x86008001u),
      ID_ROW(ids::props::StorageBaseResults::BytesWritten, 0x86008002u),
      ID_ROW(ids::props::StorageBaseResults::ReadTransactionCount, 0x86008003u),
      ID_ROW(ids::props::StorageBaseResults::WriteTransactionCount, 0x86008004u),
      ID_ROW(ids::props::StorageBaseResults::AllTransactionCount, 0x86008005u),
      ID_ROW(ids::props::StorageBaseResults::ConnectionCount, 0x86008006u),
      ID_ROW(ids::props::StorageBaseResults::ReadErrors, 0x86008007u),
      ID_ROW(ids::props::StorageBaseResults::WriteErrors, 0x86008008u),
      ID_ROW(ids::props::StorageBaseResults::TotalReadLatency, 0x86008009u),
      ID_ROW(ids::props::StorageBaseResults::TotalWriteLatency, 0x8600800au),
      ID_ROW(ids::props::StorageBaseResults::TotalTransactionLatency, 0x8600800bu),
      ID_ROW(ids::props::StorageBaseResults::TotalConnectionLatency, 0x8600800cu),
      ID_ROW(ids::props::StorageBaseResults::AvgIOPerSecond, 0x8600800du),
      ID_ROW(ids::props::StorageBaseResults::AvgReadOperationsPerSecond, 0x8600800eu),
      ID_ROW(ids::props::StorageBaseResults::AvgWriteOperationsPerSecond, 0x8600800fu),
      ID_ROW(ids::props::StorageBaseResults::AvgTransactionsPerSecond, 0x86008010u),
      ID_ROW(ids::props::StorageBaseResults::AvgConnectionsPerSecond, 0x86008011u),
      ID_ROW(ids::props::StorageBaseResults::AvgMBps, 0x86008012u),
      ID_ROW(ids::props::StorageBaseResults::AvgMBReadPerSecond, 0x86008013u),
      ID_ROW(ids::props::StorageBaseResults::AvgMBWritePerSecond, 0x86008014u),
      ID_ROW(ids::props::StorageBaseResults::AvgLatency, 0x86008015u),
      ID_ROW(ids::props::StorageBaseResults::AvgReadLatency, 0x86008016u),
      ID_ROW(ids::props::StorageBaseResults::AvgWriteLatency, 0x86008017u),
      ID_ROW(ids::props::StorageBaseResults::AvgTransactionLatency, 0x86008018u),
      ID_ROW(ids::props::StorageBaseResults::AvgConnectionLatency, 0x86008019u),
      ID_ROW(ids::props::StorageBaseResults::MaxLatency, 0x8600801au),
      ID_ROW(ids::props::StorageBaseResults::MaxReadLatency, 0x8600801bu),
      ID_ROW(ids::props::StorageBaseResults::MaxWriteLatency, 0x8600801cu),
      ID_ROW(ids::props::StorageBaseResults::MaxTransactionLatency, 0x8600801du),
      ID_ROW(ids::props::StorageBaseResults::MaxConnectionLatency, 0x8600801eu),
      ID_ROW(ids::relations::UsesProfile, 0x86000001u),
      ID_ROW(ids::relations::UsesTarget, 0x86000002u),
      ID_ROW(ids::resources::TestStatus, 0x86000001u),
      ID_ROW(ids::resources::ClearDuringTest, 0x86000002u),
      ID_ROW(ids::resources::WorkerWithoutProfile, 0x86000003u),
  };
  for (const IdRow& row : rows) EXPECT_EQ(row.generated, row.fixed) << row.name;
}

}  // namespace
}  // namespace storageio
}  // namespace kel
