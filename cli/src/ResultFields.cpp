#include "ResultFields.h"

#include <algorithm>
#include <array>
#include <map>
#include <stdexcept>

#include "kel/framework/MetaClass.h"

namespace storageio_cli {

namespace {

using kel::framework::Handle;
using kel::framework::PropertyType;

const char* const kBaseResultClass = "StorageBaseResults";

struct MeanRule {
  const char* name;
  const char* total;
  const char* count;
};
const MeanRule kMeans[] = {
    {"MeanLatency", "TotalTransactionLatency", "AllTransactionCount"},
    {"MeanReadLatency", "TotalReadLatency", "ReadTransactionCount"},
    {"MeanWriteLatency", "TotalWriteLatency", "WriteTransactionCount"},
    {"MeanConnectionLatency", "TotalConnectionLatency", "ConnectionCount"},
};

constexpr std::size_t kPeakCount = 4;
struct PeakRule {
  const char* name;
  const char* maximum;
};
const PeakRule kPeaks[kPeakCount] = {
    {"PeakLatency", "MaxLatency"},
    {"PeakReadLatency", "MaxReadLatency"},
    {"PeakWriteLatency", "MaxWriteLatency"},
    {"PeakConnectionLatency", "MaxConnectionLatency"},
};

using Peaks = std::array<double, kPeakCount>;

std::size_t IndexIn(const std::vector<ResultField>& fields, const std::string& name) {
  for (std::size_t index = 0; index < fields.size(); ++index) {
    if (fields[index].name == name) return index;
  }
  throw std::runtime_error("The class " + std::string(kBaseResultClass) + " has no statistics property " + name);
}

std::vector<ResultField> ReadFields() {
  const kel::framework::CMetaClass* meta = kel::framework::CMetaClassManager::Instance().GetClass(kBaseResultClass);
  if (meta == nullptr) {
    throw std::runtime_error("The host knows no class " + std::string(kBaseResultClass) +
                             ": the storage I/O plug-in is not loaded");
  }
  std::vector<ResultField> fields;
  for (const kel::framework::PropertyDesc& property : meta->GetProperties()) {
    if (property.type == PropertyType::U64 || property.type == PropertyType::Double) {
      fields.push_back(ResultField{property.name, property.id, property.type == PropertyType::U64});
    }
  }
  std::stable_sort(fields.begin(), fields.end(),
                   [](const ResultField& a, const ResultField& b) { return a.id < b.id; });
  // A plug-in that lacks an input of the derived values is refused here, once, rather than on
  // every derivation.
  for (const MeanRule& rule : kMeans) {
    IndexIn(fields, rule.total);
    IndexIn(fields, rule.count);
  }
  for (const PeakRule& rule : kPeaks) IndexIn(fields, rule.maximum);
  return fields;
}

Peaks OwnPeaks(const ResultRecord& record, const std::array<std::size_t, kPeakCount>& maxima) {
  Peaks peaks{};
  for (std::size_t k = 0; k < kPeakCount; ++k) peaks[k] = NumberAt(record.values, maxima[k]);
  return peaks;
}

void Raise(Peaks& peaks, const Peaks& by) {
  for (std::size_t k = 0; k < kPeakCount; ++k) peaks[k] = std::max(peaks[k], by[k]);
}

}  // namespace

const std::vector<ResultField>& ResultFieldList() {
  static const std::vector<ResultField> fields = ReadFields();
  return fields;
}

std::size_t ResultFieldIndex(const std::string& name) { return IndexIn(ResultFieldList(), name); }

const std::vector<std::string>& DerivedNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const MeanRule& rule : kMeans) all.emplace_back(rule.name);
    for (const PeakRule& rule : kPeaks) all.emplace_back(rule.name);
    return all;
  }();
  return names;
}

std::vector<std::vector<double>> DeriveValues(const std::vector<ResultRecord>& records) {
  std::array<std::size_t, kPeakCount> maxima{};
  for (std::size_t k = 0; k < kPeakCount; ++k) maxima[k] = ResultFieldIndex(kPeaks[k].maximum);

  // One pass over the workers gathers the peaks of every port, profile and the project.
  std::map<Handle, Peaks> byPort;
  std::map<Handle, Peaks> byProfile;
  Peaks project{};
  for (const ResultRecord& record : records) {
    if (record.level != ResultLevel::Worker || !record.active) continue;
    const Peaks own = OwnPeaks(record, maxima);
    if (record.portHandle != 0) Raise(byPort[record.portHandle], own);
    if (record.profileHandle != 0) {
      Raise(byProfile[record.profileHandle], own);
      Raise(project, own);
    }
  }

  std::vector<std::vector<double>> rows;
  rows.reserve(records.size());
  for (const ResultRecord& record : records) {
    std::vector<double> row;
    for (const MeanRule& rule : kMeans) {
      const double count = NumberAt(record.values, ResultFieldIndex(rule.count));
      row.push_back(count == 0 ? 0 : NumberAt(record.values, ResultFieldIndex(rule.total)) / count);
    }
    Peaks peaks{};
    switch (record.level) {
      case ResultLevel::Worker:
      case ResultLevel::Target: peaks = OwnPeaks(record, maxima); break;
      case ResultLevel::Port: peaks = byPort[record.ownerHandle]; break;
      case ResultLevel::Profile: peaks = byProfile[record.ownerHandle]; break;
      case ResultLevel::Project: peaks = project; break;
    }
    row.insert(row.end(), peaks.begin(), peaks.end());
    rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace storageio_cli
