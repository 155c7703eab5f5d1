// Hostile bytes through the wire decoder into every parser the plug-in runs on what a port sends:
// whatever arrives, a parser fills its outputs or throws Tm_exception; anything else (a crash, a
// sanitizer report, another exception) is a finding.
#include <cstddef>
#include <cstdint>
#include <tuple>

#include "msg/BST_1.h"
#include "tm/Tm_wire.h"

namespace {

template <class... Outputs>
void feed(const Message& message, void (*parse)(const Message*, Outputs*...)) {
  std::tuple<Outputs...> outputs;
  try {
    std::apply([&](Outputs&... output) { parse(&message, &output...); }, outputs);
  } catch (const Tm_exception&) {
    // Refusing malformed content is the parser's job.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Message message;
  try {
    message = tm_decode(data, size);
  } catch (const Tm_exception&) {
    return 0;
  }
  using namespace BST_1_bll;
  feed(message, parse_resp_Echo);
  feed(message, parse_resp_AddAccessSpecs);
  feed(message, parse_resp_UpdateAccessSpecs);
  feed(message, parse_resp_DeleteAccessSpecs);
  feed(message, parse_resp_AddWorkers);
  feed(message, parse_resp_UpdateWorkers);
  feed(message, parse_resp_DeleteWorkers);
  feed(message, parse_resp_StartTest);
  feed(message, parse_resp_StopTest);
  feed(message, parse_resp_LearnTargets);
  feed(message, parse_resp_RegisterTestStatusNotify);
  feed(message, parse_resp_DeregisterTestStatusNotify);
  feed(message, parse_resp_RegisterTestResults);
  feed(message, parse_resp_DeregisterTestResults);
  feed(message, parse_resp_SetDebugSettings);
  feed(message, parse_req_TestNotification);
  feed(message, parse_req_TestResultsNotification);
  feed(message, parse_req_EvtLogNotify);
  feed(message, parse_req_DoSQLNotify);
  feed(message, parse_req_DoSQLNotifyFaster);
  feed(message, parse_req_TableEventNotify);
  return 0;
}
