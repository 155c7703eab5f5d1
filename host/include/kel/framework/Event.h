#pragma once
// Events and operation arguments that the host hands to objects' EventCallback and
// PerformOperation hooks.

#include <map>
#include <string>

namespace kel {
namespace framework {

enum EventType : unsigned {
  EVENT_PROJECT_LOADED = 1,   // a saved configuration finished loading
  EVENT_APPLY_COMPLETED = 2,  // the configuration was applied to the ports
  EVENT_TEST_STARTED = 3,
  EVENT_TEST_STOPPED = 4,
};

// Named text arguments of an event or operation.
class CMessage {
 public:
  void Set(const std::string& key, const std::string& value) { m_args[key] = value; }
  // The value of key, or "" when it is absent.
  std::string Get(const std::string& key) const {
    const auto it = m_args.find(key);
    return it != m_args.end() ? it->second : std::string();
  }
  bool Has(const std::string& key) const { return m_args.count(key) != 0; }
  const std::map<std::string, std::string>& Args() const { return m_args; }

 private:
  std::map<std::string, std::string> m_args;
};

}  // namespace framework
}  // namespace kel
