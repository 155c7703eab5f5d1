#pragma once

// Texts shown to users, kept by id so that code names a text by its id and fills its
// placeholders with ResourceFormatter.
//
// CResourceManager is one per process, shared by the host and every plug-in; its calls are
// thread-safe. A reference from GetStringResource stays valid for the life of the process, but
// its text changes if the id is added again: replace texts only while setting up.

#include <map>
#include <mutex>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace kel::framework {

class CResourceManager {
 public:
  static CResourceManager& Instance();

  CResourceManager(const CResourceManager&) = delete;
  CResourceManager& operator=(const CResourceManager&) = delete;

  // Adding an id again replaces its text.
  void AddStringResource(long id, const std::string& text);
  bool HasStringResource(long id) const;
  // Throws CKelRunTimeError "Unknown string resource 0x<id in upper-case hex>" for an id never
  // added.
  const std::string& GetStringResource(long id) const;
  // Ascending.
  std::vector<long> GetStringResourceIds() const;

 private:
  CResourceManager() = default;

  mutable std::mutex mutex_;
  std::map<long, std::string> texts_;
};

// Fills a resource text's placeholders {1}, {2}, ... {N} with arguments given in order:
//   ResourceFormatter(id) << port << "Recording statistics"
// A placeholder without an argument stays as it stands; extra arguments are ignored; {0}, a
// lone '{' or '{x}' is plain text.
class ResourceFormatter {
 public:
  // Looks the text up at once; throws like CResourceManager::GetStringResource.
  explicit ResourceFormatter(long id);

  // The argument's stream text becomes the next placeholder value.
  template <class T>
  ResourceFormatter& operator<<(const T& argument) {
    std::ostringstream text;
    text << argument;
    arguments_.push_back(text.str());
    return *this;
  }

  std::string ToString() const;

 private:
  std::string text_;
  std::vector<std::string> arguments_;
};

std::ostream& operator<<(std::ostream& out, const ResourceFormatter& formatter);

}  // namespace kel::framework
