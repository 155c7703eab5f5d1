#pragma once
// Follows the storage results of a project through result subscriptions, as any result view
// does, and prints them: one table per level (project, port, profile, worker, target).

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "kel/framework/Types.h"

namespace storageio_cli {

class ResultsReport {
 public:
  // Subscribes below the active project to each storage result class (by class name).
  ResultsReport();
  ~ResultsReport();
  ResultsReport(const ResultsReport&) = delete;
  ResultsReport& operator=(const ResultsReport&) = delete;

  // How many callbacks the result module has made so far.
  int Updates() const { return m_updates; }
  // One table per level, with the owner's name and the main figures of each result object.
  void Write(std::ostream& out) const;

 private:
  struct Level {
    std::string title;
    std::string resultClass;
    unsigned subscriptionId;
    std::vector<kel::framework::Handle> results;  // live result objects, in first-seen order
  };
  std::vector<Level> m_levels;
  int m_updates = 0;
};

}  // namespace storageio_cli
