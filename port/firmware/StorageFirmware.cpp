#include "port/firmware/StorageFirmware.h"

#include <set>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "port/firmware/Units.h"
#include "port/targets/TargetFile.h"

namespace storageio_port {

using BST_1_bll::StatusCode_t;
using BST_1_bll::TestStatus_t;
using result_1_bll::EnumResultState;

namespace {

// Why a request cannot be carried out; it becomes a Failure reply.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Every reply but learn's is a status alone, so a refusal of any request, known or not, is the
// status reply of the status-only codec, named for the request it answers.
void BuildFailureReply(const std::string& requestName, Message* reply) {
  if (requestName == "BST_1.LearnTargets") {
    BST_1_port::create_resp_LearnTargets(reply, StatusCode_t::Failure, {});
    return;
  }
  BST_1_port::create_resp_Echo(reply, StatusCode_t::Failure);
  reply->set_request_name(requestName);
}

}  // namespace

StorageFirmware::StorageFirmware(FirmwareConfig config, std::unique_ptr<IoEngineFactory> engines,
                                 Scheduler& scheduler, PortLog log, FrameSink sink)
    : m_config(std::move(config)),
      m_engines(std::move(engines)),
      m_scheduler(scheduler),
      m_log(std::move(log)),
      m_sink(std::move(sink)),
      m_progressTicker(scheduler),
      m_figuresTicker(scheduler),
      m_pollTicker(scheduler) {
  ValidateFirmwareConfig(m_config);
  if (!m_engines) throw std::invalid_argument("A storage firmware needs an I/O engine factory");
  if (!m_log) throw std::invalid_argument("A storage firmware needs a log");
  if (!m_sink) throw std::invalid_argument("A storage firmware needs a sink for its frames");
}

void StorageFirmware::LogWarning(const std::string& line) const { m_log(LogLevel::Warning, line); }

StorageFirmware::~StorageFirmware() { EndRun(); }

const std::map<std::string, StorageFirmware::Handler>& StorageFirmware::Handlers() {
  static const std::map<std::string, Handler> handlers = {
      {"BST_1.Echo", &StorageFirmware::OnEcho},
      {"BST_1.AddAccessSpecs",
       &StorageFirmware::OnKeep<&StorageFirmware::m_accessSpecs, BST_1_port::parse_req_AddAccessSpecs,
                                &BST_1_bll::AccessSpec_s::profileHandle, BST_1_port::create_resp_AddAccessSpecs>},
      {"BST_1.UpdateAccessSpecs",
       &StorageFirmware::OnKeep<&StorageFirmware::m_accessSpecs, BST_1_port::parse_req_UpdateAccessSpecs,
                                &BST_1_bll::AccessSpec_s::profileHandle, BST_1_port::create_resp_UpdateAccessSpecs>},
      {"BST_1.DeleteAccessSpecs",
       &StorageFirmware::OnForget<&StorageFirmware::m_accessSpecs, BST_1_port::parse_req_DeleteAccessSpecs,
                                  BST_1_port::create_resp_DeleteAccessSpecs>},
      {"BST_1.AddWorkers",
       &StorageFirmware::OnKeep<&StorageFirmware::m_workers, BST_1_port::parse_req_AddWorkers,
                                &BST_1_bll::WorkerConfig_s::handle, BST_1_port::create_resp_AddWorkers>},
      {"BST_1.UpdateWorkers",
       &StorageFirmware::OnKeep<&StorageFirmware::m_workers, BST_1_port::parse_req_UpdateWorkers,
                                &BST_1_bll::WorkerConfig_s::handle, BST_1_port::create_resp_UpdateWorkers>},
      {"BST_1.DeleteWorkers",
       &StorageFirmware::OnForget<&StorageFirmware::m_workers, BST_1_port::parse_req_DeleteWorkers,
                                  BST_1_port::create_resp_DeleteWorkers>},
      {"BST_1.LearnTargets", &StorageFirmware::OnLearnTargets},
      {"BST_1.RegisterTestStatusNotify", &StorageFirmware::OnRegisterTestStatusNotify},
      {"BST_1.DeregisterTestStatusNotify", &StorageFirmware::OnDeregisterTestStatusNotify},
      {"BST_1.RegisterTestResults", &StorageFirmware::OnRegisterTestResults},
      {"BST_1.DeregisterTestResults", &StorageFirmware::OnDeregisterTestResults},
      {"BST_1.StartTest", &StorageFirmware::OnStartTest},
      {"BST_1.StopTest", &StorageFirmware::OnStopTest},
      {"BST_1.SetDebugSettings", &StorageFirmware::OnSetDebugSettings},
  };
  return handlers;
}

void StorageFirmware::OnFrame(const Bytes& bytes) {
  RpcFrame frame;
  try {
    frame = DecodeFrame(bytes);
  } catch (const std::exception& e) {
    LogWarning("Dropped " + std::to_string(bytes.size()) + " bytes that are not a frame: " + e.what());
    return;
  }
  const std::string& name = frame.message.get_request_name();
  if (frame.kind != RpcFrameKind::Request) {
    LogWarning("Dropped a frame of " + name + " that is not a request");
    return;
  }
  try {
    try {
      Dispatch(frame.id, frame.message);
    } catch (const std::exception& e) {
      LogWarning("Refused " + name + ": " + e.what());
      m_sink(FailureReplyTo(frame));
    }
  } catch (const std::exception& e) {
    LogWarning("Could not answer " + name + ": " + e.what());
  }
}

StorageFirmware::Bytes StorageFirmware::FailureReplyTo(const RpcFrame& request) {
  Message reply;
  BuildFailureReply(request.message.get_request_name(), &reply);
  return EncodeFrame(RpcFrameKind::Reply, request.id, reply);
}

void StorageFirmware::ForgetHost() {
  EndRun();
  m_progressRegistered = m_figuresRegistered = false;
  m_progressTicker.Stop();
  m_figuresTicker.Stop();
  m_accessSpecs.clear();
  m_workers.clear();
}

void StorageFirmware::EndTestNow() {
  if (!m_run) return;
  const bool preparing = m_run->GetTimeline().preparedMs == Timeline::kNotPrepared;
  FinishTest(preparing ? StatusCode_t::Failure : StatusCode_t::Success);
}

void StorageFirmware::Dispatch(std::uint64_t id, const Message& request) {
  const auto handler = Handlers().find(request.get_request_name());
  if (handler == Handlers().end()) throw Refusal("this port does not serve it");
  (this->*handler->second)(id, request);
}

void StorageFirmware::Send(RpcFrameKind kind, std::uint64_t id, const Message& message) {
  m_sink(EncodeFrame(kind, id, message));
}

void StorageFirmware::Reply(std::uint64_t id, const Message& reply) { Send(RpcFrameKind::Reply, id, reply); }

// ---- Configuration ----

void StorageFirmware::OnEcho(std::uint64_t id, const Message& request) {
  std::string command;
  BST_1_port::parse_req_Echo(&request, &command);
  Message reply;
  BST_1_port::create_resp_Echo(&reply, StatusCode_t::Success);
  Reply(id, reply);
}

// Requests repeat, so a map of a handle to its record keeps the latest, and an update of an
// unknown handle acts as an add.
template <auto Kept, auto Parse, auto HandleOf, auto Answer>
void StorageFirmware::OnKeep(std::uint64_t id, const Message& request) {
  using Record = typename std::remove_reference_t<decltype(this->*Kept)>::mapped_type;
  std::vector<Record> records;
  Parse(&request, &records);
  for (const Record& record : records) (this->*Kept)[record.*HandleOf] = record;
  Message reply;
  Answer(&reply, StatusCode_t::Success);
  Reply(id, reply);
}

// Deleting an unknown handle succeeds; a delete that names no handle forgets every record.
template <auto Kept, auto Parse, auto Answer>
void StorageFirmware::OnForget(std::uint64_t id, const Message& request) {
  std::vector<unsigned> handles;
  Parse(&request, &handles);
  if (handles.empty()) (this->*Kept).clear();
  for (unsigned handle : handles) (this->*Kept).erase(handle);
  Message reply;
  Answer(&reply, StatusCode_t::Success);
  Reply(id, reply);
}

void StorageFirmware::OnLearnTargets(std::uint64_t id, const Message& request) {
  BST_1_port::parse_req_LearnTargets(&request);
  std::vector<BST_1_bll::TargetSpec_s> learnt;
  for (const TargetInfo& target : m_config.targets) {
    BST_1_bll::TargetSpec_s spec;
    spec.Type = static_cast<std::uint32_t>(target.type == DiskType::PhysicalDisk
                                               ? bst_1_bll::EnumTargetType::PhysicalDiskType
                                               : bst_1_bll::EnumTargetType::LogicalDiskType);
    spec.TargetName = target.name;
    spec.QueueDepth = target.queueDepth;
    spec.DiskSpecification.SectorSize = target.sectorSize;
    spec.DiskSpecification.MaximumDiskSize = target.sectorCount;
    learnt.push_back(spec);
  }
  Message reply;
  BST_1_port::create_resp_LearnTargets(&reply, StatusCode_t::Success, learnt);
  Reply(id, reply);
}

void StorageFirmware::OnSetDebugSettings(std::uint64_t id, const Message& request) {
  unsigned changeMask = 0, traceMask = 0, sizeOfLogFile = 0;
  unsigned char traceOn = 0, numberOfLogFiles = 0;
  BST_1_port::parse_req_SetDebugSettings(&request, &changeMask, &traceOn, &traceMask, &sizeOfLogFile,
                                         &numberOfLogFiles);
  Message reply;
  BST_1_port::create_resp_SetDebugSettings(&reply, StatusCode_t::Success);
  Reply(id, reply);
}

// ---- Notifications ----

void StorageFirmware::OnRegisterTestStatusNotify(std::uint64_t id, const Message& request) {
  unsigned intervalMs = 0;
  BST_1_port::parse_req_RegisterTestStatusNotify(&request, &intervalMs);
  m_progressRegistered = true;
  m_progressTicker.Start(intervalMs, [this] {
    if (m_run) SendProgress(m_run->PhaseAt(m_scheduler.NowMs()));
  });
  Message reply;
  BST_1_port::create_resp_RegisterTestStatusNotify(&reply);
  Reply(id, reply);
}

void StorageFirmware::OnDeregisterTestStatusNotify(std::uint64_t id, const Message& request) {
  BST_1_port::parse_req_DeregisterTestStatusNotify(&request);
  m_progressRegistered = false;
  m_progressTicker.Stop();
  Message reply;
  BST_1_port::create_resp_DeregisterTestStatusNotify(&reply);
  Reply(id, reply);
}

void StorageFirmware::OnRegisterTestResults(std::uint64_t id, const Message& request) {
  unsigned intervalMs = 0;
  BST_1_port::parse_req_RegisterTestResults(&request, &intervalMs);
  m_figuresRegistered = true;
  m_figuresTicker.Start(intervalMs, [this] {
    if (m_run) SendFigures(EnumResultState::RESULT_ACTIVE);
  });
  Message reply;
  BST_1_port::create_resp_RegisterTestResults(&reply);
  Reply(id, reply);
}

void StorageFirmware::OnDeregisterTestResults(std::uint64_t id, const Message& request) {
  BST_1_port::parse_req_DeregisterTestResults(&request);
  m_figuresRegistered = false;
  m_figuresTicker.Stop();
  Message reply;
  BST_1_port::create_resp_DeregisterTestResults(&reply);
  Reply(id, reply);
}

void StorageFirmware::SendProgress(TestStatus_t phase) {
  Message notification;
  BST_1_port::create_notify_TestNotification(&notification, phase, true);
  Send(RpcFrameKind::Notification, 0, notification);
}

void StorageFirmware::SendFigures(EnumResultState state) {
  m_run->AdvanceTo(m_scheduler.NowMs());
  std::vector<bst_1_bll::StorageWorkerResults_s> workerResults;
  std::vector<bst_1_bll::StorageDiscoveredTargetResults_s> targetResults;
  m_run->Figures(state, workerResults, targetResults);
  Message notification;
  BST_1_port::create_notify_TestResultsNotification(&notification, workerResults, targetResults, true);
  Send(RpcFrameKind::Notification, 0, notification);
}

// ---- The test ----

const TargetInfo* StorageFirmware::FindTarget(const std::string& name) const {
  for (const TargetInfo& target : m_config.targets) {
    if (target.name == name) return &target;
  }
  return nullptr;
}

WorkerPlan::Target StorageFirmware::PlanTarget(const std::string& worker, const BST_1_bll::TargetSpec_s& spec,
                                               const bst_1_bll::StorageWorkerProfile_s& profile) {
  const TargetInfo* info = FindTarget(spec.TargetName);
  if (info == nullptr) throw Refusal(worker + " names target '" + spec.TargetName + "', which this port does not have");
  const std::uint32_t askedSectorSize = spec.DiskSpecification.SectorSize;
  if (askedSectorSize != 0 && askedSectorSize != info->sectorSize) {
    m_log(LogLevel::Info, worker + " gives target '" + spec.TargetName + "' sectors of " +
                              std::to_string(askedSectorSize) + " bytes; the port's own " +
                              std::to_string(info->sectorSize) + " are used");
  }
  const std::string where = worker + " on target '" + spec.TargetName + "'";
  try {
    TargetLoad::Check(*info, spec, profile);
  } catch (const std::exception& e) {
    throw Refusal(where + ": " + e.what());
  }
  if (info->device) CheckRealTarget(where, *info, profile);
  return WorkerPlan::Target{info, spec};
}

void StorageFirmware::CheckRealTarget(const std::string& where, const TargetInfo& info,
                                      const bst_1_bll::StorageWorkerProfile_s& profile) {
  const ResolvedTarget& device = *info.device;
  const bool forWrites = profile.PercentReadDistribution < 100;
  if (forWrites && !info.writesAllowed) {
    throw Refusal(where + ": writing to block device " + device.resolvedPath +
                  " needs the port's block-device write flag");
  }
  // A file the run will create cannot be opened yet; it will be direct unless given as buffered.
  bool direct = !device.buffered;
  if (device.identity.known) {
    try {
      const TargetFile file = OpenTarget(device, OpenIntent{forWrites, info.writesAllowed});
      direct = file.isDirect();
      m_log(LogLevel::Info, device.Describe() + ": " + file.ioModeReason());
    } catch (const std::exception& e) {
      throw Refusal(where + ": " + e.what());
    }
  }
  if (!direct) return;
  const std::uint64_t multiple = device.directIoAlignment;
  const auto refuseUnlessMultiple = [&](const char* what, std::uint64_t value) {
    if (value % multiple != 0) {
      throw Refusal(where + ": " + what + " " + std::to_string(value) + " is not a multiple of " +
                    std::to_string(multiple) + " bytes, which O_DIRECT on it requires");
    }
  };
  refuseUnlessMultiple("transfer size", profile.TransferRequestSize);
  refuseUnlessMultiple("alignment", AlignmentOf(profile, info));
}

std::vector<WorkerPlan> StorageFirmware::PlanWorkers(const std::vector<unsigned>& workerHandles) {
  std::vector<WorkerPlan> plans;
  std::set<unsigned> planned;
  for (unsigned handle : workerHandles) {
    if (!planned.insert(handle).second) continue;
    const std::string worker = "worker " + std::to_string(handle);
    const auto config = m_workers.find(handle);
    if (config == m_workers.end()) throw Refusal(worker + " is unknown");
    const auto spec = m_accessSpecs.find(config->second.profileHandle);
    if (spec == m_accessSpecs.end()) {
      throw Refusal(worker + " runs access spec " + std::to_string(config->second.profileHandle) + ", which is unknown");
    }
    WorkerPlan plan{handle, spec->second.workerProfile, {}};
    for (const BST_1_bll::TargetSpec_s& target : config->second.targetSpec) {
      plan.targets.push_back(PlanTarget(worker, target, plan.profile));
    }
    plans.push_back(std::move(plan));
  }
  return plans;
}

void StorageFirmware::OnStartTest(std::uint64_t id, const Message& request) {
  std::vector<unsigned> workerHandles;
  unsigned long durationSeconds = 0;
  BST_1_port::parse_req_StartTest(&request, &workerHandles, &durationSeconds);
  if (m_run) throw Refusal("a test is running");
  if (durationSeconds > kLongestTestSeconds) {
    throw Refusal("a duration of " + std::to_string(durationSeconds) + " s is above the longest test of " +
                  std::to_string(kLongestTestSeconds) + " s");
  }
  const Timeline timeline{m_scheduler.NowMs(), m_config.setupStepMs,
                          static_cast<std::int64_t>(durationSeconds) * units::kMsPerSecond};
  m_run = std::make_unique<TestRun>(timeline, PlanWorkers(workerHandles), *m_engines);
  ++m_runNumber;
  m_startRequestId = id;
  if (m_run->FilesToLayOut().empty()) {
    m_phaseTimer = m_scheduler.RunAfter(m_config.setupStepMs, [this] { OnPrepared(); });
    return;
  }
  m_run->StartLayout([this](const std::vector<std::string>& laidOut, const std::string& error) {
    PostToRunFromAnyThread([this, laidOut, error] {
      for (const std::string& line : laidOut) m_log(LogLevel::Info, line);
      if (error.empty()) {
        OnPrepared();
        return;
      }
      EndRunWithFailure(error);
    });
  });
}

void StorageFirmware::OnPrepared() {
  m_run->Prepared(m_scheduler.NowMs());
  m_phaseTimer = m_scheduler.RunAfter(m_config.setupStepMs, [this] { BeginIo(); });
  m_endTimer = m_scheduler.RunAfter(m_run->GetTimeline().EndMs() - m_scheduler.NowMs(),
                                    [this] { FinishTest(StatusCode_t::Success); });
}

void StorageFirmware::BeginIo() {
  m_phaseTimer = 0;
  try {
    m_run->BeginIo(m_scheduler.NowMs(), m_log, [this](const std::string& why) { FailRunFromAnyThread(why); });
  } catch (const std::exception& e) {
    FailRunFromAnyThread(e.what());
    return;
  }
  if (m_engines->GetPace() == IoEngine::Pace::Computed) {
    m_pollTicker.Start(m_config.pollPeriodMs, [this] { m_run->AdvanceTo(m_scheduler.NowMs()); });
  }
}

void StorageFirmware::PostToRunFromAnyThread(std::function<void()> work) {
  const std::weak_ptr<StorageFirmware*> self = m_self;
  const std::uint64_t run = m_runNumber;
  m_scheduler.PostFromAnyThread([self, run, work = std::move(work)] {
    const auto alive = self.lock();
    if (alive && (*alive)->m_run && (*alive)->m_runNumber == run) work();
  });
}

void StorageFirmware::FailRunFromAnyThread(const std::string& why) {
  PostToRunFromAnyThread([this, why] { EndRunWithFailure(why); });
}

void StorageFirmware::EndRunWithFailure(const std::string& why) {
  m_log(LogLevel::Error, "The test ends with Failure: " + why);
  FinishTest(StatusCode_t::Failure);
}

void StorageFirmware::FinishTest(StatusCode_t status) {
  m_run->Stop();
  m_run->AdvanceTo(m_scheduler.NowMs());
  if (m_figuresRegistered) SendFigures(EnumResultState::RESULT_INACTIVE);
  Message reply;
  BST_1_port::create_resp_StartTest(&reply, status);
  Reply(m_startRequestId, reply);
  if (m_progressRegistered) SendProgress(TestStatus_t::Done100Percent);
  EndRun();
}

void StorageFirmware::OnStopTest(std::uint64_t id, const Message& request) {
  BST_1_port::parse_req_StopTest(&request);
  if (m_run) {
    EndRun();
    Message startReply;
    BST_1_port::create_resp_StartTest(&startReply, StatusCode_t::Success);
    Reply(m_startRequestId, startReply);
  }
  Message reply;
  BST_1_port::create_resp_StopTest(&reply, StatusCode_t::Success);
  Reply(id, reply);
}

void StorageFirmware::EndRun() {
  m_pollTicker.Stop();
  for (Scheduler::TimerId* timer : {&m_phaseTimer, &m_endTimer}) {
    if (*timer != 0) m_scheduler.Cancel(*timer);
    *timer = 0;
  }
  m_run.reset();
}

}  // namespace storageio_port
