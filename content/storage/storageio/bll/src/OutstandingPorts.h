#pragma once
// OutstandingPorts: how the learn, start and stop commands ask their ports. A command sends its
// request to every port at once, takes each answer as it arrives, and waits, yielding to the host,
// for the ports that have not answered yet, within a bounded number of yields.
//
// What differs between the commands stays with them: which ports they ask, the request, what an
// answer does, when the set is emptied (the start command at the start of each run; learn and stop
// keep ports that never answered for their next run), and the texts and user logs of a failed send.

#include <cstdint>
#include <set>
#include <string>

#include "kel/core/Port.h"
#include "kel/core/RpcManager.h"
#include "kel/framework/Logger.h"
#include "tm/Message.h"

namespace kel {
namespace storageio {

class OutstandingPorts {
 public:
  // `command` leads the texts of a failed send; `userLog` gets their user form; `sourcePath`
  // names the command's unit in the log records.
  OutstandingPorts(std::string command, framework::BLLLogger* userLog, const char* sourcePath);

  // Sends `request` to `port`, its answer to go to `answers` with the port's handle as context.
  // When the host refuses the send (a negative result as a signed 16-bit value) it writes "<command>:
  // Received error response trying to send message to port <name>.Skipping port." to the developer
  // log and the same ending ".Skipping the port." to the user log, both at error level, and the
  // port is not kept. Returns whether the request went out.
  bool Send(core::CPort& port, Message& request, core::RpcDelegate& answers);

  // The port of an answer's context; null, after the warning "Cannot find port for processing the
  // response ParseResponseLearnTargets " on the developer log, when it no longer exists (it stays
  // outstanding then).
  core::CPort* PortOfAnswer(void* context) const;
  // The port has answered: it is no longer outstanding.
  void Answered(std::uint32_t portHandle) { m_ports.erase(portHandle); }

  // Yields to the host, 5,000 ms at a time, while ports are outstanding: 50 yields per outstanding
  // port, 1,500 at most (31 ports or more). Answers arrive during the yields. Returns whether every
  // port answered.
  bool Wait() const;

  bool Empty() const { return m_ports.empty(); }
  void Clear() { m_ports.clear(); }

 private:
  const std::string m_command;
  framework::BLLLogger* const m_userLog;
  const char* const m_sourcePath;
  std::set<std::uint32_t> m_ports;
};

}  // namespace storageio
}  // namespace kel
