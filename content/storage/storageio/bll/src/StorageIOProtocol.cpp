#include "StorageIOProtocol.h"

#include "StorageIOLog.h"
#include "StorageWorkerConfig.h"
#include "StorageWorkerProfile.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableCreator.h"

namespace kel {
namespace storageio {

using framework::MakeDelegate;

const char* const kDefaultProfileName = "DefaultLoadProfile";

namespace {
const char* const kSourcePath = "content/storage/storageio/bll/src/StorageIOProtocol";
constexpr framework::PropId kIsDefaultProfile = 0x8600100b;
}  // namespace

CStorageIOProtocol* CStorageIOProtocol::s_instance = nullptr;
std::string CStorageIOProtocol::s_name;
std::string CStorageIOProtocol::s_category;

// Sets the protocol's name and category when the library loads.
class CStorageIOProtocolStatics {
 public:
  CStorageIOProtocolStatics() {
    CStorageIOProtocol::s_name = "StorageIO";
    CStorageIOProtocol::s_category = "Switching";
  }
};

namespace {
const CStorageIOProtocolStatics s_statics;
}  // namespace

CStorageIOProtocol* CStorageIOProtocol::Instance() {
  if (s_instance == nullptr) {
    const std::string group = "Storage";
    const std::string name = "StorageIO";
    s_instance = new CStorageIOProtocol(group, name, CStorageWorkerConfig::CLASS_ID());
  }
  return s_instance;
}

void CStorageIOProtocol::DeleteInstance() {
  delete s_instance;
  s_instance = nullptr;
}

CStorageIOProtocol::CStorageIOProtocol(const std::string& group, const std::string& name,
                                       framework::ClassId workerClass)
    : CBaseProtocol(group, name, workerClass, "BST_1", userLogger()),
      m_profileConfigRespDelegate(MakeDelegate(this, &CStorageIOProtocol::ParseResponseConfigProfile)),
      m_workerConfigRespDelegate(MakeDelegate(this, &CStorageIOProtocol::ParseResponseConfigWorker)),
      m_profileDeleteRespDelegate(MakeDelegate(this, &CStorageIOProtocol::ParseResponseDeleteProfile)),
      m_workerDeleteRespDelegate(MakeDelegate(this, &CStorageIOProtocol::ParseResponseDeleteWorker)),
      m_testStatusDelegate(MakeDelegate(this, &CStorageIOProtocol::TestStatusHandler)),
      m_statsDelegate(MakeDelegate(this, &CStorageIOProtocol::StatsHandler)),
      m_testInProgress(false),
      m_defaultProfile(nullptr) {}

// The running-port map is dropped without deregistering: the ports' notifications die with the
// process or the next project.
CStorageIOProtocol::~CStorageIOProtocol() { m_testRunningPortSet.clear(); }

CStorageWorkerProfile* CStorageIOProtocol::GetDefaultProfile() {
  if (m_defaultProfile != nullptr) return m_defaultProfile;
  m_defaultProfile = static_cast<CStorageWorkerProfile*>(framework::CScriptableCreator().Create(
      CStorageWorkerProfile::CLASS_ID(), &framework::CProject::GetCurrentActiveInstance(), true, true, 0));
  if (m_defaultProfile == nullptr) {
    ThrowAssertion("Cannot create default profile under project", "m_defaultProfile", kSourcePath, 1132);
  }
  m_defaultProfile->Set(framework::prop::Name, std::string(kDefaultProfileName));
  m_defaultProfile->Set(kIsDefaultProfile, true);
  return m_defaultProfile;
}

void CStorageIOProtocol::LogCommandFailedError(const std::string&) const {
  throw framework::CCommandErrorException("");
}

void CStorageIOProtocol::ParseResponseConfigProfile(unsigned short, Message*, void*) const {}
void CStorageIOProtocol::ParseResponseConfigWorker(unsigned short, Message*, void*) const {}
void CStorageIOProtocol::ParseResponseDeleteProfile(unsigned short, Message*, void*) const {}
void CStorageIOProtocol::ParseResponseDeleteWorker(unsigned short, Message*, void*) const {}

void CStorageIOProtocol::TestStatusHandler(unsigned short, Message*, void*) {}
void CStorageIOProtocol::StatsHandler(unsigned short, Message*, void*) {}

}  // namespace storageio
}  // namespace kel
