#pragma once
// StorageFirmware: the storage test firmware of a port, the server side of the BST_1 message set.
// Frames come in through OnFrame and go out through the sink, time comes from a Scheduler and
// I/O goes through an IoEngine, so the same logic serves every transport and every engine.
//
// Requests (every reply carries the id of the request it answers):
// - "BST_1.AddAccessSpecs", "BST_1.UpdateAccessSpecs": keeps each access spec by its
//   profileHandle; an update of an unknown handle adds it, an add of a known one replaces it.
//   "BST_1.AddWorkers", "BST_1.UpdateWorkers": the same for workers by their handle. Nothing is
//   checked here: what a test needs is checked when it starts. Success.
// - "BST_1.DeleteAccessSpecs", "BST_1.DeleteWorkers": forgets the handles given, every one for an
//   empty list; an unknown handle is no error. Success. A running test keeps the workers and
//   access specs it started with.
// - "BST_1.LearnTargets": Success with the configured targets, in order, as TargetSpec records:
//   Type, TargetName, QueueDepth, and DiskSpecification with the SectorSize, the sector count as
//   MaximumDiskSize and StartingDiskSector 0; the other fields 0.
// - "BST_1.RegisterTestStatusNotify", "BST_1.RegisterTestResults": from now on, every
//   interval_msec while a test runs, sends "BST_1.TestNotification" with the current phase or
//   "BST_1.TestResultsNotification" with the figures (interval 0: only the final ones).
//   Registering again starts over with the new interval; the deregistrations stop it. These four
//   replies carry no status.
// - "BST_1.StartTest": runs the named workers (each once, in the order named) for `duration`
//   seconds along the timeline of TestRun.h. Refused with Failure, nothing started, while a test
//   runs, and for an unknown worker, a worker whose access spec is unknown, a worker target that
//   is not on the port's allow-list or whose I/O cannot run (see IoPattern and TargetLoad), or a
//   duration above kLongestTestSeconds. A real target is also refused, before any I/O, for a
//   write to a block device without the port's write flag, a target that cannot be opened (in
//   use, or no longer the file or device the port resolved when it started), and with O_DIRECT a
//   transfer size or alignment that is not a multiple of its direct-I/O alignment. PreppingDisks
//   lays out the file targets first (LayoutThread.h); each target's I/O mode is logged. A target spec's sector size that differs from the port's
//   own is logged and the port's own is used. Otherwise answered when the workers have finished,
//   in this order: the last figures (if registered), Success to the start, then the final
//   progress value "Done100Percent" (if registered). A run that fails once started (an engine or
//   a target that fails on an I/O thread) is answered the same way but with Failure, and the
//   reason is logged.
// - "BST_1.StopTest": while a test runs, ends it: Success to the start, then Success to the stop,
//   and no final progress value. With no test running: Success to the stop.
// - "BST_1.Echo", "BST_1.SetDebugSettings": Success.
// - Any other request, the shared logging, statistics and interface-setup ones included: Failure.
//
// Figures: one StorageWorkerResults per worker and one StorageDiscoveredTargetResults per worker
// target (TestRun.h), in the units of Units.h; ResultState is RESULT_ACTIVE while the test runs
// and RESULT_INACTIVE in the last figures.
//
// A Failure reply is the status alone under the request's name; learn's also carries an empty
// learntTargets.
//
// Hostile input: OnFrame never throws. A request whose members do not decode is answered with
// Failure; bytes that are not a frame and frames that are not requests are dropped. Refusals and
// drops are written with their reason to the port's log.
//
// Threads and lifetime: OnFrame, the sink and the timers all run on the Scheduler's thread. The
// scheduler must outlive the firmware; destroying the firmware cancels its timers and ends a
// running test without sending anything.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "msg/BST_1.h"
#include "port/engines/IoEngine.h"
#include "port/firmware/FirmwareConfig.h"
#include "port/firmware/PortLog.h"
#include "port/firmware/Scheduler.h"
#include "port/firmware/TestRun.h"
#include "port/firmware/Ticker.h"
#include "tm/RpcFrame.h"

namespace storageio_port {

class StorageFirmware {
 public:
  using Bytes = std::vector<unsigned char>;
  // Where the firmware's frames go: replies and notifications, encoded.
  using FrameSink = std::function<void(Bytes)>;

  // The longest test the firmware runs: one year.
  static constexpr std::uint64_t kLongestTestSeconds = 365ULL * 24 * 60 * 60;

  // Throws std::invalid_argument for a configuration ValidateFirmwareConfig refuses, a null
  // engine factory, an empty log or an empty sink.
  StorageFirmware(FirmwareConfig config, std::unique_ptr<IoEngineFactory> engines, Scheduler& scheduler, PortLog log,
                  FrameSink sink);
  ~StorageFirmware();
  StorageFirmware(const StorageFirmware&) = delete;
  StorageFirmware& operator=(const StorageFirmware&) = delete;

  // One frame from the plug-in's side.
  void OnFrame(const Bytes& frame);

  // The host that drove the port is gone: a running test ends as a stop would, but nothing is
  // sent; notifications stop; access specs and workers are forgotten. Target files stay.
  void ForgetHost();
  // The port is asked to end (a signal to its agent): a running test ends as if its duration had
  // elapsed (last figures, Success to the start, Done100Percent); one still laying out its files
  // is answered Failure and the file being written is removed. Nothing happens with no test.
  void EndTestNow();

  // The Failure reply to `request`, encoded: how a port refuses a request it will not serve,
  // whoever it comes from. Learn's Failure also carries an empty learntTargets.
  static Bytes FailureReplyTo(const RpcFrame& request);

  bool IsTestRunning() const { return m_run != nullptr; }
  const std::map<unsigned, BST_1_bll::AccessSpec_s>& AccessSpecs() const { return m_accessSpecs; }
  const std::map<unsigned, BST_1_bll::WorkerConfig_s>& Workers() const { return m_workers; }

 private:
  using Handler = void (StorageFirmware::*)(std::uint64_t id, const Message& request);

  void Dispatch(std::uint64_t id, const Message& request);
  void LogWarning(const std::string& line) const;
  void Send(RpcFrameKind kind, std::uint64_t id, const Message& message);
  void Reply(std::uint64_t id, const Message& reply);

  void OnEcho(std::uint64_t id, const Message& request);
  // Add and update of access specs and workers: parse the records, keep each under its handle,
  // answer Success with `Answer`.
  template <auto Kept, auto Parse, auto HandleOf, auto Answer>
  void OnKeep(std::uint64_t id, const Message& request);
  // Their delete: forget the handles parsed, answer Success with `Answer`.
  template <auto Kept, auto Parse, auto Answer>
  void OnForget(std::uint64_t id, const Message& request);
  void OnLearnTargets(std::uint64_t id, const Message& request);
  void OnRegisterTestStatusNotify(std::uint64_t id, const Message& request);
  void OnDeregisterTestStatusNotify(std::uint64_t id, const Message& request);
  void OnRegisterTestResults(std::uint64_t id, const Message& request);
  void OnDeregisterTestResults(std::uint64_t id, const Message& request);
  void OnStartTest(std::uint64_t id, const Message& request);
  void OnStopTest(std::uint64_t id, const Message& request);
  void OnSetDebugSettings(std::uint64_t id, const Message& request);

  std::vector<WorkerPlan> PlanWorkers(const std::vector<unsigned>& workerHandles);
  WorkerPlan::Target PlanTarget(const std::string& worker, const BST_1_bll::TargetSpec_s& spec,
                                const bst_1_bll::StorageWorkerProfile_s& profile);
  // Throws Refusal for a real target the worker may not use as its profile asks: a write the port
  // does not allow, a target that cannot be opened, or direct I/O the transfers do not fit.
  void CheckRealTarget(const std::string& where, const TargetInfo& info,
                       const bst_1_bll::StorageWorkerProfile_s& profile);
  const TargetInfo* FindTarget(const std::string& name) const;
  void SendProgress(BST_1_bll::TestStatus_t phase);
  void SendFigures(result_1_bll::EnumResultState state);
  void OnPrepared();
  void BeginIo();
  // From any thread: `work` runs on the firmware's thread if the run of now is still running then.
  void PostToRunFromAnyThread(std::function<void()> work);
  // From any thread: the run ends with Failure, on the firmware's thread, if it is still running.
  void FailRunFromAnyThread(const std::string& why);
  // The run ends with Failure, and the log says why.
  void EndRunWithFailure(const std::string& why);
  void FinishTest(BST_1_bll::StatusCode_t status);
  void EndRun();

  static const std::map<std::string, Handler>& Handlers();

  const FirmwareConfig m_config;
  const std::unique_ptr<IoEngineFactory> m_engines;
  Scheduler& m_scheduler;
  const PortLog m_log;
  const FrameSink m_sink;

  std::map<unsigned, BST_1_bll::AccessSpec_s> m_accessSpecs;
  std::map<unsigned, BST_1_bll::WorkerConfig_s> m_workers;

  bool m_progressRegistered = false;
  bool m_figuresRegistered = false;
  Ticker m_progressTicker;
  Ticker m_figuresTicker;

  std::unique_ptr<TestRun> m_run;
  std::uint64_t m_runNumber = 0;  // which run work posted from an I/O thread belongs to
  std::uint64_t m_startRequestId = 0;
  Ticker m_pollTicker;
  Scheduler::TimerId m_phaseTimer = 0;
  Scheduler::TimerId m_endTimer = 0;
  // Work posted from other threads holds a weak reference and does nothing once the firmware is gone.
  const std::shared_ptr<StorageFirmware*> m_self = std::make_shared<StorageFirmware*>(this);
};

}  // namespace storageio_port
