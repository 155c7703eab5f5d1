// port_io_driver: one storage test on one io_uring port, driven through the host and the loaded
// plug-in exactly as a user's script would, for bench/agent-vs-fio. The port is embedded, or an
// agent already listening at --endpoint (started with the target and warm-up wanted). Prints one
// line of key=value figures, taken from the worker's result object and, for an embedded port, the
// port's log (an agent logs its CPU line itself; cpu_s is then -1):
//
//   iops=<AvgIOPerSecond> mbps=<AvgMBps> mean_lat_ms=<AvgLatency> ios=<AllTransactionCount>
//   cpu_s=<I/O thread user+system while recording> cpu_s_per_mio=<per million I/Os>
//
// Usage: port_io_driver --file=PATH --rw=randread|read|randwrite|randrw [--rwmixread=70]
//                       [--bs=4096] [--iodepth=32] [--seconds=10] [--warmup-ms=1000] [--buffered]
//                       [--endpoint=tcp://127.0.0.1:PORT]
// The warm-up is the port's BeginningIO phase, which is not recorded (fio's --ramp_time).

#include <cstdio>
#include <iostream>
#include <map>
#include <memory>
#include <regex>
#include <stdexcept>
#include <string>

#include "ProjectBuilder.h"
#include "kel/core/Port.h"
#include "kel/framework/LogSinks.h"
#include "kel/framework/Logger.h"
#include "kel/framework/PluginLoader.h"
#include "kel/framework/TaskManager.h"
#include "port/transports/InProcessTransport.h"
#include "port/transports/zmq/ZmqTransport.h"

namespace {

using kel::framework::CScriptable;
using storageio_project::ProjectBuilder;

struct Options {
  std::string file;
  std::string rw = "randread";
  unsigned rwmixread = 70;
  unsigned bs = 4096;
  unsigned iodepth = 32;
  unsigned seconds = 10;
  unsigned warmupMs = 1000;
  bool buffered = false;
  std::string endpoint;  // an agent's; empty: an embedded port
};

Options Parse(int argc, char** argv) {
  std::map<std::string, std::string> given;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const std::size_t equals = arg.find('=');
    if (arg.rfind("--", 0) != 0) throw std::invalid_argument("unexpected argument " + arg);
    given[arg.substr(2, equals == std::string::npos ? std::string::npos : equals - 2)] =
        equals == std::string::npos ? "" : arg.substr(equals + 1);
  }
  Options options;
  const auto number = [&](const char* name, unsigned& into) {
    if (given.count(name)) into = static_cast<unsigned>(std::stoul(given.at(name)));
    given.erase(name);
  };
  options.file = given["file"];
  given.erase("file");
  if (given.count("rw")) options.rw = given.at("rw");
  given.erase("rw");
  number("rwmixread", options.rwmixread);
  number("bs", options.bs);
  number("iodepth", options.iodepth);
  number("seconds", options.seconds);
  number("warmup-ms", options.warmupMs);
  options.buffered = given.erase("buffered") > 0;
  if (given.count("endpoint")) options.endpoint = given.at("endpoint");
  given.erase("endpoint");
  if (!given.empty()) throw std::invalid_argument("unknown option --" + given.begin()->first);
  if (options.file.empty()) throw std::invalid_argument("--file is required");
  return options;
}

// The percentages of the profile that fio's --rw and --rwmixread stand for.
std::pair<unsigned, unsigned> ReadAndRandomPercent(const Options& options) {
  if (options.rw == "randread") return {100, 100};
  if (options.rw == "read") return {100, 0};
  if (options.rw == "randwrite") return {0, 100};
  if (options.rw == "write") return {0, 0};
  if (options.rw == "randrw") return {options.rwmixread, 100};
  throw std::invalid_argument("unknown --rw " + options.rw);
}

int Run(const Options& options) {
  const kel::framework::PluginInfo plugin = kel::framework::CPluginLoader::Instance().Load(STORAGEIO_PLUGIN_PATH);
  if (plugin.registerResult != 0) throw std::runtime_error("the plug-in did not register");
  auto log = std::make_shared<kel::framework::MemorySink>();
  kel::framework::BLLLoggerFactory::GetInstance().AddSink(log);

  std::string location = options.endpoint;
  if (location.empty()) {
    storageio_port::InProcessSetup setup;
    setup.engine = storageio_port::InProcessSetup::Engine::IoUring;
    setup.firmware.setupStepMs = options.warmupMs;
    setup.firmware.targets = {storageio_port::RealTarget(
        storageio_port::ParseTargetEntry(options.file + (options.buffered ? ":buffered" : "")), false)};
    location = "inproc://bench";
    storageio_port::RegisterInProcessTransport(storageio_port::InProcessSetup(), {{location, setup}});
  } else {
    storageio_port::RegisterZmqTransport();
  }
  kel::framework::CTaskManager& loop = kel::framework::CTaskManager::Instance();
  loop.SetClockMode(kel::framework::CTaskManager::ClockMode::Real);

  kel::core::CPort& port = ProjectBuilder::AddPort("bench", location);
  const std::int64_t giveUpMs = loop.NowMs() + 5000;
  while (!port.IsOnline() && loop.NowMs() < giveUpMs) loop.RunFor(20);
  if (!port.IsOnline()) throw std::runtime_error(location + " does not answer");
  const auto [readPercent, randomPercent] = ReadAndRandomPercent(options);
  CScriptable& profile = ProjectBuilder::AddProfile(options.rw,
                                                    {{"TransferRequestSize", std::to_string(options.bs)},
                                                     {"PercentReadDistribution", std::to_string(readPercent)},
                                                     {"PercentRandomDistribution", std::to_string(randomPercent)}});
  CScriptable& worker = ProjectBuilder::AddWorker("bench", port, &profile,
                                                  {{"OutstandingIOsPerTargetCount", std::to_string(options.iodepth)},
                                                   {"MaximumDiskSize", "0"}});  // the whole file

  const ProjectBuilder::Command start = ProjectBuilder::MakeStart({worker.GetHandle()}, options.seconds, true);
  start->Execute(false);
  loop.RunFor(200);  // the last figures and progress follow the answer to the start

  const CScriptable* result = worker.GetObject(ProjectBuilder::ClassIdOf("StorageWorkerResults"));
  if (result == nullptr) throw std::runtime_error("the worker has no results");
  double cpuSeconds = -1;
  double cpuPerMillion = -1;
  const std::regex cpuLine(R"(I/O thread CPU while recording: ([0-9.]+) s user, ([0-9.]+) s system, \d+ I/Os, ([0-9.]+) s per million)");
  for (const std::string& line : log->Messages("storageio.port")) {
    std::smatch match;
    if (std::regex_search(line, match, cpuLine)) {
      cpuSeconds = std::stod(match[1]) + std::stod(match[2]);
      cpuPerMillion = std::stod(match[3]);
    }
    if (line.find("Failure") != std::string::npos) std::cerr << "port: " << line << "\n";
  }
  std::printf("iops=%s mbps=%s mean_lat_ms=%s ios=%s cpu_s=%.3f cpu_s_per_mio=%.3f\n",
              result->Get("AvgIOPerSecond").c_str(), result->Get("AvgMBps").c_str(),
              result->Get("AvgLatency").c_str(), result->Get("AllTransactionCount").c_str(), cpuSeconds, cpuPerMillion);
  return cpuSeconds < 0 && options.endpoint.empty() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(Parse(argc, argv));
  } catch (const std::exception& e) {
    std::cerr << "port_io_driver: " << e.what() << "\n";
    return 2;
  }
}
