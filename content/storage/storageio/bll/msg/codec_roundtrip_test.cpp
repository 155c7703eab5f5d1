// Every message of BST_1 and of the sets it carries crosses the wire and reads back with the
// other side's parser as it was built. One table, grouped by the kind of member a message
// carries; each row runs with its arrays referenced (copy false) and copied (copy true), and each
// checks what every message shares: its name on the wire, its type, whether member names go
// through the catalog, and that building replaces whatever the message held before.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "codec_test_support.h"

namespace {

using BST_1_bll::StatusCode_t;
using BST_1_bll::TestStatus_t;

// What a message must look like on the wire, besides its members.
struct Wire {
  std::string name;
  TMT type;
  bool catalog;  // member names sent through the catalog (the shared sets' builders)
};
Wire Request(const std::string& name) { return {"BST_1." + name, TMT_REQUEST, false}; }
Wire Response(const std::string& name) { return {"BST_1." + name, TMT_RESPONSE, false}; }
Wire Borrowed(const std::string& name, TMT type = TMT_REQUEST) { return {"BST_1." + name, type, true}; }

// Builds on a message that still holds an earlier one, checks the wire form, crosses the wire
// and reads every output back with `parse` into fresh values, which must equal `expected`.
// Returns what arrived, for checks of the encoding itself.
template <class Build, class... T>
Message Exchange(const Wire& wire, Build build, void (*parse)(const Message*, T*...), const T&... expected) {
  Message message;
  message.set_request_name("Stale.Earlier");
  message.add_member(TMG_0, "stale", 1u);
  message.add_member(TMG_1, "stale", 2u);
  build(&message);
  EXPECT_EQ(message.get_request_name(), wire.name);
  EXPECT_EQ(message.get_msg_type(), wire.type);
  EXPECT_EQ(message.get_use_send_member_string(), wire.catalog);
  EXPECT_EQ(message.get_group(TMG_0).get_member_count(), 0) << "what the message held before is gone";

  const Message received = codec_test::cross_wire(message);
  std::tuple<T...> read{};
  std::apply([&](T&... output) { parse(&received, &output...); }, read);
  EXPECT_TRUE(read == std::make_tuple(expected...)) << wire.name << " did not read back as built";
  return received;
}

struct Row {
  std::string kind;
  std::string message;
  std::function<void(bool copy)> run;
};

Stats_1_bll::row_s EveryKindOfValue() {
  Stats_1_bll::row_s row;
  row.stringValues = {"port1", ""};
  row.int8Values = {-128, 127};
  row.uint8Values = {0, 255};
  row.int16Values = {-32768};
  row.uint16Values = {65535};
  row.int32Values = {-2147483647 - 1};
  row.uint32Values = {4294967295u};
  row.int64Values = {-9'000'000'000'000'000'000l};
  row.uint64Values = {18'000'000'000'000'000'000ul};
  row.binaryValues = {{0x00, 0xFF, 0x10}, {}};
  return row;
}

IFSETUP_1_bll::NetworkInterfaceStack_s InterfaceStack() {
  IFSETUP_1_bll::NetworkInterfaceStack_s stack;
  stack.ifDescriptors = {{IFSETUP_1_bll::InterfaceTypeList_t::PPP, 0}, {IFSETUP_1_bll::InterfaceTypeList_t::VLAN, 0}};
  ifSetup_1_bll::PppIf_s ppp;
  ppp.NetworkInterface.EmulatedIf = {33, true, false};
  ppp.NetworkInterface.BllHandle = 4001;
  ppp.ProtocolId = static_cast<unsigned short>(ifSetup_1_bll::EnumPppProtocolId::PPP_PROTOCOL_ID_MPLS);
  stack.PppInterfaceList = {ppp};
  ifSetup_1_bll::VlanIf_s vlan;
  vlan.VlanId = 100;
  vlan.IdList = {100, 200, 4095};
  vlan.Tpid = 0x8100;
  stack.VlanInterfaceList = {vlan};
  ifSetup_1_bll::Ipv4If_s ipv4;
  ipv4.Address.address = {192, 0, 2, 1};
  ipv4.AddrList = {{{192, 0, 2, 7}}};
  ipv4.TosType = ifSetup_1_bll::EnumTosType::DIFFSERV;
  stack.Ipv4InterfaceList = {ipv4};
  return stack;
}

using Handles = std::vector<unsigned int>;

std::vector<Row> Empty() {
  using Builder = void (*)(Message*);
  using Parser = void (*)(const Message*);
  const Parser kNothingToRead = [](const Message*) {};
  const std::vector<std::tuple<std::string, Builder, Parser, bool>> exchanges{
      {"StopTest", BST_1_bll::create_req_StopTest, BST_1_port::parse_req_StopTest, true},
      {"LearnTargets", BST_1_bll::create_req_LearnTargets, BST_1_port::parse_req_LearnTargets, true},
      {"DeregisterTestStatusNotify", BST_1_bll::create_req_DeregisterTestStatusNotify,
       BST_1_port::parse_req_DeregisterTestStatusNotify, true},
      {"DeregisterTestResults", BST_1_bll::create_req_DeregisterTestResults, BST_1_port::parse_req_DeregisterTestResults,
       true},
      {"RegisterTestStatusNotify", BST_1_port::create_resp_RegisterTestStatusNotify,
       BST_1_bll::parse_resp_RegisterTestStatusNotify, false},
      {"DeregisterTestStatusNotify", BST_1_port::create_resp_DeregisterTestStatusNotify,
       BST_1_bll::parse_resp_DeregisterTestStatusNotify, false},
      {"RegisterTestResults", BST_1_port::create_resp_RegisterTestResults, BST_1_bll::parse_resp_RegisterTestResults,
       false},
      {"DeregisterTestResults", BST_1_port::create_resp_DeregisterTestResults,
       BST_1_bll::parse_resp_DeregisterTestResults, false},
      // The plug-in acknowledges a notification by turning it into its response: the port reads
      // nothing from it but its name and type.
      {"TestNotification",
       [](Message* m) {
         BST_1_port::create_notify_TestNotification(m, TestStatus_t::RecordingIO, true);
         BST_1_bll::create_resp_TestNotification(m);
       },
       kNothingToRead, false},
      {"TestResultsNotification",
       [](Message* m) {
         BST_1_port::create_notify_TestResultsNotification(m, {{codec_test::base_results(1)}}, {}, true);
         BST_1_bll::create_resp_TestResultsNotification(m);
       },
       kNothingToRead, false}};
  std::vector<Row> rows;
  for (const auto& [name, build, parse, isRequest] : exchanges) {
    const Wire wire = isRequest ? Request(name) : Response(name);
    rows.push_back({"Empty", name + (isRequest ? "Request" : "Response"), [=](bool) {
                      const Message received = Exchange(wire, build, parse);
                      EXPECT_EQ(received.get_group(TMG_1).get_member_count(), 0);
                    }});
  }
  return rows;
}

std::vector<Row> Scalars() {
  return {
      {"Scalar", "RegisterTestStatusNotify",
       [](bool copy) {
         Exchange(Request("RegisterTestStatusNotify"),
                  [&](Message* m) { BST_1_bll::create_req_RegisterTestStatusNotify(m, 1000, copy); },
                  BST_1_port::parse_req_RegisterTestStatusNotify, 1000u);
       }},
      {"Scalar", "SetDebugSettingsOfEveryWidth",
       [](bool copy) {
         Exchange(Request("SetDebugSettings"),
                  [&](Message* m) { BST_1_bll::create_req_SetDebugSettings(m, 0x11, 1, 0xF0F0, 1 << 20, 5, copy); },
                  BST_1_port::parse_req_SetDebugSettings, 0x11u, static_cast<unsigned char>(1), 0xF0F0u, 1u << 20,
                  static_cast<unsigned char>(5));
       }},
      {"Scalar", "RequestEvtLogNotification",
       [](bool copy) {
         Exchange(Borrowed("RequestEvtLogNotification"),
                  [&](Message* m) { BST_1_bll::create_req_RequestEvtLogNotification(m, 1, 2, copy); },
                  BST_1_port::parse_req_RequestEvtLogNotification, 1u, 2u);
       }},
      {"String", "Echo",
       [](bool copy) {
         Exchange(Request("Echo"), [&](Message* m) { BST_1_bll::create_req_Echo(m, "ping", copy); },
                  BST_1_port::parse_req_Echo, std::string("ping"));
       }},
      {"String", "DoSQLDatabase",
       [](bool copy) {
         const std::vector<std::string> commands{"select * from a", "select * from b"};
         Exchange(Borrowed("DoSQLDatabase"),
                  [&](Message* m) { BST_1_bll::create_req_DoSQLDatabase(m, "results", commands, copy); },
                  BST_1_port::parse_req_DoSQLDatabase, std::string("results"), commands);
       }},
  };
}

std::vector<Row> Arrays() {
  return {
      {"ArrayOfScalars", "DeleteAccessSpecs",
       [](bool copy) {
         const Handles handles{7, 0xFFFFFFFFu, 0};
         Exchange(Request("DeleteAccessSpecs"),
                  [&](Message* m) { BST_1_bll::create_req_DeleteAccessSpecs(m, handles, copy); },
                  BST_1_port::parse_req_DeleteAccessSpecs, handles);
       }},
      {"ArrayOfScalars", "DeleteWorkers",
       [](bool copy) {
         const Handles handles{3};
         Exchange(Request("DeleteWorkers"), [&](Message* m) { BST_1_bll::create_req_DeleteWorkers(m, handles, copy); },
                  BST_1_port::parse_req_DeleteWorkers, handles);
       }},
      {"ArrayOfScalars", "StartTest",
       [](bool copy) {
         const Handles handles{7, 0xFFFFFFFFu, 0};
         Exchange(Request("StartTest"),
                  [&](Message* m) { BST_1_bll::create_req_StartTest(m, handles, 3'600'000'000ul, copy); },
                  BST_1_port::parse_req_StartTest, handles, 3'600'000'000ul);
       }},
      {"ArrayOfScalars", "StartTestWithNoWorkers",
       [](bool copy) {
         const Handles none;
         Exchange(Request("StartTest"), [&](Message* m) { BST_1_bll::create_req_StartTest(m, none, 60, copy); },
                  BST_1_port::parse_req_StartTest, none, 60ul);
       }},
      {"ArrayOfScalars", "ConfigInterfacesResponse",
       [](bool) {
         Exchange(Borrowed("ConfigInterfaces", TMT_RESPONSE), [](Message* m) { BST_1_port::create_resp_ConfigInterfaces(m, {11, 12}); },
                  IFSETUP_1_bll::parse_resp_ConfigInterfaces, Handles{11, 12});
       }},
      {"ArrayOfRecords", "AddAccessSpecs",
       [](bool copy) {
         const auto specs = codec_test::access_specs();
         Exchange(Request("AddAccessSpecs"), [&](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, specs, copy); },
                  BST_1_port::parse_req_AddAccessSpecs, specs);
       }},
      {"ArrayOfRecords", "UpdateAccessSpecs",
       [](bool copy) {
         const std::vector<BST_1_bll::AccessSpec_s> specs{codec_test::access_specs()[1]};
         Exchange(Request("UpdateAccessSpecs"),
                  [&](Message* m) { BST_1_bll::create_req_UpdateAccessSpecs(m, specs, copy); },
                  BST_1_port::parse_req_UpdateAccessSpecs, specs);
       }},
      {"ArrayOfRecords", "LearnTargetsInOrder",
       [](bool) {
         const std::vector<BST_1_bll::TargetSpec_s> targets{codec_test::target_spec(2), codec_test::target_spec(5)};
         Exchange(Response("LearnTargets"),
                  [&](Message* m) { BST_1_port::create_resp_LearnTargets(m, StatusCode_t::Success, targets); },
                  BST_1_bll::parse_resp_LearnTargets, StatusCode_t::Success, targets);
       }},
      {"ArrayOfRecords", "LearnTargetsNoneEmptiesTheOutput",
       [](bool) {
         Message message;
         BST_1_port::create_resp_LearnTargets(&message, StatusCode_t::Failure, {});
         StatusCode_t status = StatusCode_t::Max;
         std::vector<BST_1_bll::TargetSpec_s> read{codec_test::target_spec(1)};
         const Message received = codec_test::cross_wire(message);
         BST_1_bll::parse_resp_LearnTargets(&received, &status, &read);
         EXPECT_EQ(std::make_pair(status, read.empty()), std::make_pair(StatusCode_t::Failure, true));
       }},
      {"ArrayOfRecords", "DoSQLNotifyRowsOfEveryValueType",
       [](bool copy) {
         Stats_1_bll::commandResult_s result;
         result.columnOrder = {{static_cast<unsigned int>(Stats_1_bll::columnVal_t::INT8), 0},
                               {static_cast<unsigned int>(Stats_1_bll::columnVal_t::BINARY), 1}};
         result.rows = {EveryKindOfValue(), Stats_1_bll::row_s{}};
         const std::vector<Stats_1_bll::commandResult_s> results{result};
         Exchange(Borrowed("DoSQLNotify"), [&](Message* m) { BST_1_port::create_notify_DoSQLNotify(m, 4, results, copy); },
                  BST_1_bll::parse_req_DoSQLNotify, 4u, results);
       }},
  };
}

std::vector<Row> NestedRecords() {
  return {
      {"NestedRecord", "AddWorkersWithTheirTargets",
       [](bool copy) {
         const auto workers = codec_test::worker_configs();
         Exchange(Request("AddWorkers"), [&](Message* m) { BST_1_bll::create_req_AddWorkers(m, workers, copy); },
                  BST_1_port::parse_req_AddWorkers, workers);
       }},
      {"NestedRecord", "UpdateWorkersWithTheirTargets",
       [](bool copy) {
         const auto workers = codec_test::worker_configs();
         Exchange(Request("UpdateWorkers"), [&](Message* m) { BST_1_bll::create_req_UpdateWorkers(m, workers, copy); },
                  BST_1_port::parse_req_UpdateWorkers, workers);
       }},
      {"NestedRecord", "TestResultsRecordForRecord",
       [](bool copy) {
         std::vector<bst_1_bll::StorageWorkerResults_s> workers{{codec_test::base_results(0)},
                                                                {codec_test::base_results(1)}};
         std::vector<bst_1_bll::StorageDiscoveredTargetResults_s> targets{{codec_test::base_results(2), "/dev/sdb"},
                                                                          {bst_1_bll::StorageBaseResults_s{}, ""}};
         targets[1].StorageBaseResults.Result = {1, 77};  // an all-zero block but for its head
         Exchange(Request("TestResultsNotification"),
                  [&](Message* m) { BST_1_port::create_notify_TestResultsNotification(m, workers, targets, copy); },
                  BST_1_bll::parse_req_TestResultsNotification, workers, targets);
       }},
      {"NestedRecord", "TableEventNotify",
       [](bool copy) {
         Stats_1_bll::tableEventData_s data;
         data.addedRows = {{5, EveryKindOfValue()}};
         data.deletedRowIds = {7, -1};
         Exchange(Wire{"Stats_1.TableEventNotify", TMT_REQUEST, true},
                  [&](Message* m) { Stats_1_port::create_notify_TableEventNotify(m, 8, data, copy); },
                  BST_1_bll::parse_req_TableEventNotify, 8u, data);
       }},
      {"NestedRecord", "ConfigInterfacesWithIlHandle",
       [](bool copy) {
         const std::vector<IFSETUP_1_bll::NetworkInterfaceStack_s> stacks{InterfaceStack()};
         const Handles handlesSent{9}, optionsSent{3};
         const Message received = Exchange(
             Borrowed("ConfigInterfacesWithIlHandle"),
             [&](Message* m) {
               BST_1_bll::create_req_ConfigInterfacesWithIlHandle(m, handlesSent, stacks, optionsSent, copy);
             },
             BST_1_port::parse_req_ConfigInterfacesWithIlHandle, handlesSent, stacks, optionsSent);
         std::vector<IFSETUP_1_bll::NetworkInterfaceStack_s> read;
         Handles handles, options;
         BST_1_port::parse_req_ConfigInterfacesWithIlHandle(&received, &handles, &read, &options);
         EXPECT_EQ(read.at(0).PppInterfaceList.at(0).ProtocolId, 0x0281);
       }},
      {"NestedRecord", "SetLocalLogLevelEchoesItsRecord",
       [](bool) {
         const LOGGINGAPI_2_bll::LocalLogLevel_s level{2, LOGGINGAPI_2_bll::EnumLoggingLevel::CRIT, "storage"};
         Exchange(Wire{"LOGGINGAPI_2.SetLocalLogLevel", TMT_RESPONSE, true},
                  [&](Message* m) { LOGGINGAPI_2_port::create_resp_SetLocalLogLevel(m, level); },
                  LOGGINGAPI_2_bll::parse_resp_SetLocalLogLevel, level);
       }},
  };
}

std::vector<Row> Enums() {
  std::vector<Row> rows{
      {"EnumAsText", "EvtLogNotifyLevels",
       [](bool copy) {
         const std::vector<LOGGINGAPI_2_bll::EventLogEntry_s> entries{
             {1700000000, "2024-01-02", "03:04:05", LOGGINGAPI_2_bll::EnumLoggingLevel::WARNING, "iod", 3, "disk slow"},
             {1700000001, "2024-01-02", "03:04:06", LOGGINGAPI_2_bll::EnumLoggingLevel::DEBUG, "iod", 3, ""}};
         const Message received =
             Exchange(Borrowed("EvtLogNotify"), [&](Message* m) { BST_1_port::create_notify_EvtLogNotify(m, 12, entries, copy); },
                      BST_1_bll::parse_req_EvtLogNotify, 12u, entries);
         EXPECT_STREQ(received.get_member_array(TMG_1, "evtLogEntries")->get_member_struct(0)->get_member_string("level"),
                      "WARNING");
       }},
      {"EnumAsNumber", "ResultStateBeyondItsEnum",
       [](bool copy) {
         std::vector<bst_1_bll::StorageWorkerResults_s> workers{{codec_test::base_results(1)}};
         workers[0].StorageBaseResults.Result.ResultState = 9;  // stored as it comes
         Exchange(Request("TestResultsNotification"),
                  [&](Message* m) { BST_1_port::create_notify_TestResultsNotification(m, workers, {}, copy); },
                  BST_1_bll::parse_req_TestResultsNotification, workers,
                  std::vector<bst_1_bll::StorageDiscoveredTargetResults_s>{});
       }},
  };
  for (int value = 0; value < static_cast<int>(TestStatus_t::Max); ++value) {
    const auto status = static_cast<TestStatus_t>(value);
    rows.push_back({"EnumAsText", std::string("TestNotification") + tms_enum_to_string(value, BST_1_bll::em_TestStatus_t),
                    [=](bool copy) {
                      Exchange(Request("TestNotification"),
                               [&](Message* m) { BST_1_port::create_notify_TestNotification(m, status, copy); },
                               BST_1_bll::parse_req_TestNotification, status);
                    }});
  }
  using StatusBuilder = void (*)(Message*, StatusCode_t);
  using StatusParser = void (*)(const Message*, StatusCode_t*);
  const std::vector<std::tuple<std::string, StatusBuilder, StatusParser>> statusReplies{
      {"Echo", BST_1_port::create_resp_Echo, BST_1_bll::parse_resp_Echo},
      {"AddAccessSpecs", BST_1_port::create_resp_AddAccessSpecs, BST_1_bll::parse_resp_AddAccessSpecs},
      {"UpdateAccessSpecs", BST_1_port::create_resp_UpdateAccessSpecs, BST_1_bll::parse_resp_UpdateAccessSpecs},
      {"DeleteAccessSpecs", BST_1_port::create_resp_DeleteAccessSpecs, BST_1_bll::parse_resp_DeleteAccessSpecs},
      {"AddWorkers", BST_1_port::create_resp_AddWorkers, BST_1_bll::parse_resp_AddWorkers},
      {"UpdateWorkers", BST_1_port::create_resp_UpdateWorkers, BST_1_bll::parse_resp_UpdateWorkers},
      {"DeleteWorkers", BST_1_port::create_resp_DeleteWorkers, BST_1_bll::parse_resp_DeleteWorkers},
      {"StartTest", BST_1_port::create_resp_StartTest, BST_1_bll::parse_resp_StartTest},
      {"StopTest", BST_1_port::create_resp_StopTest, BST_1_bll::parse_resp_StopTest},
      {"SetDebugSettings", BST_1_port::create_resp_SetDebugSettings, BST_1_bll::parse_resp_SetDebugSettings}};
  for (const auto& [name, build, parse] : statusReplies) {
    rows.push_back({"EnumAsText", name + "Status", [=](bool) {
                      for (StatusCode_t sent : {StatusCode_t::Success, StatusCode_t::Failure}) {
                        const Message received = Exchange(Response(name), [&](Message* m) { build(m, sent); }, parse, sent);
                        EXPECT_STREQ(received.get_member_string(TMG_1, "status"),
                                     sent == StatusCode_t::Success ? "Success" : "Failure");
                      }
                    }});
  }
  return rows;
}

std::vector<Row> AllRows() {
  std::vector<Row> rows;
  for (auto group : {Empty, Scalars, Arrays, NestedRecords, Enums}) {
    for (Row& row : group()) rows.push_back(std::move(row));
  }
  return rows;
}

class CodecRoundTrip : public ::testing::TestWithParam<std::tuple<Row, bool>> {};

TEST_P(CodecRoundTrip, ArrivesAsBuilt) { std::get<0>(GetParam()).run(std::get<1>(GetParam())); }

INSTANTIATE_TEST_SUITE_P(Messages, CodecRoundTrip, ::testing::Combine(::testing::ValuesIn(AllRows()), ::testing::Bool()),
                         [](const ::testing::TestParamInfo<std::tuple<Row, bool>>& info) {
                           const Row& row = std::get<0>(info.param);
                           return row.kind + "_" + row.message + (std::get<1>(info.param) ? "_Copied" : "_Referenced");
                         });

}  // namespace
