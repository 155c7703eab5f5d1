// storageio: runs storage tests through the host and the storage I/O plug-in, and serves storage
// test ports to hosts elsewhere. Every flag is parsed here, with CLI11; `--help` on any command
// explains it.

#include <CLI/CLI.hpp>
#include <iostream>
#include <string>
#include <vector>

#include "Agent.h"
#include "ExitCodes.h"
#include "CheckCommand.h"
#include "LearnCommand.h"
#include "RunCommand.h"
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

  const std::string pluginHelp = "The plug-in library to load";
  const std::string connectHelp = "Seconds to wait for every port to answer (and, on Ctrl-C, for them to stop)";

  storageio_cli::RunOptions run;
  run.pluginPath = STORAGEIO_DEFAULT_PLUGIN;
  CLI::App* runCommand = app.add_subcommand(
      "run", "Run the storage test of a description: learn, apply, start, follow it to its end, show and export the "
             "results. Exit codes: 0 completed, 1 failed or a port lost, 2 bad description or refused configuration, "
             "130 stopped by the user");
  runCommand->add_option("description", run.descriptionPath, "The test description (YAML)")->required();
  runCommand->add_option("--json", run.jsonFile, "Write the results and their series to this JSON file");
  runCommand->add_option("--csv", run.csvFile, "Write one row per result object to this CSV file");
  runCommand->add_flag("--quiet", run.quiet, "Show no progress and no live table, only the results");
  bool noColor = false;
  runCommand->add_flag("--no-color", noColor, "No colour, even on a terminal");
  runCommand->add_option("--connect-timeout", run.connectTimeoutS, connectHelp)
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  runCommand->add_flag("--fail-on-errors", run.failOnErrors, "Exit 1 when a completed test saw I/O errors");
  runCommand->add_option("--plugin", run.pluginPath, pluginHelp)->capture_default_str();

  storageio_cli::LearnOptions learn;
  learn.pluginPath = STORAGEIO_DEFAULT_PLUGIN;
  CLI::App* learnCommand =
      app.add_subcommand("learn", "Show the targets each port of a description reports: name, type, sector size, size");
  learnCommand->add_option("description", learn.descriptionPath, "The test description (YAML)")->required();
  learnCommand->add_option("--connect-timeout", learn.connectTimeoutS, connectHelp)
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  learnCommand->add_option("--plugin", learn.pluginPath, pluginHelp)->capture_default_str();

  std::string checkPath;
  std::string checkPlugin = STORAGEIO_DEFAULT_PLUGIN;
  CLI::App* checkCommand = app.add_subcommand(
      "check", "Check a description and the project it makes, as the plug-in validates it, without reaching any port");
  checkCommand->add_option("description", checkPath, "The test description (YAML)")->required();
  checkCommand->add_option("--plugin", checkPlugin, pluginHelp)->capture_default_str();

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
    run.color = !noColor;
    if (*runCommand) return storageio_cli::RunTest(run, std::cout, std::cerr);
    if (*learnCommand) return storageio_cli::LearnPorts(learn, std::cout, std::cerr);
    if (*checkCommand) return storageio_cli::CheckDescription(checkPath, checkPlugin, std::cout, std::cerr);
    if (*keygenCommand) return storageio_cli::WriteAgentKeys(keyFile, std::cout);
    agent.engine = engine == "model" ? storageio_port::AgentOptions::Engine::Model
                                     : storageio_port::AgentOptions::Engine::IoUring;
    agent.targets = ParseTargets(targets);
    return storageio_cli::RunAgent(agent, std::cout);
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? 0 : storageio_cli::kExitRefused;
  } catch (const std::invalid_argument& e) {
    std::cerr << "storageio: " << e.what() << "\n";
    return storageio_cli::kExitRefused;
  } catch (const std::exception& e) {
    std::cerr << "storageio: " << e.what() << "\n";
    return storageio_cli::kExitFailed;
  }
}
