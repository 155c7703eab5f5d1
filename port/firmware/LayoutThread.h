#pragma once
// LayoutThread: lays out the file targets of a test run (LayOut) one after the other, on a thread
// of its own, so that the firmware keeps answering requests while PreppingDisks lasts.
//
// When every file is laid out, or one fails, `onDone` is called once on the layout thread with
// what happened: the log line of each file laid out or reused, and the error text of the one that
// failed (empty when none did). A file the layout created and could not finish is removed.
//
// Threads: constructed and destroyed on the firmware's thread; destruction cancels the layout
// (the file being written is removed) and waits for the thread, so `onDone` may not be called.

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "port/targets/ResolvedTarget.h"

namespace storageio_port {

class LayoutThread {
 public:
  using Done = std::function<void(const std::vector<std::string>& laidOut, const std::string& error)>;

  // The files must not be touched by anyone else until the layout is done.
  LayoutThread(std::vector<std::shared_ptr<ResolvedTarget>> files, Done onDone);
  ~LayoutThread();
  LayoutThread(const LayoutThread&) = delete;
  LayoutThread& operator=(const LayoutThread&) = delete;

 private:
  void Run(std::vector<std::shared_ptr<ResolvedTarget>> files, Done onDone);

  std::atomic<bool> m_cancel{false};
  std::thread m_thread;
};

}  // namespace storageio_port
