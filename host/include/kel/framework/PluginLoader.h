#pragma once
// CPluginLoader: loads a plug-in library into the host.
//
// Load opens the library by path (which runs its static initialisers: class functions, data
// model), checks that its data model loaded cleanly, resolves the three entry points by name and
// calls PluginRegister. Libraries stay loaded for the process: their singletons live that long.
// Errors throw CKelRunTimeError naming the library and what went wrong; the host keeps working.

#include <string>
#include <vector>

namespace kel {
namespace framework {

struct PluginInfo {
  std::string path;
  std::string version;  // what PluginVersion returned
  int registerResult = 0;
};

class CPluginLoader {
 public:
  static CPluginLoader& Instance();

  // Loads and registers a plug-in. Loading a path again registers it again (PluginRegister is
  // idempotent by contract) without opening a second copy.
  PluginInfo Load(const std::string& path);
  // Calls PluginUnregister of every loaded plug-in, newest first; the libraries stay loaded.
  void UnregisterAll();
  const std::vector<PluginInfo>& GetLoaded() const { return m_loaded; }

 private:
  struct Library {
    std::string path;
    void* handle;
  };
  std::vector<Library> m_libraries;
  std::vector<PluginInfo> m_loaded;
};

}  // namespace framework
}  // namespace kel
