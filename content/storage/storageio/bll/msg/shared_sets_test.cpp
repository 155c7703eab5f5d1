// The shared sets' codecs, and their messages carried under BST_1 names: the members are the
// shared set's, the request name is BST_1's, and every shared builder sends member names through
// the catalog.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "codec_test_support.h"

namespace {

using codec_test::cross_wire;

constexpr auto kInfo = LOGGINGAPI_2_bll::EnumLoggingLevel::INFO;

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

TEST(BorrowedNotifications, AreBuiltUnderBST_1NamesAndReadByTheForwardedParsers) {
  std::vector<LOGGINGAPI_2_bll::EventLogEntry_s> entries{
      {1700000000, "2024-01-02", "03:04:05", LOGGINGAPI_2_bll::EnumLoggingLevel::WARNING, "iod", 3, "disk slow"},
      {1700000001, "2024-01-02", "03:04:06", LOGGINGAPI_2_bll::EnumLoggingLevel::DEBUG, "iod", 3, ""}};
  Message message;
  BST_1_port::create_notify_EvtLogNotify(&message, 12, entries, true);
  EXPECT_EQ(message.get_request_name(), "BST_1.EvtLogNotify");
  unsigned int id = 0;
  std::vector<LOGGINGAPI_2_bll::EventLogEntry_s> read;
  const Message received = cross_wire(message);
  BST_1_bll::parse_req_EvtLogNotify(&received, &id, &read);
  EXPECT_EQ(std::make_pair(id, read), std::make_pair(12u, entries));
  EXPECT_STREQ(received.get_member_array(TMG_1, "evtLogEntries")->get_member_struct(0)->get_member_string("level"),
               "WARNING");
}

Stats_1_bll::row_s every_kind_of_value() {
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

TEST(StatisticsSet, RowsAndTableEventsKeepEveryValueTypeAcrossTheWire) {
  Stats_1_bll::commandResult_s result;
  result.columnOrder = {{static_cast<unsigned int>(Stats_1_bll::columnVal_t::INT8), 0},
                        {static_cast<unsigned int>(Stats_1_bll::columnVal_t::BINARY), 1}};
  result.rows = {every_kind_of_value(), Stats_1_bll::row_s{}};
  const std::vector<Stats_1_bll::commandResult_s> results{result};  // referred to until sent
  Message message;
  BST_1_port::create_notify_DoSQLNotify(&message, 4, results, false);
  const Message received = cross_wire(message);
  unsigned int id = 0;
  std::vector<Stats_1_bll::commandResult_s> read;
  BST_1_bll::parse_req_DoSQLNotify(&received, &id, &read);
  EXPECT_EQ(std::make_pair(id, read), std::make_pair(4u, results));

  Stats_1_bll::tableEventData_s data;
  data.addedRows = {{5, every_kind_of_value()}};
  data.deletedRowIds = {7, -1};
  Stats_1_port::create_notify_TableEventNotify(&message, 8, data, true);
  Stats_1_bll::tableEventData_s event;
  const Message event_received = cross_wire(message);
  BST_1_bll::parse_req_TableEventNotify(&event_received, &id, &event);
  EXPECT_EQ(std::make_pair(id, event), std::make_pair(8u, data));
}

TEST(InterfaceSetupSet, StacksOfInterfacesArriveAsBuilt) {
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

  Message message;
  BST_1_bll::create_req_ConfigInterfacesWithIlHandle(&message, {9}, {stack}, {3}, true);
  std::vector<unsigned int> handles, options;
  std::vector<IFSETUP_1_bll::NetworkInterfaceStack_s> read;
  const Message received = cross_wire(message);
  BST_1_port::parse_req_ConfigInterfacesWithIlHandle(&received, &handles, &read, &options);
  EXPECT_EQ(std::make_pair(handles, options), std::make_pair(std::vector<unsigned int>{9}, std::vector<unsigned int>{3}));
  ASSERT_EQ(read, std::vector<IFSETUP_1_bll::NetworkInterfaceStack_s>{stack});
  EXPECT_EQ(read[0].PppInterfaceList[0].ProtocolId, 0x0281);

  // The answer comes under a BST_1 name and is read by the shared set's parser.
  BST_1_port::create_resp_ConfigInterfaces(&message, {11, 12});
  EXPECT_EQ(message.get_request_name(), "BST_1.ConfigInterfaces");
  const Message response = cross_wire(message);
  IFSETUP_1_bll::parse_resp_ConfigInterfaces(&response, &handles);
  EXPECT_EQ(handles, (std::vector<unsigned int>{11, 12}));
}

TEST(LoggingSet, SettersEchoTheirRecordAndALevelOutsideTheMapCannotBeSent) {
  const LOGGINGAPI_2_bll::LocalLogLevel_s level{2, LOGGINGAPI_2_bll::EnumLoggingLevel::CRIT, "storage"};
  Message message;
  LOGGINGAPI_2_port::create_resp_SetLocalLogLevel(&message, level);
  LOGGINGAPI_2_bll::LocalLogLevel_s read;
  const Message received = cross_wire(message);
  LOGGINGAPI_2_bll::parse_resp_SetLocalLogLevel(&received, &read);
  EXPECT_EQ(read, level);

  try {
    BST_1_bll::create_req_SetLogLevel(&message, {1, static_cast<LOGGINGAPI_2_bll::EnumLoggingLevel>(0)}, true);
    FAIL() << "a level outside the map was sent";
  } catch (const Tm_exception& error) {
    EXPECT_STREQ(error.what(), "GlobalLogLevel.level: 0 is not a value of EnumLoggingLevel");
  }
}

}  // namespace
