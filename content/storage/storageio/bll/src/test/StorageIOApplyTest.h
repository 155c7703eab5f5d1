#pragma once
// Fixture of the tests that apply a storage configuration through the host's real apply cycle:
// the project is built through the project builder, by name, as any host client builds it: ports
// reserved for testing whose channel is a recorder, workers each on a device of its own (each takes
// the protocol's default profile when it is made, unless given another), profiles and targets; and
// an apply is run as the user runs it (the apply command, then the event loop until every reply
// has arrived). What a port received is read back with the port side's BST_1 parsers.
//
// Each test starts on an empty project, a fresh protocol registered with the protocol module
// (DeleteInstance unregisters it again), the task manager on its virtual clock and simulation mode
// off. Objects belong to the project; recorders belong to the port channels and live until the
// test ends or their port is deleted.

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "StorageDiscoveredTargets.h"
#include "StorageIOIds.h"
#include "StorageWorkerConfig.h"
#include "StorageWorkerProfile.h"
#include "kel/core/EmulatedDevice.h"
#include "kel/core/Port.h"
#include "kel/core/PortChannels.h"
#include "kel/core/ProtocolModule.h"
#include "kel/core/RecorderMessenger.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/Project.h"
#include "kel/framework/TaskManager.h"
#include "msg/BST_1.h"
#include "ProjectBuilder.h"
#include "test/StorageIOTest.h"
#include "StorageIODataModelIds.h"

extern "C" int PluginRegister();

namespace kel {
namespace storageio {

using storageio_project::ProjectBuilder;
using storageio_project::PropertyTexts;

using AccessSpecs = std::vector<BST_1_bll::AccessSpec_s>;
using WorkerConfigs = std::vector<BST_1_bll::WorkerConfig_s>;
using Handles = std::vector<unsigned int>;
using Names = std::vector<std::string>;

// The records of an "AddAccessSpecs" or "UpdateAccessSpecs" request.
inline AccessSpecs AccessSpecsOf(const Message& request) {
  AccessSpecs specs;
  const bool update = request.get_request_name() == "BST_1.UpdateAccessSpecs";
  (update ? BST_1_port::parse_req_UpdateAccessSpecs : BST_1_port::parse_req_AddAccessSpecs)(&request, &specs);
  return specs;
}

// The records of an "AddWorkers" or "UpdateWorkers" request.
inline WorkerConfigs WorkersOf(const Message& request) {
  WorkerConfigs workers;
  const bool update = request.get_request_name() == "BST_1.UpdateWorkers";
  (update ? BST_1_port::parse_req_UpdateWorkers : BST_1_port::parse_req_AddWorkers)(&request, &workers);
  return workers;
}

// The handles of a "DeleteAccessSpecs" or "DeleteWorkers" request.
inline Handles DeletedHandlesOf(const Message& request) {
  Handles handles;
  const bool workers = request.get_request_name() == "BST_1.DeleteWorkers";
  (workers ? BST_1_port::parse_req_DeleteWorkers : BST_1_port::parse_req_DeleteAccessSpecs)(&request, &handles);
  return handles;
}

inline Handles ProfileHandlesOf(const AccessSpecs& specs) {
  Handles handles;
  for (const auto& spec : specs) handles.push_back(spec.profileHandle);
  return handles;
}

inline Handles WorkerHandlesOf(const WorkerConfigs& workers) {
  Handles handles;
  for (const auto& worker : workers) handles.push_back(worker.handle);
  return handles;
}

// Records of one request follow the order of an unordered set: compare them sorted.
inline Handles Sorted(Handles handles) {
  std::sort(handles.begin(), handles.end());
  return handles;
}

// A configuration request in brief: its name and the handles it carries, sorted (the profiles of
// access specs, the workers of worker configs, what a delete names).
using Requests = std::vector<std::pair<std::string, Handles>>;
inline Requests::value_type InBrief(const Message& request) {
  const std::string& name = request.get_request_name();
  if (name.find(".Delete") != std::string::npos) return {name, Sorted(DeletedHandlesOf(request))};
  if (name.find("AccessSpecs") != std::string::npos) return {name, Sorted(ProfileHandlesOf(AccessSpecsOf(request)))};
  return {name, Sorted(WorkerHandlesOf(WorkersOf(request)))};
}

class StorageIOApplyTest : public StorageIOTest {
 protected:
  void SetUp() override {
    StorageIOTest::SetUp();
    // The host loads the plug-in once per process (its texts and protocol are registered then);
    // every test's fresh protocol joins the protocol module again.
    static const int registered = PluginRegister();
    (void)registered;
    core::CProtocolModule::Instance().RegisterProtocol(CStorageIOProtocol::Instance());
  }

  static CStorageIOProtocol& protocol() { return *CStorageIOProtocol::Instance(); }
  static framework::CProject& project() { return framework::CProject::Instance(); }

  // A port reserved for testing (unless told otherwise) whose channel is a recorder; `group`
  // names its physical port group ("" for a group of its own).
  core::CPort& MakePort(const std::string& name, const std::string& group = "", bool reserved = true) {
    // No location: no transport serves the port, the recorder attached below is its channel.
    core::CPort& port = ProjectBuilder::AddPort(name, "", group);
    if (!reserved) ProjectBuilder::Set(port, {{"ReservedForTesting", "false"}});
    AttachRecorder(port);
    return port;
  }
  // Gives the port (a loaded one, say) a fresh recorder as its channel; the port is online then.
  core::CRecorderMessenger& AttachRecorder(core::CPort& port) {
    auto& recorder = static_cast<core::CRecorderMessenger&>(
        core::CPortChannels::Instance().Attach(port, std::make_unique<core::CRecorderMessenger>()));
    m_recorders[port.GetHandle()] = &recorder;
    return recorder;
  }
  core::CRecorderMessenger& Recorder(const core::CPort& port) { return *LiveRecorders().at(port.GetHandle()); }

  // A worker on a device of its own on `port`, using `profile` instead of the default one when given.
  CStorageWorkerConfig& MakeWorker(core::CPort& port, const std::string& name,
                                   CStorageWorkerProfile* profile = nullptr) {
    return As<CStorageWorkerConfig>(ProjectBuilder::AddWorker(name, port, profile));
  }
  CStorageWorkerProfile& MakeProfile(const std::string& name, const PropertyTexts& properties = {}) {
    return As<CStorageWorkerProfile>(ProjectBuilder::AddProfile(name, properties));
  }
  // A target of the worker (its child, related over worker-to-target).
  CStorageDiscoveredTargets& MakeTarget(CStorageWorkerConfig& worker, const std::string& volume,
                                        unsigned int type = 0x8c000000, unsigned int sectorSize = 512) {
    return As<CStorageDiscoveredTargets>(ProjectBuilder::AddTarget(
        worker, {{"VolumeName", volume}, {"TargetType", std::to_string(type)},
                 {"SectorSize", std::to_string(sectorSize)}}));
  }
  // Relates the worker to `profile` instead of its current one.
  static void UseProfile(CStorageWorkerConfig& worker, CStorageWorkerProfile& profile) {
    EXPECT_TRUE(worker.SetObjects({&profile}, ProjectBuilder::Relation("UsesProfile")));
  }
  // The plug-in's or host's class of an object the builder made by name.
  template <class T>
  static T& As(framework::CScriptable& object) {
    auto* typed = dynamic_cast<T*>(&object);
    if (typed == nullptr) throw framework::CKelLogicError(object.GetName() + " is not of the class the test expects");
    return *typed;
  }

  // Runs the apply command as the user does and lets every reply arrive. The command's failure
  // (a refused validation) propagates. `validateOnly` asks for the verdict alone.
  void Apply(bool validateOnly = false) {
    ProjectBuilder::MakeApply(validateOnly)->Execute(false);
    framework::CTaskManager::Instance().RunUntilIdle();
  }
  // Applies after forgetting what the ports received so far, so a test reads one apply's requests.
  void ApplyAfresh() {
    for (auto& entry : LiveRecorders()) entry.second->ClearReceived();
    Apply();
  }
  // The text with which an apply is refused; "" (and a test failure) when it is not refused.
  std::string RefusedApplyText(bool validateOnly = false) {
    try {
      Apply(validateOnly);
    } catch (const framework::CCommandErrorException& error) {
      return error.GetMessage();
    }
    ADD_FAILURE() << "the apply was not refused";
    return "";
  }

  Names Sent(const core::CPort& port) { return Recorder(port).ReceivedNames(); }
  // The configuration requests the port received, in brief.
  Requests Received(const core::CPort& port) {
    Requests requests;
    for (const Message& request : Recorder(port).Received()) requests.push_back(InBrief(request));
    return requests;
  }
  const Message& Request(const core::CPort& port, std::size_t index) { return Recorder(port).Received().at(index); }
  // True when no port received anything.
  bool NothingSent() {
    for (const auto& entry : LiveRecorders()) {
      if (!entry.second->Received().empty()) return false;
    }
    return true;
  }

 private:
  // The recorders of the ports that still exist: a deleted port's channel is destroyed with it.
  std::map<framework::Handle, core::CRecorderMessenger*>& LiveRecorders() {
    for (auto it = m_recorders.begin(); it != m_recorders.end();) {
      it = framework::CHandleRegistry::Instance().Find(it->first) ? std::next(it) : m_recorders.erase(it);
    }
    return m_recorders;
  }

  std::map<framework::Handle, core::CRecorderMessenger*> m_recorders;
};

}  // namespace storageio
}  // namespace kel
