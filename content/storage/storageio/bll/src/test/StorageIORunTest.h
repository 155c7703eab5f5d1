#pragma once
// Fixture of the tests that run storage tests: on top of the apply fixture (ports whose channel is
// a recorder, devices, workers, profiles, targets, the plug-in registered with the host), a test
// is started with the start command as a user starts it, and the ports' progress and statistics
// notifications are built with the port side's codecs and sent through the ports' recorders, so
// they reach the protocol the way a firmware's do: through the RPC manager on the event loop.
//
// Command statuses are forgotten before and after each test. Result values are compared as lists
// of the 30 values in property order; the records the tests send hold values that are exact in
// binary, so sums compare exactly whatever the order of addition.

#include <initializer_list>
#include <string>
#include <vector>

#include "StorageBaseResults.h"
#include "kel/framework/CommandStatusManager.h"
#include "StorageIODataModelIds.h"
#include "msg/bst_1_statistics.h"
#include "test/StorageIOApplyTest.h"

namespace kel {
namespace storageio {

using Record = bst_1_bll::StorageBaseResults_s;
using WorkerRecords = std::vector<bst_1_bll::StorageWorkerResults_s>;
using TargetRecords = std::vector<bst_1_bll::StorageDiscoveredTargetResults_s>;
// The 30 values of a record or result object, counters first, in property order.
using Figures = std::vector<double>;

// A record for the object with that handle whose 30 values are distinct multiples of `scale`.
inline Record RecordFor(framework::Handle handle, unsigned long scale) {
  Record record;
  record.Result.BllHandle = handle;
  unsigned long step = 0;
  for (unsigned long Record::*field : bst_1_bll::kCounterFields) record.*field = ++step * scale;
  for (double Record::*field : bst_1_bll::kDoubleFields) record.*field = static_cast<double>(++step * scale) * 0.25;
  return record;
}

inline Figures FiguresOf(const Record& record) {
  Figures figures;
  for (unsigned long Record::*field : bst_1_bll::kCounterFields) figures.push_back(static_cast<double>(record.*field));
  for (double Record::*field : bst_1_bll::kDoubleFields) figures.push_back(record.*field);
  return figures;
}

// The values of a result object; empty when there is none.
inline Figures FiguresOf(const framework::CScriptable* result) {
  Figures figures;
  if (result == nullptr) return figures;
  for (framework::PropId id = CStorageBaseResults::kFirstCounter; id <= CStorageBaseResults::kLastCounter; ++id) {
    figures.push_back(static_cast<double>(result->GetU64(id)));
  }
  for (framework::PropId id = CStorageBaseResults::kFirstDouble; id <= CStorageBaseResults::kLastDouble; ++id) {
    figures.push_back(result->GetDouble(id));
  }
  return figures;
}

// Value by value sum of any number of records' values.
inline Figures Sum(std::initializer_list<Record> records) {
  Figures sum(30, 0.0);
  for (const Record& record : records) {
    const Figures figures = FiguresOf(record);
    for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += figures[i];
  }
  return sum;
}

// The owner's result object of class R (its first child of that class), or null.
template <class R>
R* ResultOf(const framework::CScriptable& owner) {
  return dynamic_cast<R*>(owner.GetObject(R::CLASS_ID()));
}

class StorageIORunTest : public StorageIOApplyTest {
 protected:
  // Any duration does: a recorder port ends a test only when the test says so (EndTest).
  static constexpr unsigned kDurationSeconds = 60;

  // Runs the start command on the workers, as a user does; their ports run until they end.
  void StartTest(std::initializer_list<CStorageWorkerConfig*> workers) {
    std::vector<framework::Handle> handles;
    for (const CStorageWorkerConfig* worker : workers) handles.push_back(worker->GetHandle());
    ProjectBuilder::MakeStart(handles, kDurationSeconds, /*learnFirst=*/false)->Execute(false);
    framework::CTaskManager::Instance().RunUntilIdle();
  }

  // The port sends a progress value, as its enumerator's name.
  void SendProgress(core::CPort& port, BST_1_bll::TestStatus_t status) {
    Message notification;
    BST_1_port::create_notify_TestNotification(&notification, status, true);
    Deliver(port, notification);
  }
  // The port sends a progress name that this plug-in does not know (a newer firmware's).
  void SendUnknownProgress(core::CPort& port, const std::string& name) {
    Message notification;
    notification.set_msg_type(TMT_REQUEST);
    notification.set_request_name("BST_1.TestNotification");
    notification.add_member(TMG_1, "status", name);
    notification.create_send_member_string_meta();
    Deliver(port, notification);
  }
  void SendStats(core::CPort& port, const std::vector<Record>& workers, const std::vector<Record>& targets = {}) {
    WorkerRecords workerRecords;
    for (const Record& record : workers) workerRecords.push_back({record});
    TargetRecords targetRecords;
    for (const Record& record : targets) targetRecords.push_back({record, "PhysicalDrive0"});
    Message notification;
    BST_1_port::create_notify_TestResultsNotification(&notification, workerRecords, targetRecords, true);
    Deliver(port, notification);
  }
  // Every port of the workers says it is done.
  void EndTest(std::initializer_list<core::CPort*> ports) {
    for (core::CPort* port : ports) SendProgress(*port, BST_1_bll::TestStatus_t::Done100Percent);
  }

  // Whether start, stop and learn are enabled for the worker, in that order.
  static std::vector<bool> CommandStatus(const framework::CScriptable& worker) {
    const framework::CCommandStatusManager& status = framework::CCommandStatusManager::Instance();
    return {status.GetCommandStatus(worker.GetHandle(), ids::classes::StorageStartWorkerCommand), status.GetCommandStatus(worker.GetHandle(), ids::classes::StorageStopWorkerCommand),
            status.GetCommandStatus(worker.GetHandle(), ids::classes::StorageLearnTargetsCommand)};
  }
  static std::vector<bool> Running() { return {false, true, false}; }
  static std::vector<bool> Idle() { return {true, false, true}; }

  bool IsRunning(const core::CPort& port) { return protocol().GetTestRunningPortSet().count(port.GetHandle()) != 0; }
  std::vector<std::string> UserLog() { return m_log->Messages("user.StorageIO"); }

 private:
  void Deliver(core::CPort& port, const Message& notification) {
    Recorder(port).Notify(notification);
    framework::CTaskManager::Instance().RunUntilIdle();
  }
};

}  // namespace storageio
}  // namespace kel
