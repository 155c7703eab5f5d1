#include "ResultsFollower.h"

#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

#include "ResultFields.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/Project.h"
#include "kel/framework/Scriptable.h"
#include "kel/framework/TaskManager.h"

namespace storageio_cli {

namespace {

using kel::framework::CMetaClassManager;
using kel::framework::CScriptable;
using kel::framework::Handle;

struct FollowedClass {
  ResultLevel level;
  const char* resultClass;
};
const FollowedClass kFollowed[] = {
    {ResultLevel::Project, "StorageProjectResults"}, {ResultLevel::Port, "StoragePortResults"},
    {ResultLevel::Profile, "StorageProfileResults"}, {ResultLevel::Worker, "StorageWorkerResults"},
    {ResultLevel::Target, "StorageDiscoveredTargetResults"},
};

constexpr unsigned kFirstSubscriptionId = 9000;
unsigned g_nextSubscriptionId = kFirstSubscriptionId;

// The object of class `className` that `from` reaches over the relation named `relationName`;
// null when there is none or the host knows no such relation.
const CScriptable* Related(const CScriptable* from, const char* className, const char* relationName) {
  if (from == nullptr) return nullptr;
  const kel::framework::RelationDesc* relation = CMetaClassManager::Instance().GetRelation(relationName);
  if (relation == nullptr) return nullptr;
  return from->GetObject(className, kel::framework::RelationType(relation->id));
}

// A discovered target is known to users by its worker and volume name.
std::string TargetName(const CScriptable& target, const CScriptable* worker) {
  std::string volume = target.Get("VolumeName");
  if (volume.empty()) volume = target.GetName();
  return worker == nullptr ? volume : worker->GetName() + "/" + volume;
}

// Refreshes what the record says of the result's owner; an owner that is gone leaves it as it was.
void DescribeOwner(ResultRecord& record, const CScriptable& result) {
  const CScriptable* owner = result.GetParent();
  if (owner == nullptr) return;
  record.owner = owner->GetName();
  record.ownerHandle = owner->GetHandle();
  const CScriptable* worker = nullptr;
  switch (record.level) {
    case ResultLevel::Port:
      record.port = owner->GetName();
      record.portHandle = owner->GetHandle();
      return;
    case ResultLevel::Worker: worker = owner; break;
    case ResultLevel::Target:
      worker = owner->GetParent();
      record.owner = TargetName(*owner, worker);
      break;
    case ResultLevel::Project:
    case ResultLevel::Profile: return;
  }
  if (worker == nullptr) return;
  record.active = worker->GetActive();
  const CScriptable* port = Related(worker->GetParent(), "Port", "AffiliatedPort");
  record.port = port != nullptr ? port->GetName() : std::string();
  record.portHandle = port != nullptr ? port->GetHandle() : 0;
  if (record.level != ResultLevel::Worker) return;
  const CScriptable* profile = Related(worker, "StorageWorkerProfile", "UsesProfile");
  record.profile = profile != nullptr ? profile->GetName() : std::string();
  record.profileHandle = profile != nullptr ? profile->GetHandle() : 0;
}

std::vector<ResultValue> ReadValues(const CScriptable& result) {
  std::vector<ResultValue> values;
  for (const ResultField& field : ResultFieldList()) {
    values.push_back(field.counter ? ResultValue(result.GetU64(field.id)) : ResultValue(result.GetDouble(field.id)));
  }
  return values;
}

}  // namespace

ResultsFollower::ResultsFollower(std::function<void()> onUpdate)
    : m_onUpdate(std::move(onUpdate)),
      m_originMs(kel::framework::CTaskManager::Instance().NowMs()),
      m_firstSubscriptionId(g_nextSubscriptionId) {
  g_nextSubscriptionId += std::size(kFollowed);
  ResultFieldList();  // refuses to follow anything without the plug-in's description
  const Handle project = kel::framework::CProject::GetCurrentActiveInstance().GetHandle();
  try {
    for (const FollowedClass& followed : kFollowed) {
      const kel::framework::CMetaClass* meta = CMetaClassManager::Instance().GetClass(followed.resultClass);
      if (meta == nullptr) {
        throw std::runtime_error("The host knows no result class " + std::string(followed.resultClass));
      }
      const ResultLevel level = followed.level;
      kel::core::CResultModule::Instance().Subscribe(
          m_firstSubscriptionId + m_subscriptionCount, kel::core::ResultSubscription(meta->GetClassId(), {project}),
          [this, level](const kel::core::ResultUpdate& update) { OnUpdate(level, update); });
      ++m_subscriptionCount;
    }
  } catch (...) {
    UnsubscribeAll();
    throw;
  }
}

ResultsFollower::~ResultsFollower() { UnsubscribeAll(); }

void ResultsFollower::UnsubscribeAll() {
  // Unsubscribing calls back once more, with every object as gone; that is not a deletion.
  m_closing = true;
  for (unsigned n = 0; n < m_subscriptionCount; ++n) {
    kel::core::CResultModule::Instance().Unsubscribe(m_firstSubscriptionId + n);
  }
  m_subscriptionCount = 0;
}

void ResultsFollower::SetOrigin(std::int64_t loopMs) { m_originMs = loopMs; }

void ResultsFollower::OnUpdate(ResultLevel level, const kel::core::ResultUpdate& update) {
  if (m_closing) return;
  const std::int64_t tMs = kel::framework::CTaskManager::Instance().NowMs() - m_originMs;
  // The plug-in's locator stops reporting results below an inactive object, so a worker switched
  // off (or renamed) since its last change is only noticed here, on any other result's callback.
  for (ResultRecord& record : m_records) {
    if (record.deleted) continue;
    if (const CScriptable* result = kel::framework::CHandleRegistry::Instance().Find(record.result)) {
      DescribeOwner(record, *result);
    }
  }
  for (const CScriptable* result : update.changed) {
    ResultRecord& record = RecordFor(level, *result);
    DescribeOwner(record, *result);
    record.values = ReadValues(*result);
    m_series.push_back(SeriesPoint{tMs, level, record.owner, record.values});
  }
  for (Handle gone : update.deleted) {
    const auto known = m_recordIndex.find(gone);
    if (known != m_recordIndex.end()) m_records[known->second].deleted = true;
  }
  if (m_onUpdate) m_onUpdate();
}

ResultRecord& ResultsFollower::RecordFor(ResultLevel level, const CScriptable& result) {
  const auto known = m_recordIndex.find(result.GetHandle());
  if (known != m_recordIndex.end()) return m_records[known->second];
  std::size_t place = 0;
  while (place < m_records.size() && m_records[place].level <= level) ++place;
  for (auto& entry : m_recordIndex) {
    if (entry.second >= place) ++entry.second;
  }
  m_recordIndex[result.GetHandle()] = place;
  ResultRecord record;
  record.level = level;
  record.resultClass = result.GetClassName();
  record.result = result.GetHandle();
  return *m_records.insert(m_records.begin() + static_cast<std::ptrdiff_t>(place), std::move(record));
}

}  // namespace storageio_cli
