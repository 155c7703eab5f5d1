// Writes encodings of a few representative messages into the folder given as the only argument,
// as seeds for fuzz_wire_decode: starting from valid messages, the fuzzer reaches rows, shapes and
// nested values within seconds instead of having to discover the layout first.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "tm/Tm_backed_array.h"
#include "tm/Tm_prenamed_struct.h"
#include "tm/Tm_wire.h"

namespace {

const char* kRecordNames[] = {"handle", "rate", "TargetName", "flags", nullptr};

Message records(bool catalog) {
  Message message;
  message.set_request_name("BST_1.Results");
  message.set_use_send_member_string(catalog);
  auto* array = new Tm_array();
  for (unsigned int i = 0; i < 3; ++i) {
    auto* record = new Tm_prenamed_struct();
    record->clear(kRecordNames);
    record->add_member(0, i, message.get_send_member_string(TMG_1));
    record->add_member(1, i * 0.25, message.get_send_member_string(TMG_1));
    record->add_member(2, "target " + std::to_string(i), message.get_send_member_string(TMG_1));
    auto* flags = new Tm_array();
    flags->add_member(i % 2 == 0);
    flags->add_member(static_cast<short>(-1));
    record->add_member_and_own(3, flags, message.get_send_member_string(TMG_1));
    array->add_member_and_own(record);
  }
  message.add_member_and_own(TMG_1, "records", array);
  if (catalog) message.create_send_member_string_meta();
  return message;
}

Message scalars() {
  static const std::vector<unsigned long> handles = {1, 2, 3};
  Message message;
  message.set_msg_type(TMT_RESPONSE);
  message.add_member(TMG_0, "int8", static_cast<signed char>(-1));
  message.add_member(TMG_1, "uint8", static_cast<unsigned char>(1));
  message.add_member(TMG_1, "int16", static_cast<short>(-2));
  message.add_member(TMG_1, "uint16", static_cast<unsigned short>(2));
  message.add_member(TMG_1, "int32", -3);
  message.add_member(TMG_1, "uint32", 3u);
  message.add_member(TMG_1, "int64", -4L);
  message.add_member(TMG_1, "uint64", std::numeric_limits<unsigned long>::max());
  message.add_member(TMG_1, "double", -0.0);
  message.add_member(TMG_1, "bool", true);
  message.add_member(TMG_1, "text", std::string(30, 't'));
  message.get_group(TMG_1).add_member("binary", Tm_binary(std::vector<unsigned char>{0, 255}));
  message.add_member_and_own(TMG_1, "handles",
                             new Tm_backed_array<std::vector<unsigned long>::const_iterator>(handles.begin(), 3));
  auto* inner = new Tm_struct();
  inner->add_member_and_own("nested", new Tm_struct());
  message.add_member_and_own(TMG_1, "inner", inner);
  return message;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: wire_seeds <folder>\n");
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  std::filesystem::create_directories(folder);
  const std::vector<std::pair<std::string, Message>> seeds = {
      {"empty", Message()}, {"records", records(false)}, {"records_catalog", records(true)}, {"scalars", scalars()}};
  for (const auto& [name, message] : seeds) {
    const std::vector<unsigned char> bytes = tm_encode(message);
    std::ofstream(folder / name, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                         static_cast<std::streamsize>(bytes.size()));
  }
  return 0;
}
