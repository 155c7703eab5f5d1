// The codecs' rules beyond a faithful round trip: member names as the firmware spells them,
// arrays referred to unless copied, a message of the wrong type refused before any output changes,
// enumerator values outside their map never sent, and the shared sets' messages carried under
// BST_1 names with the catalog on.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "codec_test_support.h"

namespace {

using BST_1_bll::StatusCode_t;
using BST_1_bll::TestStatus_t;
using codec_test::cross_wire;

constexpr auto kInfo = LOGGINGAPI_2_bll::EnumLoggingLevel::INFO;

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

TEST(BST_1Responses, ARequestIsRefusedBeforeAnyOutputIsWrittenAndUnknownStatusIsMinusOne) {
  Message request;
  BST_1_bll::create_req_LearnTargets(&request);
  StatusCode_t status = StatusCode_t::Max;
  std::vector<BST_1_bll::TargetSpec_s> targets{codec_test::target_spec(3)};
  try {
    BST_1_bll::parse_resp_LearnTargets(&request, &status, &targets);
    FAIL() << "a request was read as a response";
  } catch (const Tm_type_mismatch_exception& error) {
    EXPECT_NE(std::string(error.what()).find("request"), std::string::npos) << error.what();
  }
  EXPECT_EQ(std::make_pair(status, targets),
            std::make_pair(StatusCode_t::Max, std::vector<BST_1_bll::TargetSpec_s>{codec_test::target_spec(3)}));

  Message unknown;  // an unknown status text is stored as -1
  unknown.set_msg_type(TMT_RESPONSE);
  unknown.add_member(TMG_1, "status", "Pending");
  BST_1_bll::parse_resp_StopTest(&unknown, &status);
  EXPECT_EQ(static_cast<int>(status), -1);
}

TEST(BorrowedMessages, TravelUnderBST_1NamesWithTheCatalogOn) {
  const std::vector<unsigned int> handles{1, 2};
  const std::vector<std::string> commands{"select 1"};
  const std::vector<std::pair<std::string, std::function<void(Message*)>>> builders{
      {"SetLogLevel", [](Message* m) { BST_1_bll::create_req_SetLogLevel(m, {1, kInfo}, true); }},
      {"RequestEvtLogNotification", [](Message* m) { BST_1_bll::create_req_RequestEvtLogNotification(m, 1, 2, true); }},
      {"DoSQL", [&](Message* m) { BST_1_bll::create_req_DoSQL(m, commands, true); }},
      {"DoSQLDatabase", [&](Message* m) { BST_1_bll::create_req_DoSQLDatabase(m, "db", commands, true); }},
      {"RequestDoSQLNotification", [&](Message* m) { BST_1_bll::create_req_RequestDoSQLNotification(m, 1, 2, commands, true); }},
      {"RequestTableEventNotification",
       [](Message* m) { BST_1_bll::create_req_RequestTableEventNotification(m, 1, 2, {}, true); }},
      {"SetInterfaceLibParams", [](Message* m) { BST_1_bll::create_req_SetInterfaceLibParams(m, {{}}, true); }},
      {"ConfigInterfacesWithIlHandle",
       [&](Message* m) { BST_1_bll::create_req_ConfigInterfacesWithIlHandle(m, handles, {}, {3}, true); }},
      {"DeleteInterfaces", [&](Message* m) { BST_1_bll::create_req_DeleteInterfaces(m, handles, true); }},
      {"UpdateInterfaces", [&](Message* m) { BST_1_bll::create_req_UpdateInterfaces(m, handles, {}, {}, true); }},
      {"SetGroupMembership", [](Message* m) { BST_1_bll::create_req_SetGroupMembership(m, {{}}, true); }}};
  for (const auto& [name, build] : builders) {
    Message message;
    build(&message);
    EXPECT_EQ(message.get_msg_type(), TMT_REQUEST);
    EXPECT_TRUE(message.get_use_send_member_string()) << name;
    EXPECT_GT(message.get_group(TMG_1).get_member_count(), 0) << name;
    EXPECT_EQ(cross_wire(message).get_request_name(), "BST_1." + name);
  }
}

TEST(BorrowedMessages, CarryTheSharedSetsMembers) {
  const std::vector<std::string> commands{"select * from a", "select * from b"};
  Message shared, borrowed;
  Stats_1_bll::create_req_DoSQLDatabase(&shared, "results", commands, false);
  BST_1_bll::create_req_DoSQLDatabase(&borrowed, "results", commands, false);
  EXPECT_EQ(shared.get_request_name(), "Stats_1.DoSQLDatabase");
  EXPECT_TRUE(borrowed.get_group(TMG_1).equals(shared.get_group(TMG_1)));

  std::string database;
  std::vector<std::string> read;
  const Message received = cross_wire(borrowed);
  BST_1_port::parse_req_DoSQLDatabase(&received, &database, &read);
  EXPECT_EQ(std::make_pair(database, read), std::make_pair(std::string("results"), commands));
}

TEST(BST_1Responses, ParsersWithoutOutputsStillRefuseARequest) {
  const std::vector<std::pair<void (*)(Message*), void (*)(const Message*)>> exchanges{
      {BST_1_port::create_resp_RegisterTestStatusNotify, BST_1_bll::parse_resp_RegisterTestStatusNotify},
      {BST_1_port::create_resp_DeregisterTestStatusNotify, BST_1_bll::parse_resp_DeregisterTestStatusNotify},
      {BST_1_port::create_resp_RegisterTestResults, BST_1_bll::parse_resp_RegisterTestResults},
      {BST_1_port::create_resp_DeregisterTestResults, BST_1_bll::parse_resp_DeregisterTestResults}};
  for (const auto& [build, parse] : exchanges) {
    Message message;
    build(&message);
    message.set_msg_type(TMT_REQUEST);
    EXPECT_THROW(parse(&message), Tm_type_mismatch_exception) << message.get_request_name();
  }
}

TEST(EnumValues, OutsideTheirMapAreNeverSent) {
  Message message;
  try {
    BST_1_port::create_notify_TestNotification(&message, static_cast<TestStatus_t>(42), true);
    FAIL() << "a status outside the map was sent";
  } catch (const Tm_exception& error) {
    EXPECT_STREQ(error.what(), "BST_1.TestNotification.status: 42 is not a value of TestStatus_t");
  }
  try {
    BST_1_bll::create_req_SetLogLevel(&message, {1, static_cast<LOGGINGAPI_2_bll::EnumLoggingLevel>(0)}, true);
    FAIL() << "a level outside the map was sent";
  } catch (const Tm_exception& error) {
    EXPECT_STREQ(error.what(), "GlobalLogLevel.level: 0 is not a value of EnumLoggingLevel");
  }
}

}  // namespace
