// storageio: runs storage tests through the host and the storage I/O plug-in, and serves storage
// test ports to hosts elsewhere. Every flag is parsed here, with CLI11; `--help` on any command
// explains it.

#include <CLI/CLI.hpp>
#include <iostream>
#include <string>
#include <vector>

#include "Agent.h"
#include "Demo.h"
#include "port/targets/TargetEntry.h"

namespace {

std::vector<storageio_port::TargetEntry> ParseTargets(const std::vector<std::string>& texts) {
  std::vector<storageio_port::TargetEntry> entries;
  for (const std::string& text : texts) entries.push_back(storageio_port::ParseTargetEntry(text));
  return entries;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"storageio: storage I/O tests through the host and the storage I/O plug-in"};
  app.require_subcommand(1);

  storageio_cli::DemoOptions demo;
  demo.pluginPath = STORAGEIO_DEFAULT_PLUGIN;
  CLI::App* demoCommand = app.add_subcommand("demo", "Run a short storage test end to end on two embedded ports");
  demoCommand->add_option("--plugin", demo.pluginPath, "The plug-in library to load")->capture_default_str();
  demoCommand->add_option("--duration", demo.durationSeconds, "Seconds of recorded I/O")->capture_default_str();

  storageio_port::AgentOptions agent;
  std::vector<std::string> targets;
  std::string engine = "io_uring";
  std::string keyFile;
  CLI::App* agentCommand = app.add_subcommand("agent", "Serve a storage test port on this machine to a host elsewhere");
  agentCommand->add_option("--listen", agent.listen,
                           "Endpoint to listen on; a port of 0 picks a free one, printed as the first line of output")
      ->capture_default_str();
  agentCommand->add_option("--target", targets,
                           "A file or block device the port may touch, as PATH[:SIZE][:sector=N][:buffered]; "
                           "repeat for more. A file that does not exist is created at SIZE");
  agentCommand->add_flag("--allow-block-writes", agent.allowBlockDeviceWrites,
                         "Let workers write to block devices (opened exclusively, so a mounted one is refused)");
  agentCommand->add_option("--engine", engine, "io_uring: real I/O; model: simulated disks of the targets' sizes")
      ->check(CLI::IsMember({"io_uring", "model"}))
      ->capture_default_str();
  agentCommand->add_option("--server-key", agent.serverKeyFile,
                           "The agent's CURVE key pair (from `storageio agent keygen`); needed off loopback");
  agentCommand->add_option("--authorized-keys", agent.authorizedKeysFile,
                           "The public keys of the hosts that may connect, one per line; needed off loopback");
  agentCommand->add_option("--warmup-ms", agent.warmUpMs,
                           "How long StartingTest and the unrecorded warm-up BeginningIO each last")
      ->capture_default_str();
  CLI::App* keygenCommand = agentCommand->add_subcommand("keygen", "Write a CURVE key pair to FILE and FILE.pub");
  keygenCommand->add_option("file", keyFile, "Where to write the pair")->required();
  agentCommand->require_subcommand(0, 1);

  try {
    app.parse(argc, argv);
    if (*demoCommand) return storageio_cli::RunDemo(demo, std::cout);
    if (*keygenCommand) return storageio_cli::WriteAgentKeys(keyFile, std::cout);
    agent.engine = engine == "model" ? storageio_port::AgentOptions::Engine::Model
                                     : storageio_port::AgentOptions::Engine::IoUring;
    agent.targets = ParseTargets(targets);
    return storageio_cli::RunAgent(agent, std::cout);
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? 0 : 2;
  } catch (const std::invalid_argument& e) {
    std::cerr << "storageio: " << e.what() << "\n";
    return 2;
  } catch (const std::exception& e) {
    std::cerr << "storageio: " << e.what() << "\n";
    return 1;
  }
}
