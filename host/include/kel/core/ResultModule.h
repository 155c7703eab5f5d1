#pragma once
// CResultModule: the registry of result handlers. A plug-in registers its handler singleton once;
// the module does not own it.

#include <vector>

#include "kel/core/ResultHandler.h"

namespace kel {
namespace core {

class CResultModule {
 public:
  static CResultModule& Instance();

  // Registering a handler already registered changes nothing; another handler with the same name
  // throws CKelLogicError; so does null. `saveResults` asks the module to have the handler
  // collect and save results at the end of a test.
  void RegisterResultHandler(CResultHandler* handler, bool saveResults);
  void UnregisterResultHandler(CResultHandler* handler);

  std::vector<CResultHandler*> GetResultHandlers() const;
  CResultHandler* FindResultHandler(const std::string& name) const;

 private:
  struct Entry {
    CResultHandler* handler;
    bool saveResults;
  };
  std::vector<Entry> m_handlers;
};

}  // namespace core
}  // namespace kel
