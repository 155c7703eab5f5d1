// storageio: runs storage tests through the host and the storage I/O plug-in.
//
//   storageio demo [--plugin PATH]    load the plug-in and show what it registered

#include <cstring>
#include <iostream>
#include <string>

#include "RegistrationReport.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/PluginLoader.h"

namespace {

constexpr unsigned kStorageIOBlock = 0x86000000;

int Usage(std::ostream& out, int status) {
  out << "usage: storageio demo [--plugin PATH]\n";
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage(std::cerr, 2);
  const std::string command = argv[1];
  std::string plugin = STORAGEIO_DEFAULT_PLUGIN;
  for (int i = 2; i < argc; ++i) {
    if (std::strcmp(argv[i], "--plugin") == 0 && i + 1 < argc) {
      plugin = argv[++i];
    } else {
      std::cerr << "storageio: unknown argument '" << argv[i] << "'\n";
      return Usage(std::cerr, 2);
    }
  }
  if (command == "--help" || command == "-h") return Usage(std::cout, 0);
  if (command != "demo") {
    std::cerr << "storageio: unknown command '" << command << "'\n";
    return Usage(std::cerr, 2);
  }
  try {
    const kel::framework::PluginInfo info = kel::framework::CPluginLoader::Instance().Load(plugin);
    storageio_cli::WriteRegistrationReport(std::cout, info, kStorageIOBlock);
  } catch (const kel::framework::CKelException& e) {
    std::cerr << "storageio: " << e.GetMessage() << "\n";
    return 1;
  }
  return 0;
}
