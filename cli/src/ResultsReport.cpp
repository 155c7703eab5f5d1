#include "ResultsReport.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "kel/core/ResultModule.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/Project.h"

namespace storageio_cli {

namespace {

using kel::framework::CScriptable;

// Subscription ids of this report; any values unique among the module's clients do.
constexpr unsigned kFirstSubscriptionId = 9000;

// Columns: property name as the data model names it, heading, decimals (-1: an integer).
struct Column {
  const char* property;
  const char* heading;
  int decimals;
};
const Column kColumns[] = {
    {"AllTransactionCount", "I/Os", -1},       {"ReadTransactionCount", "reads", -1},
    {"WriteTransactionCount", "writes", -1},   {"AvgIOPerSecond", "IOPS", 1},
    {"AvgMBps", "MB/s", 3},                    {"AvgLatency", "avg ms", 3},
    {"MaxLatency", "max ms", 3},               {"ReadErrors", "rd err", -1},
    {"WriteErrors", "wr err", -1},
};

// The owner's name; a discovered target is better known by its volume name.
std::string OwnerName(const CScriptable& result) {
  const CScriptable* owner = result.GetParent();
  if (owner == nullptr) return "?";
  if (owner->GetMetaClass()->FindPropertyIndex("VolumeName") < 0) return owner->GetName();
  const CScriptable* worker = owner->GetParent();
  return (worker ? worker->GetName() + "/" : std::string()) + owner->Get("VolumeName");
}

}  // namespace

ResultsReport::ResultsReport() {
  const kel::framework::Handle project = kel::framework::CProject::GetCurrentActiveInstance().GetHandle();
  const std::pair<const char*, const char*> levels[] = {
      {"Project", "StorageProjectResults"}, {"Ports", "StoragePortResults"},
      {"Profiles", "StorageProfileResults"}, {"Workers", "StorageWorkerResults"},
      {"Targets", "StorageDiscoveredTargetResults"},
  };
  unsigned id = kFirstSubscriptionId;
  for (const auto& level : levels) m_levels.push_back(Level{level.first, level.second, id++, {}});
  for (Level& level : m_levels) {
    const kel::framework::CMetaClass* meta = kel::framework::CMetaClassManager::Instance().GetClass(level.resultClass);
    if (meta == nullptr) continue;
    kel::core::CResultModule::Instance().Subscribe(
        level.subscriptionId, kel::core::ResultSubscription(meta->GetClassId(), {project}),
        [this, &level](const kel::core::ResultUpdate& update) {
          ++m_updates;
          for (const CScriptable* object : update.changed) {
            if (std::find(level.results.begin(), level.results.end(), object->GetHandle()) == level.results.end()) {
              level.results.push_back(object->GetHandle());
            }
          }
          for (kel::framework::Handle gone : update.deleted) {
            level.results.erase(std::remove(level.results.begin(), level.results.end(), gone), level.results.end());
          }
        });
  }
}

ResultsReport::~ResultsReport() {
  for (const Level& level : m_levels) kel::core::CResultModule::Instance().Unsubscribe(level.subscriptionId);
}

void ResultsReport::Write(std::ostream& out) const {
  for (const Level& level : m_levels) {
    out << "\n" << level.title << "\n";
    out << "  " << std::left << std::setw(28) << "owner" << std::right;
    for (const Column& column : kColumns) out << std::setw(12) << column.heading;
    out << "\n";
    for (kel::framework::Handle handle : level.results) {
      const CScriptable* result = kel::framework::CHandleRegistry::Instance().Find(handle);
      if (result == nullptr) continue;
      out << "  " << std::left << std::setw(28) << OwnerName(*result) << std::right;
      for (const Column& column : kColumns) {
        std::string text = result->Get(column.property);
        if (column.decimals >= 0) {
          std::ostringstream number;
          number << std::fixed << std::setprecision(column.decimals) << std::stod(text);
          text = number.str();
        }
        out << std::setw(12) << text;
      }
      out << "\n";
    }
  }
}

}  // namespace storageio_cli
