#pragma once
// PortLog: where a port writes what it refused, dropped or decided (a target run buffered, a
// layout done). The firmware is handed one beside its Scheduler, so that it logs alike into the
// host's logger when it runs in-process and into an agent's own log when it runs alone.
//
// Threads: called on the firmware's thread and, for layout and I/O errors, on its I/O threads;
// a sink must accept lines from several threads at once.

#include <functional>
#include <string>

namespace storageio_port {

enum class LogLevel { Info, Warning, Error };

using PortLog = std::function<void(LogLevel level, const std::string& line)>;

}  // namespace storageio_port
