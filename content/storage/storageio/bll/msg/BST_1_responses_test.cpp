// Every BST_1 response and notification the port builds crosses the wire and reads back with the
// plug-in's parsers; a message of the wrong type is refused before any output changes.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "codec_test_support.h"

namespace {

using BST_1_bll::StatusCode_t;
using BST_1_bll::TestStatus_t;
using codec_test::cross_wire;

using StatusParser = void (*)(const Message*, StatusCode_t*);
using StatusBuilder = void (*)(Message*, StatusCode_t);

TEST(BST_1Responses, StatusArrivesForEveryMessageThatHasOne) {
  const std::vector<std::pair<StatusBuilder, StatusParser>> exchanges{
      {BST_1_port::create_resp_Echo, BST_1_bll::parse_resp_Echo},
      {BST_1_port::create_resp_AddAccessSpecs, BST_1_bll::parse_resp_AddAccessSpecs},
      {BST_1_port::create_resp_UpdateAccessSpecs, BST_1_bll::parse_resp_UpdateAccessSpecs},
      {BST_1_port::create_resp_DeleteAccessSpecs, BST_1_bll::parse_resp_DeleteAccessSpecs},
      {BST_1_port::create_resp_AddWorkers, BST_1_bll::parse_resp_AddWorkers},
      {BST_1_port::create_resp_UpdateWorkers, BST_1_bll::parse_resp_UpdateWorkers},
      {BST_1_port::create_resp_DeleteWorkers, BST_1_bll::parse_resp_DeleteWorkers},
      {BST_1_port::create_resp_StartTest, BST_1_bll::parse_resp_StartTest},
      {BST_1_port::create_resp_StopTest, BST_1_bll::parse_resp_StopTest},
      {BST_1_port::create_resp_SetDebugSettings, BST_1_bll::parse_resp_SetDebugSettings}};
  for (const auto& [build, parse] : exchanges) {
    for (StatusCode_t sent : {StatusCode_t::Success, StatusCode_t::Failure}) {
      Message message;
      build(&message, sent);
      EXPECT_EQ(message.get_msg_type(), TMT_RESPONSE);
      EXPECT_STREQ(message.get_member_string(TMG_1, "status"), sent == StatusCode_t::Success ? "Success" : "Failure");
      StatusCode_t read = StatusCode_t::Max;
      const Message received = cross_wire(message);
      parse(&received, &read);
      EXPECT_EQ(read, sent) << message.get_request_name();
    }
  }
}

TEST(BST_1Responses, LearnTargetsBringsTheTargetsInOrderAndAnEmptyListEmptiesTheOutput) {
  const std::vector<BST_1_bll::TargetSpec_s> targets{codec_test::target_spec(2), codec_test::target_spec(5)};
  StatusCode_t status = StatusCode_t::Max;
  std::vector<BST_1_bll::TargetSpec_s> read;
  Message message;
  BST_1_port::create_resp_LearnTargets(&message, StatusCode_t::Success, targets);
  BST_1_bll::parse_resp_LearnTargets(&static_cast<const Message&>(cross_wire(message)), &status, &read);
  EXPECT_EQ(std::make_pair(status, read), std::make_pair(StatusCode_t::Success, targets));

  BST_1_port::create_resp_LearnTargets(&message, StatusCode_t::Failure, {});
  BST_1_bll::parse_resp_LearnTargets(&static_cast<const Message&>(cross_wire(message)), &status, &read);
  EXPECT_EQ(std::make_pair(status, read.empty()), std::make_pair(StatusCode_t::Failure, true));
}

TEST(BST_1Responses, WithoutStatusAreCheckedForTheirTypeOnly) {
  const std::vector<std::pair<void (*)(Message*), void (*)(const Message*)>> exchanges{
      {BST_1_port::create_resp_RegisterTestStatusNotify, BST_1_bll::parse_resp_RegisterTestStatusNotify},
      {BST_1_port::create_resp_DeregisterTestStatusNotify, BST_1_bll::parse_resp_DeregisterTestStatusNotify},
      {BST_1_port::create_resp_RegisterTestResults, BST_1_bll::parse_resp_RegisterTestResults},
      {BST_1_port::create_resp_DeregisterTestResults, BST_1_bll::parse_resp_DeregisterTestResults}};
  for (const auto& [build, parse] : exchanges) {
    Message message;
    build(&message);
    EXPECT_EQ(message.get_group(TMG_1).get_member_count(), 0);
    const Message received = cross_wire(message);
    EXPECT_NO_THROW(parse(&received)) << message.get_request_name();
    message.set_msg_type(TMT_REQUEST);
    EXPECT_THROW(parse(&message), Tm_type_mismatch_exception) << message.get_request_name();
  }
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

TEST(BST_1Notifications, TestStatusArrivesByNameAndOneOutsideTheMapCannotBeSent) {
  for (int value = 0; value < static_cast<int>(TestStatus_t::Max); ++value) {
    Message message;
    BST_1_port::create_notify_TestNotification(&message, static_cast<TestStatus_t>(value), true);
    EXPECT_EQ(message.get_request_name(), "BST_1.TestNotification");
    TestStatus_t read = TestStatus_t::Max;
    BST_1_bll::parse_req_TestNotification(&static_cast<const Message&>(cross_wire(message)), &read);
    EXPECT_EQ(static_cast<int>(read), value);
  }
  Message message;
  try {
    BST_1_port::create_notify_TestNotification(&message, static_cast<TestStatus_t>(42), true);
    FAIL() << "a status outside the map was sent";
  } catch (const Tm_exception& error) {
    EXPECT_STREQ(error.what(), "BST_1.TestNotification.status: 42 is not a value of TestStatus_t");
  }
}

TEST(BST_1Notifications, TestResultsArriveRecordForRecord) {
  std::vector<bst_1_bll::StorageWorkerResults_s> workers{{codec_test::base_results(0)}, {codec_test::base_results(1)}};
  workers[1].StorageBaseResults.Result.ResultState = 9;  // beyond the enum: stored as it comes
  std::vector<bst_1_bll::StorageDiscoveredTargetResults_s> targets{{codec_test::base_results(2), "/dev/sdb"},
                                                                   {bst_1_bll::StorageBaseResults_s{}, ""}};
  targets[1].StorageBaseResults.Result = {1, 77};  // an all-zero block but for its head

  Message message;
  BST_1_port::create_notify_TestResultsNotification(&message, workers, targets, false);
  EXPECT_EQ(message.get_request_name(), "BST_1.TestResultsNotification");
  std::vector<bst_1_bll::StorageWorkerResults_s> read_workers{{codec_test::base_results(3)}};
  std::vector<bst_1_bll::StorageDiscoveredTargetResults_s> read_targets;
  const Message received = cross_wire(message);
  BST_1_bll::parse_req_TestResultsNotification(&received, &read_workers, &read_targets);
  EXPECT_EQ(std::make_pair(read_workers, read_targets), std::make_pair(workers, targets));

  BST_1_port::create_notify_TestResultsNotification(&message, {}, {}, true);
  BST_1_bll::parse_req_TestResultsNotification(&message, &read_workers, &read_targets);
  EXPECT_TRUE(read_workers.empty() && read_targets.empty());
}

TEST(BST_1Notifications, AcknowledgementsAreEmptyResponses) {
  Message message;
  BST_1_port::create_notify_TestNotification(&message, TestStatus_t::RecordingIO, true);
  BST_1_bll::create_resp_TestNotification(&message);
  EXPECT_EQ(message.get_msg_type(), TMT_RESPONSE);
  EXPECT_EQ(message.get_group(TMG_1).get_member_count() + message.get_group(TMG_0).get_member_count(), 0);
  BST_1_bll::create_resp_TestResultsNotification(&message);
  EXPECT_EQ(cross_wire(message).get_msg_type(), TMT_RESPONSE);
}

}  // namespace
