#include "kel/framework/PluginLoader.h"

#include <dlfcn.h>

#include "kel/framework/Exceptions.h"
#include "kel/framework/MetaClass.h"

namespace kel {
namespace framework {

namespace {

using RegisterFunc = int (*)();
using VersionFunc = const char* (*)();

template <class F>
F Resolve(void* library, const char* name, const std::string& path) {
  dlerror();
  void* symbol = dlsym(library, name);
  if (symbol == nullptr) {
    throw CKelRunTimeError("Plug-in " + path + " has no entry point " + name);
  }
  return reinterpret_cast<F>(symbol);
}

}  // namespace

CPluginLoader& CPluginLoader::Instance() {
  static CPluginLoader instance;
  return instance;
}

PluginInfo CPluginLoader::Load(const std::string& path) {
  void* library = nullptr;
  for (const Library& loaded : m_libraries) {
    if (loaded.path == path) library = loaded.handle;
  }
  if (library == nullptr) {
    library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
      const char* error = dlerror();
      throw CKelRunTimeError("Cannot load plug-in " + path + ": " + (error ? error : "unknown error"));
    }
    m_libraries.push_back({path, library});
  }
  const std::vector<std::string> errors = CMetaClassManager::Instance().TakeDataModelErrors();
  if (!errors.empty()) {
    throw CKelRunTimeError("Plug-in " + path + " has a broken data model: " + errors.front());
  }
  const auto pluginRegister = Resolve<RegisterFunc>(library, "PluginRegister", path);
  const auto pluginVersion = Resolve<VersionFunc>(library, "PluginVersion", path);
  Resolve<RegisterFunc>(library, "PluginUnregister", path);
  PluginInfo info;
  info.path = path;
  const char* version = pluginVersion();
  info.version = version ? version : "";
  info.registerResult = pluginRegister();
  m_loaded.push_back(info);
  return info;
}

void CPluginLoader::UnregisterAll() {
  for (auto it = m_libraries.rbegin(); it != m_libraries.rend(); ++it) {
    if (auto unregister = reinterpret_cast<RegisterFunc>(dlsym(it->handle, "PluginUnregister"))) unregister();
  }
}

}  // namespace framework
}  // namespace kel
