#include "port/firmware/LayoutThread.h"

#include "port/targets/Layout.h"
#include "port/targets/TargetError.h"

namespace storageio_port {

LayoutThread::LayoutThread(std::vector<std::shared_ptr<ResolvedTarget>> files, Done onDone)
    : m_thread(&LayoutThread::Run, this, std::move(files), std::move(onDone)) {}

LayoutThread::~LayoutThread() {
  m_cancel.store(true);
  m_thread.join();
}

void LayoutThread::Run(std::vector<std::shared_ptr<ResolvedTarget>> files, Done onDone) {
  std::vector<std::string> laidOut;
  try {
    for (const auto& file : files) laidOut.push_back(LayOut(*file, m_cancel).text);
  } catch (const LayoutCancelled&) {
    return;
  } catch (const std::exception& e) {
    onDone(laidOut, e.what());
    return;
  }
  onDone(laidOut, "");
}

}  // namespace storageio_port
