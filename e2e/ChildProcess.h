#pragma once
// Child processes of the end-to-end tests: `storageio` started with arguments, its output where
// the test wants it, and its exit status.

#include <sys/types.h>

#include <string>
#include <vector>

namespace storageio_e2e {

// Starts storageio with `args`; its standard output goes to `outFd` (or nowhere, -1), its standard
// error to `logFile` (or nowhere, empty).
pid_t SpawnStorageio(const std::vector<std::string>& args, int outFd, const std::string& logFile);

// Waits up to `ms` for the child to end: its exit status (128 + the signal when a signal ended it),
// or -1 when it still runs.
int WaitForChild(pid_t pid, int ms);

// The whole text of a file; empty when it cannot be read.
std::string ReadText(const std::string& path);

}  // namespace storageio_e2e
