// Writes seed inputs for fuzz_firmware_frames: a whole session of a host (configuration, learn,
// registrations, a test and its stop), in the fuzz target's form of length-prefixed frames, so
// that the fuzzer starts from frames that go deep into the firmware.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "msg/BST_1.h"
#include "tm/RpcFrame.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: firmware_seeds FOLDER\n");
    return 2;
  }
  using Build = std::function<void(Message*)>;
  const bst_1_bll::StorageWorkerProfile_s mixed{4096, 50, false, 0, 70, 1, 4, true, 4096, false};
  const std::vector<Build> session = {
      [&](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, mixed}}, true); },
      [](Message* m) {
        BST_1_bll::create_req_AddWorkers(m, {{20, 10, {{0, "disk0", 4, true, 8, {512, 1000, 10}, 1}, {0, "disk1", 2, false, 0, {}, 2}}}},
                                         true);
      },
      [](Message* m) { BST_1_bll::create_req_LearnTargets(m); },
      [](Message* m) { BST_1_bll::create_req_RegisterTestStatusNotify(m, 200, true); },
      [](Message* m) { BST_1_bll::create_req_RegisterTestResults(m, 300, true); },
      [](Message* m) { BST_1_bll::create_req_StartTest(m, {20}, 2, true); },
      [](Message* m) { BST_1_bll::create_req_StopTest(m); },
      [](Message* m) { BST_1_bll::create_req_DeleteWorkers(m, {20}, true); },
  };
  std::filesystem::create_directories(argv[1]);
  std::vector<unsigned char> input;
  for (std::size_t i = 0; i < session.size(); ++i) {
    Message request;
    session[i](&request);
    const std::vector<unsigned char> frame = EncodeFrame(RpcFrameKind::Request, i + 1, request);
    input.push_back(static_cast<unsigned char>(frame.size() >> 8));
    input.push_back(static_cast<unsigned char>(frame.size()));
    input.insert(input.end(), frame.begin(), frame.end());
    std::ofstream(std::filesystem::path(argv[1]) / ("session-" + std::to_string(i + 1)), std::ios::binary)
        .write(reinterpret_cast<const char*>(input.data()), static_cast<std::streamsize>(input.size()));
  }
  return 0;
}
