// storageio: runs storage tests through the host and the storage I/O plug-in.
//
//   storageio demo [--plugin PATH] [--duration SECONDS]
//       load the plug-in, show what it registered, and run a short storage test end to end on
//       two embedded in-process ports

#include <cstring>
#include <iostream>
#include <string>

#include "Demo.h"
#include "kel/framework/Exceptions.h"

namespace {

int Usage(std::ostream& out, int status) {
  out << "usage: storageio demo [--plugin PATH] [--duration SECONDS]\n";
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage(std::cerr, 2);
  const std::string command = argv[1];
  if (command == "--help" || command == "-h") return Usage(std::cout, 0);
  if (command != "demo") {
    std::cerr << "storageio: unknown command '" << command << "'\n";
    return Usage(std::cerr, 2);
  }
  storageio_cli::DemoOptions options;
  options.pluginPath = STORAGEIO_DEFAULT_PLUGIN;
  for (int i = 2; i < argc; ++i) {
    const bool hasValue = i + 1 < argc;
    if (std::strcmp(argv[i], "--plugin") == 0 && hasValue) {
      options.pluginPath = argv[++i];
    } else if (std::strcmp(argv[i], "--duration") == 0 && hasValue) {
      try {
        options.durationSeconds = static_cast<unsigned>(std::stoul(argv[++i]));
      } catch (const std::exception&) {
        std::cerr << "storageio: --duration needs a number of seconds\n";
        return Usage(std::cerr, 2);
      }
    } else {
      std::cerr << "storageio: unknown argument '" << argv[i] << "'\n";
      return Usage(std::cerr, 2);
    }
  }
  try {
    return storageio_cli::RunDemo(options, std::cout);
  } catch (const std::exception& e) {
    std::cerr << "storageio: " << e.what() << "\n";
    return 1;
  }
}
