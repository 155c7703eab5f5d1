// Every BST_1 request the plug-in builds crosses the wire and reads back on the port's side with
// the values it was built from, with the array members referenced (copy false) and copied.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "codec_test_support.h"

namespace {

using codec_test::cross_wire;

class BST_1Requests : public ::testing::TestWithParam<bool> {
 protected:
  bool copy() const { return GetParam(); }

  // The message as the port receives it, after checking what every request shares.
  Message received(const std::string& name) {
    EXPECT_EQ(message.get_request_name(), "BST_1." + name);
    EXPECT_EQ(message.get_msg_type(), TMT_REQUEST);
    EXPECT_EQ(message.get_group(TMG_0).get_member_count(), 0);
    EXPECT_FALSE(message.get_use_send_member_string());
    return cross_wire(message);
  }

  // Reads the received message with the port's parser into outputs.
  template <class... Outputs>
  void read_back(const std::string& name, void (*parse)(const Message*, Outputs...), Outputs... outputs) {
    const Message port_side = received(name);
    parse(&port_side, outputs...);
  }

  Message message;
};

INSTANTIATE_TEST_SUITE_P(CopyFlag, BST_1Requests, ::testing::Bool());

TEST_P(BST_1Requests, AccessSpecsAndWorkersWithTheirTargetsArriveAsBuilt) {
  const auto specs = codec_test::access_specs();
  std::vector<BST_1_bll::AccessSpec_s> read{{1, 1, {}}};

  BST_1_bll::create_req_AddAccessSpecs(&message, specs, copy());
  read_back("AddAccessSpecs", BST_1_port::parse_req_AddAccessSpecs, &read);
  EXPECT_EQ(read, specs);

  BST_1_bll::create_req_UpdateAccessSpecs(&message, {specs[1]}, copy());
  read_back("UpdateAccessSpecs", BST_1_port::parse_req_UpdateAccessSpecs, &read);
  EXPECT_EQ(read, std::vector<BST_1_bll::AccessSpec_s>{specs[1]});

  const auto workers = codec_test::worker_configs();
  std::vector<BST_1_bll::WorkerConfig_s> read_workers;
  BST_1_bll::create_req_AddWorkers(&message, workers, copy());
  read_back("AddWorkers", BST_1_port::parse_req_AddWorkers, &read_workers);
  EXPECT_EQ(read_workers, workers);
  BST_1_bll::create_req_UpdateWorkers(&message, workers, copy());
  read_back("UpdateWorkers", BST_1_port::parse_req_UpdateWorkers, &read_workers);
  EXPECT_EQ(read_workers, workers);
}

TEST_P(BST_1Requests, HandleListsArriveAsBuilt) {
  const std::vector<unsigned int> handles{7, 0xFFFFFFFFu, 0};
  std::vector<unsigned int> read{99};

  BST_1_bll::create_req_DeleteAccessSpecs(&message, handles, copy());
  read_back("DeleteAccessSpecs", BST_1_port::parse_req_DeleteAccessSpecs, &read);
  EXPECT_EQ(read, handles);

  const std::vector<unsigned int> one_handle{3};
  BST_1_bll::create_req_DeleteWorkers(&message, one_handle, copy());
  read_back("DeleteWorkers", BST_1_port::parse_req_DeleteWorkers, &read);
  EXPECT_EQ(read, one_handle);

  unsigned long duration = 0;
  BST_1_bll::create_req_StartTest(&message, handles, 3'600'000'000ul, copy());
  read_back("StartTest", BST_1_port::parse_req_StartTest, &read, &duration);
  EXPECT_EQ(std::make_pair(read, duration), std::make_pair(handles, 3'600'000'000ul));

  BST_1_bll::create_req_StartTest(&message, {}, 60, copy());  // no workers: still the list and the duration
  read_back("StartTest", BST_1_port::parse_req_StartTest, &read, &duration);
  EXPECT_EQ(std::make_pair(read, duration), std::make_pair(std::vector<unsigned int>{}, 60ul));
}

TEST_P(BST_1Requests, ScalarRequestsArriveAsBuilt) {
  std::string command;
  BST_1_bll::create_req_Echo(&message, "ping", copy());
  read_back("Echo", BST_1_port::parse_req_Echo, &command);
  EXPECT_EQ(command, "ping");

  unsigned int interval = 0;
  BST_1_bll::create_req_RegisterTestStatusNotify(&message, 1000, copy());
  read_back("RegisterTestStatusNotify", BST_1_port::parse_req_RegisterTestStatusNotify, &interval);
  EXPECT_EQ(interval, 1000u);

  unsigned int change_mask = 0, trace_mask = 0, log_size = 0;
  unsigned char trace_on = 0, log_files = 0;
  BST_1_bll::create_req_SetDebugSettings(&message, 0x11, 1, 0xF0F0, 1 << 20, 5, copy());
  read_back("SetDebugSettings", BST_1_port::parse_req_SetDebugSettings, &change_mask, &trace_on, &trace_mask,
                                         &log_size, &log_files);
  EXPECT_EQ(std::make_tuple(change_mask, trace_on, trace_mask, log_size, log_files),
            std::make_tuple(0x11u, static_cast<unsigned char>(1), 0xF0F0u, 1u << 20, static_cast<unsigned char>(5)));
}

TEST(BST_1RequestsWithoutMembers, CarryOnlyTheirNameAndReplaceEarlierMembers) {
  Message message;
  BST_1_bll::create_req_Echo(&message, "left over", true);
  message.add_member(TMG_0, "stale", 1u);
  const std::vector<std::tuple<std::string, void (*)(Message*), void (*)(const Message*)>> exchanges{
      {"StopTest", BST_1_bll::create_req_StopTest, BST_1_port::parse_req_StopTest},
      {"LearnTargets", BST_1_bll::create_req_LearnTargets, BST_1_port::parse_req_LearnTargets},
      {"DeregisterTestStatusNotify", BST_1_bll::create_req_DeregisterTestStatusNotify,
       BST_1_port::parse_req_DeregisterTestStatusNotify},
      {"DeregisterTestResults", BST_1_bll::create_req_DeregisterTestResults, BST_1_port::parse_req_DeregisterTestResults}};
  for (const auto& [name, build, parse] : exchanges) {
    build(&message);
    const Message port_side = cross_wire(message);
    EXPECT_EQ(port_side.get_request_name(), "BST_1." + name);
    EXPECT_EQ(port_side.get_group(TMG_1).get_member_count() + port_side.get_group(TMG_0).get_member_count(), 0);
    EXPECT_NO_THROW(parse(&port_side));
  }
}

TEST(BST_1RequestMembers, TravelUnderTheFirmwaresSpelling) {
  Message message;
  BST_1_bll::create_req_AddAccessSpecs(&message, codec_test::access_specs(), true);
  const Message received = cross_wire(message);
  const Tm_struct* spec = received.get_member_array(TMG_1, "accessSpecs")->get_member_struct(0);
  ASSERT_EQ(spec->get_member_count(), 3);
  EXPECT_STREQ(spec->get_member_name(0), "profileHandle");
  EXPECT_EQ(spec->get_member_uint64("OfSize"), 100u);
  EXPECT_STREQ(spec->get_member_name(2), "workerProfile");

  BST_1_bll::create_req_RegisterTestResults(&message, 5, true);
  EXPECT_STREQ(cross_wire(message).get_group(TMG_1).get_member_name(0), "interval_msec");
}

TEST(BST_1HandleArrays, ReferToTheCallersVectorUnlessCopied) {
  std::vector<unsigned int> handles{1, 2, 3};
  Message referring, copying;
  BST_1_bll::create_req_DeleteWorkers(&referring, handles, false);
  BST_1_bll::create_req_DeleteWorkers(&copying, handles, true);
  handles[1] = 20;  // changed before the send, which the caller must not do with copy false

  std::vector<unsigned int> read;
  BST_1_port::parse_req_DeleteWorkers(&referring, &read);
  EXPECT_EQ(read, (std::vector<unsigned int>{1, 20, 3}));
  BST_1_port::parse_req_DeleteWorkers(&copying, &read);
  EXPECT_EQ(read, (std::vector<unsigned int>{1, 2, 3}));
}

TEST(BST_1PortRequestParsers, RejectAResponseBeforeWritingAnyOutput) {
  Message message;
  BST_1_port::create_resp_AddWorkers(&message, BST_1_bll::StatusCode_t::Success);
  std::vector<BST_1_bll::WorkerConfig_s> workers = codec_test::worker_configs();
  EXPECT_THROW(BST_1_port::parse_req_AddWorkers(&message, &workers), Tm_type_mismatch_exception);
  EXPECT_EQ(workers, codec_test::worker_configs());

  std::vector<unsigned int> handles{4};
  unsigned long duration = 8;
  EXPECT_THROW(BST_1_port::parse_req_StartTest(&message, &handles, &duration), Tm_type_mismatch_exception);
  EXPECT_EQ(std::make_pair(handles, duration), std::make_pair(std::vector<unsigned int>{4}, 8ul));
}

}  // namespace
