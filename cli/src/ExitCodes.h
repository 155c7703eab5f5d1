#pragma once
// The exit codes of `storageio run`, `learn` and `check`, for scripts that act on them.

namespace storageio_cli {

constexpr int kExitCompleted = 0;
// The test failed: a port refused it, showed no progress, or was lost; or a port did not answer.
constexpr int kExitFailed = 1;
// The description is wrong, or the configuration was refused before anything ran.
constexpr int kExitRefused = 2;
// Stopped by the user (Ctrl-C or SIGTERM), as shells report a death by SIGINT.
constexpr int kExitStopped = 130;

}  // namespace storageio_cli
